/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Host.hpp"

#include <QLabel>
#include <QSlider>

using namespace Qt::StringLiterals;

// What the soak does not see of playing: the slider while it is held, and the keyboard focus.
class Playback : public Host {
protected:
	void SetUp() override
	{
		source = makeSource(u"S"_s, {makeFile(u"a.mp3"_s), makeFile(u"b.mp3"_s)});
		show(source);
		playThrough(source, 0);
	}
	OBSSource source;
};

TEST_F(Playback, ASwitchGivesTheFocusBack)
{
	auto *button = child<QWidget>("playPause");
	EXPECT_EQ(button->property("class").toString(), u"icon-media-pause"_s);
	list()->setCurrentRow(1);
	EXPECT_EQ(button->property("class").toString(), u"icon-media-play"_s);
	button->setFocus();
	QTest::keyClick(button, Qt::Key_Space);
	EXPECT_FALSE(child<QWidget>("stop")->hasFocus()) << "where the next Space would stop the show";
	sendStopped(source);
	ASSERT_TRUE(waitFor([button] { return button->hasFocus(); }));
}

TEST_F(Playback, TheSliderSeeksOnceOnRelease)
{
	auto *slider = child<QSlider>("seek");
	auto *time = child<QLabel>("playbackTime");
	media(source) = {OBS_MEDIA_STATE_PLAYING, 10000, 100000};
	waitForTicks(1);
	EXPECT_EQ(slider->value(), 100);

	const QPoint target(slider->width() * 3 / 4, slider->height() / 2);
	QTest::mousePress(slider, Qt::LeftButton, {}, target);
	EXPECT_TRUE(slider->isSliderDown());
	EXPECT_NEAR(slider->value(), 750, 10);
	waitForTicks(2);
	EXPECT_NEAR(slider->value(), 750, 10) << "the poll leaves a held slider alone";
	QTest::mouseRelease(slider, Qt::LeftButton, {}, target);
	EXPECT_TRUE(time->text().startsWith(u"1:1"_s)) << time->text().toStdString();
	QTest::mouseClick(time, Qt::LeftButton);
	EXPECT_TRUE(time->text().startsWith(u"−0:2"_s)) << "a seek in flight, in the other mode";
	waitForTicks(1);
	EXPECT_NEAR(slider->value(), 750, 10) << "until the seek has landed";
	media(source).timeMs = slider->value() * 100 + 50;
	waitForTicks(1);
	media(source).timeMs = 20000;
	waitForTicks(1);
	EXPECT_EQ(slider->value(), 200) << "landed: the slider follows again";
	EXPECT_EQ(time->text(), u"−1:20"_s);

	// A theme's handle may be lower than the slider; and a new track's duration counts before the poll has seen it.
	slider->setStyleSheet(u"QSlider::groove { height: 4px; } QSlider::handle { width: 8px; margin: -2px 0; }"_s);
	slider->setFixedHeight(20);
	media(source).durationMs = 200000;
	QTest::mouseClick(slider, Qt::LeftButton, {}, {target.x(), 0});
	EXPECT_NEAR(time->text().mid(3).toInt(), 50, 3) << time->text().toStdString();
	media(source).durationMs = 100000;
	ASSERT_TRUE(waitFor([slider] { return slider->value() == 200; })) << "a seek that never lands is given up";
	media(source).durationMs = 0;
	waitForTicks(1);
	EXPECT_EQ(slider->value(), 0);
	EXPECT_EQ(time->text(), u"−—:—"_s);
	EXPECT_TRUE(time->accessibleDescription().endsWith(u" / —:—"_s));
	EXPECT_FALSE(slider->isEnabled());
}
