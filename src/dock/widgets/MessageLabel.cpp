/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/widgets/MessageLabel.hpp"

#include <QHelpEvent>
#include <QPainter>
#include <QScreen>
#include <QStyle>
#include <QToolTip>

using namespace Qt::StringLiterals;

namespace reelhouse {

namespace {

// Room for the tool tip's frame, in pixels.
constexpr int tipFrameRoom = 48;

} // namespace

// In a narrow dock, the words of some languages fill the row. The sign that every message starts with stays in sight.
QSize MessageLabel::minimumSizeHint() const
{
	return QSize(fontMetrics().horizontalAdvance(u"⚠ …"_s), QLabel::minimumSizeHint().height());
}

// Do not set the tooltip property: a screen reader would read it as the label's description.
bool MessageLabel::event(QEvent *event)
{
	if (event->type() != QEvent::ToolTip || text().isEmpty())
		return QLabel::event(event);
	const auto *help = static_cast<QHelpEvent *>(event);
	// Wrap only what is wider than the screen: Qt would wrap every message, and break its path.
	const int width = QFontMetrics(QToolTip::font()).horizontalAdvance(text());
	const bool fits = width + tipFrameRoom <= screen()->availableGeometry().width();
	QToolTip::showText(help->globalPos(),
			   u"<p style='white-space:%1'>%2</p>"_s.arg(fits ? "pre"_L1 : "pre-wrap"_L1,
								     text().toHtmlEscaped()),
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
