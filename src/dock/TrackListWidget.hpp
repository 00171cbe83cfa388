/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QListWidget>

namespace reelhouse {

// The list of tracks. Its rows are as wide as the view, so that a long label is elided and the columns beside it stay in
// sight, where QListView would widen all rows to its longest. Rows dragged together move in one step per run of
// neighbours, where QListView takes one per row and, for thousands, minutes.
class TrackListWidget : public QListWidget {
	Q_OBJECT

public:
	explicit TrackListWidget(QWidget *parent);

	QRect visualRect(const QModelIndex &index) const override;

Q_SIGNALS:
	// The model has moved rows: after each move, or once after all the moves of one drop.
	void reordered();

protected:
	void dropEvent(QDropEvent *event) override;

private:
	void moveSelectionTo(int target);
	void rowsMoved();

	bool dropping = false;
};

} // namespace reelhouse
