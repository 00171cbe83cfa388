/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Story.hpp"

// clang-format off: a line is a step, or what one choice of options leads to

using namespace Qt::StringLiterals;

// Tells what the source holds in the end, and what the dock says.
class EndOfTrack : public Story {
protected:
	QString after(const QString &playlist, const QString &words)
	{
		begin(playlist);
		return andThen(words);
	}
	QString andThen(const QString &words)
	{
		step(words);
		const QStringList parts = state().split(u" | "_s);
		const QString message = parts.constLast().startsWith(u'⚠') ? u' ' + parts.constLast() : QString();
		return (parts[1].mid(4) + message).trimmed();
	}
};

TEST_F(EndOfTrack, LeadsTo)
{
	const QString missing = u"Q ⚠ File not found: R"_s, cannot = u"R ⚠ Could not play: R"_s,
		      none = u"⚠ None of the tracks that follow can be played"_s, passed = u"P ⚠ Tracks passed over: 1"_s;
	const struct {
		QString options, nextIsFine, nextIsMissing, nextFailsAtOnce, last, onlyTrack, removedMeanwhile;
	} table[] = {
		{u"endMode Stop"_s, {}, {}, {}, {}, {}, {}},
		{u"endMode Stop; startAgain"_s, {}, {}, {}, {}, {}, {}},
		{u"endMode Stop; skipFailed"_s, {}, {}, {}, {}, {}, {}},
		{u"endMode Stop; skipFailed; startAgain"_s, {}, {}, {}, {}, {}, {}},
		{u"endMode Next"_s, u"R"_s, missing, cannot, {}, {}, {}},
		{u"endMode Next; startAgain"_s, u"R"_s, missing, cannot, u"P"_s, u"Q"_s, {}},
		{u"endMode Next; skipFailed"_s, u"R"_s, none, none, {}, {}, {}},
		{u"endMode Next; skipFailed; startAgain"_s, u"R"_s, passed, passed, u"P"_s, u"Q"_s, {}},
		{u"endMode Repeat"_s, u"Q"_s, u"Q"_s, {}, u"Q"_s, u"Q"_s, {}},
		{u"endMode Repeat; startAgain"_s, u"Q"_s, u"Q"_s, {}, u"Q"_s, u"Q"_s, {}},
		{u"endMode Repeat; skipFailed"_s, u"Q"_s, u"Q"_s, {}, u"Q"_s, u"Q"_s, {}},
		{u"endMode Repeat; skipFailed; startAgain"_s, u"Q"_s, u"Q"_s, {}, u"Q"_s, u"Q"_s, {}},
	};
	for (const auto &row : table) {
		SCOPED_TRACE(row.options.toStdString());
		const QString ends = row.options + u"; start Q; media ended; poll; video"_s;
		EXPECT_EQ(after(u"P Q R"_s, ends), row.nextIsFine);
		if (row.nextIsFine == u"R") {
			EXPECT_EQ(andThen(u"poll; poll; video"_s), row.nextFailsAtOnce);
		}
		EXPECT_EQ(after(u"P Q R"_s, u"gone R; "_s + ends), row.nextIsMissing);
		EXPECT_EQ(after(u"P Q"_s, ends), row.last);
		EXPECT_EQ(after(u"Q"_s, ends), row.onlyTrack);
		EXPECT_EQ(after(u"P Q R"_s, row.options + u"; start Q; select Q; remove; media ended; poll; video"_s),
			  row.removedMeanwhile);
	}
}

TEST_F(Story, HeldPicture)
{
	tell("the last picture may be held from a track of the queue to the next one, and not after the end", "P Q R", {
		{"holdPicture; media playing 500 4000 640; poll; hold?", "no"},
		{"play P; hold?", "no yes"},
		{"video; media stopped; wait 500; hold?", "yes"},
		{"poll; hold?", "yes no"},
		{"media playing 100 4000 640; poll; media buffering 100 4000; wait 750; media playing 399 4000; poll; hold?", "no yes"},
		{"media playing 400 4000; poll; hold?", "yes no"},
		{"media paused 500 4000 640; poll; endMode Next; media playing 500 4000 640; poll; media ended; poll; hold?", "no yes"},
		{"video; media playing 500 4000 640; wait 750; gone R; skipFailed; media ended; poll; hold?", "yes no"},
		{"startAgain; play Q; video; media playing 500 4000 640; wait 750; media ended; poll; wait 1; hold?", "no yes"},
		{"video; media playing 500 4000 640; poll; stop; hold?", "yes no"},
		{"play Q; video; media playing 500 4000 640; poll; choose T; hold?", "no yes no"},
		{"choose S; play Q; video; media playing 500 4000 640; poll; elsewhere A B; hold?", "no yes no"},
	});
}

TEST_F(EndOfTrack, PassesOverWhatCannotPlay)
{
	tell("each is told, the message says how many, and a file that is back is missed no longer", "P A B Q", {
		{"skipFailed; endMode Next; start P; gone A; gone B; told?; media ended; poll; failures?", "A fileMissing, B fileMissing"},
		{"log?", "File not found: A · Tools › Reelhouse › Find Missing Files…, File not found: B · Tools › Reelhouse › Find Missing Files…"},
		{"video", "P A B ▶[Q] | src Q | managed | replaced - | next | does stop | ⚠ Tracks passed over: 2"},
		{"ask? upcoming GetQueue; startAgain; ask? upcoming GetQueue", "{'upcoming':[{'id':'#P','index':0},{'id':'#Q','index':3}]}"},
		{"own next; video; video", "▶[P] A B Q | src P | managed | replaced - | next | does stop"},
		{"own previous; video; video", "P A B ▶[Q] | src Q | managed | replaced - | next | does stop"},
		{"drops?", "3"},
		{"previous; wait 1; wait 1; wait 1; video", "▶[P] A B Q | src P | managed | replaced - | next | does stop | ⚠ Tracks passed over: 2"},
		{"gone P; gone Q; told?; media playing 500 4000; poll; media ended; poll; wait 1; wait 1; wait 1; wait 1; video",
		 "▶[P] A B Q | src | managed | replaced - | next | does stop | ⚠ None of the tracks that follow can be played"},
		{"failures?", "A fileMissing, B fileMissing, Q fileMissing, P fileMissing"},
		{"back A; start A; ask? tracks GetQueue {'offset': 1, 'limit': 1}", "{'tracks':[{'id':'#A','index':1,'label':'A','path':'A','sizeBytes':5}]}"},
		{"gone A; next; wait 1; wait 1; wait 1; wait 1; video", "P ▶[A] B Q | src A | managed | replaced - | next | ⚠ None of the tracks that follow can be played"},
	});
	tell("a track that fails after it has played counts as ended", "P Q R", {
		{"skipFailed; endMode Next; start P; told?; media error 700 4000; poll; told?", "TrackFailed P error, CurrentTrack Q"},
		{"log?", "Could not play: P"},
		{"video", "P ▶[Q] R | src Q | managed | replaced - | next | does stop"},
	});
	tell("a stop ends the search for a track, and a removal leaves no gap in it", "P A B Q", {
		{"skipFailed; start P; gone A; atOnce next + stop; video", "▶[P] A B Q | src | managed | replaced - | does stop"},
		{"start P; atOnce? next + ask? cursor GetQueue", "{'cursor':0}"},
		{"video; start P; atOnce next + ask RemoveTracks {'ids': [{'id': '#A'}]}", "P ▶[B] Q | src P | managed | replaced - | waits | ⚠ Tracks passed over: 1"},
		{"start Q; gone B; atOnce previous + ask RemoveTracks {'ids': [{'id': '#B'}]}; video", "▶[P] Q | src P | managed | replaced - | does stop | ⚠ Tracks passed over: 1"},
	});
	tell("without the option a screen reader hears of it in the row, until it plays", "P Q", {
		{"play P; video; poll; media error; poll", "▶[P] Q | src P | managed | replaced - | ⚠ Could not play: P"},
		{"endMode Next; start P; gone Q; told?; media ended; poll; failures?", "Q fileMissing"},
		{"back Q; play P; video; poll; media error; poll", "▶[P] Q | src P | managed | replaced - | next | ⚠ Could not play: P"},
		{"says? P; drop R; says? P", "Could not play: ▶\uFE0E P"},
		{"select P; remove; undoRemove; says? P", "Could not play: P"},
		{"media playing 500 4000; play P; video; poll; poll; says? P", ""},
	});
	// Twelve fail at once after one that plays.
	QStringList many = {u"Z"_s};
	for (int i = 0; i < 25; i++)
		many += u"http://h/%1"_s.arg(i);
	begin(many.join(u' '));
	step(u"skipFailed; endMode Next; startAgain; start 1; told?"_s);
	for (int i = 0; i < 13; i++)
		step(u"media ended; poll; poll; video"_s);
	step(u"media playing 500 4000; poll; poll"_s);
	EXPECT_EQ(valuesIn(plugin.request("GetQueue"), "upcoming", "id").size(), 20);
	const QString said = step(u"told?"_s);
	EXPECT_EQ(said.count(u"TrackFailed"), 11);
	EXPECT_TRUE(step(u"log?"_s).endsWith(u", Tracks passed over: 12"_s));
	EXPECT_TRUE(said.contains(u"TrackFailed 12 neverPlayed 2"_s)) << "one event for the rest: " << said.toStdString();
}
