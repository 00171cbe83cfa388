/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/widgets/MessageLabel.hpp"

#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>

using namespace Qt::StringLiterals;

namespace reelhouse {

QSize MessageLabel::minimumSizeHint() const
{
	return QSize(0, QLabel::minimumSizeHint().height());
}

// Do not set the tooltip property: a screen reader would read it as the label's description.
bool MessageLabel::event(QEvent *event)
{
	if (event->type() != QEvent::ToolTip || text().isEmpty())
		return QLabel::event(event);
	const auto *help = static_cast<QHelpEvent *>(event);
	QToolTip::showText(help->globalPos(), u"<p style='white-space:pre-wrap'>%1</p>"_s.arg(text().toHtmlEscaped()),
			   this, rect());
	return true;
}

void MessageLabel::paintEvent(QPaintEvent *)
{
	QPainter painter(this);
	const QRect area = contentsRect();
	style()->drawItemText(&painter, area, static_cast<int>(alignment().toInt()), palette(), isEnabled(),
			      fontMetrics().elidedText(text(), Qt::ElideRight, area.width()), foregroundRole());
}

} // namespace reelhouse
