/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/SeekSlider.hpp"

#include <QMouseEvent>
#include <QStyle>
#include <QStyleOptionSlider>

#include <algorithm>

namespace reelhouse {

void SeekSlider::mousePressEvent(QMouseEvent *event)
{
	if (event->button() == Qt::LeftButton) {
		QStyleOptionSlider option;
		initStyleOption(&option);
		const auto part = [&](QStyle::SubControl control) {
			return style()->subControlRect(QStyle::CC_Slider, &option, control, this);
		};
		const QRect handle = part(QStyle::SC_SliderHandle);
		const QPoint pointer = event->position().toPoint();
		if (!handle.contains(pointer)) {
			const QRect groove = part(QStyle::SC_SliderGroove);
			const int span = std::max(groove.width() - handle.width(), 0);
			const int offset = pointer.x() - groove.left() - handle.width() / 2;
			setValue(
				QStyle::sliderValueFromPosition(minimum(), maximum(), offset, span, option.upsideDown));
		}
	}
	// The handle now lies under the pointer, so the base class takes the press for one on the handle.
	QSlider::mousePressEvent(event);
}

} // namespace reelhouse
