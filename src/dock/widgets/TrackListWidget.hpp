/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QListWidget>
#include <QSet>

namespace reelhouse {

class TrackRow;

// The list of tracks. Its rows are as wide as the view, so that a long label is elided and the columns beside it stay in
// sight, where QListView would widen all rows to its longest. Rows dragged together move in one step per run of
// neighbours, where QListView takes one per row and, for thousands, minutes.
class TrackListWidget : public QListWidget {
	Q_OBJECT

public:
	explicit TrackListWidget(QWidget *parent);

	// Every row is a track's.
	TrackRow *trackRow(int row) const;

	QRect visualRect(const QModelIndex &index) const override;

	// What is painted while no row is shown; an empty text for nothing.
	void setEmptyText(const QString &text);

	// The selected rows, in ascending order. As in the next three, those that the search hides do not count.
	QList<int> selectedRows() const;
	QSet<QString> selectedIds() const;
	bool showsAny(const QSet<QString> &ids) const;
	// Selects exactly the rows with these ids and makes the one with currentId current, or else the first. False,
	// and nothing is changed, when there is none.
	bool selectRows(const QSet<QString> &ids, const QString &currentId);

Q_SIGNALS:
	// The model has moved rows: after each move, or once after all the moves of one drop.
	void reordered();

protected:
	void startDrag(Qt::DropActions actions) override;
	void dropEvent(QDropEvent *event) override;
	void paintEvent(QPaintEvent *event) override;

private:
	QList<int> shownRows(const QSet<QString> &ids) const;
	void moveRowsTo(int target);
	void rowsMoved();
	void paintEmptyText();

	QString emptyText;
	QSet<QString> draggedIds; // while a drag of ours goes on
	bool dropping = false;
};

} // namespace reelhouse
