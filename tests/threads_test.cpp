/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "HeldClock.hpp"
#include "SlowDisk.hpp"
#include "Story.hpp"

#include <atomic>
#include <future>

using namespace Qt::StringLiterals;

// Requests come on threads of the WebSocket plug-in's, which may be many, and may wait for nobody.
class Threads : public Story {
protected:
	void SetUp() override { begin(u"A B C"_s); }
};

TEST_F(Threads, RequestsFromManyAreDoneOnceOrRefused)
{
	std::atomic<int> done = 0, refused = 0;
	std::vector<std::thread> threads;
	for (int i = 0; i < 4; i++) {
		threads.emplace_back([&] {
			while (refused < 100) {
				const auto response = plugin.request("AddTracks", R"({"paths": [{"path": "/m/x"}]})");
				if (response["success"_L1].toBool())
					done++;
				else if (response["error"_L1] == u"unavailable"_s)
					refused++;
				plugin.request("GetQueue");
			}
		});
	}
	ASSERT_TRUE(waitFor([&] {
		child<QComboBox>("endMode")->setCurrentIndex(done % 3);
		return done > 100;
	}));
	EXPECT_EQ(plugin.request("GetQueue", R"({"limit": 101, "tags": true})")["error"_L1], u"tooManyTags"_s);
	EXPECT_EQ(plugin.request("GetQueue", R"({"limit": 100, "tags": true})")["success"_L1], true);
	// From here on this thread serves nobody, as when it waits for the others to end.
	frontend->send(OBS_FRONTEND_EVENT_SCRIPTING_SHUTDOWN);
	for (std::thread &thread : threads)
		thread.join();
	QCoreApplication::processEvents();
	EXPECT_EQ(list()->count(), 3 + done);
	EXPECT_EQ(plugin.request("GetQueue")["error"_L1], u"unavailable"_s) << "even if this thread could serve it";
	plugin.end();
	sources.clear();
	endObs();
	EXPECT_EQ(plugin.request("GetQueue")["error"_L1], u"unavailable"_s) << "the plug-in may ask even then";
}

TEST_F(Threads, ARequestThatIsRefusedIsNeverDone)
{
	// The thread of the pictures must not wait at all.
	std::thread([this] {
		onGraphicsThread = true;
		EXPECT_EQ(plugin.request("PlayNext")["error"_L1], u"graphicsThread"_s);
	}).join();
	// Nobody serves the first. The others must not wait as long, or this test runs for minutes.
	std::thread([this] {
		for (int i = 0; i < 50; i++)
			EXPECT_EQ(plugin.request("PlayNext")["error"_L1], u"unavailable"_s);
	}).join();
	QCoreApplication::sendPostedEvents();
	auto response = std::async(std::launch::async, [this] { return plugin.request("PlayPrevious"); });
	ASSERT_TRUE(waitFor([this] { return waits(); })) << "this thread serves again";
	EXPECT_EQ(response.get()["success"_L1], true);
	EXPECT_EQ(state().toStdString(), "A B ▶[C] | src A B C | managed (own) | replaced - | waits");
}

TEST_F(Threads, OnceTheRemoteControlIsClosedNobodyWaitsForItOrHearsOfIt)
{
	step(u"look; drop D"_s);
	using Clock = std::chrono::system_clock; // the other one is held
	auto answered = std::async(std::launch::async, [this] {
		EXPECT_EQ(plugin.request("PlayNext")["error"_L1], u"unavailable"_s);
		return Clock::now();
	});
	std::this_thread::sleep_for(std::chrono::milliseconds(300)); // until it waits
	const auto closed = Clock::now();
	frontend->send(OBS_FRONTEND_EVENT_SCRIPTING_SHUTDOWN);
	EXPECT_LT(answered.get() - closed, std::chrono::seconds(4))
		<< "five, which a request waits, keep OBS from ending";
	plugin.events.clear();
	child<QComboBox>("endMode")->setCurrentIndex(1);
	play(1);
	videoTick(sources[u"S"_s]);
	media(sources[u"S"_s]) = {OBS_MEDIA_STATE_ERROR, 0, 0};
	passTime(2000);
	choose(sources[u"T"_s]);
	passTime(2000);
	EXPECT_TRUE(plugin.events.empty());
}

TEST_F(Threads, ARequestDoesNotWaitForTagsBeyondTheClose)
{
	step(u"drop hangs/D"_s);
	SlowDisk::hang();
	auto wait = std::async(std::launch::async, [this] {
		HeldClock::hold();
		const qint64 start = HeldClock::nowMs();
		plugin.request("GetQueue", R"({"tags": true})");
		return HeldClock::nowMs() - start;
	});
	const auto asked = std::async(std::launch::async, SlowDisk::awaitQuestion);
	EXPECT_TRUE(waitFor([&] { return asked.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
	frontend->send(OBS_FRONTEND_EVENT_SCRIPTING_SHUTDOWN);
	EXPECT_EQ(wait.get(), 0) << "no wait was in vain";
	SlowDisk::answer();
}

TEST_F(Threads, ARequestThatHasBegunIsAnsweredWithWhatBecameOfIt)
{
	auto response = std::async(std::launch::async, [this] { return plugin.request("PlayNext"); });
	plugin.onEvent = [&] {
		frontend->send(OBS_FRONTEND_EVENT_SCRIPTING_SHUTDOWN);
		std::this_thread::sleep_for(std::chrono::milliseconds(200));
		EXPECT_EQ(response.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
	};
	ASSERT_TRUE(waitFor([&] { return !plugin.events.empty(); }));
	EXPECT_EQ(response.get()["success"_L1], true);
}

// As the WebSocket plug-in does for whoever asks.
TEST_F(Threads, ThePlaylistMayBeReadWhileASwitchExchangesIt)
{
	std::atomic<bool> ends = false;
	std::thread reader([&ends, source = sources[u"S"_s]] {
		while (!ends) {
			OBSDataAutoRelease settings = obs_source_get_settings(source);
			OBSDataArrayAutoRelease playlist = obs_data_get_array(settings, "playlist");
		}
	});
	for (int i = 0; i < 3000; i++) {
		run({u"play"_s, QString::number(i % 3)});
		videoTick(bound());
		QCoreApplication::sendPostedEvents();
	}
	ends = true;
	reader.join();
	EXPECT_EQ(valuesIn(settingsOf(bound()), "playlist"), rowPaths().last(1));
}

TEST_F(Threads, ASourceThatStepsWhileItIsLetGoOfStepsNoOther)
{
	for (const char *one : {"choose T", "start X", "choose S", "start A"})
		step(QLatin1String(one));
	obs_source_media_next(sources[u"S"_s]);
	std::thread([source = sources[u"S"_s]] { videoTick(source); }).join();
	EXPECT_EQ(step(u"choose T"_s).toStdString(), "▶[X] Y | src X | managed | replaced -");
}
