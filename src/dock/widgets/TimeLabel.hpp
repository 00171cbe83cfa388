/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QLabel>

namespace reelhouse {

// A label that the Tab key reaches and that shows when it has the focus.
class TimeLabel : public QLabel {
public:
	TimeLabel(const QString &text, QWidget *parent);

protected:
	void paintEvent(QPaintEvent *event) override;
};

} // namespace reelhouse
