/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QSet>
#include <QSlider>
#include <QStyle>

namespace reelhouse {

// A horizontal slider whose handle jumps to the pointer when the slider is clicked. From there the press counts as one
// on the handle, so a click and a drag of the handle emit the same signals: pressed, perhaps moved, released.
class SeekSlider : public QSlider {
	Q_OBJECT

public:
	explicit SeekSlider(QWidget *parent) : QSlider(Qt::Horizontal, parent) {}

	// Whether a key that moves the slider is held. A key that went down before the slider had the focus does not
	// count.
	bool isKeyDown() const { return !keysDown.isEmpty(); }

Q_SIGNALS:
	// Emitted with true when the first of these keys goes down, and with false when the last one is released or the
	// slider loses the focus.
	void keyDownChanged(bool down);

protected:
	void mousePressEvent(QMouseEvent *event) override;
	void mouseMoveEvent(QMouseEvent *event) override;
	void keyPressEvent(QKeyEvent *event) override;
	void keyReleaseEvent(QKeyEvent *event) override;
	void focusOutEvent(QFocusEvent *event) override;
	void paintEvent(QPaintEvent *event) override;

private:
	QRect part(QStyle::SubControl control) const;
	void pressKey(int key);
	void releaseKeys();

	QSet<int> keysDown;     // Qt::Key values
	int releasedKey = 0;    // the key that was released last
	quint64 releasedAt = 0; // time stamp of that release, in ms of the window system
};

} // namespace reelhouse
