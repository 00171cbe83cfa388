/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Host.hpp"

#include <QComboBox>
#include <QDir>
#include <QPainter>

using namespace Qt::StringLiterals;

class TrackList : public Host {
protected:
	QStringList ids() const
	{
		QStringList all;
		for (int i = 0; i < list()->count(); i++)
			all.append(idAt(i));
		return all;
	}
};

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
	EXPECT_EQ(shownLabels(),
		  (QStringList{u"a.mp3"_s, u"gone%1.mp3"_s, u"x.mp3"_s, u"▶\uFE0E a.mp3"_s, u"a.mp3"_s}));
}

TEST_F(TrackList, ExpandsFoldersOnceAndKeepsIdsAfterwards)
{
	ASSERT_TRUE(QDir(folder.path()).mkpath(u"music/inner"_s));
	for (const char *name : {"B.flac", "a.mp3", "c.txt", ".d.mp3", "inner/e.mp3"})
		makeFile(u"music/"_s + QLatin1String(name));
	const QString music = folder.filePath(u"music"_s);
	const OBSSource source =
		makeSource(u"S"_s, {u"file://"_s + music, music, u"http://host/x.mp3"_s, music + u"/a.mp3"_s});
	show(source);
	EXPECT_EQ(shownLabels(), (QStringList{u"music"_s, u"a.mp3"_s, u"B.flac"_s, u"x.mp3"_s, u"a.mp3"_s}));
	const QStringList before = ids();
	EXPECT_EQ(QSet<QString>(before.begin(), before.end()).size(), 5);
	EXPECT_EQ(valuesIn(recordOf(source), "observed").size(), 4);

	makeFile(u"music/f.mp3"_s);
	QTest::mouseClick(child<QWidget>("refresh"), Qt::LeftButton);
	EXPECT_EQ(ids(), before);
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
	EXPECT_TRUE(inked(paint(1, 400), 400 - sizeWidth, 400)) << "but says that it is missing";
	EXPECT_NE(paint(2, 400), paint(2, 400, Qt::ElideNone)) << "a long label is elided";
	const QImage narrow = paint(0, sizeWidth + 20);
	EXPECT_TRUE(inked(narrow, 0, 12));
	EXPECT_FALSE(inked(narrow, 12, 50)) << "without room there is no label";
	EXPECT_TRUE(inked(narrow, 50, narrow.width()));
}

// Records share their objects, but not their arrays.
TEST_F(TrackList, ARecordIsWholeWhateverBecameOfTheLast)
{
	const OBSSource source = makeSource(u"S"_s, {makeFile(u"a"_s), makeFile(u"b"_s), makeFile(u"c"_s)});
	show(source);
	const QJsonObject whole = recordOf(source);
	for (const char *key : {"tracks", "observed"}) {
		OBSDataAutoRelease settings = obs_source_get_private_settings(source);
		OBSDataAutoRelease record = obs_data_get_obj(settings, "OBS-Reelhouse");
		OBSDataArrayAutoRelease array = obs_data_get_array(record, key);
		obs_data_array_erase(array, 1);
		EXPECT_EQ(valuesIn(recordOf(source), key).size(), 2);
		child<QComboBox>("endMode")->setCurrentIndex(1);
		child<QComboBox>("endMode")->setCurrentIndex(0);
		EXPECT_EQ(recordOf(source), whole) << key;
	}
}
