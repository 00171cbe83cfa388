/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QListWidget>

namespace reelhouse {

// The list of tracks. Dragging several rows moves them in the model one by one; whoever stores the order wants to do it
// once for all of them.
class TrackListWidget : public QListWidget {
	Q_OBJECT

public:
	explicit TrackListWidget(QWidget *parent);

Q_SIGNALS:
	// The model has moved rows: after each move, or once after all the moves of one drop.
	void reordered();

protected:
	void dropEvent(QDropEvent *event) override;

private:
	void rowsMoved();

	bool dropping = false;
	bool movedByDrop = false;
};

} // namespace reelhouse
