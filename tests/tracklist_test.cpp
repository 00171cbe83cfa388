/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Host.hpp"

#include <QFile>
#include <QLabel>
#include <QPainter>
#include <QScrollBar>

using namespace Qt::StringLiterals;

class TrackList : public Host {};

TEST_F(TrackList, RowsCarryPathSizeAndWhatIsMissing)
{
	const QString file = makeFile(u"a.mp3"_s, QByteArray(1536, 'x'));
	const QString gone = folder.filePath(u"gone%1.mp3"_s);
	const OBSSource source = makeSource(u"S"_s, {file, gone, u"http://host/x.mp3"_s, file, u"file://"_s + file});
	show(source);
	const struct {
		const char *label;
		qint64 size;
	} rows[] = {{"a.mp3", 1536}, {"gone%1.mp3", -3}, {"x.mp3", -1}, {"a.mp3", 1536}, {"a.mp3", 1536}};
	for (int i = 0; i < 5; i++) {
		const QListWidgetItem *item = list()->item(i);
		EXPECT_EQ(item->text().toStdString(), rows[i].label);
		EXPECT_EQ(item->data(Qt::UserRole + 2).toLongLong(), rows[i].size);
		EXPECT_EQ(item->data(Qt::AccessibleDescriptionRole).toString(),
			  i == 1 ? u"File not found: "_s + gone : QString());
	}
	play(3);
	EXPECT_EQ(labels(), (QStringList{u"a.mp3"_s, u"gone%1.mp3"_s, u"x.mp3"_s, u"▶\uFE0E a.mp3"_s, u"a.mp3"_s}));
}

TEST_F(TrackList, TheSearchShowsRowsByPathOrNumber)
{
	const OBSSource source = makeSource(u"S"_s, {u"/one/a.mp3"_s, u"/two/b.flac"_s, u"/two/c.MP3"_s,
						     u"http://two/d"_s, u"/#3/e.ogg"_s});
	show(source);
	const QString none;
	const struct {
		const char *text;
		QString shown;
		const char *count;
	} rows[] = {
		{"  mp3 ", u"a.mp3 c.MP3"_s, "Tracks: 2 of 5"},
		{"TWO", u"b.flac c.MP3 d"_s, "Tracks: 3 of 5"},
		{"#3", u"c.MP3"_s, "Tracks: 1 of 5"},
		{"#", none, "Tracks: 0 of 5"},
		{"#0", none, "Tracks: 0 of 5"},
		{"#-1", none, "Tracks: 0 of 5"},
		{"#6", none, "Tracks: 0 of 5"},
		{"#99999999999", none, "Tracks: 0 of 5"},
		{"#x", none, "Tracks: 0 of 5"},
		{"/#", u"e.ogg"_s, "Tracks: 1 of 5"},
	};
	for (const auto &row : rows) {
		search(QString::fromUtf8(row.text));
		EXPECT_EQ(shownLabels().join(u' '), row.shown) << row.text;
		EXPECT_EQ(child<QLabel>("trackCount")->text().toStdString(), row.count) << row.text;
		EXPECT_FALSE(list()->dragEnabled());
		const QListWidgetItem *current = list()->currentItem();
		EXPECT_EQ(current ? current->text() : QString(), shownLabels().value(0)) << row.text;
		EXPECT_EQ(list()->selectedItems().size(), current ? 1 : 0);
		for (const char *name : {"moveUp", "moveDown", "moveTop", "moveBottom"})
			EXPECT_FALSE(action(name)->isEnabled()) << row.text;
	}
	search(u"two"_s);
	search(QString());
	EXPECT_EQ(list()->currentRow(), 1) << "the row that the search left current stays";
	EXPECT_EQ(child<QLabel>("trackCount")->text(), u"Tracks: 5"_s);
	EXPECT_TRUE(list()->dragEnabled());
}

// Where pixels of a row differ from those of an empty one says what is drawn in which column.
TEST_F(TrackList, RowsArePaintedInThreeColumns)
{
	const OBSSource source = makeSource(u"S"_s, {makeFile(u"a.mp3"_s), folder.filePath(u"gone.mp3"_s),
						     u"/m/"_s + QString(200, u'x')});
	show(source);
	list()->clearSelection();
	const auto paint = [this](int row, int width, Qt::TextElideMode mode = Qt::ElideRight) {
		QImage image(width, 20, QImage::Format_RGB32);
		image.fill(Qt::white);
		QPainter painter(&image);
		QStyleOptionViewItem option;
		option.initFrom(list());
		option.widget = list();
		option.state = QStyle::State_Enabled;
		option.rect = image.rect();
		option.textElideMode = mode;
		list()->itemDelegate()->paint(&painter, option, list()->model()->index(row, 0));
		return image;
	};
	const auto inked = [](const QImage &image, int from, int to) {
		for (int x = from; x < to; x++) {
			for (int y = 0; y < image.height(); y++) {
				if (image.pixelColor(x, y).lightness() < 128)
					return true;
			}
		}
		return false;
	};
	const int sizeWidth = QFontMetrics(list()->font()).horizontalAdvance(u"1024.0 MiB"_s);
	const QImage wide = paint(0, 400);
	EXPECT_TRUE(inked(wide, 0, 20)) << "number";
	EXPECT_TRUE(inked(wide, 20, 200)) << "label";
	EXPECT_FALSE(inked(wide, 200, 400 - sizeWidth)) << "a short label leaves room";
	EXPECT_TRUE(inked(wide, 400 - sizeWidth, 400)) << "size";
	EXPECT_NE(wide.copy(300, 0, 100, 20), paint(1, 400).copy(300, 0, 100, 20)) << "a missing file shows no size";
	EXPECT_NE(paint(2, 400), paint(2, 400, Qt::ElideNone)) << "a long label is elided";
	const QImage narrow = paint(0, sizeWidth + 20);
	EXPECT_TRUE(inked(narrow, 0, 12));
	EXPECT_FALSE(inked(narrow, 12, 50)) << "without room there is no label";
	EXPECT_TRUE(inked(narrow, 50, narrow.width()));
}
