/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Host.hpp"

#include <QMenu>

using namespace Qt::StringLiterals;

// An edit made elsewhere replaces the queue; what it cost comes back by a command in the Tools menu.
class Replaced : public Host {
protected:
	void SetUp() override
	{
		source = makeSource(u"S"_s, {u"http://a"_s, u"http://b"_s, u"http://c"_s});
		show(source);
	}
	// An edit made elsewhere, taken over at once.
	void edit(const QStringList &paths)
	{
		setPlaylist(source, paths);
		QTest::mouseClick(child<QWidget>("refresh"), Qt::LeftButton);
	}
	QString queue() const { return queueIn("OBS-Reelhouse"); }
	QString aside() const { return queueIn("OBS-Reelhouse-replaced"); }
	QAction *command() const { return frontend->toolsMenu.findChild<QAction *>(u"bringBackReplacedQueue"_s); }

	OBSSource source;

private:
	QString queueIn(const char *key) const
	{
		QString letters;
		for (const QString &path : valuesIn(recordOf(source, key), "tracks"))
			letters += path.right(1);
		return letters;
	}
};

TEST_F(Replaced, TheNewestWholeQueueIsKeptAndNeverForItsOwnLeftover)
{
	EXPECT_FALSE(command()->isEnabled());
	const struct {
		QStringList playlist;
		const char *queue, *aside;
	} steps[] = {
		{{u"http://b"_s}, "b", "abc"}, // a cancelled dialog puts its old entry back
		{{u"http://c"_s}, "c", "abc"}, // and a second one
		{{}, "", "abc"},
		{{u"http://a"_s}, "a", "abc"},
		{{u"http://a"_s, u"http://d"_s}, "ad", "abc"},
		{{u"http://d"_s, u"http://a"_s}, "da", "ad"}, // a real queue counts, and so does its order
	};
	for (const auto &step : steps) {
		edit(step.playlist);
		EXPECT_EQ(queue().toStdString(), step.queue);
		EXPECT_EQ(aside().toStdString(), step.aside) << step.queue;
		EXPECT_TRUE(command()->isEnabled());
	}
	command()->trigger();
	EXPECT_EQ(queue() + u' ' + aside(), u"ad da"_s);
	command()->trigger();
	EXPECT_EQ(queue() + u' ' + aside(), u"da ad"_s);

	// Emptying a queue by hand and letting go of it replace nothing.
	list()->setFocus();
	list()->selectAll();
	QTest::keyClick(list(), Qt::Key_Delete);
	frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING);
	EXPECT_FALSE(command()->isEnabled());
	frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED);
	EXPECT_EQ(queue() + u' ' + aside(), u" ad"_s);
	EXPECT_TRUE(command()->isEnabled());
}

TEST_F(Replaced, AOneEntryQueueStaysALeftoverThroughTheCommand)
{
	edit({u"http://b"_s});
	command()->trigger();
	EXPECT_EQ(queue() + u' ' + aside(), u"abc b"_s);
	EXPECT_EQ(labels()[1], u"▶\uFE0E b"_s) << "what the source holds is the current track";
	sendSignal(source, "media_next");
	QCoreApplication::processEvents();
	EXPECT_TRUE(child<QWidget>("playPause")->isEnabled()) << "but it is not the dock's to step";
	command()->trigger();
	edit({u"http://c"_s});
	EXPECT_EQ(queue() + u' ' + aside(), u"c abc"_s);
}

TEST_F(Replaced, WhatALoadCannotReadIsKeptBeforeItIsOverwritten)
{
	const struct {
		const char *situation, *record, *aside, *queue;
	} rows[] = {
		{"a damaged entry", R"({"version": 1, "endMode": 2, "managed": true, "originalLoop": true, "tracks": [
		  {"value": "http://x", "id": "1"}, {"value": "http://y"}, {"id": "3"}]})",
		 "xy", "xy"},
		{"another version", R"({"version": 2, "endMode": 2, "managed": true, "originalLoop": true, "tracks": [
		  {"value": "http://z", "id": "1"}]})",
		 "z", "z"},
		{"nothing that can be read, over something that can", R"({"version": 3, "tracks": 5})", "z", "z"},
	};
	for (const auto &row : rows) {
		setRecord(source, row.record);
		edit({u"http://a"_s});
		EXPECT_EQ(queue(), u"a"_s) << row.situation;
		EXPECT_EQ(aside().toStdString(), row.aside) << row.situation;
		command()->trigger();
		EXPECT_EQ(queue().toStdString(), row.queue) << row.situation;
		const QJsonObject record = recordOf(source);
		EXPECT_EQ(record["endMode"_L1], 2) << row.situation;
		EXPECT_TRUE(record["managed"_L1].toBool() && record["originalLoop"_L1].toBool()) << row.situation;
		EXPECT_EQ(valuesIn(record, "observed"), QStringList{u"http://a"_s}) << "the source is left alone";
		command()->trigger();
	}
}

// A menu acts on the rows that it was opened on, whatever happens behind it.
TEST_F(Replaced, AMenuWhoseRowsHaveGoneActsOnNothing)
{
	auto *menu = child<QMenu>("playlistMenu");
	const auto openOn = [this](int row) {
		const QPoint position = list()->visualItemRect(list()->item(row)).center();
		QContextMenuEvent event(QContextMenuEvent::Mouse, position, list()->viewport()->mapToGlobal(position));
		QApplication::sendEvent(list()->viewport(), &event);
	};
	const auto choose = [this, menu](const char *name) {
		menu->hide();
		action(name)->trigger();
		QCoreApplication::processEvents();
	};
	openOn(1);
	list()->setCurrentRow(2);
	EXPECT_TRUE(action("moveDown")->isEnabled()) << "for the menu's row, not for the one that is current now";
	choose("moveTop");
	EXPECT_EQ(queue(), u"bac"_s);
	openOn(2);
	list()->setCurrentRow(0);
	choose("remove");
	EXPECT_EQ(queue(), u"ba"_s);

	openOn(1);
	edit({u"http://x"_s, u"http://y"_s});
	list()->setCurrentRow(0);
	EXPECT_FALSE(action("remove")->isEnabled());
	for (const char *name : {"remove", "moveDown", "moveBottom"}) {
		action(name)->setEnabled(true);
		openOn(1);
		edit({QLatin1String("http://1"), QLatin1String(name)});
		list()->setCurrentRow(0);
		action(name)->setEnabled(true);
		choose(name);
		EXPECT_EQ(list()->count(), 2) << name;
		EXPECT_EQ(valuesIn(recordOf(source), "tracks").first(), u"http://1"_s) << name;
	}
	list()->setFocus();
	QTest::keyClick(list(), Qt::Key_Delete);
	EXPECT_EQ(list()->count(), 1) << "without a menu the selection counts again";
}

TEST_F(Replaced, AQueueWhoseSourceIsGoneIsLeftAlone)
{
	selectRows({1});
	obs_source_remove(source);
	action("moveTop")->setEnabled(true);
	action("moveTop")->trigger();
	EXPECT_EQ(labels(), (QStringList{u"a"_s, u"b"_s, u"c"_s}));
	ASSERT_TRUE(list()->model()->moveRow({}, 2, {}, 0));
	EXPECT_EQ(labels(), (QStringList{u"a"_s, u"b"_s, u"c"_s}));
	EXPECT_EQ(queue(), u"abc"_s);
}
