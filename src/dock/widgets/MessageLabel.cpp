/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/widgets/MessageLabel.hpp"

#include <QPainter>
#include <QStyle>

namespace reelhouse {

QSize MessageLabel::minimumSizeHint() const
{
	return QSize(0, QLabel::minimumSizeHint().height());
}

void MessageLabel::paintEvent(QPaintEvent *)
{
	QPainter painter(this);
	const QRect area = contentsRect();
	style()->drawItemText(&painter, area, static_cast<int>(alignment().toInt()), palette(), isEnabled(),
			      fontMetrics().elidedText(text(), Qt::ElideMiddle, area.width()), foregroundRole());
}

} // namespace reelhouse
