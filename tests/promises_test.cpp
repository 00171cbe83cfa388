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
	QString fill(QString step);

	std::mt19937 random;
};

// By how often they come; %r is a row, %f a file, %s a source.
QString Promises::pickStep()
{
	static const QStringList mostly = u"poll; video; media playing 500 4000"_s.split(u"; "_s);
	static const QStringList often =
		u"look; media ended 4000 4000; play %r; play %r; playPause; stop; next; previous; search; "
		"drop %f %f; remove; undoRemove; select %r; resume"_s.split(u"; "_s);
	static const QStringList rarely =
		u"video %s; media paused 71000 142000; media error; media stopped; media buffering 0 4000; "
		"own next; own previous; own stop; edit S %f %f; edit T %f; elsewhere %f %f %f; "
		"elsewhere %f %f; elsewhere %f; elsewhere; gone D; back D; restart; slide 500; release; "
		"time; suspend; refresh; choose %s; choose; endMode Stop; endMode Next; endMode Repeat; "
		"skipFailed; startAgain; shuffleQueue; "
		"select %r %r; select; search A; search #2; locateCurrent; drag %r %r; moveUp; moveDown; "
		"moveTop; moveBottom; restorePlaylist; bringBack; bringBack; ask UndoRemove; ask TogglePlay; "
		"ask PlayNext; ask AddTracks {'paths': [{'path': '@%f'}, {'path': '@%f'}], 'position': %r}; "
		"ask Stop; ask RemoveTracks {'ids': [{'id': '#%r'}]}; "
		"ask MoveTrack {'id': '#%r', 'index': %r}; ask PlayTrack {'index': %r, 'switchScene': true}; "
		"ask BringBackReplacedQueue; ask GivePlaylistBack; ask SelectSource {'sourceName': '%s'}; "
		"ask SetEndMode {'endMode': 'next'}; ask Play; ask Pause; ask Resume; addDock; addDock; dropDock; 2: choose S; "
		"2: choose T; 2: choose T; 2: choose; 2: play %r; 2: play 0; 2: next; 2: stop; 2: drop %f; 2: select %r; "
		"2: remove; 2: undoRemove; 2: moveDown; 2: endMode Next; 2: refresh; video %s; video %s"_s.split(
			u"; "_s);
	if (!bound() && pick(2))
		return pick(2) ? u"resume"_s : u"choose S"_s;
	const int kind = pick(10);
	const QStringList &some = kind < 4 ? mostly : kind < 7 ? often : rarely;
	return fill(some[pick(some.size())]);
}

QString Promises::fill(QString next)
{
	for (qsizetype at = next.indexOf(u'%'); at >= 0; at = next.indexOf(u'%')) {
		const QChar what = next[at + 1];
		next.replace(at, 2,
			     what == u'f'   ? QString(QChar(u'A' + pick(5)))
			     : what == u's' ? QString(QChar(u'S' + pick(2)))
					    : QString::number(pick(std::max(list()->count(), 1))));
	}
	return next;
}

void Promises::soak(bool atOnce)
{
	static const QStringList canRace =
		u"play playPause stop next previous refresh choose suspend resume endMode select remove drop undoRemove "
		"search drag moveUp moveDown moveTop bringBack restorePlaylist"_s.split(u' ');
	using Clock = std::chrono::system_clock;
	const std::chrono::seconds limit(qEnvironmentVariableIntValue("REELHOUSE_SOAK_SECONDS"));
	const unsigned seed = qEnvironmentVariable("REELHOUSE_SOAK_SEED", u"1"_s).toUInt();
	random.seed(seed);
	begin(u"A B C http://host/s"_s);
	QStringList trace;
	const auto start = Clock::now();
	int count = 0;
	for (; !HasFailure() && (limit.count() ? Clock::now() - start < limit : count < 2000); count++) {
		QString next = pickStep();
		if (waits() && !pick(4))
			next = pick(2) ? u"bringBack"_s : u"refresh"_s;
		const QString edit = pick(4) ? QString() : fill(u"edit %s %f %f"_s); // which no poll has seen
		// A queue that only grows would be all that there is.
		if (list()->count() > 10 && (next.startsWith(u"drop") || next.startsWith(u"ask Add")))
			continue;
		const bool races = atOnce && pick(2) == 0 && canRace.contains(next.section(u' ', 0, 0));
		const QString request = races ? pickStep() : QString();
		if (!edit.isEmpty())
			step(edit);
		racing = races && !request.startsWith(u"ask "_s);
		requested = races && !racing ? request : QString();
		trace = trace.last(std::min<qsizetype>(trace.size(), 40)) +
			QStringList(edit + u"; "_s + next + (racing ? u", at once"_s : u", "_s + requested));
		step(next);
		racing = false;
		requested.clear();
	}
	if (HasFailure())
		ADD_FAILURE() << "seed " << seed << ", after\n\t" << trace.join(u"\n\t"_s).toStdString();
	std::printf("seed %u: %d steps in %.1f s\n", seed, count,
		    std::chrono::duration<double>(Clock::now() - start).count());
}

TEST_F(Promises, HoldAfterEveryStep)
{
	soak(false);
}

TEST_F(Promises, HoldWhileTheSourceIsAtWork)
{
	soak(true);
}
