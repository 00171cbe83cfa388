/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QSlider>
#include <QStyle>

namespace reelhouse {

// A horizontal slider that jumps to where it is clicked and is held down from there, so that a click reports what a
// drag of the handle reports: pressed, perhaps moved, released.
class SeekSlider : public QSlider {
public:
	explicit SeekSlider(QWidget *parent) : QSlider(Qt::Horizontal, parent) {}

protected:
	void mousePressEvent(QMouseEvent *event) override;
	void paintEvent(QPaintEvent *event) override;

private:
	QRect part(QStyle::SubControl control) const;
};

} // namespace reelhouse
