/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Host.hpp"

#include <QJsonArray>

#include <atomic>
#include <future>
#include <thread>

#include "WebSocketPlugin.hpp"

using namespace Qt::StringLiterals;

class Remote : public Host {
protected:
	void SetUp() override
	{
		for (const char *name : {"a", "b", "c"})
			files.append(makeFile(QLatin1String(name)));
		source = makeSource(u"S"_s, files);
		show(source);
		obs_post_load_modules();
	}

	QJsonObject request(const std::string &name, const QByteArray &json = "{}") const
	{
		return plugin.request(name, json);
	}
	// Makes it on a thread, while this one serves it.
	QJsonObject ask(const std::string &name, const QByteArray &json = "{}")
	{
		auto answer = std::async(std::launch::async, [&] { return request(name, json); });
		EXPECT_TRUE(
			waitFor([&] { return answer.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
		return answer.get();
	}
	// The queue by letters, checked against the stored record.
	QString queue() const
	{
		QStringList paths;
		for (int i = 0; i < list()->count(); i++)
			paths.append(pathAt(i));
		EXPECT_EQ(valuesIn(recordOf(source), "tracks"), paths) << "the record is in step with the list";
		QString letters;
		for (const QString &path : paths)
			letters += path.back();
		return letters;
	}
	// The events since the last call, each as its name and what matters of it.
	QStringList told()
	{
		QStringList lines;
		for (const auto &[name, data] : std::exchange(plugin.events, {})) {
			EXPECT_GT(data["revision"_L1].toInt(), revision) << name.toStdString();
			revision = data["revision"_L1].toInt();
			lines.append(name + u' ' + data["total"_L1].toVariant().toString() +
				     data["label"_L1].toString() + data["endMode"_L1].toString());
		}
		return lines;
	}

	WebSocketPlugin plugin;
	int revision = 0;
	QStringList files;
	OBSSource source;
};

TEST_F(Remote, WhatIsWrongIsRefusedAndChangesNothing)
{
	const OBSSource empty = makeSource(u"Empty"_s, {});
	OBSSceneAutoRelease scene = obs_scene_create("Scene");
	const struct {
		const char *request;
		QByteArray data;
		const char *error;
	} rows[] = {
		{"GetQueue", R"({"offset": -1})", "indexOutOfRange"},
		{"GetQueue", R"({"offset": 4})", "indexOutOfRange"},
		{"GetQueue", R"({"offset": "1"})", "wrongType"},
		{"GetQueue", R"({"limit": 1.0})", "wrongType"},
		{"SelectSource", "{}", "missingField"},
		{"SelectSource", R"({"sourceUuid": 5})", "wrongType"},
		{"SelectSource", R"({"sourceUuid": "nobody's"})", "unknownSource"},
		{"SelectSource", R"({"sourceName": "Nobody"})", "unknownSource"},
		{"SelectSource", R"({"sourceName": "Scene"})", "unknownSource"},
		{"PlayTrack", "{}", "missingField"},
		{"PlayTrack", R"({"id": ""})", "unknownTrack"},
		{"PlayTrack", R"({"index": 3})", "indexOutOfRange"},
		{"PlayTrack", R"({"index": 0, "switchScene": 1})", "wrongType"},
		{"AddTracks", "{}", "missingField"},
		{"AddTracks", R"({"paths": "/m/x"})", "wrongType"},
		{"AddTracks", R"({"paths": []})", "emptyList"},
		{"AddTracks", R"({"paths": [{"path": "/m/x"}, {"path": ""}]})", "emptyPath"},
		{"AddTracks", R"({"paths": [{"path": "/m/x"}, {"path": 7}]})", "wrongType"},
		{"AddTracks", R"({"paths": [{"path": "/m/x"}], "position": 4})", "indexOutOfRange"},
		{"RemoveTracks", R"({"ids": [{"id": "%1"}, {"id": "x"}]})", "unknownTrack"},
		{"RemoveTracks", R"({"ids": [{"id": "%1"}, {}]})", "missingField"},
		{"MoveTrack", R"({"id": "%1"})", "missingField"},
		{"MoveTrack", R"({"id": "%1", "index": 3})", "indexOutOfRange"},
		{"MoveTrack", R"({"id": "x", "index": 0})", "unknownTrack"},
		{"SetEndMode", R"({"endMode": "loop"})", "unknownEndMode"},
		{"SetEndMode", R"({"endMode": 1})", "wrongType"},
	};
	const QJsonObject before = recordOf(source);
	const auto expectRefusal = [&](const char *name, QByteArray data, const char *error) {
		const QJsonObject answer = ask(name, data.replace("%1", list()->count() ? idAt(0).toUtf8() : ""));
		EXPECT_EQ(answer["success"_L1], false) << name << data.constData();
		EXPECT_EQ(answer["error"_L1].toString().toStdString(), error) << name << data.constData();
		const QString sentence = answer["comment"_L1].toString();
		EXPECT_FALSE(sentence.isEmpty() || sentence.startsWith(u"Remote") || sentence.contains(u"%1")) << error;
	};
	for (const auto &row : rows)
		expectRefusal(row.request, row.data, row.error);
	EXPECT_EQ(recordOf(source), before);
	choose(empty);
	expectRefusal("PlayNext", "{}", "emptyQueue");
	expectRefusal("GivePlaylistBack", "{}", "nothingToGiveBack");
	child<QComboBox>("sourceSelector")->setCurrentIndex(0);
	for (const auto &[name, callback] : plugin.requests) {
		if (name != "GetSources" && name != "SelectSource")
			expectRefusal(name.c_str(), R"({"index": 0})", "noSource");
	}
	frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING);
	for (const auto &[name, callback] : plugin.requests)
		expectRefusal(name.c_str(), "{}", "unavailable");
	EXPECT_EQ(plugin.requests.size(), 15u);
}

// What the soak does not look at.
TEST_F(Remote, RequestsLeaveTheUsersViewAlone)
{
	const QByteArray x = R"({"paths": [{"path": ")" + makeFile(u"x"_s).toUtf8() + R"("}], "position": 1})";
	const QJsonObject added = ask("AddTracks", x);
	EXPECT_EQ(added["ids"_L1][0]["id"_L1], idAt(1));
	EXPECT_EQ(queue(), u"axbc"_s);

	// The user's own rows and search stay, and a search by number shows another row.
	selectRows({1, 3});
	ask("MoveTrack", R"({"index": 2, "id": ")" + idAt(1).toUtf8() + "\"}");
	EXPECT_EQ(queue(), u"abxc"_s);
	EXPECT_TRUE(list()->item(2)->isSelected() && list()->item(3)->isSelected());
	search(u"#2"_s);
	ask("MoveTrack", R"({"index": 0, "id": ")" + idAt(1).toUtf8() + "\"}");
	EXPECT_EQ(shownLabels(), QStringList{u"a"_s});
	const QByteArray ids =
		R"({"ids": [{"id": ")" + idAt(3).toUtf8() + R"("}, {"id": ")" + idAt(0).toUtf8() + "\"}]}";
	EXPECT_EQ(ask("RemoveTracks", ids)["count"_L1], 2);
	EXPECT_EQ(queue(), u"ax"_s) << "whether the search shows them or not";
	EXPECT_EQ(ask("UndoRemove")["count"_L1], 2);

	const QJsonArray tracks = ask("GetQueue", R"({"offset": 2, "limit": 1})")["tracks"_L1].toArray();
	EXPECT_EQ(tracks, (QJsonArray{QJsonObject{{u"index"_s, 2},
						  {u"id"_s, idAt(2)},
						  {u"path"_s, folder.filePath(u"x"_s)},
						  {u"label"_s, u"x"_s},
						  {u"sizeBytes"_s, 5}}}));

	const OBSSource other = makeSource(u"Other"_s, {});
	EXPECT_EQ(ask("GetSources")["sources"_L1].toArray().size(), 2) << "without waiting for the poll";
	EXPECT_EQ(ask("SelectSource", R"({"sourceName": "Other"})")["success"_L1], true);
	EXPECT_EQ(child<QComboBox>("sourceSelector")->currentText(), u"Other"_s);
	EXPECT_EQ(ask("GetSources")["sources"_L1][0]["selected"_L1], true);
}

TEST_F(Remote, EventsTellOfEachChangeOnceAndInOrder)
{
	const auto settled = [&](const QStringList &expected) {
		EXPECT_TRUE(waitFor([&] { return plugin.events.size() >= size_t(expected.size()); }));
		EXPECT_EQ(told(), expected);
	};
	list()->setFocus();
	for (int i = 0; i < 3; i++)
		action("moveBottom")->trigger();
	selectRows({1});
	QTest::keyClick(list(), Qt::Key_Delete);
	EXPECT_EQ(told(), QStringList()) << "the burst may go on";
	settled({u"QueueChanged 2"_s});
	EXPECT_EQ(revision, ask("GetQueue")["revision"_L1].toInt());

	// The queue that a track belongs to is told of before the track.
	QTest::keySequence(list(), QKeySequence::Undo);
	play(0);
	EXPECT_EQ(told(),
		  (QStringList{u"QueueChanged 3"_s, u"CurrentTrackChanged "_s + list()->item(0)->text().right(1)}));
	child<QComboBox>("endMode")->setCurrentIndex(1);
	child<QComboBox>("endMode")->setCurrentIndex(1);
	settled({u"EndModeChanged next"_s});
	QTest::mouseClick(child<QWidget>("refresh"), Qt::LeftButton);
	EXPECT_EQ(told(), QStringList{u"CurrentTrackChanged "_s}) << "the switch was cancelled";
	frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING);
	settled({u"QueueChanged 0"_s});
	frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED);
	settled({u"QueueChanged 3"_s});
	play(0);
	told();
	frontend->send(OBS_FRONTEND_EVENT_EXIT);
	EXPECT_EQ(told(), QStringList());
}

TEST_F(Remote, RequestsFromManyThreadsAreDoneOnceOrRefused)
{
	std::atomic<int> done = 0, refused = 0;
	std::vector<std::thread> threads;
	for (int i = 0; i < 4; i++) {
		threads.emplace_back([&] {
			while (refused < 100) {
				const QJsonObject answer = request("AddTracks", R"({"paths": [{"path": "/m/x"}]})");
				if (answer["success"_L1].toBool())
					done++;
				else if (answer["error"_L1] == u"unavailable"_s)
					refused++;
				request("GetQueue");
			}
		});
	}
	ASSERT_TRUE(waitFor([&] {
		child<QComboBox>("endMode")->setCurrentIndex(done % 3);
		return done > 100;
	}));
	// From here on this thread serves nobody, as when it waits for the others to end.
	frontend->send(OBS_FRONTEND_EVENT_SCRIPTING_SHUTDOWN);
	for (std::thread &thread : threads)
		thread.join();
	QCoreApplication::processEvents();
	EXPECT_EQ(list()->count(), 3 + done);
	EXPECT_EQ(ask("GetQueue")["error"_L1], u"unavailable"_s) << "even if this thread could serve it";
	plugin.end();
	source = nullptr;
	endObs();
	EXPECT_EQ(request("GetQueue")["error"_L1], u"unavailable"_s) << "the plug-in may ask even then";
}

TEST_F(Remote, ARequestThatIsGivenUpIsNeverDone)
{
	// Nobody serves the first. The others must not wait as long, or this test runs for minutes.
	std::thread([this] {
		for (int i = 0; i < 50; i++)
			EXPECT_EQ(request("PlayNext")["error"_L1], u"unavailable"_s);
	}).join();
	EXPECT_EQ(request("GetQueue")["total"_L1], 3) << "asked on the very thread that serves";
	QCoreApplication::processEvents();
	EXPECT_EQ(recordOf(source)["current"_L1], QString());
	EXPECT_EQ(ask("GetQueue")["total"_L1], 3);
}

TEST_F(Remote, ARequestThatHasBegunIsAnsweredWithWhatBecameOfIt)
{
	auto answer = std::async(std::launch::async, [this] { return request("PlayNext"); });
	plugin.onEvent = [&] {
		frontend->send(OBS_FRONTEND_EVENT_SCRIPTING_SHUTDOWN);
		std::this_thread::sleep_for(std::chrono::milliseconds(200));
		EXPECT_EQ(answer.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
	};
	ASSERT_TRUE(waitFor([&] { return !plugin.events.empty(); }));
	EXPECT_EQ(answer.get()["success"_L1], true);
}
