/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QToolTip>

#include <algorithm>
#include <utility>

#include "dock/widgets/TrackListWidget.hpp"
#include "dock/widgets/TrackRow.hpp"
#include "queue/paths.hpp"
#include "queue/sources.hpp"
#include "queue/text.hpp"

using namespace reelhouse;

namespace {

// Decides which rows a search text shows: for "#" and a number the row of that number, else every row whose path
// contains the text.
class RowFilter {
public:
	explicit RowFilter(const QString &text_) : text(text_), byNumber(text.startsWith(u'#'))
	{
		// toInt() returns 0 for a text that is no number, and no row has the number 0.
		if (byNumber)
			numberedRow = qint64(QStringView(text).mid(1).toInt()) - 1;
	}

	bool shows(int row, const QString &path) const
	{
		return byNumber ? row == numberedRow : path.contains(text, Qt::CaseInsensitive);
	}

private:
	const QString text;
	const bool byNumber;
	qint64 numberedRow = -1;
};

} // namespace

void Reelhouse::rebuildList(const QString &selectId)
{
	const QSignalBlocker blocker(playlistWidget);
	updateRows();
	QListWidgetItem *selected = nullptr;
	for (int i = 0; i < playlistWidget->count() && !selectId.isEmpty(); i++) {
		if (playlistWidget->trackRow(i)->id() == selectId)
			selected = playlistWidget->trackRow(i);
	}
	playlistWidget->setCurrentItem(selected, QItemSelectionModel::ClearAndSelect);
	filterList();
}

bool Reelhouse::hasRowOf(const Track &track, int row) const
{
	return playlistWidget->trackRow(row)->track() == track;
}

// Makes one row for each track. Rows at the start and the end of the list that already fit their tracks stay.
void Reelhouse::updateRows()
{
	reordering = true;
	const QSignalBlocker blocker(playlistWidget);
	playlistWidget->setUpdatesEnabled(false);
	measureTracks();
	const int count = static_cast<int>(tracks.size());
	const int shorter = std::min(count, playlistWidget->count());
	int start = 0;
	while (start < shorter && hasRowOf(tracks.at(start), start))
		start++;
	int end = 0;
	while (start + end < shorter && hasRowOf(tracks.at(count - 1 - end), playlistWidget->count() - 1 - end))
		end++;

	// Qt shifts the rows behind each new row and tells each hidden row about it. If that takes longer than making
	// all rows again, make all rows again.
	const qint64 added = count - start - end;
	if (added * (1 + (end + playlistWidget->count() - shownCount) / 1000) > count - added) {
		playlistWidget->clear();
		start = end = 0;
	}
	playlistWidget->model()->removeRows(start, playlistWidget->count() - start - end);
	for (int i = start; i < count - end; i++)
		playlistWidget->insertItem(i, new TrackRow(tracks.at(i), false));
	for (int i = 0; i < count; i++) {
		TrackRow *row = playlistWidget->trackRow(i);
		if (row->isMarked() != (row->id() == currentId))
			row->mark(!row->isMarked());
		row->setFailed(failedIds.contains(row->id()));
	}
	playlistWidget->setUpdatesEnabled(true);
	reordering = false;
}

// For an edit by other code: the user's selection and search text stay, and so does the row at the top of the view.
void Reelhouse::updateListKeepingView()
{
	const QSignalBlocker blocker(playlistWidget);
	const QSet<QString> selected = playlistWidget->selectedIds();
	const QString current = nearestTrackInQueue(playlistWidget->currentRow());
	const ViewTop top = viewTop();
	const bool wasEmpty = playlistWidget->count() == 0;
	updateRows();
	filterRows();
	if (!current.isEmpty()) {
		const bool staysSelected = playlistWidget->selectRows(selected, current);
		if (selected.isEmpty())
			playlistWidget->clearSelection();
		playlistWidget->setCurrentItem(findRow(current, true), staysSelected || selected.isEmpty()
									       ? QItemSelectionModel::NoUpdate
									       : QItemSelectionModel::ClearAndSelect);
	}
	// A search for a row number now matches another row.
	if (wasEmpty || searchText().startsWith(u'#'))
		filterList();
	keepViewTop(top);
	showCount();
	updateButtons();
}

// Returns the id of this row if its track is still in the queue and the search shows it; else that of the next such
// row, or of the previous one if there is no next. Empty when there is no such row.
QString Reelhouse::nearestTrackInQueue(int wanted) const
{
	if (wanted < 0)
		return {};
	QSet<QString> queued;
	for (const Track &track : tracks)
		queued.insert(track.id);
	const auto isNear = [&](int row) {
		return !playlistWidget->isRowHidden(row) && queued.contains(playlistWidget->trackRow(row)->id());
	};
	for (int row = wanted; row < playlistWidget->count(); row++) {
		if (isNear(row))
			return playlistWidget->trackRow(row)->id();
	}
	for (int row = wanted - 1; row >= 0; row--) {
		if (isNear(row))
			return playlistWidget->trackRow(row)->id();
	}
	return {};
}

Reelhouse::ViewTop Reelhouse::viewTop() const
{
	const QModelIndex index = playlistWidget->indexAt(QPoint());
	return {nearestTrackInQueue(index.row()), playlistWidget->visualRect(index).top()};
}

// The user may be about to click a row, so rows must not move under the pointer.
void Reelhouse::keepViewTop(const ViewTop &top)
{
	// Lay out now, so that the scroll bar's range fits the rows before its value is set.
	playlistWidget->doItemsLayout();
	const QListWidgetItem *row = findRow(top.trackId, true);
	if (!row)
		return;
	const QRect rect = playlistWidget->visualItemRect(row);
	const bool byPixel = playlistWidget->verticalScrollMode() == QAbstractItemView::ScrollPerPixel;
	QScrollBar *bar = playlistWidget->verticalScrollBar();
	bar->setValue(bar->value() + (rect.top() - top.y) / (byPixel ? 1 : std::max(rect.height(), 1)));
}

void Reelhouse::filterList()
{
	QToolTip::showText(QPoint(), QString());
	const QSignalBlocker blocker(playlistWidget);
	filterRows();
	// Without a search the current row stays.
	if (!searchText().isEmpty() || !playlistWidget->currentItem())
		selectFirstShown();
	playlistWidget->setDragEnabled(searchText().isEmpty());
	showCount();
	updateButtons();
}

void Reelhouse::selectFirstShown()
{
	QListWidgetItem *first = nullptr;
	for (int i = 0; i < playlistWidget->count() && !first; i++) {
		if (!playlistWidget->isRowHidden(i))
			first = playlistWidget->item(i);
	}
	playlistWidget->setCurrentItem(first, QItemSelectionModel::ClearAndSelect);
	if (first)
		playlistWidget->scrollToItem(first, QAbstractItemView::EnsureVisible);
}

void Reelhouse::filterRows()
{
	const RowFilter filter(searchText());
	shownCount = 0;
	for (int i = 0; i < playlistWidget->count(); i++) {
		const bool shown = filter.shows(i, playlistWidget->trackRow(i)->path());
		// Qt schedules a layout and a repaint for every call, even if the row does not change.
		if (playlistWidget->isRowHidden(i) == shown)
			playlistWidget->setRowHidden(i, !shown);
		shownCount += shown;
	}
}

void Reelhouse::showCount()
{
	trackCountLabel->setText(searchText().isEmpty() ? ui("TrackCount").arg(tracks.size())
							: ui("FilteredCount").arg(shownCount).arg(tracks.size()));
	explainEmptyList();
}

// The chosen source may have another dock.
QString Reelhouse::whyNoSource() const
{
	const Reelhouse *other = otherDockOf(sourceUuid);
	if (!other)
		return ui("ListNoSourceChosen");
	OBSSourceAutoRelease source = sourceWith(sourceUuid);
	return ui("ListSourceTaken").arg(nameOf(source), other->name());
}

// While no scene collection is active, the list explains nothing.
void Reelhouse::explainEmptyList()
{
	QString text;
	if (isActive() && shownCount == 0) {
		if (sourceSelector->count() == 1)
			text = ui("ListNoSources");
		else if (!weakSource)
			text = whyNoSource();
		else
			text = ui(tracks.isEmpty() ? "ListEmptyQueue" : "ListNothingFound");
	}
	playlistWidget->setEmptyText(text);
	// A screen reader reads this description, not the painted text.
	const QString description = text.isEmpty() ? ui("PlaylistDescription") : text;
	// Qt announces every description that is set, even an equal one.
	if (playlistWidget->accessibleDescription() != description)
		playlistWidget->setAccessibleDescription(description);
}

QListWidgetItem *Reelhouse::findRow(const QString &id, bool shownOnly) const
{
	for (int i = 0; i < playlistWidget->count(); i++) {
		TrackRow *row = playlistWidget->trackRow(i);
		if (row->id() == id && !(shownOnly && playlistWidget->isRowHidden(i)))
			return row;
	}
	return nullptr;
}

QString Reelhouse::searchText() const
{
	return searchEdit->text().trimmed();
}

// Walk the ranges of the selection, not its items: every poll calls this, and the whole list may be selected.
int Reelhouse::visibleSelectionCount() const
{
	int count = 0;
	if (shownCount == 0)
		return count;
	for (const QItemSelectionRange &range : playlistWidget->selectionModel()->selection()) {
		for (int row = range.top(); row <= range.bottom() && count < 2; row++)
			count += !playlistWidget->isRowHidden(row);
	}
	return count;
}

void Reelhouse::rememberView()
{
	OBSSourceAutoRelease source = lockSource();
	if (!source)
		return;
	views.insert(uuidOf(source),
		     ViewState{selectedId(), searchText(), playlistWidget->verticalScrollBar()->value()});
}

void Reelhouse::restoreView(const QString &uuid)
{
	const auto view = views.constFind(uuid);
	// Switching sources leaves the search text alone, and a view only fits the filter that it was remembered with.
	if (view == views.cend() || searchText() != view->searchText)
		return;

	QListWidgetItem *row = nullptr;
	if (!view->selectedTrackId.isEmpty()) {
		row = findRow(view->selectedTrackId, true);
		if (!row)
			return;
	}
	const QSignalBlocker blocker(playlistWidget);
	playlistWidget->setCurrentItem(row, QItemSelectionModel::ClearAndSelect);
	// Lay out now, so that the scroll bar's range fits the rows before its value is set.
	playlistWidget->doItemsLayout();
	playlistWidget->verticalScrollBar()->setValue(view->scrollValue);
	updateButtons();
}
