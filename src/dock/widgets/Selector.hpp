/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QComboBox>

namespace reelhouse {

// A combo box for long names. Where one is cut short it ends in "…", and the open list is as wide as its longest entry
// as far as the screen allows.
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
