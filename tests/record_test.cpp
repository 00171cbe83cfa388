/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Host.hpp"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QLabel>

using namespace Qt::StringLiterals;

class Record : public Host {
protected:
	QStringList ids() const
	{
		QStringList all;
		for (int i = 0; i < list()->count(); i++)
			all.append(list()->item(i)->data(Qt::UserRole).toString());
		return all;
	}
};

TEST_F(Record, IsUsedOnlyWhileWholeAndInStepWithThePlaylist)
{
	const QByteArray observed = R"("observed": [{"value": "/m/x.mp3"}])";
	const QByteArray tracks = R"("tracks": [{"value": "/m/b.mp3", "id": "2"}, {"value": "/m/a.mp3", "id": "1"}])";
	const struct {
		const char *situation;
		QByteArray record;
		QStringList labels;
		int endMode;
		bool managed;
	} rows[] = {
		{"whole",
		 "{\"version\": 1, \"current\": \"1\", \"endMode\": 7, \"managed\": true, " + tracks + ',' + observed +
			 '}',
		 {u"b.mp3"_s, u"▶\uFE0E a.mp3"_s},
		 2,
		 true},
		{"current names no track",
		 "{\"version\": 1, \"current\": \"9\", \"endMode\": -1, " + tracks + ',' + observed + '}',
		 {u"b.mp3"_s, u"a.mp3"_s},
		 0,
		 false},
		{"no tracks", "{\"version\": 1, \"endMode\": 1, " + observed + '}', {}, 1, false},
		{"of another version",
		 "{\"version\": 2, \"endMode\": 1, " + tracks + ',' + observed + '}',
		 {u"x.mp3"_s},
		 0,
		 false},
		{"without a version", "{\"endMode\": 1, " + tracks + ',' + observed + '}', {u"x.mp3"_s}, 0, false},
		{"playlist edited since",
		 "{\"version\": 1, \"endMode\": 1, \"managed\": true, " + tracks + '}',
		 {u"x.mp3"_s},
		 1,
		 false},
		{"a track without id",
		 "{\"version\": 1, \"endMode\": 2, \"tracks\": [{\"value\": \"/m/b.mp3\", \"id\": \"2\"}, "
		 "{\"value\": \"/m/a.mp3\"}], " +
			 observed + '}',
		 {u"x.mp3"_s},
		 2,
		 false},
		{"not of the right types", R"({"version": "1", "tracks": 5})", {u"x.mp3"_s}, 0, false},
	};
	ASSERT_TRUE(loadModule());
	frontend->send(OBS_FRONTEND_EVENT_FINISHED_LOADING);
	for (const auto &row : rows) {
		const OBSSource source = makeSource(u"S"_s, {u"/m/x.mp3"_s});
		setRecord(source, row.record);
		frontend->send(OBS_FRONTEND_EVENT_FINISHED_LOADING);
		choose(source);
		EXPECT_EQ(labels(), row.labels) << row.situation;
		EXPECT_EQ(child<QComboBox>("endMode")->currentIndex(), row.endMode) << row.situation;
		const QJsonObject stored = recordOf(source);
		EXPECT_EQ(stored["version"_L1], 1) << row.situation;
		EXPECT_EQ(stored["managed"_L1].toBool(), row.managed) << row.situation;
		EXPECT_EQ(stored["endMode"_L1], row.endMode) << row.situation;
		EXPECT_EQ(stored["originalBehavior"_L1], u"stop_restart"_s) << row.situation;
		EXPECT_EQ(valuesIn(stored, "observed"), QStringList{u"/m/x.mp3"_s}) << row.situation;
		obs_source_remove(source);
	}
}

TEST_F(Record, ExpandsFoldersOnceAndKeepsIdsAfterwards)
{
	ASSERT_TRUE(QDir(folder.path()).mkpath(u"music/inner"_s));
	for (const char *name : {"B.flac", "a.mp3", "c.txt", ".d.mp3", "inner/e.mp3"})
		makeFile(u"music/"_s + QLatin1String(name));
	const QString music = folder.filePath(u"music"_s);
	const OBSSource source =
		makeSource(u"S"_s, {u"file://"_s + music, music, u"http://host/x.mp3"_s, music + u"/a.mp3"_s});
	show(source);
	EXPECT_EQ(labels(), (QStringList{u"music"_s, u"a.mp3"_s, u"B.flac"_s, u"x.mp3"_s, u"a.mp3"_s}));
	const QStringList before = ids();
	EXPECT_EQ(QSet<QString>(before.begin(), before.end()).size(), 5);
	EXPECT_EQ(valuesIn(recordOf(source), "observed").size(), 4);

	makeFile(u"music/f.mp3"_s);
	QTest::mouseClick(child<QWidget>("refresh"), Qt::LeftButton);
	EXPECT_EQ(ids(), before);
}

TEST_F(Record, AnEditMadeElsewhereIsTakenOver)
{
	const OBSSource source = makeSource(u"S"_s, {makeFile(u"a.mp3"_s), makeFile(u"b.mp3"_s)});
	show(source);
	child<QComboBox>("endMode")->setCurrentIndex(1);
	playThrough(source, 0);
	OBSDataAutoRelease settings =
		obs_data_create_from_json(R"({"playlist": [{"value": "/m/c.mp3"}], "shuffle": true})");
	obs_source_update(source, settings);
	ASSERT_TRUE(waitFor([this] { return labels() == QStringList{u"c.mp3"_s}; }));
	const QJsonObject record = recordOf(source);
	EXPECT_FALSE(record["managed"_L1].toBool());
	EXPECT_TRUE(record["originalShuffle"_L1].toBool());
	EXPECT_EQ(record["current"_L1], QString());
	EXPECT_EQ(record["endMode"_L1], 1) << "the end mode survives";
}

TEST_F(Record, IsWholeAgainAfterTheNextStoreWhateverBecameOfTheLast)
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

TEST_F(Record, RestoringGivesTheSourceItsQueueAndSettingsBack)
{
	const QString gone = folder.filePath(u"gone \"%1\" 😀\n.mp3"_s);
	const OBSSource source = makeSource(u"S"_s, {makeFile(u"a.mp3"_s), gone, u"http://host/x"_s},
					    R"({"loop": true, "shuffle": true, "playback_behavior": "pause_unpause"})");
	show(source);
	playThrough(source, 0);
	selectRows({2});
	action("moveTop")->trigger();
	const QStringList before = ids();
	action("restorePlaylist")->trigger();
	const QJsonObject settings = settingsOf(source);
	const QStringList queue = {u"http://host/x"_s, folder.filePath(u"a.mp3"_s), gone};
	EXPECT_EQ(valuesIn(settings, "playlist"), queue);
	EXPECT_TRUE(settings["loop"_L1].toBool());
	EXPECT_TRUE(settings["shuffle"_L1].toBool());
	EXPECT_EQ(settings["playback_behavior"_L1], u"pause_unpause"_s);
	const QJsonObject record = recordOf(source);
	EXPECT_FALSE(record["managed"_L1].toBool());
	EXPECT_EQ(record["current"_L1], QString());
	EXPECT_EQ(valuesIn(record, "observed"), queue);
	QTest::mouseClick(child<QWidget>("refresh"), Qt::LeftButton);
	EXPECT_EQ(ids(), before);
}
