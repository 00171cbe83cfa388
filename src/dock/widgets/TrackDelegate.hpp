/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QStyledItemDelegate>

namespace reelhouse {

// Paints a row of the track list: queue position, label, file size. Uses only the row's data and the model's row count.
class TrackDelegate : public QStyledItemDelegate {
public:
	using QStyledItemDelegate::QStyledItemDelegate;
	// Public because the tooltip of the size column needs the same option as paint().
	using QStyledItemDelegate::initStyleOption;

	void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;

	// Returns the rectangle of the size column for a completed option, in the coordinates of option.rect.
	static QRect sizeColumn(const QStyleOptionViewItem &option);
};

// Returns the text of the size column for a size in bytes; "—" for the negative values that are not a size.
QString sizeText(qint64 size);

} // namespace reelhouse
