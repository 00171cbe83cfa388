/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QComboBox>

namespace reelhouse {

// A combo box for long names. A name that is too long ends in "…". The open list is as wide as its longest entry, but
// not wider than the screen.
class Selector : public QComboBox {
public:
	explicit Selector(QWidget *parent);

	void showPopup() override;

protected:
	void paintEvent(QPaintEvent *event) override;

private:
	int widthOfEntries() const;
};

} // namespace reelhouse
