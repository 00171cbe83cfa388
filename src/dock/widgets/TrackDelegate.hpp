/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QStyledItemDelegate>

namespace reelhouse {

// Paints a row of the track list: queue position, label, file size. Reads nothing but the row's data and the model's
// row count.
class TrackDelegate : public QStyledItemDelegate {
public:
	using QStyledItemDelegate::QStyledItemDelegate;
	// For the tooltip of the size column, which needs a row's option as paint() sees it.
	using QStyledItemDelegate::initStyleOption;

	void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;

	// The size column of a row with this completed option, in the coordinates of its rectangle.
	static QRect sizeColumn(const QStyleOptionViewItem &option);
};

// A file size as the size column shows it; "—" for the negative values that stand for no size.
QString sizeText(qint64 size);

} // namespace reelhouse
