/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include <QFileDialog>
#include <QLineEdit>
#include <QPointer>
#include <QSet>
#include <QSignalBlocker>

#include <algorithm>
#include <utility>

#include "dock/text.hpp"
#include "dock/widgets/TrackListWidget.hpp"
#include "dock/widgets/TrackRow.hpp"

using namespace reelhouse;

void Reelhouse::addFiles()
{
	if (!OBSSourceAutoRelease(lockSource()))
		return;
	// Weak across the dialog: a scene collection that is switched meanwhile could not be cleared of a source that is
	// still referenced here.
	const OBSWeakSource boundBefore = weakSource;
	const QPointer<Reelhouse> self(this);
	const QList<QString> paths =
		QFileDialog::getOpenFileNames(this, ui("AddMediaTitle"), QString(), ui("MediaFileFilter"));
	// Meanwhile the dock may also have been bound to another source, or deleted.
	if (!self)
		return;
	OBSSourceAutoRelease source = lockSource();
	if (source && obs_weak_source_references_source(boundBefore, source))
		appendFiles(paths);
}

void Reelhouse::appendFiles(const QList<QString> &paths)
{
	const Operation operation(this);
	const QList<QString> ids = insertTracks(paths, tracks.size());
	if (ids.isEmpty())
		return;
	clearSearchSilently();
	rebuildList(ids.constLast());
	playlistWidget->scrollToItem(playlistWidget->currentItem(), QAbstractItemView::EnsureVisible);
	storeQueue();
	clearError();
}

QList<QString> Reelhouse::insertTracks(const QList<QString> &paths, qsizetype position)
{
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
	markTouched();
	return ids;
}

void Reelhouse::clearSearchSilently()
{
	if (searchEdit->text().isEmpty())
		return;
	const QSignalBlocker blocker(searchEdit);
	searchEdit->clear();
	// The clear button follows the field's signals; made anew, it starts from the field's text.
	searchEdit->setClearButtonEnabled(false);
	searchEdit->setClearButtonEnabled(true);
}

void Reelhouse::removeSelected()
{
	takeTracks(playlistWidget->selectedIds(), [this] {
		QString next;
		if (!tracks.isEmpty())
			next = tracks.at(std::min<qsizetype>(tracks.size() - 1, removed.constFirst().index)).id;
		rebuildList(next);
	});
}

// Out of the queue, for the next undo. Stops the current track if it goes.
qsizetype Reelhouse::takeTracks(const QSet<QString> &ids, const std::function<void()> &showRows)
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
	markTouched();
	const bool stops = tracks.isEmpty() || ids.contains(currentId);
	if (stops) {
		// Managed, so that the stop empties the source's playlist, which may still hold what was removed, and
		// stores the queue.
		managed = true;
		currentId.clear();
		stopPlayback();
	}
	showRows();
	if (!stops)
		storeQueue();
	clearError();
	return removed.size();
}

void Reelhouse::undoRemove()
{
	const Operation operation(this);
	const QString firstId = putTracksBack();
	if (firstId.isEmpty())
		return;
	rebuildList(firstId);
	storeQueue();
	clearError();
}

// Returns the id of the first track that the last removal took, or an empty string when there is nothing to undo.
QString Reelhouse::putTracksBack()
{
	OBSSourceAutoRelease source = lockActive();
	if (!source || removed.isEmpty())
		return {};
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
	markTouched();
	return firstId;
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
		// The drag has moved rows of a queue that is no longer anybody's.
		rebuildList(selectedId());
		return;
	}
	QList<Track> ordered;
	ordered.reserve(playlistWidget->count());
	for (int i = 0; i < playlistWidget->count(); i++)
		ordered.append(playlistWidget->trackRow(i)->track());
	tracks = std::move(ordered);
	markTouched();
	storeQueue();
	updateButtons();
	clearError();
}
