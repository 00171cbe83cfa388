/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/widgets/TrackListWidget.hpp"

#include <QDropEvent>

#include <algorithm>

#include "dock/widgets/TrackRow.hpp"

namespace reelhouse {

namespace {

// Neighbouring rows.
struct Run {
	int first;
	int last;

	int count() const { return last - first + 1; }
};

// Takes rows in ascending order.
QList<Run> runsOf(const QList<int> &rows)
{
	QList<Run> runs;
	for (const int row : rows) {
		if (!runs.isEmpty() && runs.constLast().last == row - 1)
			runs.last().last = row;
		else
			runs.append({row, row});
	}
	return runs;
}

} // namespace

TrackListWidget::TrackListWidget(QWidget *parent) : QListWidget(parent)
{
	setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
	connect(model(), &QAbstractItemModel::rowsMoved, this, &TrackListWidget::rowsMoved);
}

QRect TrackListWidget::visualRect(const QModelIndex &index) const
{
	QRect rect = QListWidget::visualRect(index);
	if (rect.isValid()) {
		rect.setLeft(0);
		rect.setWidth(viewport()->width());
	}
	return rect;
}

TrackRow *TrackListWidget::trackRow(int row) const
{
	return static_cast<TrackRow *>(item(row));
}

QList<int> TrackListWidget::selectedRows() const
{
	QList<int> rows;
	for (const QItemSelectionRange &range : selectionModel()->selection()) {
		for (int row = range.top(); row <= range.bottom(); row++) {
			if (!isRowHidden(row))
				rows.append(row);
		}
	}
	std::ranges::sort(rows);
	return rows;
}

QSet<QString> TrackListWidget::selectedIds() const
{
	const QList<int> rows = selectedRows();
	QSet<QString> ids;
	ids.reserve(rows.size());
	for (const int row : rows)
		ids.insert(trackRow(row)->id());
	return ids;
}

bool TrackListWidget::showsAny(const QSet<QString> &ids) const
{
	for (int row = 0; row < count(); row++) {
		if (ids.contains(trackRow(row)->id()) && !isRowHidden(row))
			return true;
	}
	return false;
}

QList<int> TrackListWidget::shownRows(const QSet<QString> &ids) const
{
	QList<int> rows;
	for (int row = 0; row < count(); row++) {
		if (ids.contains(trackRow(row)->id()) && !isRowHidden(row))
			rows.append(row);
	}
	return rows;
}

bool TrackListWidget::selectRows(const QSet<QString> &ids, const QString &currentId)
{
	const QList<int> rows = shownRows(ids);
	if (rows.isEmpty())
		return false;
	const auto current = std::ranges::find(rows, currentId, [this](int row) { return trackRow(row)->id(); });
	QItemSelection selection;
	for (const auto &[first, last] : runsOf(rows))
		selection.append(QItemSelectionRange(model()->index(first, 0), model()->index(last, 0)));
	selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
	setCurrentRow(current == rows.cend() ? rows.constFirst() : *current, QItemSelectionModel::NoUpdate);
	return true;
}

// What is dropped is what was picked up: until then the end of a track may have moved the selection, and a reload may
// have put other rows in place of these.
void TrackListWidget::startDrag(Qt::DropActions actions)
{
	draggedIds = selectedIds();
	QListWidget::startDrag(actions);
	draggedIds.clear();
}

void TrackListWidget::dropEvent(QDropEvent *event)
{
	if (event->source() == this) {
		const QPoint position = event->position().toPoint();
		const QModelIndex index = indexAt(position);
		int target = count();
		if (index.isValid())
			target = index.row() + (position.y() >= visualRect(index).center().y());
		moveRowsTo(target);
		// What is left to the base class is to end the drag.
		event->accept();
	}
	QListWidget::dropEvent(event);
}

// Moves from the target outwards, so that no move shifts rows that are still to be moved.
void TrackListWidget::moveRowsTo(int target)
{
	const bool asPickedUp = draggedIds.isEmpty() || draggedIds == selectedIds();
	const QList<int> rows = asPickedUp ? selectedRows() : shownRows(draggedIds);
	const auto split = std::ranges::lower_bound(rows, target);
	const QList<int> above(rows.cbegin(), split), below(split, rows.cend());

	dropping = true;
	bool moved = false;
	int destination = target;
	const QList<Run> runsAbove = runsOf(above);
	for (auto run = runsAbove.crbegin(); run != runsAbove.crend(); ++run) {
		moved |= model()->moveRows({}, run->first, run->count(), {}, destination);
		destination -= run->count();
	}
	destination = target;
	for (const Run &run : runsOf(below)) {
		moved |= model()->moveRows({}, run.first, run.count(), {}, destination);
		destination += run.count();
	}
	dropping = false;
	if (moved)
		Q_EMIT reordered();
}

void TrackListWidget::rowsMoved()
{
	if (!dropping)
		Q_EMIT reordered();
}

} // namespace reelhouse
