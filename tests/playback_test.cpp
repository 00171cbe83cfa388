/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Host.hpp"

#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QSlider>

#include <atomic>
#include <thread>

using namespace Qt::StringLiterals;

class Playback : public Host {
protected:
	void SetUp() override
	{
		for (const char *name : {"a.mp3", "b.mp3", "c.mp3"})
			files.append(makeFile(QLatin1String(name)));
		source = makeSource(u"S"_s, files, R"({"loop": true})");
	}
	void press(const char *button) { QTest::mouseClick(child<QWidget>(button), Qt::LeftButton); }
	// What the record says is playing, as its position in the queue; -1 for nothing.
	int current() const
	{
		const QJsonObject record = recordOf(source);
		for (int i = 0; i < list()->count(); i++) {
			if (list()->item(i)->data(Qt::UserRole).toString() == record["current"_L1].toString())
				return i;
		}
		return -1;
	}
	QStringList playlist() const { return valuesIn(settingsOf(source), "playlist"); }
	QString buttonName() const { return child<QWidget>("playPause")->accessibleName(); }

	QStringList files;
	OBSSource source;
};

TEST_F(Playback, SwitchesInTwoPhases)
{
	show(source);
	play(1);
	EXPECT_EQ(current(), 1) << "recorded before the media is stopped";
	EXPECT_EQ(playlist(), files) << "the source is left alone until it has stopped";
	EXPECT_FALSE(child<QWidget>("playPause")->isEnabled());
	EXPECT_FALSE(child<QWidget>("seek")->isEnabled());
	// The poll looks for edits made elsewhere when it looks for new names.
	obs_source_set_name(source, "Renamed");
	ASSERT_TRUE(waitFor([this] { return child<QComboBox>("sourceSelector")->currentText() == u"Renamed"_s; }));
	EXPECT_EQ(current(), 1) << "the playlist that is about to be replaced is no edit";
	sendStopped(source);
	EXPECT_EQ(playlist(), QStringList{files[1]});
	const QJsonObject settings = settingsOf(source);
	EXPECT_EQ(settings["playback_behavior"_L1], u"always_play"_s);
	EXPECT_FALSE(settings["loop"_L1].toBool(true));
	EXPECT_FALSE(settings["shuffle"_L1].toBool(true));
	EXPECT_FALSE(child<QWidget>("playPause")->isEnabled()) << "until the continuation has run";
	ASSERT_TRUE(waitFor([this] { return child<QWidget>("playPause")->isEnabled(); }));
	EXPECT_EQ(labels(), (QStringList{u"a.mp3"_s, u"▶\uFE0E b.mp3"_s, u"c.mp3"_s}));
	EXPECT_TRUE(recordOf(source)["originalLoop"_L1].toBool());
}

TEST_F(Playback, OnlyTheNewestSwitchLandsAndACancelIsFinal)
{
	show(source);
	play(0);
	play(2);
	sendStopped(source);
	EXPECT_EQ(playlist(), QStringList{files[2]});
	QCoreApplication::processEvents();

	// Cancelled before the source stopped: it still holds the old track, so the new one never became current.
	play(1);
	press("stop");
	sendStopped(source);
	QCoreApplication::processEvents();
	EXPECT_TRUE(playlist().isEmpty()) << "the stop empties a managed source";
	EXPECT_EQ(current(), -1);
	EXPECT_EQ(labels()[1], u"b.mp3"_s);

	// Cancelled between the two phases: the source holds the new track, which stays current.
	play(1);
	sendStopped(source);
	press("refresh");
	EXPECT_EQ(current(), 1);
	EXPECT_TRUE(child<QWidget>("playPause")->isEnabled());
	EXPECT_EQ(playlist(), QStringList{files[1]});

	play(0);
	sendStopped(source);
	play(2);
	QCoreApplication::processEvents();
	EXPECT_FALSE(child<QWidget>("playPause")->isEnabled()) << "the older switch's end is not the newer's";
}

TEST_F(Playback, ASourceDeletedDuringASwitchEndsIt)
{
	show(source);
	play(1);
	obs_source_remove(source);
	sendStopped(source);
	source = nullptr;
	ASSERT_TRUE(waitFor([this] { return list()->count() == 0; }));
}

TEST_F(Playback, ButtonsStepThroughTheQueueAndWrap)
{
	show(source);
	const struct {
		const char *button;
		int track;
	} steps[] = {{"previous", 2}, {"next", 0}, {"next", 1}, {"previous", 0}, {"previous", 2}};
	for (const auto &step : steps) {
		press(step.button);
		EXPECT_EQ(current(), step.track);
		sendStopped(source);
		QCoreApplication::processEvents();
		EXPECT_EQ(playlist(), QStringList{files[step.track]});
	}
}

TEST_F(Playback, TheButtonFollowsStateAndSelection)
{
	show(source);
	EXPECT_EQ(buttonName(), u"Play Selected"_s);
	playThrough(source, 0);
	const struct {
		obs_media_state state;
		const char *name, *icon, *status;
	} rows[] = {
		{OBS_MEDIA_STATE_PLAYING, "Pause", "icon-media-pause", "Playing"},
		{OBS_MEDIA_STATE_PAUSED, "Resume", "icon-media-play", "Paused"},
		{OBS_MEDIA_STATE_OPENING, "Play", "icon-media-play", "Loading"},
		{OBS_MEDIA_STATE_BUFFERING, "Play", "icon-media-play", "Loading"},
		{OBS_MEDIA_STATE_ERROR, "Play", "icon-media-play", "Error"},
		{OBS_MEDIA_STATE_STOPPED, "Play", "icon-media-play", "Stopped"},
		{OBS_MEDIA_STATE_ENDED, "Play", "icon-media-play", "Ended"},
	};
	for (const auto &row : rows) {
		media(source) = {row.state, 65000, 210000};
		waitForTicks(1);
		EXPECT_EQ(buttonName().toStdString(), row.name);
		EXPECT_EQ(child<QWidget>("playPause")->property("class").toString().toStdString(), row.icon);
		EXPECT_EQ(child<QWidget>("playbackTime")->accessibleDescription().toStdString(),
			  std::string(row.status) + " · 1:05 / 3:30");
	}
	list()->setCurrentRow(1);
	EXPECT_EQ(buttonName(), u"Play Selected"_s);
	auto *button = child<QWidget>("playPause");
	button->setFocus();
	QTest::keyClick(button, Qt::Key_Space);
	EXPECT_EQ(current(), 1);
	EXPECT_FALSE(child<QWidget>("stop")->hasFocus()) << "where the next Space would stop the show";
	sendStopped(source);
	ASSERT_TRUE(waitFor([button] { return button->hasFocus(); }));
	press("stop");
	sendStopped(source);
	media(source) = {};
	waitForTicks(1);
	EXPECT_TRUE(playlist().isEmpty());
	EXPECT_EQ(settingsOf(source)["playback_behavior"_L1], u"always_play"_s);
}

TEST_F(Playback, AnEndedTrackAppliesTheEndMode)
{
	const struct {
		const char *situation;
		int endMode, track;
		obs_media_state before;
		bool endsTrack;
		int expected; // -1: stopped, the record still names the track
	} rows[] = {
		{"next", 1, 0, OBS_MEDIA_STATE_PLAYING, true, 1},
		{"next after the last", 1, 2, OBS_MEDIA_STATE_PLAYING, true, -1},
		{"repeat", 2, 1, OBS_MEDIA_STATE_PLAYING, true, 1},
		{"stop", 0, 0, OBS_MEDIA_STATE_PLAYING, true, -1},
		{"next, after a pause", 1, 0, OBS_MEDIA_STATE_PAUSED, true, 1},
		{"an error does not go on", 1, 0, OBS_MEDIA_STATE_ERROR, false, 0},
		{"nor does a stop", 1, 0, OBS_MEDIA_STATE_STOPPED, false, 0},
	};
	show(source);
	for (const auto &row : rows) {
		child<QComboBox>("endMode")->setCurrentIndex(row.endMode);
		playThrough(source, row.track);
		media(source).state = row.before;
		waitForTicks(1);
		media(source).state = OBS_MEDIA_STATE_ENDED;
		const bool stopped = row.expected < 0;
		if (row.endsTrack)
			ASSERT_TRUE(waitFor(
				[this] { return !child<QWidget>("playPause")->isEnabled() || playlist().isEmpty(); }));
		else
			waitForTicks(2);
		sendStopped(source);
		QCoreApplication::processEvents();
		EXPECT_EQ(current(), stopped ? row.track : row.expected) << row.situation;
		EXPECT_EQ(playlist(), stopped ? QStringList() : QStringList{files[row.expected]}) << row.situation;
		media(source) = {};
	}
}

TEST_F(Playback, AStaleEndIsNotTheNewTracksEnd)
{
	show(source);
	child<QComboBox>("endMode")->setCurrentIndex(1);
	media(source).state = OBS_MEDIA_STATE_ENDED;
	play(0);
	sendStopped(source);
	waitForTicks(3);
	EXPECT_EQ(current(), 0);
	EXPECT_EQ(playlist(), QStringList{files[0]});
}

TEST_F(Playback, AMissingFileIsRefusedAndChangesNothing)
{
	show(source);
	playThrough(source, 0);
	const QJsonObject before = recordOf(source);
	QFile::remove(files[1]);
	play(1);
	EXPECT_EQ(child<QLabel>("message")->text(), u"⚠ File not found: "_s + files[1]);
	EXPECT_TRUE(child<QLabel>("message")->isVisible());
	EXPECT_EQ(recordOf(source), before);
	EXPECT_EQ(playlist(), QStringList{files[0]});
	play(2);
	EXPECT_FALSE(child<QLabel>("message")->isVisible());
}

TEST_F(Playback, TheSliderSeeksOnceOnRelease)
{
	show(source);
	auto *slider = child<QSlider>("seek");
	auto *time = child<QLabel>("playbackTime");
	playThrough(source, 0);
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

TEST_F(Playback, ATrackThatEndsUnderAHeldSliderSeeksNothing)
{
	show(source);
	auto *slider = child<QSlider>("seek");
	child<QComboBox>("endMode")->setCurrentIndex(1);
	playThrough(source, 0);
	QTest::mousePress(slider, Qt::LeftButton, {}, {slider->width() * 3 / 4, slider->height() / 2});
	media(source).state = OBS_MEDIA_STATE_ENDED;
	ASSERT_TRUE(waitFor([slider] { return !slider->isEnabled(); }));
	sendStopped(source);
	media(source) = {OBS_MEDIA_STATE_PLAYING, 400, 4000};
	waitForTicks(2);
	EXPECT_EQ(slider->value(), 100) << "it follows the new track at once";
}

TEST_F(Playback, TheSliderSeeksOnlyTheMediaThatItWasTakenOn)
{
	const OBSSource other = makeSource(u"Other"_s, {files[2]});
	show(source);
	auto *slider = child<QSlider>("seek");
	const struct {
		const char *situation;
		std::function<void()> meanwhile;
	} rows[] = {
		{"another source is bound",
		 [&] {
			 choose(other);
		 }},
		{"the queue is reloaded",
		 [&] {
			 press("refresh");
		 }},
		{"the track is switched",
		 [&] {
			 press("next");
			 sendStopped(source);
		 }},
		{"playback is stopped",
		 [&] {
			 press("stop");
		 }},
		{"the collection goes",
		 [&] {
			 frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING);
		 }},
	};
	for (const auto &[situation, meanwhile] : rows) {
		frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED);
		choose(source);
		playThrough(source, 0);
		media(source) = media(other) = {OBS_MEDIA_STATE_PLAYING, 500, 50000};
		waitForTicks(1);
		const QPoint middle = slider->rect().center();
		QTest::mousePress(slider, Qt::LeftButton, {}, middle);
		meanwhile();
		slider->setEnabled(true);
		QTest::mouseRelease(slider, Qt::LeftButton, {}, middle);
		if (slider->value() != 0)
			waitForTicks(1);
		EXPECT_LE(slider->value(), 10) << situation << ": a seek in flight would hold it in the middle";
	}
}

TEST_F(Playback, TheSourcesOwnControlsStepTheQueue)
{
	show(source);
	sendSignal(source, "media_next");
	QCoreApplication::processEvents();
	EXPECT_EQ(playlist(), files) << "an unmanaged source steps by itself";
	playThrough(source, 2);
	const auto step = [this](const char *signal) {
		sendSignal(source, signal);
		QCoreApplication::processEvents();
		sendStopped(source);
		QCoreApplication::processEvents();
		return current();
	};
	EXPECT_EQ(step("media_next"), 0);
	EXPECT_EQ(step("media_previous"), 2);
	// Two in one frame are two.
	sendSignal(source, "media_previous");
	EXPECT_EQ(step("media_previous"), 0);

	const std::function<void()> lettingGo[] = {
		[this] { frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING); },
		[this] { child<QComboBox>("sourceSelector")->setCurrentIndex(0); },
	};
	for (const auto &letGo : lettingGo) {
		sendSignal(source, "media_next");
		letGo();
		frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED);
		choose(source);
		QCoreApplication::processEvents();
		EXPECT_EQ(current(), 0) << "a step from before";
	}
}

// For the sanitizers: the source stops and steps on its own thread while the dock switches, cancels and lets go.
TEST_F(Playback, SignalsMayComeAtAnyMoment)
{
	show(source);
	std::atomic<bool> done = false, steps = false;
	std::thread libobs([this, &done, &steps] {
		calldata_t data;
		calldata_init(&data);
		calldata_set_ptr(&data, "source", source.Get());
		signal_handler_t *signals = obs_source_get_signal_handler(source);
		while (!done) {
			signal_handler_signal(signals, "media_stopped", &data);
			if (steps.exchange(false)) {
				signal_handler_signal(signals, "media_next", &data);
				signal_handler_signal(signals, "media_previous", &data);
			}
		}
		calldata_free(&data);
	});
	for (int i = 0; i < 200; i++) {
		play(i % 3);
		steps = true;
		if (i % 5 == 0)
			press("stop");
		if (i % 7 == 0)
			frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING);
		QCoreApplication::processEvents();
		if (i % 7 == 0)
			frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED);
	}
	ASSERT_TRUE(waitFor([&steps] { return !steps; }));
	QCoreApplication::processEvents();
	play(1);
	ASSERT_TRUE(waitFor([this] { return child<QWidget>("playPause")->isEnabled(); }));
	done = true;
	libobs.join();
	EXPECT_EQ(playlist(), QStringList{files[1]});
}
