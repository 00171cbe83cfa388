/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/TrackListWidget.hpp"

#include <QDropEvent>

#include <algorithm>

namespace reelhouse {

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

void TrackListWidget::dropEvent(QDropEvent *event)
{
	if (event->source() == this) {
		const QPoint position = event->position().toPoint();
		const QModelIndex index = indexAt(position);
		int target = count();
		if (index.isValid())
			target = index.row() + (position.y() >= visualRect(index).center().y());
		moveSelectionTo(target);
		// What is left to the base class is to end the drag.
		event->accept();
	}
	QListWidget::dropEvent(event);
}

// Moves from the target outwards, so that no move shifts rows that are still to be moved.
void TrackListWidget::moveSelectionTo(int target)
{
	QList<int> rows;
	for (const QModelIndex &index : selectedIndexes())
		rows.append(index.row());
	std::ranges::sort(rows);
	const auto split = std::ranges::lower_bound(rows, target);

	dropping = true;
	bool moved = false;
	int destination = target;
	for (auto end = split; end != rows.cbegin();) {
		auto first = end - 1;
		while (first != rows.cbegin() && first[-1] == *first - 1)
			first--;
		const int run = static_cast<int>(end - first);
		moved |= model()->moveRows({}, *first, run, {}, destination);
		destination -= run;
		end = first;
	}
	destination = target;
	for (auto first = split; first != rows.cend();) {
		auto end = first + 1;
		while (end != rows.cend() && *end == end[-1] + 1)
			end++;
		const int run = static_cast<int>(end - first);
		moved |= model()->moveRows({}, *first, run, {}, destination);
		destination += run;
		first = end;
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
