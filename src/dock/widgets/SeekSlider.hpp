/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QSet>
#include <QSlider>
#include <QStyle>

namespace reelhouse {

// A horizontal slider that jumps to where it is clicked and is held down from there, so that a click reports what a
// drag of the handle reports: pressed, perhaps moved, released.
class SeekSlider : public QSlider {
	Q_OBJECT

public:
	explicit SeekSlider(QWidget *parent) : QSlider(Qt::Horizontal, parent) {}

	// Whether a key that moves the slider is down and went down here. A key that was held before the slider had the focus
	// does not count.
	bool isKeyDown() const { return !keysDown.isEmpty(); }

Q_SIGNALS:
	// The first of these keys went down, or the last one was let go of or lost with the focus.
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

	QSet<int> keysDown;
	int releasedKey = 0;    // the last one
	quint64 releasedAt = 0; // in ms of the window system
};

} // namespace reelhouse
