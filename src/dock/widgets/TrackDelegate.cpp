/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/widgets/TrackDelegate.hpp"

#include <QApplication>
#include <QLocale>
#include <QPainter>
#include <QStyle>

#include <algorithm>
#include <utility>

#include "dock/widgets/TrackRow.hpp"
#include "queue/text.hpp"

using namespace Qt::StringLiterals;

namespace reelhouse {

namespace {

// Empty space on the two sides of the label, in device-independent pixels.
constexpr int numberGap = 9;
constexpr int sizeGap = 11;

QStyle *styleOf(const QStyleOptionViewItem &option)
{
	return option.widget ? option.widget->style() : QApplication::style();
}

QRect textArea(const QStyleOptionViewItem &option)
{
	return styleOf(option)->subElementRect(QStyle::SE_ItemViewItemText, &option, option.widget);
}

// Returns the width of the last row's number in pixels. In nearly every font all digits have one width, and 8 is never
// the narrowest.
int numberWidth(const QFont &font, const QAbstractItemModel *model)
{
	const qsizetype digits = QString::number(model ? model->rowCount() : 0).size();
	return QFontMetrics(font).horizontalAdvance(QString(digits, u'8'));
}

} // namespace

QRect TrackDelegate::sizeColumn(const QStyleOptionViewItem &option)
{
	QRect column = textArea(option);
	column.setLeft(column.right() - option.fontMetrics.horizontalAdvance(u"1024.0 MiB"_s) + 1);
	return column;
}

void TrackDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
	QStyleOptionViewItem row = option;
	initStyleOption(&row, index);
	QStyle *style = styleOf(row);
	const QRect area = textArea(row);
	const QRect sizeRect = sizeColumn(row);

	// The style paints background, selection and focus frame; the texts follow in columns.
	const QString label = std::exchange(row.text, QString());
	style->drawControl(QStyle::CE_ItemViewItem, &row, painter, row.widget);

	QFont bold = row.font;
	bold.setBold(true);
	QRect numberRect = area;
	numberRect.setWidth(numberWidth(bold, index.model()));
	QRect labelRect = area;
	labelRect.setLeft(area.left() + numberRect.width() + numberGap);
	labelRect.setRight(area.right() - sizeRect.width() - sizeGap);

	const bool enabled = row.state.testFlag(QStyle::State_Enabled);
	const QPalette::ColorRole color = row.state.testFlag(QStyle::State_Selected) ? QPalette::HighlightedText
										     : QPalette::Text;
	const auto draw = [&](const QRect &rect, Qt::Alignment alignment, const QFont &font, const QString &text) {
		painter->setFont(font);
		style->drawItemText(painter, rect, static_cast<int>((alignment | Qt::AlignVCenter).toInt()),
				    row.palette, enabled, text, color);
	};

	const qint64 size = index.data(SizeRole).toLongLong();
	const bool missing = size == SizeMissing;
	painter->save();
	draw(numberRect, Qt::AlignRight, bold, QString::number(index.row() + 1));
	draw(sizeRect, Qt::AlignRight, missing ? bold : row.font, missing ? ui("MissingFile") : sizeText(size));
	draw(labelRect, Qt::AlignLeft, row.font,
	     row.fontMetrics.elidedText(label, row.textElideMode, std::max(labelRect.width(), 0)));
	painter->restore();
}

QString sizeText(qint64 size)
{
	if (size < 0)
		return u"—"_s;
	if (size < 1024)
		return u"%1 B"_s.arg(size);
	return QLocale::c().formattedDataSize(size, 1);
}

} // namespace reelhouse
