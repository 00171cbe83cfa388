/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QLabel>

namespace reelhouse {

// A label that the Tab key reaches. It paints a frame while it has the keyboard focus.
class TimeLabel : public QLabel {
public:
	TimeLabel(const QString &text, QWidget *parent);

protected:
	void paintEvent(QPaintEvent *event) override;
};

} // namespace reelhouse
