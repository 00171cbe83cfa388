/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QLabel>

namespace reelhouse {

// Shows one line of plain text. In a narrow row it shrinks and cuts the end of the text, because a message starts with
// what is wrong. A tooltip shows the whole text.
class MessageLabel : public QLabel {
public:
	using QLabel::QLabel;

	QSize minimumSizeHint() const override;

	bool event(QEvent *event) override;

protected:
	void paintEvent(QPaintEvent *event) override;
};

} // namespace reelhouse
