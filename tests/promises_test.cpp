/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Story.hpp"

#include <cstdio>
#include <random>

// Random steps, after each of which all promises hold.

using namespace Qt::StringLiterals;

class Promises : public Story {
protected:
	void soak(bool atOnce);

private:
	int pick(qsizetype count) { return static_cast<int>(random() % static_cast<unsigned>(count)); }
	QString pickStep();

	std::mt19937 random;
};

// By how often they come; %r is a row, %f a file, %s a source.
QString Promises::pickStep()
{
	static const QStringList mostly = {u"poll"_s, u"video"_s, u"media playing 500 4000"_s};
	static const QStringList often = {
		u"look"_s, u"media ended 4000 4000"_s, u"play %r"_s, u"play %r"_s, u"playPause"_s, u"stop"_s, u"next"_s,
		u"previous"_s, u"search"_s, u"drop %f %f"_s, u"remove"_s, u"undoRemove"_s, u"select %r"_s, u"resume"_s};
	static const QStringList rarely = {
		u"video %s"_s, u"media paused 71000 142000"_s, u"media error"_s, u"media stopped"_s, u"media buffering 0 4000"_s,
		u"own next"_s, u"own previous"_s, u"own stop"_s, u"edit S %f %f"_s, u"edit T %f"_s, u"elsewhere %f %f %f"_s,
		u"elsewhere %f %f"_s, u"elsewhere %f"_s, u"elsewhere"_s, u"gone D"_s, u"back D"_s, u"restart"_s, u"slide 500"_s,
		u"release"_s, u"time"_s, u"suspend"_s, u"refresh"_s, u"choose %s"_s, u"choose"_s, u"endMode Stop"_s,
		u"endMode Next"_s, u"endMode Repeat"_s, u"select %r %r"_s, u"select"_s, u"search A"_s, u"search #2"_s,
		u"locateCurrent"_s, u"drag %r %r"_s, u"moveUp"_s, u"moveDown"_s, u"moveTop"_s, u"moveBottom"_s,
		u"restorePlaylist"_s, u"bringBack"_s, u"bringBack"_s, u"ask UndoRemove"_s, u"ask TogglePlay"_s, u"ask PlayNext"_s,
		u"ask AddTracks {'paths': [{'path': '@%f'}, {'path': '@%f'}], 'position': %r}"_s, u"ask Stop"_s,
		u"ask RemoveTracks {'ids': [{'id': '#%r'}]}"_s, u"ask MoveTrack {'id': '#%r', 'index': %r}"_s,
		u"ask PlayTrack {'index': %r, 'switchScene': true}"_s, u"ask BringBackReplacedQueue"_s,
		u"ask GivePlaylistBack"_s, u"ask SelectSource {'sourceName': '%s'}"_s, u"ask SetEndMode {'endMode': 'next'}"_s};
	const int kind = pick(10);
	const QStringList &some = kind < 4 ? mostly : kind < 7 ? often : rarely;
	QString next = some[pick(some.size())];
	for (qsizetype at = next.indexOf(u'%'); at >= 0; at = next.indexOf(u'%')) {
		const QChar what = next[at + 1];
		next.replace(at, 2, what == u'f'   ? QString(QChar(u'A' + pick(5)))
				    : what == u's' ? QString(QChar(u'S' + pick(2)))
						   : QString::number(pick(std::max(list()->count(), 1))));
	}
	return next;
}

void Promises::soak(bool atOnce)
{
	static const QSet<QString> canRace = {
		u"play"_s,    u"playPause"_s, u"stop"_s,    u"next"_s,      u"previous"_s, u"refresh"_s, u"choose"_s,
		u"suspend"_s, u"resume"_s,    u"endMode"_s, u"select"_s,    u"remove"_s,   u"drop"_s,    u"undoRemove"_s,
		u"search"_s,  u"drag"_s,      u"moveUp"_s,  u"moveDown"_s,  u"moveTop"_s,  u"bringBack"_s, u"restorePlaylist"_s};
	using Clock = std::chrono::system_clock;
	const std::chrono::seconds limit(qEnvironmentVariableIntValue("REELHOUSE_SOAK_SECONDS"));
	const unsigned seed = qEnvironmentVariable("REELHOUSE_SOAK_SEED", u"1"_s).toUInt();
	random.seed(seed);
	begin(u"A B C http://host/s"_s);
	QStringList trace;
	const auto start = Clock::now();
	int count = 0;
	for (; !HasFailure() && (limit.count() ? Clock::now() - start < limit : count < 10000); count++) {
		const QString next = pickStep();
		// A queue that only grows would be all that there is.
		if (list()->count() > 10 && (next.startsWith(u"drop") || next.startsWith(u"ask Add")))
			continue;
		racing = atOnce && pick(3) == 0 && canRace.contains(next.section(u' ', 0, 0));
		trace = trace.last(std::min<qsizetype>(trace.size(), 40)) + QStringList(racing ? u"at once: "_s + next : next);
		step(next);
	}
	if (HasFailure())
		ADD_FAILURE() << "seed " << seed << ", after\n\t" << trace.join(u"\n\t"_s).toStdString();
	std::printf("seed %u: %d steps in %.1f s\n", seed, count, std::chrono::duration<double>(Clock::now() - start).count());
}

TEST_F(Promises, HoldAfterEveryStep)
{
	soak(false);
}

TEST_F(Promises, HoldWhileTheSourceIsAtWork)
{
	soak(true);
}
