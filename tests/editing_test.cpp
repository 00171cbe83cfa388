/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Host.hpp"

#include <QLabel>

using namespace Qt::StringLiterals;

class Editing : public Host {
protected:
	// Shows a queue of one file per letter.
	void showQueue(const QString &letters)
	{
		QStringList files;
		for (const QChar letter : letters)
			files.append(makeFile(letter));
		source = makeSource(u"S"_s, files);
		show(source);
	}
	// The queue by letters, with the current track in capitals; checked against the stored record.
	QString queue() const
	{
		QString letters;
		QStringList paths;
		for (int i = 0; i < list()->count(); i++) {
			const QString text = list()->item(i)->text();
			letters += text.startsWith(u'▶') ? text.back().toUpper() : text.back();
			paths.append(list()->item(i)->data(Qt::UserRole + 1).toString());
		}
		EXPECT_EQ(valuesIn(recordOf(source), "tracks"), paths) << "the record is in step with the list";
		return letters;
	}
	QString selected() const
	{
		const QList<QListWidgetItem *> items = list()->selectedItems();
		return items.size() == 1 ? items.first()->text().right(1) : QString::number(items.size());
	}
	void remove(std::initializer_list<int> rows)
	{
		selectRows(rows);
		QTest::keyClick(list(), Qt::Key_Delete);
	}
	void undo() { QTest::keySequence(list(), QKeySequence::Undo); }

	OBSSource source;
};

TEST_F(Editing, RemovalsComeBackWhereTheyWere)
{
	showQueue(u"abcde"_s);
	list()->setFocus();
	playThrough(source, 2);
	remove({1, 3});
	EXPECT_EQ(queue(), u"aCe"_s);
	EXPECT_EQ(selected(), u"c"_s);
	EXPECT_TRUE(recordOf(source)["managed"_L1].toBool());
	undo();
	EXPECT_EQ(queue(), u"abCde"_s);
	EXPECT_EQ(selected(), u"b"_s);
	undo();
	EXPECT_EQ(queue(), u"abCde"_s) << "there is one level of undo";

	remove({3, 4});
	EXPECT_EQ(selected(), u"c"_s);
	remove({0});
	undo();
	EXPECT_EQ(queue(), u"abC"_s) << "only the last removal comes back";

	remove({0, 1, 2});
	EXPECT_EQ(queue(), QString());
	undo();
	EXPECT_EQ(queue(), u"abc"_s) << "undo brings no track back to playing";
}

TEST_F(Editing, UndoFitsIntoWhatTheQueueHasBecome)
{
	showQueue(u"abcd"_s);
	list()->setFocus();
	remove({3});
	ASSERT_TRUE(list()->model()->moveRow({}, 2, {}, 0));
	ASSERT_TRUE(list()->model()->moveRow({}, 2, {}, 1));
	EXPECT_EQ(queue(), u"cba"_s);
	undo();
	EXPECT_EQ(queue(), u"cbad"_s);
	remove({0, 1, 2, 3});
	EXPECT_TRUE(valuesIn(settingsOf(source), "playlist").isEmpty()) << "nothing is left to play";
	undo();
	EXPECT_EQ(queue(), u"cbad"_s);
}

TEST_F(Editing, RemovingTheCurrentTrackStops)
{
	showQueue(u"abc"_s);
	list()->setFocus();
	playThrough(source, 1);
	remove({1});
	EXPECT_EQ(queue(), u"ac"_s);
	EXPECT_EQ(recordOf(source)["current"_L1], QString());
	EXPECT_TRUE(valuesIn(settingsOf(source), "playlist").isEmpty());
	QTest::mouseClick(child<QWidget>("refresh"), Qt::LeftButton);
	EXPECT_EQ(queue(), u"ac"_s) << "the queue outlives the stop";
}

TEST_F(Editing, AFilterProtectsTheRowsThatItHides)
{
	showQueue(u"abcd"_s);
	list()->setFocus();
	list()->selectAll();
	list()->setRowHidden(0, true);
	QTest::keyClick(list(), Qt::Key_Delete);
	EXPECT_EQ(queue(), u"a"_s);
}

TEST_F(Editing, MovesOneVisibleRow)
{
	showQueue(u"abcd"_s);
	const struct {
		const char *action;
		std::initializer_list<int> rows;
		const char *queue;
	} steps[] = {{"moveTop", {3}, "dabc"},    {"moveDown", {0}, "adbc"},     {"moveBottom", {0}, "dbca"},
		     {"moveUp", {2}, "dcba"},     {"moveUp", {0}, "dcba"},       {"moveDown", {3}, "dcba"},
		     {"moveTop", {1, 2}, "dcba"}, {"moveBottom", {0, 1}, "dcba"}};
	for (const auto &step : steps) {
		selectRows(step.rows);
		action(step.action)->trigger();
		EXPECT_EQ(queue().toStdString(), step.queue) << step.action;
		EXPECT_EQ(list()->selectedItems().size(), qsizetype(step.rows.size()));
	}
	search(u"/"_s);
	selectRows({1});
	action("moveUp")->setEnabled(true);
	action("moveUp")->trigger();
	EXPECT_EQ(queue(), u"dcba"_s) << "nothing moves under a search";
}
