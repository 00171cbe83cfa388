/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include <QFileDialog>
#include <QLineEdit>
#include <QPointer>
#include <QRandomGenerator>
#include <QSet>
#include <QSignalBlocker>

#include <algorithm>
#include <utility>

#include "dock/widgets/TrackListWidget.hpp"
#include "dock/widgets/TrackRow.hpp"
#include "queue/text.hpp"

using namespace reelhouse;

void Reelhouse::addFiles()
{
	if (!OBSSourceAutoRelease(lockSource()))
		return;
	// Hold no strong reference during the dialog: OBS could not clear the source if the scene collection changes
	// meanwhile.
	const OBSWeakSource boundBefore = weakSource;
	const QPointer<Reelhouse> self(this);
	const QList<QString> paths =
		QFileDialog::getOpenFileNames(this, ui("AddMediaTitle"), QString(), ui("MediaFileFilter"));
	// During the dialog, the dock may have been deleted or bound to another source.
	if (!self)
		return;
	OBSSourceAutoRelease source = lockSource();
	if (source && obs_weak_source_references_source(boundBefore, source))
		appendFiles(paths);
}

void Reelhouse::appendFiles(const QList<QString> &paths)
{
	const Operation operation(this);
	followEditElsewhere();
	insertTracks(paths, tracks.size(), [this](const QString &lastId) {
		clearSearchSilently();
		rebuildList(lastId);
		playlistWidget->scrollToItem(playlistWidget->currentItem(), QAbstractItemView::EnsureVisible);
	});
}

// Returns the ids of the new tracks.
QList<QString> Reelhouse::insertTracks(const QList<QString> &paths, qsizetype position, const ShowRows &showRows)
{
	const Operation operation(this);
	OBSSourceAutoRelease source = lockActive();
	if (!source || paths.isEmpty())
		return {};
	position = std::clamp<qsizetype>(position, 0, tracks.size());
	QList<QString> ids;
	QList<Track> merged = tracks.first(position);
	for (const QString &path : paths) {
		merged.append(Track::fromPath(path));
		ids.append(merged.constLast().id);
	}
	merged.append(tracks.sliced(position));
	tracks = std::move(merged);
	changePending = true;
	markTouched();
	showRows(ids.constLast());
	storeQueue();
	clearError();
	return ids;
}

void Reelhouse::clearSearchSilently()
{
	if (searchEdit->text().isEmpty())
		return;
	const QSignalBlocker blocker(searchEdit);
	searchEdit->clear();
	// The clear button follows the field's signals, which are blocked here. A new button starts from the field's
	// text.
	searchEdit->setClearButtonEnabled(false);
	searchEdit->setClearButtonEnabled(true);
}

void Reelhouse::removeSelected()
{
	const Operation operation(this);
	takeTracks(followTracks(playlistWidget->selectedIds()), [this](const QString &nextId) { rebuildList(nextId); });
}

// Moves the tracks from the queue to the undo list, and returns how many. Stops playback if the current track is among
// them. The row to show is that of the track that follows the first removed one, or else the last.
qsizetype Reelhouse::takeTracks(const QSet<QString> &ids, const ShowRows &showRows)
{
	const Operation operation(this);
	OBSSourceAutoRelease source = lockActive();
	if (!source || ids.isEmpty())
		return 0;
	removed.clear();
	QList<Track> kept;
	kept.reserve(tracks.size());
	for (int i = 0; i < tracks.size(); i++) {
		Track &track = tracks[i];
		if (ids.contains(track.id))
			removed.append({std::move(track), i});
		else
			kept.append(std::move(track));
	}
	tracks = std::move(kept);
	if (removed.isEmpty())
		return 0;
	changePending = true;
	markTouched();
	const bool stops = tracks.isEmpty() || ids.contains(currentId);
	if (stops) {
		// The source's playlist may still hold a removed track. With managed set, the stop below empties that
		// playlist and stores the queue.
		managed = true;
		currentId.clear();
		stopPlayback();
	}
	const qsizetype next = std::min<qsizetype>(tracks.size() - 1, removed.constFirst().index);
	showRows(next < 0 ? QString() : tracks.at(next).id);
	if (!stops)
		storeQueue();
	clearError();
	return removed.size();
}

void Reelhouse::undoRemove()
{
	putTracksBack([this](const QString &firstId) { rebuildList(firstId); });
}

// Returns the number of restored tracks.
qsizetype Reelhouse::putTracksBack(const ShowRows &showRows)
{
	const Operation operation(this);
	OBSSourceAutoRelease source = lockActive();
	if (!source || removed.isEmpty())
		return 0;
	const qsizetype count = removed.size();
	QList<Track> merged;
	merged.reserve(tracks.size() + removed.size());
	const QString firstId = removed.constFirst().track.id;
	auto rest = tracks.begin();
	for (RemovedTrack &entry : removed) {
		while (rest != tracks.end() && merged.size() < entry.index)
			merged.append(std::move(*rest++));
		merged.append(std::move(entry.track));
	}
	std::move(rest, tracks.end(), std::back_inserter(merged));
	removed.clear();
	tracks = std::move(merged);
	changePending = true;
	markTouched();
	showRows(firstId);
	storeQueue();
	clearError();
	return count;
}

void Reelhouse::moveSelected(int delta)
{
	if (!OBSSourceAutoRelease(lockActive()))
		return;
	const int from = playlistWidget->currentRow();
	const int to = from + delta;
	if (visibleSelectionCount() != 1 || !searchText().isEmpty() || from < 0 || to < 0 ||
	    to >= playlistWidget->count())
		return;
	reordering = true;
	QListWidgetItem *row = playlistWidget->takeItem(from);
	playlistWidget->insertItem(to, row);
	playlistWidget->setCurrentItem(row, QItemSelectionModel::ClearAndSelect);
	reordering = false;
	orderChanged();
}

void Reelhouse::orderChanged()
{
	if (reordering)
		return;
	const Operation operation(this);
	OBSSourceAutoRelease source = lockActive();
	if (!source) {
		// The drag has moved rows, but no source is bound any more.
		rebuildList(selectedId());
		return;
	}
	QList<Track> ordered;
	ordered.reserve(playlistWidget->count());
	for (int i = 0; i < playlistWidget->count(); i++)
		ordered.append(playlistWidget->trackRow(i)->track());
	tracks = std::move(ordered);
	changePending = true;
	markTouched();
	storeQueue();
	updateButtons();
	clearError();
}

// The old order becomes the replaced queue, whatever that was before: the user asked for this one.
void Reelhouse::shuffleQueue()
{
	const Operation operation(this);
	OBSSourceAutoRelease source = lockActive();
	if (!source)
		return;
	followEditElsewhere();
	if (tracks.size() < 2)
		return;
	OBSDataAutoRelease privateSettings = obs_source_get_private_settings(source);
	ReplacedQueue replaced;
	replaced.record = OBSDataAutoRelease(storedRecord(privateSettings));
	replaced.write(privateSettings);

	auto rest = tracks.begin();
	if (const int current = currentIndex(); current >= 0)
		std::iter_swap(rest++, tracks.begin() + current);
	std::shuffle(rest, tracks.end(), *QRandomGenerator::global());
	changePending = true;
	updateListKeepingView();
	storeQueue();
	clearError();
}
