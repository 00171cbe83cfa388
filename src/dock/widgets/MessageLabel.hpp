/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QLabel>

namespace reelhouse {

// A line of plain text that gives way to its neighbours: where there is no room for it all, its middle is left out, since
// the messages start with what is wrong and end with a file's name.
class MessageLabel : public QLabel {
public:
	using QLabel::QLabel;

	QSize minimumSizeHint() const override;

protected:
	void paintEvent(QPaintEvent *event) override;
};

} // namespace reelhouse
