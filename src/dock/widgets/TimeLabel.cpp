/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/widgets/TimeLabel.hpp"

#include "dock/widgets/focusFrame.hpp"

namespace reelhouse {

TimeLabel::TimeLabel(const QString &text, QWidget *parent) : QLabel(text, parent)
{
	setFocusPolicy(Qt::TabFocus);
	// The focus frame needs this room beside the digits.
	setContentsMargins(3, 0, 3, 0);
}

void TimeLabel::paintEvent(QPaintEvent *event)
{
	QLabel::paintEvent(event);
	paintFocusFrame(this);
}

} // namespace reelhouse
