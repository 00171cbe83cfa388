/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/widgets/SeekSlider.hpp"

#include <QMouseEvent>
#include <QStyleOptionSlider>

#include <algorithm>

#include "dock/widgets/focusFrame.hpp"

namespace reelhouse {

namespace {

// Other keys may be held for another purpose, such as a modifier of the wheel.
bool movesSlider(int key)
{
	switch (key) {
	case Qt::Key_Left:
	case Qt::Key_Right:
	case Qt::Key_Up:
	case Qt::Key_Down:
	case Qt::Key_PageUp:
	case Qt::Key_PageDown:
	case Qt::Key_Home:
	case Qt::Key_End:
		return true;
	default:
		return false;
	}
}

} // namespace

QRect SeekSlider::part(QStyle::SubControl control) const
{
	QStyleOptionSlider option;
	initStyleOption(&option);
	return style()->subControlRect(QStyle::CC_Slider, &option, control, this);
}

void SeekSlider::mousePressEvent(QMouseEvent *event)
{
	const QPoint pointer = event->position().toPoint();
	const QRect handle = part(QStyle::SC_SliderHandle);
	if (event->button() != Qt::LeftButton || handle.contains(pointer)) {
		QSlider::mousePressEvent(event);
		return;
	}
	QStyleOptionSlider option;
	initStyleOption(&option);
	const QRect groove = part(QStyle::SC_SliderGroove);
	const int span = std::max(groove.width() - handle.width(), 0);
	const int offset = pointer.x() - groove.left() - handle.width() / 2;
	setValue(QStyle::sliderValueFromPosition(minimum(), maximum(), offset, span, option.upsideDown));

	// The base class must see a press on the handle. The handle now lies under the pointer, or, in a theme whose
	// handle is lower than the slider, just above or below it.
	const QRect moved = part(QStyle::SC_SliderHandle);
	const QPointF onHandle(std::clamp(pointer.x(), moved.left(), moved.right()),
			       std::clamp(pointer.y(), moved.top(), moved.bottom()));
	QMouseEvent press(event->type(), onHandle, event->scenePosition(), event->globalPosition(), event->button(),
			  event->buttons(), event->modifiers(), event->pointingDevice());
	QSlider::mousePressEvent(&press);
	event->setAccepted(press.isAccepted());
}

// A press ends when the slider is disabled. When it is enabled again, Qt would still let the held pointer move it.
void SeekSlider::mouseMoveEvent(QMouseEvent *event)
{
	if (isSliderDown())
		QSlider::mouseMoveEvent(event);
}

// Note the key before the base class moves the slider: the receivers of that move ask for it. X11 repeats a held key as
// a release and a press at the same moment, and Qt does not always mark both as a repeat.
void SeekSlider::keyPressEvent(QKeyEvent *event)
{
	const bool followsRelease = event->timestamp() != 0 && event->timestamp() == releasedAt &&
				    event->key() == releasedKey;
	if (movesSlider(event->key()) && (!event->isAutoRepeat() || followsRelease))
		pressKey(event->key());
	QSlider::keyPressEvent(event);
}

void SeekSlider::keyReleaseEvent(QKeyEvent *event)
{
	QSlider::keyReleaseEvent(event);
	if (event->isAutoRepeat() || !keysDown.remove(event->key()))
		return;
	releasedKey = event->key();
	releasedAt = event->timestamp();
	if (!isKeyDown())
		Q_EMIT keyDownChanged(false);
}

void SeekSlider::focusOutEvent(QFocusEvent *event)
{
	QSlider::focusOutEvent(event);
	if (isKeyDown())
		releaseKeys();
}

void SeekSlider::pressKey(int key)
{
	const bool wasDown = isKeyDown();
	keysDown.insert(key);
	if (!wasDown)
		Q_EMIT keyDownChanged(true);
}

void SeekSlider::releaseKeys()
{
	keysDown.clear();
	releasedKey = 0;
	Q_EMIT keyDownChanged(false);
}

void SeekSlider::paintEvent(QPaintEvent *event)
{
	QSlider::paintEvent(event);
	paintFocusFrame(this);
}

} // namespace reelhouse
