/* SPDX-License-Identifier: GPL-2.0-or-later */
#include <QStringList>

#include <gtest/gtest.h>

#include "dock/MediaFollower.hpp"
#include "dock/MediaWish.hpp"
#include "media/QueueLength.hpp"

using namespace Qt::StringLiterals;
using namespace reelhouse;

namespace {

// What the media does and what is wanted of it, step by step. A step is what the dock does (issue, give, settle, drop;
// pause, resume, stop while the source reports a state), a poll that sees a state, or a short look for a waiting wish
// (take). Each answers with the wanted state, the follower's own where that differs, and ! for an order to the source.
QString answers(const QString &steps)
{
	const QStringList states = u"none playing opening buffering paused stopped ended error"_s.split(u' ');
	MediaFollower media;
	MediaWish wish;
	QStringList all;
	for (const QString &step : steps.split(u"; "_s)) {
		const QStringList words = step.split(u' ');
		const auto reported = static_cast<obs_media_state>(states.indexOf(words.last()));
		const QString &verb = words[0];
		auto order = MediaWish::Order::None;
		if (verb == u"issue") {
			media.switchIssued();
			wish.drop();
		} else if (verb == u"give") {
			media.trackGiven();
		} else if (verb == u"settle") {
			media.settle();
		} else if (verb == u"drop") {
			wish.drop();
		} else if (verb == u"stop") {
			wish.ask(OBS_MEDIA_STATE_STOPPED, media.state(reported));
		} else if (verb == u"pause" || verb == u"resume") {
			order = wish.setPaused(verb == u"pause", media.state(reported));
		} else if (verb == u"take") {
			order = wish.takeWaiting(media.state(reported));
		} else {
			media.look(reported);
			order = wish.look(*media.lastState());
		}
		if (words.size() == 1)
			continue;
		const obs_media_state now = verb == u"poll" ? *media.lastState() : media.state(reported);
		QString answer = states[wish.state(now)];
		if (now != wish.state(now))
			answer += u'(' + states[now] + u')';
		all += answer + (order == MediaWish::Order::None ? u""_s : u"!"_s);
	}
	return all.join(u", "_s);
}

} // namespace

TEST(Media, StatesOfTheTrackAndWhatIsWantedOfIt)
{
	const struct {
		const char *steps, *answers;
	} rows[] = {
		// Which track a report is about.
		{"poll playing; poll paused; poll buffering; poll ended", "playing, paused, playing(buffering), ended"},
		{"issue; take playing; take ended; settle; take ended", "playing(opening), playing(opening), ended"},
		{"give; poll ended; poll playing; poll ended", "playing(opening), playing, ended"},
		{"give; poll opening; poll ended; poll ended", "playing(opening), playing(opening), ended"},
		{"give; take stopped; take playing; poll playing; poll error",
		 "playing(opening), playing, playing, stopped(error)"},
		{"give; poll error; poll error; poll error", "playing(opening), stopped(error), stopped(error)"},
		{"poll ended; poll error", "ended, stopped(error)"},
		{"give; take error", "stopped(error)"},
		// A wish is the answer until it has come, or until it will not come any more.
		{"poll playing; pause playing; take playing; poll playing; poll paused",
		 "playing, paused(playing)!, paused(playing), paused(playing), paused"},
		{"poll playing; pause playing; pause playing; resume playing",
		 "playing, paused(playing)!, paused(playing), playing!"},
		{"poll playing; pause playing; resume playing; poll paused; poll paused; poll paused; poll playing",
		 "playing, paused(playing)!, playing!, playing(paused), playing(paused)!, playing(paused), playing"},
		{"poll playing; pause playing; poll playing; poll playing; poll playing; poll playing; poll playing",
		 "playing, paused(playing)!, paused(playing), paused(playing), paused(playing), paused(playing), playing"},
		{"poll playing; stop playing; poll playing; take stopped; take ended",
		 "playing, stopped(playing), stopped(playing), stopped, ended"},
		// A wish waits for the new track, and is sent once more if VLC loses it.
		{"issue; pause playing; give; take stopped; poll ended; take playing; poll playing; poll playing; poll paused",
		 "paused(opening), paused(opening), paused(opening), paused(playing)!, paused(playing), paused(playing)!, paused"},
		{"issue; pause playing; resume playing; give; poll playing",
		 "paused(opening), playing(opening), playing"},
		{"give; pause playing; take playing; resume playing", "paused(playing)!, paused(playing), playing!"},
		{"give; pause opening; take playing; take paused", "paused(opening), paused(playing)!, paused"},
		{"give; pause stopped; poll stopped; poll stopped; poll playing",
		 "paused(opening), paused(opening), stopped, playing"},
		{"issue; pause playing; issue; give; poll playing", "paused(opening), playing"},
		{"issue; pause playing; drop; settle; take playing", "paused(opening), playing"},
	};
	for (const auto &[steps, expected] : rows)
		EXPECT_EQ(answers(QString::fromUtf8(steps)).toStdString(), expected) << steps;
}

// The whole, what is left and the current track, and how many lengths are unknown in all and from the current track on.
TEST(Media, TheLengthOfAQueueIsThatOfTheFilesThatAreThere)
{
	using Numbers = QHash<QString, qint64>;
	const Numbers lengths{{u"a"_s, 10}, {u"b"_s, 20}, {u"live"_s, -1}, {u"gone"_s, 40}, {u"back"_s, 80}};
	const Numbers sizesNow{{u"gone"_s, SizeMissing}, {u"back"_s, 5}};
	using Sums = std::tuple<qint64, qint64, qint64, qint64, qint64>;
	const std::tuple<const char *, int, int, int, Sums> rows[] = {
		{"a b", -1, 5, 7, {30, 30, 0, 0, 0}},
		{"a a b a", 1, 4, 0, {50, 36, 10, 0, 0}},
		{"a b", 0, 4, 12, {32, 28, 12, 0, 0}},
		{"a b", 0, 11, 0, {30, 20, 10, 0, 0}},
		{"a b", 1, -1, 0, {30, 20, 20, 0, 0}},
		{"unread a live b unread", 2, 5, 0, {30, 20, 0, 3, 2}},
		{"unread live a", 1, 5, 15, {25, 20, 15, 1, 0}},
		{"gone a lost back", 1, 0, 0, {90, 90, 10, 0, 0}},
		{"gone a", 0, 1, 0, {10, 10, 0, 0, 0}},
		{"gone a", 0, 1, 40, {50, 49, 40, 0, 0}},
	};
	for (const auto &[names, current, positionMs, mediaMs, sums] : rows) {
		QList<Track> tracks;
		for (const QString &name : QString::fromLatin1(names).split(u' '))
			tracks.append({name, name, name == u"lost" || name == u"back" ? SizeMissing : 5});
		const auto sum = QueueLength::of({tracks, sizesNow, lengths, current, positionMs, mediaMs});
		EXPECT_EQ(std::tuple(sum.wholeMs, sum.leftMs, sum.currentMs, sum.unknown, sum.unknownLeft), sums);
	}
}
