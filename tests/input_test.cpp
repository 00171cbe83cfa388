/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Story.hpp"

#include <QAccessible>
#include <QFileDialog>
#include <QHelpEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QSlider>
#include <QTimer>
#include <QToolButton>
#include <QToolTip>

using namespace Qt::StringLiterals;

// What words cannot tell: real keys beside OBS's own, drops, tool tips, dialogs and pixels.
class Input : public Story {
protected:
	// What a drop of these URLs ended with; IgnoreAction where it was not taken.
	Qt::DropAction dropUrls(const QList<QUrl> &urls, Qt::DropActions actions)
	{
		QMimeData data;
		data.setUrls(urls);
		return dropData(data, actions);
	}
	Qt::DropAction dropData(const QMimeData &data, Qt::DropActions actions)
	{
		const QPoint position = list()->viewport()->rect().center();
		QDragEnterEvent enter(position, actions, &data, Qt::LeftButton, {});
		QApplication::sendEvent(list()->viewport(), &enter);
		QDropEvent event(position, actions, &data, Qt::LeftButton, {});
		event.setDropAction(Qt::MoveAction);
		if (enter.isAccepted())
			QApplication::sendEvent(list()->viewport(), &event);
		return enter.isAccepted() && event.isAccepted() ? event.dropAction() : Qt::IgnoreAction;
	}
	// What the tool tip says while the pointer rests there.
	QString tipAt(QWidget *widget, const QPoint &position)
	{
		QHelpEvent help(QEvent::ToolTip, position, widget->mapToGlobal(position));
		QApplication::sendEvent(widget, &help);
		passTime(1000);
		return QToolTip::isVisible() ? QToolTip::text() : QString();
	}
	// Whether the widget claims the key ahead of every shortcut; then it gets it, too.
	static bool press(QWidget *widget, const QKeySequence &keys, bool repeats = false, quint64 time = 0)
	{
		const QKeyCombination combination = keys[0];
		QKeyEvent asked(QEvent::ShortcutOverride, combination.key(), combination.keyboardModifiers(), {},
				repeats);
		asked.setTimestamp(time);
		asked.ignore();
		QApplication::sendEvent(widget, &asked);
		QKeyEvent event(QEvent::KeyPress, combination.key(), combination.keyboardModifiers(), {}, repeats);
		event.setTimestamp(time);
		if (asked.isAccepted())
			QApplication::sendEvent(widget, &event);
		return asked.isAccepted();
	}
};

TEST_F(Input, DropsAddTheFilesAmongThem)
{
	begin(u"A"_s);
	const QUrl text = QUrl::fromLocalFile(makeFile(u"t.txt"_s)),
		   song = QUrl::fromLocalFile(makeFile(u"b #1 %41"_s));
	const QUrl gone = QUrl::fromLocalFile(u"/no/such"_s), directory = QUrl::fromLocalFile(folder.path());
	const QUrl web(u"http://host/x.mp3"_s);
	const Qt::DropActions any = Qt::CopyAction | Qt::MoveAction;
	QListWidget scenes;
	scenes.addItem(u"Scene"_s);
	const std::unique_ptr<QMimeData> row(scenes.model()->mimeData({scenes.model()->index(0, 0)}));
	auto *edit = child<QLineEdit>("search");
	const auto clearButton = [edit] {
		return edit->grab({edit->width() - 24, 0, 24, edit->height()}).toImage();
	};
	const QImage noButton = clearButton();
	search(u"nothing"_s);
	ASSERT_TRUE(waitFor([&] { return clearButton() != noButton; }));
	for (const QList<QUrl> &urls : {QList{web}, {directory}, {gone, directory}})
		EXPECT_EQ(dropUrls(urls, any), Qt::IgnoreAction);
	EXPECT_EQ(dropUrls({song}, Qt::MoveAction), Qt::IgnoreAction) << "taken away by a move, it would be gone";
	EXPECT_EQ(dropData(*row, Qt::MoveAction), Qt::IgnoreAction) << "a row of another list";
	EXPECT_EQ(list()->count(), 1);
	EXPECT_EQ(dropUrls({song, web, directory, text, song}, any), Qt::CopyAction);
	EXPECT_EQ(state().toStdString(), "A b #1 %41 t.txt [b #1 %41] | src A | own | kept -") << "without the search";
	EXPECT_EQ(clearButton(), noButton) << "which looks it";
	step(u"choose"_s);
	EXPECT_EQ(dropUrls({song}, any), Qt::IgnoreAction) << "nothing is bound";
}

TEST_F(Input, TheListClaimsItsKeysBeforeTheHost)
{
	begin(u"A B C D"_s);
	const struct {
		const char *what;
		QKeySequence keys;
		bool repeats;
		quint64 time;
		bool claimed;
		const char *rows;
	} rows[] = {
		{"nothing is to be undone, and the host must not undo either", QKeySequence::Undo, false, 0, true,
		 "[A] B C D"},
		{"removes", Qt::Key_Delete, false, 0, true, "[B] C D"},
		{"once for each time that it goes down", Qt::Key_Delete, true, 0, true, "[B] C D"},
		{"removes again", Qt::Key_Delete, false, 7, true, "[C] D"},
		{"X11 lets go and presses at the same moment", Qt::Key_Delete, false, 9, true, "[C] D"},
		{"undoes", QKeySequence::Undo, false, 0, true, "[B] C D"},
		{"undoes once", QKeySequence::Undo, true, 0, true, "[B] C D"},
		{"finds", QKeySequence::Find, false, 0, true, "[B] C D"},
		{"another key", Qt::CTRL | Qt::Key_D, false, 0, false, "[B] C D"},
		{"nothing is to be redone", Qt::CTRL | Qt::SHIFT | Qt::Key_Z, false, 0, true, "[B] C D"},
		{"nothing is to be redone", Qt::CTRL | Qt::Key_Y, false, 0, true, "[B] C D"},
	};
	list()->setFocus();
	for (const auto &row : rows) {
		EXPECT_EQ(press(list(), row.keys, row.repeats, row.time), row.claimed) << row.what;
		EXPECT_EQ(state().section(u" |"_s, 0, 0).toStdString(), row.rows) << row.what;
		QKeyEvent release(QEvent::KeyRelease, row.keys[0].key(), {});
		release.setTimestamp(9);
		QApplication::sendEvent(list(), &release);
	}
	step(u"search x"_s);
	EXPECT_FALSE(press(list(), Qt::Key_Delete)) << "there is nothing to remove";
	EXPECT_TRUE(press(child<QLineEdit>("search"), QKeySequence::Find)) << "anywhere in the dock";
}

TEST_F(Input, FilesChosenForOneSourceDoNotEndUpInAnother)
{
	begin(u"A"_s);
	const QString file = makeFile(u"new.mp3"_s);
	for (const auto &[other, expectedState] : {std::pair("S", "A [new.mp3] | src A | own | kept -"),
						   {"T", "[X] Y | src X Y | own | kept -"},
						   {"", "no source"}}) {
		QTimer::singleShot(0, frontend->dock, [&, chosen = QString::fromLatin1(other)] {
			auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
			ASSERT_TRUE(dialog);
			step(u"choose "_s + chosen);
			dialog->findChild<QLineEdit *>(u"fileNameEdit"_s)->setText(file);
			QMetaObject::invokeMethod(dialog, "accept");
		});
		child<QToolButton>("addFiles")->click();
		EXPECT_EQ(state().toStdString(), expectedState);
		step(u"choose S"_s);
	}
	EXPECT_EQ(list()->count(), 2);
}

TEST_F(Input, TheSizeColumnTellsTheFolder)
{
	begin(QString());
	const QString odd = u"/m/x <b>\t&/a.mp3"_s;
	setPlaylist(sources[u"S"_s], {odd, u"http://host/live/s.m3u8?key=1#f"_s});
	step(u"look"_s);
	const auto tip = [this](int row, int fromRight) {
		const QRect rect = list()->visualItemRect(list()->item(row));
		return tipAt(list()->viewport(), {rect.right() - fromRight, rect.center().y()}).toStdString();
	};
	EXPECT_EQ(tip(0, 20), "<p style='white-space:pre'>/m/x &lt;b&gt; &amp;</p>");
	EXPECT_EQ(tip(1, 20), "<p style='white-space:pre'>http://host/live/</p>");
	EXPECT_EQ(tip(1, 300), "");
	const QListWidgetItem *missing = list()->item(0);
	EXPECT_EQ(missing->data(Qt::UserRole + 2), -3);
	EXPECT_EQ(missing->data(Qt::AccessibleDescriptionRole), u"File not found: "_s + odd);
	EXPECT_EQ(list()->item(1)->data(Qt::UserRole + 2), -1);
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
	for (const auto &[width, narrow] : {std::pair(700, false), {599, true}, {600, false}, {360, true}}) {
		frontend->dock->resize(width, 200);
		ASSERT_TRUE(waitFor([&, expected = narrow] {
			return (edit->mapTo(frontend->dock, QPoint()).y() >
				add->mapTo(frontend->dock, QPoint()).y() + 20) == expected;
		})) << width;
	}
	EXPECT_EQ(frontend->dock->minimumSize(), QSize(360, 110));
}

// Also where a theme's handle is lower than the slider.
TEST_F(Input, AClickSeeksToWhereItIs)
{
	begin(u"A"_s);
	step(u"start A"_s);
	step(u"media playing 0 100000"_s);
	step(u"poll"_s);
	auto *slider = child<QSlider>("seek");
	slider->setStyleSheet(u"QSlider::groove { height: 4px; } QSlider::handle { width: 8px; margin: -2px 0; }"_s);
	slider->setFixedHeight(20);
	const QPoint target(slider->width() * 3 / 4, 0);
	QTest::mousePress(slider, Qt::LeftButton, {}, target);
	EXPECT_TRUE(slider->isSliderDown());
	QTest::mouseRelease(slider, Qt::LeftButton, {}, target);
	EXPECT_NEAR(slider->value(), 750, 15);
	EXPECT_EQ(step(u"video"_s).section(u"does "_s, 1), u"seek %1"_s.arg(slider->value() * 100));
}

TEST_F(Input, AMessageStartsWithItsReasonAndShowsWhole)
{
	static QString announced;
	QAccessible::installUpdateHandler([](QAccessibleEvent *event) {
		if (event->type() == QAccessible::Announcement)
			announced = static_cast<QAccessibleAnnouncementEvent *>(event)->message();
	});
	begin(u"A B"_s);
	step(u"gone B"_s);
	step(u"play B"_s);
	QAccessible::installUpdateHandler(nullptr);
	auto *message = child<QLabel>("message");
	const auto paint = [message](int width) {
		message->resize(width, 20);
		return message->grab().toImage();
	};
	const QImage narrow = paint(90);
	EXPECT_EQ(narrow.copy(0, 0, 60, 20), paint(160).copy(0, 0, 60, 20)) << "the reason is read first";
	EXPECT_NE(narrow, paint(160).copy(0, 0, 90, 20)) << "and it shows that it is cut";
	EXPECT_TRUE(tipAt(message, message->rect().center()).contains(message->text().toHtmlEscaped()));
	EXPECT_TRUE(message->toolTip().isEmpty());
	EXPECT_EQ(announced, message->text());
}
