/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Host.hpp"

#include <QHelpEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QToolTip>

using namespace Qt::StringLiterals;

class Input : public Host {
protected:
	struct Drag {
		bool accepted;
		Qt::DropAction action;
	};

	// Sends a drag of these URLs through entering and dropping; what the drop ended with.
	Drag drop(const QList<QUrl> &urls, Qt::DropActions actions = Qt::CopyAction | Qt::MoveAction)
	{
		QMimeData data;
		data.setUrls(urls);
		return drop(data, actions);
	}

	Drag drop(const QMimeData &data, Qt::DropActions actions)
	{
		const QPoint position = list()->viewport()->rect().center();
		QDragEnterEvent enter(position, actions, &data, Qt::LeftButton, {});
		QApplication::sendEvent(list()->viewport(), &enter);
		if (!enter.isAccepted())
			return {false, Qt::IgnoreAction};
		QDropEvent event(position, actions, &data, Qt::LeftButton, {});
		event.setDropAction(Qt::MoveAction);
		QApplication::sendEvent(list()->viewport(), &event);
		return {event.isAccepted(), event.dropAction()};
	}

	void rest(const QPoint &position)
	{
		QHelpEvent help(QEvent::ToolTip, position, list()->viewport()->mapToGlobal(position));
		QApplication::sendEvent(list()->viewport(), &help);
	}
};

TEST_F(Input, KeysPlayFindAndActOnTheSearch)
{
	const OBSSource source = makeSource(u"S"_s, {makeFile(u"a"_s), makeFile(u"b"_s)});
	show(source);
	list()->setFocus();
	list()->setCurrentRow(1);
	for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
		QTest::keyClick(list(), key);
		EXPECT_EQ(shownLabels().last(), u"▶\uFE0E b"_s);
	}
	QTest::keySequence(list(), QKeySequence::Find);
	auto *edit = child<QLineEdit>("search");
	EXPECT_TRUE(edit->hasFocus());
	search(folder.filePath(u"a"_s));
	QTest::keyClick(edit, Qt::Key_Return);
	EXPECT_EQ(shownLabels().first(), u"▶\uFE0E a"_s);
	QTest::keyClick(edit, Qt::Key_Delete);
	EXPECT_EQ(list()->count(), 2) << "Delete belongs to the field while it has the focus";
	action("locateCurrent")->trigger();
	EXPECT_TRUE(list()->currentRow() == 0 && list()->hasFocus());
	list()->setCurrentRow(1);
	QTest::keyClick(list(), Qt::Key_Delete);
	EXPECT_EQ(list()->count(), 1);
	QTest::keySequence(list(), QKeySequence::Undo);
	EXPECT_EQ(list()->count(), 2);
}

TEST_F(Input, DropsAddTheFilesAmongThem)
{
	const OBSSource source = makeSource(u"S"_s, {makeFile(u"a"_s)});
	const QUrl text = QUrl::fromLocalFile(makeFile(u"t.txt"_s)), gone = QUrl::fromLocalFile(u"/no/such"_s);
	const QUrl directory = QUrl::fromLocalFile(folder.path()), web(u"http://host/x.mp3"_s);
	const QUrl song = QUrl::fromLocalFile(makeFile(u"b #1 %41.mp3"_s));
	ASSERT_TRUE(loadModule());
	EXPECT_FALSE(drop({song}).accepted) << "nothing is bound";
	frontend->send(OBS_FRONTEND_EVENT_FINISHED_LOADING);
	choose(source);

	EXPECT_FALSE(drop({web}).accepted);
	EXPECT_FALSE(drop({directory}).accepted);
	EXPECT_FALSE(drop({gone, directory}).accepted);
	EXPECT_FALSE(drop({song}, Qt::MoveAction).accepted) << "taken away by a move, the file would be gone";
	EXPECT_EQ(list()->count(), 1);

	auto *edit = child<QLineEdit>("search");
	const auto clearButton = [edit] {
		return edit->grab({edit->width() - 24, 0, 24, edit->height()}).toImage();
	};
	const QImage noButton = clearButton();
	search(u"nothing"_s);
	ASSERT_TRUE(waitFor([&] { return clearButton() != noButton; }));
	QListWidget scenes;
	scenes.addItem(u"Scene"_s);
	const std::unique_ptr<QMimeData> row(scenes.model()->mimeData({scenes.model()->index(0, 0)}));
	EXPECT_FALSE(drop(*row, Qt::MoveAction).accepted) << "a row of another list";
	const Drag result = drop({song, web, directory, text, song});
	EXPECT_TRUE(result.accepted);
	EXPECT_EQ(result.action, Qt::CopyAction);
	EXPECT_EQ(shownLabels(), (QStringList{u"a"_s, u"b #1 %41.mp3"_s, u"t.txt"_s, u"b #1 %41.mp3"_s}))
		<< "the search is cleared";
	EXPECT_EQ(clearButton(), noButton) << "and looks it";
	EXPECT_TRUE(edit->isClearButtonEnabled());
	EXPECT_EQ(list()->currentRow(), 3);
	EXPECT_EQ(valuesIn(recordOf(source), "tracks").size(), 4);
	EXPECT_EQ(valuesIn(recordOf(source), "observed").size(), 1);
}

TEST_F(Input, TheSizeColumnTellsTheFolder)
{
	const OBSSource source = makeSource(u"S"_s, {u"/m/x <b>\t&/a.mp3"_s, u"http://host/live/s.m3u8?key=1#f"_s});
	show(source);
	const auto rect = [this](int row) {
		return list()->visualItemRect(list()->item(row));
	};
	const struct {
		int row;
		const char *tip;
	} rows[] = {{0, "/m/x &lt;b&gt; &amp;"}, {1, "http://host/live/"}};
	for (const auto &[row, tip] : rows) {
		rest({rect(row).right() - 20, rect(row).center().y()});
		EXPECT_EQ(QToolTip::text(), u"<p style='white-space:pre'>%1</p>"_s.arg(QLatin1String(tip)));
		for (const int x : {rect(row).left() + 2, rect(row).center().x()}) {
			rest({rect(row).right() - 20, rect(row).center().y()});
			EXPECT_TRUE(QToolTip::isVisible());
			rest({x, rect(row).center().y()});
			EXPECT_TRUE(waitFor([] { return !QToolTip::isVisible(); })) << x;
		}
	}
}

TEST_F(Input, TabReachesTheTimeAndSpaceSwitchesIt)
{
	show(makeSource(u"S"_s, {}));
	child<QWidget>("endMode")->setFocus();
	QTest::keyClick(child<QWidget>("endMode"), Qt::Key_Backtab);
	auto *time = child<QLabel>("playbackTime");
	ASSERT_TRUE(time->hasFocus());
	QTest::keyClick(time, Qt::Key_Space);
	EXPECT_EQ(time->text(), u"−—:—"_s);
}

TEST_F(Input, ANarrowDockTakesTwoRows)
{
	ASSERT_TRUE(loadModule());
	auto *edit = child<QWidget>("search"), *add = child<QWidget>("addFiles");
	const auto below = [&] {
		return edit->mapTo(frontend->dock, QPoint()).y() > add->mapTo(frontend->dock, QPoint()).y() + 20;
	};
	for (const auto &[width, narrow] : {std::pair(700, false), {599, true}, {600, false}, {360, true}}) {
		frontend->dock->resize(width, 200);
		ASSERT_TRUE(waitFor([&, expected = narrow] { return below() == expected; })) << width;
	}
	EXPECT_EQ(frontend->dock->minimumSize(), QSize(360, 110));
}

TEST_F(Input, TheMenuKeepsOrMakesTheSelection)
{
	const OBSSource source = makeSource(u"S"_s, {u"/m/a"_s, u"/m/b"_s, u"/m/c"_s});
	show(source);
	auto *menu = child<QMenu>("playlistMenu");
	const auto open = [this, menu](const QPoint &position) {
		QContextMenuEvent event(QContextMenuEvent::Mouse, position, list()->viewport()->mapToGlobal(position));
		QApplication::sendEvent(list()->viewport(), &event);
		EXPECT_TRUE(menu->isVisible());
		menu->hide();
		return list()->selectedItems().size();
	};
	const auto center = [this](int row) {
		return list()->visualItemRect(list()->item(row)).center();
	};
	selectRows({0, 1});
	EXPECT_EQ(open(center(1)), 2);
	EXPECT_EQ(list()->currentRow(), 1);
	EXPECT_EQ(open(center(2)), 1);
	EXPECT_EQ(list()->currentRow(), 2);
	EXPECT_EQ(open(list()->viewport()->rect().bottomLeft() - QPoint(-5, 2)), 0);
	EXPECT_FALSE(action("remove")->isEnabled());
	EXPECT_FALSE(action("moveUp")->isEnabled());
}

// A menu acts on the rows that it was opened on, whatever happens behind it.
TEST_F(Input, AMenuWhoseRowsHaveGoneActsOnNothing)
{
	const OBSSource source = makeSource(u"S"_s, {u"http://a"_s, u"http://b"_s, u"http://c"_s});
	show(source);
	const auto queue = [&source] {
		return valuesIn(recordOf(source), "tracks").join(QString()).remove(u"http://"_s);
	};
	const auto edit = [this, &source](const QStringList &paths) {
		setPlaylist(source, paths);
		QTest::mouseClick(child<QWidget>("refresh"), Qt::LeftButton);
	};
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
