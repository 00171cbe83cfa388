/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QListWidget>
#include <QSet>

namespace reelhouse {

class TrackRow;

// The list of tracks. All rows are as wide as the view, so long labels are elided and the columns beside them stay
// visible; QListView would make all rows as wide as the longest. A drag moves one run of neighbouring rows per step;
// QListView moves one row per step, which takes minutes for thousands.
class TrackListWidget : public QListWidget {
	Q_OBJECT

public:
	explicit TrackListWidget(QWidget *parent);

	// Returns the row at this position, which the list owns; null when there is no such row. Every row is a
	// TrackRow.
	TrackRow *trackRow(int row) const;

	QRect visualRect(const QModelIndex &index) const override;

	// Sets the text that is painted while no row is shown. An empty text paints nothing.
	void setEmptyText(const QString &text);

	// These four ignore rows that the search hides. Returns the selected rows in ascending order.
	QList<int> selectedRows() const;
	QSet<QString> selectedIds() const;
	// Returns the rows with these ids.
	QList<int> shownRows(const QSet<QString> &ids) const;
	// Selects exactly the rows with these ids. The row with currentId becomes the current row, or else the first of
	// them. Returns false and changes nothing when there is no such row.
	bool selectRows(const QSet<QString> &ids, const QString &currentId);

Q_SIGNALS:
	// The model has moved rows. Emitted after each move, but only once for all moves of one drop.
	void reordered();

protected:
	void startDrag(Qt::DropActions actions) override;
	void dropEvent(QDropEvent *event) override;
	void paintEvent(QPaintEvent *event) override;

private:
	void moveRowsTo(int target);
	void rowsMoved();
	void paintEmptyText();

	QString emptyText;
	QSet<QString> draggedIds; // not empty during a drag of the list's own rows
	bool dropping = false;
};

} // namespace reelhouse
