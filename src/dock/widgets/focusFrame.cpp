/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/widgets/focusFrame.hpp"

#include <QPainter>
#include <QWidget>

namespace reelhouse {

void paintFocusFrame(QWidget *widget)
{
	if (!widget->hasFocus())
		return;
	QPainter painter(widget);
	painter.setRenderHint(QPainter::Antialiasing);
	painter.setPen(widget->palette().color(QPalette::WindowText));
	painter.drawRoundedRect(QRectF(widget->rect()).adjusted(0.5, 0.5, -0.5, -0.5), 2, 2);
}

} // namespace reelhouse
