/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QLabel>

namespace reelhouse {

// A line of plain text that gives way to its neighbours: where there is no room for it all, its end is cut, since a
// message starts with what is wrong. With the pointer on it the message shows whole.
class MessageLabel : public QLabel {
public:
	using QLabel::QLabel;

	QSize minimumSizeHint() const override;

	bool event(QEvent *event) override;

protected:
	void paintEvent(QPaintEvent *event) override;
};

} // namespace reelhouse
