/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/widgets/TrackListWidget.hpp"

#include <QDropEvent>
#include <QFile>
#include <QIcon>
#include <QPainter>

#include <algorithm>

#include "dock/widgets/TrackRow.hpp"

using namespace Qt::StringLiterals;

namespace reelhouse {

namespace {

// The sizes of OBS's list of sources, in device-independent pixels.
constexpr QSize emptyIconSize(32, 32);
constexpr int emptyIconGap = 16;
constexpr int emptyMargin = 8;

// A run of neighbouring rows.
struct Run {
	int first;
	int last;

	int count() const { return last - first + 1; }
};

// Splits rows into runs. The rows must be in ascending order.
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

void TrackListWidget::setEmptyText(const QString &text)
{
	if (text == emptyText)
		return;
	emptyText = text;
	viewport()->update();
}

void TrackListWidget::paintEvent(QPaintEvent *event)
{
	QListWidget::paintEvent(event);
	if (!emptyText.isEmpty())
		paintEmptyText();
}

// Paints the picture of OBS's empty list of sources and the text below it. A small list has only the text, and the
// smallest one only its first line.
void TrackListWidget::paintEmptyText()
{
	QPainter painter(viewport());
	const QRect area = viewport()->rect().adjusted(emptyMargin, 0, -emptyMargin, 0);
	constexpr int flags = Qt::AlignHCenter | Qt::TextWordWrap;
	QRect textRect = fontMetrics().boundingRect(QRect(0, 0, area.width(), 0), flags, emptyText);
	textRect.setWidth(area.width());
	painter.setPen(palette().color(QPalette::Text));
	// Use the direction of the text: OBS keeps its layout left-to-right in every language.
	painter.setLayoutDirection(emptyText.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
	if (textRect.height() > area.height()) {
		const QString line = QString(emptyText).replace(u'\n', u' ');
		painter.drawText(area, Qt::AlignCenter, fontMetrics().elidedText(line, Qt::ElideRight, area.width()));
		return;
	}

	const bool dark = palette().color(QPalette::Text).lightness() > palette().color(QPalette::Base).lightness();
	const QString iconFile = dark ? u"theme:Dark/no_sources.svg"_s : u":res/images/no_sources.svg"_s;
	const int iconHeight = emptyIconSize.height() + emptyIconGap;
	const bool withIcon = textRect.height() + iconHeight <= area.height() && QFile::exists(iconFile);
	const int height = textRect.height() + (withIcon ? iconHeight : 0);
	textRect.moveTo(area.left(), area.center().y() - height / 2 + height - textRect.height());
	if (withIcon) {
		QRect iconRect(QPoint(), emptyIconSize);
		iconRect.moveCenter(area.center());
		iconRect.moveTop(textRect.top() - iconHeight);
		QIcon(iconFile).paint(&painter, iconRect);
	}
	painter.drawText(textRect, flags, emptyText);
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

// Remember the tracks at the start of the drag: before the drop, an ended track may move the selection and a reload may
// replace the rows.
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
		// The base class now only ends the drag.
		event->accept();
	}
	QListWidget::dropEvent(event);
}

// Moves the runs nearest to the target first, so that no move shifts rows that have yet to move.
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
