/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Story.hpp"

#include <QJsonArray>
#include <QJsonDocument>

#include <random>

// clang-format off: a line is a record

using namespace Qt::StringLiterals;

// Records as no dock has written them. Each is the record of a source on P and Q, with a queue of A and B, and these
// keys changed; the replaced queue is as written here.
class Records : public Story {
protected:
	QJsonObject object(const char *text) { return QJsonDocument::fromJson(json(QString::fromUtf8(text))).object(); }
	QJsonObject good()
	{
		return object("{'version': 1, 'tracks': [{'value': '@A', 'id': 'a'}, {'value': '@B', 'id': 'b'}],"
			      "'observed': [{'value': '@P'}, {'value': '@Q'}], 'current': 'b', 'managed': true,"
			      "'originalLoop': true, 'originalBehavior': 'pause_unpause', 'endMode': 1}");
	}
	void put(const char *key, const QJsonObject &record)
	{
		step(QLatin1String(key) + u' ' +
		     QString::fromUtf8(QJsonDocument(record).toJson(QJsonDocument::Compact)));
	}
};

TEST_F(Story, Options)
{
	tell("each scene collection has the source again that was chosen last in it", "P Q", {
		{"start Q; collection T", "no source"},
		{"choose T; collection S", "[P] ▶Q | src Q | managed | replaced -"},
		{"choose; collection T; choose T; collection S", "no source"},
		{"choose S; collection T", "[X] Y | src X Y | own | replaced -"},
		{"collection S T", "[P] ▶Q | src Q | managed | replaced -"},
		{"wait 600; saves?; choose; wait 600; saves?", "1"},
		{"choose S; collection T", "no source"},
	});

	tell("the options stay with their source, and leave what others have put beside them", "P Q", {
		{"options?", "{}"},
		{"options {'later': 7, 'skipFailed': true}; refresh; startAgain; options?", "{'later':7,'skipFailed':true,'startAgain':true}"},
		{"tools?", "-findMissingFiles -bringBackReplacedQueue +skipFailed +startAgain"},
		{"wait 600; saves?; skipFailed; skipFailed; wait 600; saves?", "1"},
		{"gone P; play P; tools?", "-bringBackReplacedQueue +skipFailed +startAgain"},
		{"skipFailed; tools?", "-bringBackReplacedQueue +startAgain"},
		{"skipFailed; select P; remove; tools?", "-findMissingFiles -shuffleQueue -bringBackReplacedQueue +skipFailed +startAgain"},
		{"undoRemove; choose; tools?", "-importPlaylist -exportPlaylist -findMissingFiles -shuffleQueue -bringBackReplacedQueue -holdPicture -skipFailed -startAgain"},
		{"choose T; ask? startAgain GetQueue", "{'startAgain':false}"},
		{"restart; choose S; skipFailed; restorePlaylist; options?", "{'later':7,'skipFailed':false,'startAgain':true}"},
		{"startAgain; options?", "{'later':7,'skipFailed':false,'startAgain':false}"},
	});
	tell("start again after the last track, and a new order, whose old one can be brought back", "P Q", {
		{"endMode Next; startAgain; start Q; media ended; poll; video", "▶[P] Q | src P | managed | replaced - | next | does stop"},
		{"startAgain; start Q; gone P; play P; shuffleQueue; ask ShuffleQueue {'sourceName': 'T'}", "▶[Q] P | src Q | managed | replaced P Q | next | otherSource"},
		{"bringBack", "P ▶[Q] | src Q | managed | replaced Q P | next"},
		{"media ended; poll; video", "P ▶[Q] | src | managed | replaced Q P | next | does stop"},
		{"drop A B C D E F G H; start H; shuffleQueue; ask? currentIndex GetQueue", "{'currentIndex':0}"},
		{"edit S A A; shuffleQueue; elsewhere C", "[C] | src C | own (managed) | replaced A A | next"},
	});
}

TEST_F(Records, WhateverTheySay)
{
	const struct {
		const char *what;
		const char *changes;
		const char *replaced;
		const char *state;
	} rows[] = {
		{"good", "{}", "", "[A] ▶B | src P Q | managed (own) | replaced - | next"},
		{"another version", "{'version': 2}", "", "[P] Q | src P Q | own | replaced A B"},
		{"no tracks", "{'tracks': []}", "", "∅ | src P Q | managed (own) | replaced - | next"},
		{"a track without an id", "{'tracks': [{'value': '@A', 'id': 'a'}, {'value': '@B'}]}", "", "[P] Q | src P Q | own | replaced A B | next"},
		{"a track without a path", "{'tracks': [{'value': '@A', 'id': 'a'}, {'id': 'b'}]}", "", "[P] Q | src P Q | own | replaced A  | next"},
		{"tracks without anything", "{'tracks': [{}, {'value': 5}]}", "{'version': 1}", "[P] Q | src P Q | own | replaced ∅ | next"},
		{"a shared id", "{'tracks': [{'value': '@A', 'id': 'b'}, {'value': '@B', 'id': 'b'}]}", "", "▶[A] ▶B | src P Q | managed (own) | replaced - | next"},
		{"a current track that is not there", "{'current': 'x'}", "", "[A] B | src P Q | managed (own) | replaced - | next"},
		{"another playlist", "{'observed': [{'value': '@P'}]}", "", "[P] Q | src P Q | own | replaced A B | next"},
		{"an empty path in the playlist", "{'observed': [{'value': '@P'}, {}, {'value': '@Q'}]}", "", "[A] ▶B | src P Q | managed (own) | replaced - | next"},
		{"an end mode beyond", "{'endMode': 9223372036854775807}", "", "[A] ▶B | src P Q | managed (own) | replaced - | repeat"},
		{"an end mode below", "{'endMode': -1, 'managed': 'yes'}", "", "[A] ▶B | src P Q | own | replaced -"},
		{"no behaviour", "{'originalBehavior': '', 'originalLoop': 1}", "", "[A] ▶B | src P Q | managed (own) | replaced - | next"},
		{"an empty replaced queue", "{}", "{'version': 1}", "[A] ▶B | src P Q | managed (own) | replaced ∅ | next"},
		{"nothing readable in the replaced queue", "{}", "{'version': 2, 'tracks': []}", "[A] ▶B | src P Q | managed (own) | replaced - | next"},
		{"another version of the replaced queue", "{}", "{'version': 2, 'tracks': [{'value': '@C'}]}", "[A] ▶B | src P Q | managed (own) | replaced C | next"},
	};
	for (const auto &[what, changes, replaced, expectedState] : rows) {
		SCOPED_TRACE(what);
		begin(u"P Q"_s);
		QJsonObject record = good();
		const QJsonObject changed = object(changes);
		for (auto change = changed.begin(); change != changed.end(); ++change)
			record[change.key()] = change.value();
		if (*replaced)
			put("replaced", object(replaced));
		put("record", record);
		EXPECT_EQ(step(u"refresh"_s).toStdString(), expectedState);
	}
}

TEST_F(Records, HaveNothingOfOthersInThemOnceTheyAreStored)
{
	begin(u"P Q"_s);
	for (const QString &track : {u"'value':'@A','id':'a'"_s, u"'id':'a','value':'@A'"_s, u"'value':'@A','id':'a','x':1"_s}) {
		step(u"record {'version':1,'tracks':[{"_s + track + u"}],'observed':[{'value':'@P'},{'value':'@Q'}]}; refresh"_s);
		OBSDataAutoRelease settings = obs_source_get_private_settings(bound());
		EXPECT_TRUE(strstr(obs_data_get_json(settings), json(u"'tracks':[{'value':'@A','id':'a'}]"_s)));
	}
}

TEST_F(Records, OfLongQueuesHoldEveryTrack)
{
	QStringList queue;
	for (int i = 0; i < 400; i++)
		queue += u"http://host/%1"_s.arg(i);
	begin(queue.join(u' '));
	EXPECT_EQ(valuesIn(recordOf(bound()), "tracks"), queue);
	step(u"elsewhere "_s + queue.last(350).join(u' '));
	EXPECT_EQ(valuesIn(recordOf(bound()), "tracks"), queue.last(350));
	step(u"bringBack"_s);
	EXPECT_EQ(valuesIn(recordOf(bound()), "tracks"), queue);
	step(u"shuffleQueue"_s);
	EXPECT_NE(rowPaths(), queue);
}

// With up to three things in it replaced by anything, in whatever depth.
TEST_F(Records, ManySpoiltOnes)
{
	std::mt19937 random(1);
	const auto pick = [&random](qsizetype count) {
		return static_cast<qsizetype>(random() % static_cast<unsigned>(count));
	};
	const std::function<QJsonValue(const QJsonValue &)> spoil = [&](const QJsonValue &value) -> QJsonValue {
		QJsonObject object = value.toObject();
		QJsonArray array = value.toArray();
		if (!object.isEmpty() && pick(8)) {
			const QString key = object.keys()[pick(object.size())];
			object[key] = spoil(object[key]);
			return object;
		}
		if (!array.isEmpty() && pick(4)) {
			const qsizetype index = pick(array.size());
			array[index] = spoil(array[index]);
			return array;
		}
		const QJsonArray anything = {QJsonValue(), 0, -1, 0.5, -1e300, 1e18, true, u""_s, u"a"_s, u"\x01%1/"_s, u"://"_s,
					     u"file:"_s, QString(100'000, u'x'), QJsonArray(), QJsonObject(), good()};
		return anything[pick(anything.size())];
	};
	begin(u"P Q"_s);
	for (int i = 0; i < 60 && !HasFailure(); i++) {
		SCOPED_TRACE(i);
		for (const char *key : {"record", "replaced"}) {
			QJsonValue record = good();
			for (qsizetype count = pick(4); count > 0; count--)
				record = spoil(record);
			put(key, record.toObject());
		}
		step(u"refresh; play 0; bringBack; video; bringBack; look"_s);
	}
}
