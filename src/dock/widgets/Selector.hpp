/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QComboBox>

namespace reelhouse {

// A combo box for long names. A name that is too long ends in "…". The open list is as wide as its longest entry, but
// not wider than the screen. Without the keyboard focus the wheel does nothing, so that nobody changes the selection by
// scrolling past.
class Selector : public QComboBox {
public:
	explicit Selector(QWidget *parent);

	void showPopup() override;

protected:
	void paintEvent(QPaintEvent *event) override;
	void wheelEvent(QWheelEvent *event) override;

private:
	int widthOfEntries() const;
};

} // namespace reelhouse
