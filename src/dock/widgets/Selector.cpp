/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/widgets/Selector.hpp"

#include <QAbstractItemView>
#include <QScreen>
#include <QStyledItemDelegate>
#include <QStylePainter>
#include <QWheelEvent>

#include <algorithm>

namespace reelhouse {

Selector::Selector(QWidget *parent) : QComboBox(parent)
{
	// In themes that open the list as a menu, Qt's own delegate cuts off entries without "…".
	setItemDelegate(new QStyledItemDelegate(this));
	view()->setTextElideMode(Qt::ElideRight);
	setFocusPolicy(Qt::StrongFocus); // not by the wheel
}

void Selector::paintEvent(QPaintEvent *)
{
	QStylePainter painter(this);
	painter.setPen(palette().color(QPalette::Text));
	QStyleOptionComboBox option;
	initStyleOption(&option);
	painter.drawComplexControl(QStyle::CC_ComboBox, option);
	const QRect field = style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, this);
	// The styles leave one pixel free on each side.
	option.currentText = fontMetrics().elidedText(option.currentText, Qt::ElideRight, field.width() - 2);
	painter.drawControl(QStyle::CE_ComboBoxLabel, option);
}

void Selector::wheelEvent(QWheelEvent *event)
{
	if (hasFocus())
		QComboBox::wheelEvent(event);
	else
		event->ignore();
}

int Selector::widthOfEntries() const
{
	const int scrollBar = count() > maxVisibleItems() ? style()->pixelMetric(QStyle::PM_ScrollBarExtent) : 0;
	return view()->sizeHintForColumn(0) + 2 * view()->frameWidth() + scrollBar;
}

void Selector::showPopup()
{
	QWidget *popup = view()->window();
	const QMargins frame = popup->contentsMargins();
	const QRect area = screen()->availableGeometry();
	view()->setMinimumWidth(std::min(widthOfEntries(), area.width() - frame.left() - frame.right()));
	QComboBox::showPopup();

	// Qt has placed the popup for the width of the selector.
	const QRect box(mapToGlobal(QPoint()), size());
	const int left = isRightToLeft() ? box.right() + 1 - popup->width() : box.left();
	const int rightmost = area.right() + 1 - popup->width();
	popup->move(std::max(std::min(left, rightmost), area.left()), popup->y());
}

} // namespace reelhouse
