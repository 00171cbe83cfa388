/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Story.hpp"

#include <QAbstractItemView>
#include <QAccessible>
#include <QDesktopServices>
#include <QDir>
#include <QDropEvent>
#include <QFileDialog>
#include <QHelpEvent>
#include <QMessageBox>
#include <QMimeData>
#include <QPainter>
#include <QProxyStyle>
#include <QRegularExpression>
#include <QSlider>
#include <QTextBrowser>
#include <QTimer>
#include <QToolButton>
#include <QToolTip>
#include <QtEndian>

#include "dock/widgets/TrackListWidget.hpp"

using namespace Qt::StringLiterals;

// What words cannot tell: real keys beside OBS's own, drops, tool tips, dialogs and pixels.
class Input : public Story {
protected:
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
		const QKeyCombination key = keys[0];
		QKeyEvent asked(QEvent::ShortcutOverride, key.key(), key.keyboardModifiers(), {}, repeats);
		asked.setTimestamp(time);
		asked.ignore();
		QApplication::sendEvent(widget, &asked);
		QKeyEvent event(QEvent::KeyPress, key.key(), key.keyboardModifiers(), {}, repeats);
		event.setTimestamp(time);
		if (asked.isAccepted())
			QApplication::sendEvent(widget, &event);
		return asked.isAccepted();
	}
	// Of what has another color, or this one.
	static QRect boundsOf(const QPixmap &picture, const QColor &color, Qt::MaskMode mode = Qt::MaskInColor)
	{
		return QRegion(picture.createMaskFromColor(color, mode)).boundingRect();
	}
};

TEST_F(Input, DropsAddTheFilesAmongThem)
{
	begin(u"A"_s);
	const QUrl web(u"http://host/x.mp3"_s), directory = QUrl::fromLocalFile(folder.path());
	const QUrl song = QUrl::fromLocalFile(makeFile(u"b #1 %41"_s));
	step(u"search nothing"_s);
	for (const QList<QUrl> &urls : {QList{web}, {directory}, {QUrl::fromLocalFile(u"/no/such"_s), directory}})
		EXPECT_EQ(drop(urls), Qt::IgnoreAction);
	EXPECT_EQ(drop({song}, Qt::MoveAction), Qt::IgnoreAction) << "taken away by a move, it would be gone";
	EXPECT_EQ(list()->count(), 1);
	EXPECT_EQ(drop({song, web, directory, song}), Qt::CopyAction);
	EXPECT_EQ(state().toStdString(), "A b #1 %41 [b #1 %41] | src A | own | replaced -") << "without the search";
	step(u"choose"_s);
	EXPECT_EQ(drop({song}), Qt::IgnoreAction) << "nothing is bound";
}

// OBS's main window would make sources of it, in the scene that is on air.
TEST_F(Input, WhatTheDockRefusesNoParentGets)
{
	struct Window : QWidget {
		bool event(QEvent *event) override
		{
			if (event->type() == QEvent::DragEnter)
				offered++;
			return QWidget::event(event);
		}
		int offered = 0;
	} window;
	QWidget frame(&window);
	begin(u"A"_s);
	window.setAcceptDrops(true);
	frontend->dock->setParent(&frame);
	QMimeData text, file;
	text.setText(u"words"_s);
	file.setUrls({QUrl::fromLocalFile(makeFile(u"a.mp3"_s))});
	for (const auto &[data, widget] :
	     {std::pair(&text, list()->viewport()), {&file, child<QWidget>("playbackTime")}}) {
		QDragEnterEvent enter({5, 5}, Qt::CopyAction, data, Qt::LeftButton, {});
		QApplication::sendEvent(widget, &enter);
		EXPECT_TRUE(enter.isAccepted() && enter.dropAction() == Qt::IgnoreAction);
		QDropEvent event({5, 5}, Qt::CopyAction, data, Qt::LeftButton, {});
		QApplication::sendEvent(widget, &event);
		EXPECT_FALSE(event.isAccepted());
	}
	EXPECT_EQ(window.offered, 0);
	window.setAcceptDrops(false);
	QDragEnterEvent enter({5, 5}, Qt::CopyAction, &file, Qt::LeftButton, {});
	QApplication::sendEvent(child<QWidget>("playbackTime"), &enter);
	EXPECT_FALSE(enter.isAccepted()) << "where there is nobody to keep it from, nothing changes";
	frontend->dock->setParent(nullptr);
}

TEST_F(Input, TheListClaimsItsKeysBeforeTheHost)
{
	begin(u"A B C"_s);
	list()->setFocus();
	for (const QKeySequence &keys :
	     {QKeySequence(QKeySequence::Undo), {Qt::CTRL | Qt::Key_Y}, {Qt::CTRL | Qt::SHIFT | Qt::Key_Z}})
		EXPECT_TRUE(press(list(), keys)) << "there is nothing to undo, and the host must not undo either";
	EXPECT_FALSE(press(list(), Qt::CTRL | Qt::Key_D)) << "which is the host's";
	for (const auto &[repeats, time] : {std::pair(false, 0u), {true, 0u}, {false, 9u}}) {
		EXPECT_TRUE(press(list(), Qt::Key_Delete, repeats, time));
		QKeyEvent release(QEvent::KeyRelease, Qt::Key_Delete, {});
		release.setTimestamp(9);
		QApplication::sendEvent(list(), &release);
	}
	EXPECT_EQ(list()->count(), 2) << "once, also where X11 lets go and presses at the same moment";
	EXPECT_TRUE(press(list(), QKeySequence::Undo, true));
	EXPECT_EQ(list()->count(), 2) << "a key that is held down undoes once";
	EXPECT_TRUE(press(list(), QKeySequence::Undo));
	EXPECT_EQ(list()->count(), 3);
	step(u"select 0 1 2"_s);
	EXPECT_TRUE(press(list(), Qt::KeypadModifier | Qt::Key_Delete));
	EXPECT_TRUE(press(list(), Qt::Key_Delete, true)) << "with nothing left, what repeats still goes where it went";
	EXPECT_TRUE(press(list(), QKeySequence::Undo));
	step(u"search /none"_s);
	EXPECT_FALSE(press(list(), Qt::Key_Delete)) << "there is nothing to remove";
	EXPECT_TRUE(press(child<QLineEdit>("search"), QKeySequence::Find)) << "anywhere in the dock";
}

TEST_F(Input, EscapeClearsTheSearchUnlessOneOfObssHotkeysHasIt)
{
	begin(u"A B"_s);
	const obs_hotkey_id hotkey =
		obs_hotkey_register_frontend("any", "Any", [](void *, obs_hotkey_id, obs_hotkey_t *, bool) {}, nullptr);
	for (const auto &[modifiers, expectedState] : {std::pair(INTERACT_NONE, "(A) [B] | src A B | own | replaced -"),
						       {INTERACT_SHIFT_KEY, "A [B] | src A B | own | replaced -"}}) {
		obs_key_combination_t keys[] = {{uint32_t(modifiers), OBS_KEY_ESCAPE}, {INTERACT_NONE, OBS_KEY_F9}};
		obs_hotkey_load_bindings(hotkey, keys, std::size(keys));
		EXPECT_EQ(step(u"search /B; focus search; key Esc"_s).toStdString(), expectedState);
	}
	obs_hotkey_unregister(hotkey);
}

TEST_F(Input, FilesChosenForOneSourceDoNotEndUpInAnother)
{
	begin(u"A"_s);
	const QString file = makeFile(u"new.mp3"_s);
	for (const auto &[other, expectedState] : {std::pair("S", "A [new.mp3] | src A | own | replaced -"),
						   {"T", "[X] Y | src X Y | own | replaced -"},
						   {"", "no source"}}) {
		QTimer::singleShot(0, frontend->dock, [&, chosen = QString::fromLatin1(other)] {
			auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
			ASSERT_TRUE(dialog);
			EXPECT_EQ(dialog->windowTitle(), u"Add Media Files"_s);
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

// Texts at the right edge have an arrow, bold ones a star, those of a selected row an exclamation mark, and cut ones
// scissors.
TEST_F(Input, ARowShowsItsNumberItsNameAndItsSize)
{
	struct Recorder : QProxyStyle {
		void drawItemText(QPainter *painter, const QRect &rect, int flags, const QPalette &, bool,
				  const QString &text, QPalette::ColorRole role) const override
		{
			const bool cut = painter->fontMetrics().horizontalAdvance(text) > rect.width();
			texts += (Qt::Alignment::fromInt(flags) == (Qt::AlignRight | Qt::AlignVCenter) ? u"→"_s
												       : QString()) +
				 (painter->font().bold() ? u"*"_s : QString()) +
				 (role == QPalette::HighlightedText ? u"!"_s : QString()) + (cut ? u"✂"_s : QString()) +
				 text;
			rects += rect;
		}
		mutable QStringList texts;
		mutable QList<QRect> rects;
	} recorder;
	begin(u"P Q http://h/U"_s);
	step(u"gone Q; refresh; search /"_s);
	list()->setStyle(&recorder);
	const QRect painted = boundsOf(list()->viewport()->grab(), list()->palette().color(QPalette::Base));
	EXPECT_EQ(recorder.texts.last(9).join(u' '), u"→*!1 →!5 B !P →*2 →*Missing Q →*3 →— U"_s);
	EXPECT_EQ(painted, list()->visualItemRect(list()->item(0))) << "the selection, and no second text";
	step(u"search /Q"_s);
	list()->viewport()->grab();
	EXPECT_EQ(recorder.texts.last(3).join(u' '), u"→*!2 →*!Missing !Q"_s)
		<< "a row keeps its number under a search";
	step(u"drop A B C D E F %1; rename S %2; look; play Q"_s.arg(QString(200, u'W'), QString(60, u'W')));
	for (const auto &[name, begins] :
	     {std::pair("sourceSelector", "WW"), {"message", "⚠ File not found"}, {"playlist", "!WW"}}) {
		auto *widget = child<QWidget>(name);
		recorder.texts.clear();
		widget->setStyle(&recorder);
		widget->grab();
		widget->setStyle(nullptr);
		const QString text = recorder.texts.value(recorder.texts.size() - 1);
		EXPECT_TRUE(text.startsWith(QString::fromUtf8(begins)) && text.endsWith(u'…')) << text.toStdString();
		EXPECT_EQ(recorder.texts.filter(u"✂"_s), QStringList()) << name;
	}
	const QRect number = recorder.rects.last(3)[0], size = recorder.rects.last(2)[0];
	EXPECT_EQ(recorder.rects.last(), (number | size).adjusted(number.width() + 9, 0, -size.width() - 11, 0));
	EXPECT_EQ(size.width(), list()->fontMetrics().horizontalAdvance(u"1024.0 MiB"_s));
	EXPECT_EQ(list()->visualItemRect(list()->item(9)).width(), list()->viewport()->width()) << "beside a long name";
	EXPECT_EQ(list()->horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
	auto *selector = child<QComboBox>("sourceSelector");
	selector->setFixedWidth(100);
	selector->setStyleSheet(u"QComboBox { combobox-popup: 0 }"_s); // as OBS's themes have it
	const int screen = selector->screen()->size().width();
	for (const int x : {0, screen - 200}) {
		frontend->dock->move(x, 0);
		selector->showPopup();
		const QWidget *popup = selector->view()->window();
		EXPECT_EQ(popup->x(), std::min(selector->mapToGlobal(QPoint()).x(), screen - popup->width()));
		EXPECT_GE(selector->view()->viewport()->width(), selector->view()->sizeHintForColumn(0));
		selector->hidePopup();
	}
}

// In a dark theme the picture is red here.
TEST_F(Input, AnEmptyListSaysWhyBelowThePictureOfTheTheme)
{
	makeFile(named(path(u"Dark/no_sources.svg"_s)), R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 1 1">
		<path fill="red" d="M0 0h1v1H0z"/></svg>)");
	QDir::addSearchPath(u"theme"_s, folder.path());
	reelhouse::TrackListWidget empty(nullptr);
	empty.setFrameShape(QFrame::NoFrame);
	empty.setPalette(QPalette(Qt::black));
	empty.show();
	const auto seen = [&empty](const QString &text, QSize size = {300, 200}) {
		empty.setEmptyText(text);
		empty.resize(size);
		passTime(100);
		return empty.screen()->grabWindow(empty.winId());
	};
	const int line = empty.fontMetrics().height();
	for (const auto &[width, height, side, used] : {std::tuple(300, 200, 32, 48 + 2 * line),
							{300, 2 * line + 47, 0, 2 * line},
							{300, 2 * line - 1, 0, line},
							{40, line, 0, line}}) {
		const QPixmap picture = seen(u"Ág\nÁg"_s, {width, height});
		const QRect all = boundsOf(picture, Qt::black), red = boundsOf(picture, Qt::red, Qt::MaskOutColor);
		EXPECT_EQ(red, side ? QRect(width / 2 - 16, all.top(), side, side) : QRect());
		EXPECT_NEAR(all.height(), used, line / 2);
		EXPECT_LE((all.center() - QPoint(width, height) / 2).manhattanLength(), 4);
		EXPECT_LE(all.width(), width - 16);
	}
	EXPECT_NE(seen(u"A"_s).toImage(), seen(u"B"_s).toImage());
	EXPECT_EQ(seen(u"שלום."_s).toImage(), seen(u"\u200Fשלום.\u200F"_s).toImage()) << "it ends at the left";
}

TEST_F(Input, TheMenuSaysWhatTheModuleIs)
{
	begin(QString());
	QTimer::singleShot(0, frontend->dock, [] {
		auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
		ASSERT_TRUE(box);
		static const QRegularExpression version(u"^Reelhouse \\d+\\.\\d+\\.\\d+\n"_s);
		EXPECT_TRUE(box->text().contains(version)) << box->text().toStdString();
		box->close();
	});
	action("aboutPlugin")->trigger();
}

TEST_F(Input, TheTimeAndTheSliderShowTheFocusAndThePlayButtonThePause)
{
	begin(u"A"_s);
	auto *play = child<QWidget>("playPause");
	play->setStyleSheet(u"[class=icon-media-pause] { color: red }"_s); // as a theme gives the icon
	step(u"start A"_s);
	EXPECT_EQ(play->palette().color(QPalette::ButtonText), Qt::red);
	for (QWidget *widget : {child<QWidget>("playbackTime"), child<QWidget>("seek")}) {
		const QColor color = widget->palette().color(QPalette::WindowText);
		list()->setFocus();
		EXPECT_NE(boundsOf(widget->grab(), color, Qt::MaskOutColor), widget->rect());
		EXPECT_NE(boundsOf(widget->grab(), widget->palette().color(QPalette::Window)), QRect());
		widget->setFocus();
		EXPECT_EQ(boundsOf(widget->grab(), color, Qt::MaskOutColor), widget->rect());
	}
}

TEST_F(Input, TheFolderOfAFileThatIsGoneOpens)
{
	QTextBrowser opened;
	QDesktopServices::setUrlHandler(u"file"_s, &opened, "setSource");
	begin(u"M/a"_s);
	EXPECT_EQ(step(u"gone M/a; play M/a; openFolder"_s).toStdString(), "[M/a] | src M/a | own | replaced -");
	EXPECT_EQ(opened.source(), QUrl::fromLocalFile(folder.filePath(u"M"_s)));
	QDesktopServices::unsetUrlHandler(u"file"_s);
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
	search(u"m"_s);
	passTime(1000);
	EXPECT_FALSE(QToolTip::isVisible()) << "the row may be another one";
	search({});
	EXPECT_EQ(tip(1, 300), "");
	EXPECT_EQ(list()->item(0)->data(Qt::AccessibleDescriptionRole),
		  u"File not found: "_s + odd + u" · Tools › Reelhouse › Find Missing Files…"_s);
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
		const auto parts = frontend->dock->findChildren<QWidget *>(Qt::FindDirectChildrenOnly);
		for (const QWidget *part : parts)
			for (const QWidget *other : parts)
				EXPECT_TRUE(part == other || !part->isVisible() || !other->isVisible() ||
					    !part->geometry().intersects(other->geometry()))
					<< other->objectName().toStdString();
	}
	EXPECT_EQ(frontend->dock->minimumSize(), QSize(360, 110));
}

// Also where a theme's handle is lower than the slider.
TEST_F(Input, AClickSeeksToWhereItIs)
{
	begin(u"A"_s);
	step(u"start A; media playing 0 100000; poll"_s);
	auto *slider = child<QSlider>("seek");
	slider->setStyleSheet(u"QSlider::groove { height: 4px; } QSlider::handle { width: 8px; margin: -2px 0; }"_s);
	slider->setFixedHeight(20);
	QTest::mouseClick(slider, Qt::LeftButton, {}, {slider->width() * 3 / 4, 0});
	EXPECT_NEAR(slider->value(), (slider->width() * 3 / 4 - 4) * 1000 / (slider->width() - 8), 4) << "its middle";
	EXPECT_EQ(step(u"video"_s).section(u"does "_s, 1), u"seek %1"_s.arg(slider->value() * 100));
	step(u"wait 1250; poll"_s);
	QTest::mouseClick(slider, Qt::RightButton, {}, {slider->width() / 2, 0});
	QTest::mouseClick(slider, Qt::LeftButton, {}, {12, 10});
	EXPECT_EQ(slider->value(), 0) << "the handle itself";
	QTest::mousePress(slider, Qt::LeftButton, {}, {slider->width() / 2, 0});
	QTest::mouseMove(slider, {slider->width() / 4, 0});
	EXPECT_NEAR(slider->value(), (slider->width() / 4 - 4) * 1000 / (slider->width() - 8), 4)
		<< "the handle follows";
	step(u"play A; video; media playing 0 100000; poll"_s);
	QTest::mouseMove(slider, {slider->width() / 4, 0});
	EXPECT_EQ(slider->value(), 0) << "the press was for the track before";
}

TEST_F(Input, AMessageIsAnnouncedAndShowsWhole)
{
	static QString announced;
	static int changes = 0;
	QAccessible::installUpdateHandler([](QAccessibleEvent *event) {
		if (event->type() == QAccessible::Announcement)
			announced = static_cast<QAccessibleAnnouncementEvent *>(event)->message();
		changes += event->type() == QAccessible::NameChanged ||
			   event->type() == QAccessible::DescriptionChanged;
	});
	begin(u"A B&"_s);
	step(u"start A"_s);
	changes = 0;
	step(u"look"_s);
	EXPECT_EQ(changes, 0) << "while nothing changes, nothing is read out";
	step(u"gone B&; play B&"_s);
	QAccessible::installUpdateHandler(nullptr);
	auto *message = child<QLabel>("message");
	EXPECT_TRUE(tipAt(message, message->rect().center()).contains(message->text().toHtmlEscaped()));
	EXPECT_TRUE(tipAt(message, message->rect().center()).contains(u"space:pre'"_s));
	EXPECT_TRUE(message->toolTip().isEmpty());
	EXPECT_TRUE(announced.startsWith(u"File not found") && message->text().endsWith(announced));
	step(u"drop %1; gone %1; play %1"_s.arg(QString(200, u'W')));
	EXPECT_TRUE(tipAt(message, message->rect().center()).contains(u"pre-wrap"_s)) << "wider than the screen";
	frontend->dock->resize(360, 400);
	QCoreApplication::sendPostedEvents();
	auto *endMode = child<QComboBox>("endMode");
	EXPECT_GE(endMode->width(), endMode->minimumSizeHint().width()) << "beside a message of any length";
	endMode->setItemText(0, QString(30, u'W'));
	QCoreApplication::sendPostedEvents();
	EXPECT_GE(message->width(), message->fontMetrics().horizontalAdvance(u"⚠"_s)) << "beside words of any length";
}

TEST_F(Input, TheCountTellsHowLongTheShowIs)
{
	// One byte of sound takes a second.
	const auto wave = [](quint32 seconds) {
		QByteArray bytes("RIFF\0\0\0\0WAVEfmt \x10\0\0\0\1\0\1\0\1\0\0\0\1\0\0\0\1\0\x08\0data\0\0\0\0", 44);
		qToLittleEndian(seconds + 36, bytes.data() + 4);
		qToLittleEndian(seconds, bytes.data() + 40);
		return bytes + QByteArray(seconds, '\x80');
	};
	begin(u"A B B http://h/U"_s);
	makeFile(u"A"_s, wave(3700));
	makeFile(u"B"_s, wave(90));
	auto *count = child<QLabel>("trackCount");
	EXPECT_EQ(tipAt(count, {5, 5}), QString());
	const auto becomes = [&](const QString &text) {
		return waitFor([&] { return count->accessibleDescription() == text && tipAt(count, {5, 5}) == text; });
	};
	EXPECT_TRUE(becomes(u"1:04:40 in all, 1:04:40 to go · Unknown length: 1"_s));
	step(u"start B; media playing 30000 90000; poll"_s);
	EXPECT_TRUE(becomes(u"1:04:40 in all, 2:30 to go · Unknown length: 1"_s));
	step(u"play 1"_s);
	EXPECT_EQ(tipAt(count, {5, 5}), u"1:04:40 in all, 3:00 to go · Unknown length: 1"_s) << "from its start";
	step(u"video"_s);
	EXPECT_EQ(step(u"ask? queueRemainingMs GetQueue"_s), u"{'queueRemainingMs':150000}"_s);
	makeFile(u"B"_s, wave(100));
	step(u"refresh"_s);
	EXPECT_TRUE(becomes(u"1:04:50 in all, 2:40 to go · Unknown length: 1"_s)) << "a file that has changed";
	EXPECT_EQ(count->toolTip(), QString());
}
