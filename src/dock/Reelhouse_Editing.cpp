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
	insertFiles(paths, tracks.size());
}

QList<QString> Reelhouse::insertFiles(const QList<QString> &paths, qsizetype position)
{
	OBSSourceAutoRelease source = lockSource();
	if (!source || suspended || shutDown || paths.isEmpty())
		return {};
	position = std::clamp<qsizetype>(position, 0, tracks.size());
	QList<QString> ids;
	QList<Track> merged = tracks.first(position);
	for (const QString &path : paths) {
		merged.append(Track::fromPath(path));
		ids.append(merged.constLast().id);
	}
	merged.append(tracks.sliced(position));
	tracks = merged;
	clearSearchSilently();
	rebuildList(ids.constLast());
	playlistWidget->scrollToItem(playlistWidget->currentItem(), QAbstractItemView::EnsureVisible);
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
	// The clear button follows the field's signals; made anew, it starts from the field's text.
	searchEdit->setClearButtonEnabled(false);
	searchEdit->setClearButtonEnabled(true);
}

void Reelhouse::removeSelected()
{
	removeRows(playlistWidget->selectedRows());
}

qsizetype Reelhouse::removeTracks(const QSet<QString> &ids)
{
	QList<int> rows;
	for (int i = 0; i < tracks.size(); i++) {
		if (ids.contains(tracks.at(i).id))
			rows.append(i);
	}
	return removeRows(rows);
}

qsizetype Reelhouse::removeRows(const QList<int> &rows)
{
	OBSSourceAutoRelease source = lockSource();
	if (!source || suspended || shutDown || rows.isEmpty())
		return 0;

	removed.clear();
	QList<Track> kept;
	kept.reserve(tracks.size() - rows.size());
	bool stops = rows.size() == tracks.size();
	auto row = rows.cbegin();
	for (int i = 0; i < tracks.size(); i++) {
		Track &track = tracks[i];
		if (row == rows.cend() || *row != i) {
			kept.append(std::move(track));
			continue;
		}
		row++;
		stops = stops || track.id == currentId;
		removed.append({std::move(track), i});
	}
	tracks = std::move(kept);

	if (stops) {
		// Managed, so that the stop empties the source's playlist, which may still hold what was removed, and
		// stores the queue.
		managed = true;
		currentId.clear();
		stopPlayback();
	}
	QString next;
	if (!tracks.isEmpty())
		next = tracks.at(std::min<qsizetype>(tracks.size() - 1, removed.constFirst().index)).id;
	rebuildList(next);
	if (!stops)
		storeQueue();
	clearError();
	return removed.size();
}

qsizetype Reelhouse::undoRemove()
{
	OBSSourceAutoRelease source = lockSource();
	if (!source || suspended || shutDown || removed.isEmpty())
		return 0;
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

	const qsizetype count = removed.size();
	removed.clear();
	tracks = std::move(merged);
	rebuildList(firstId);
	storeQueue();
	clearError();
	return count;
}

void Reelhouse::moveSelected(int delta)
{
	if (!OBSSourceAutoRelease(lockSource()) || suspended || shutDown)
		return;
	const int from = playlistWidget->currentRow();
	const int to = from + delta;
	if (visibleSelectionCount() != 1 || !needle().isEmpty() || from < 0 || to < 0 || to >= playlistWidget->count())
		return;
	reordering = true;
	QListWidgetItem *row = playlistWidget->takeItem(from);
	playlistWidget->insertItem(to, row);
	playlistWidget->setCurrentItem(row, QItemSelectionModel::ClearAndSelect);
	reordering = false;
	orderChanged();
}

void Reelhouse::moveTrack(const QString &id, int index)
{
	const QListWidgetItem *row = findRow(id, false);
	if (!OBSSourceAutoRelease(lockSource()) || suspended || shutDown || !row || index < 0 ||
	    index >= playlistWidget->count())
		return;
	reordering = true;
	const int from = playlistWidget->row(row);
	playlistWidget->model()->moveRow({}, from, {}, index > from ? index + 1 : index);
	reordering = false;
	orderChanged();
	// Another row has the number that is looked for.
	if (needle().startsWith(u'#'))
		filterList();
}

void Reelhouse::orderChanged()
{
	if (reordering)
		return;
	OBSSourceAutoRelease source = lockSource();
	if (!source || suspended || shutDown) {
		// The drag has moved rows of a queue that is no longer anybody's.
		rebuildList(selectedId());
		return;
	}
	QList<Track> ordered;
	ordered.reserve(tracks.size());
	for (int i = 0; i < playlistWidget->count(); i++)
		ordered.append(std::move(tracks[std::exchange(playlistWidget->trackRow(i)->place, i)]));
	tracks = std::move(ordered);
	storeQueue();
	updateButtons();
	clearError();
}
