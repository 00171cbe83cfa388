/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include <QFileDialog>
#include <QLineEdit>
#include <QPointer>
#include <QSet>
#include <QSignalBlocker>

#include <algorithm>

#include "dock/TrackListWidget.hpp"
#include "dock/text.hpp"

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
	OBSSourceAutoRelease source = lockSource();
	if (!source || suspended || shutDown || paths.isEmpty())
		return;
	for (const QString &path : paths)
		tracks.append(Track::fromPath(path));
	clearSearchSilently();
	rebuildList(tracks.constLast().id);
	playlistWidget->scrollToItem(playlistWidget->currentItem(), QAbstractItemView::EnsureVisible);
	storeQueue();
	clearError();
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
	OBSSourceAutoRelease source = lockSource();
	if (!source || suspended || shutDown)
		return;
	const QSet<QString> ids = playlistWidget->selectedIds();
	if (ids.isEmpty())
		return;

	removed.clear();
	QList<Track> kept;
	for (int i = 0; i < tracks.size(); i++) {
		const Track &track = tracks.at(i);
		if (ids.contains(track.id))
			removed.append({track, i});
		else
			kept.append(track);
	}
	if (removed.isEmpty())
		return;
	tracks = kept;

	const bool stops = ids.contains(currentId) || tracks.isEmpty();
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
}

void Reelhouse::undoRemove()
{
	OBSSourceAutoRelease source = lockSource();
	if (!source || suspended || shutDown || removed.isEmpty())
		return;
	QList<Track> merged;
	merged.reserve(tracks.size() + removed.size());
	auto rest = tracks.cbegin();
	for (const RemovedTrack &entry : std::as_const(removed)) {
		while (rest != tracks.cend() && merged.size() < entry.index)
			merged.append(*rest++);
		merged.append(entry.track);
	}
	std::copy(rest, tracks.cend(), std::back_inserter(merged));

	const QString firstId = removed.constFirst().track.id;
	removed.clear();
	tracks = merged;
	rebuildList(firstId);
	storeQueue();
	clearError();
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
	tracks.clear();
	tracks.reserve(playlistWidget->count());
	for (int i = 0; i < playlistWidget->count(); i++) {
		const QListWidgetItem *row = playlistWidget->item(i);
		tracks.append({row->data(IdRole).toString(), row->data(PathRole).toString(),
			       row->data(SizeRole).toLongLong()});
	}
	storeQueue();
	updateButtons();
	clearError();
}
