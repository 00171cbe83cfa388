/* SPDX-License-Identifier: GPL-2.0-or-later */

// What the dock does to a whole queue at once, beside the least that the same work takes: the bare calls of Qt and
// libobs on the same rows, in the same run. The column to look at is "times": how many times the floor the dock takes.
// Arguments: a word that picks the cases whose names hold it, and the largest number of rows.

#include <QApplication>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include <sys/wait.h>
#include <unistd.h>

#include "Stage.hpp"
#include "cases.hpp"

namespace {

struct Case {
	const char *name;
	void (*measure)(Comparison &);
	double goal;
	int fewest = 100; // rows
	int most = 100000;
};

constexpr Case cases[] = {
	{"load a stored queue", loadQueue, 1.25},
	{"search that shows few", searchFew, 1.25},
	{"search that shows half", searchHalf, 1.25},
	{"search that shows all", searchAll, 1.25},
	{"clear a search", clearSearch, 1.25},
	{"store after end mode", storeEndMode, 2},
	{"store before the first play", storeNotYetPlayed, 2},
	{"store after play", storePlay, 2},
	{"store after stop", storeStop, 2},
	{"store after adding one", storeAdded, 3},
	{"store after removing one", storeRemoved, 3},
	{"store after moving one", storeMoved, 3},
	{"tick, idle", tickIdle, 2},
	{"tick, playing", tickPlaying, 2},
	{"tick, every row selected", tickAllSelected, 2},
	{"tick, every row hidden", tickAllHidden, 2},
	{"fourth tick, 100 scenes of 50", tickManyScenes, 2, 100, 100},
	{"check for outside edits", checkPlaylist, 1.5},
	{"remove half the rows", removeHalf, 1.5},
	{"undo removing half", undoHalf, 1.5},
	{"drag 1 row", dragRows<1>, 3},
	{"drag 100 rows", dragRows<100>, 3, 1000},
	{"drag 1000 rows", dragRows<1000>, 3, 10000},
	{"move a row to the top", moveToTop, 3},
	{"paint a page of rows", paintPage, 1.5},
	{"memory of one entry", weighEntries, 1.5},
	{"GetQueue of everything", getQueue, 2},
};

// Each in a process of its own, as libobs and Qt start only once in one, and on a heap that no other case has used.
bool measureInChild(const Case &one, int rows, int argc, char **argv)
{
	const pid_t child = fork();
	if (child == 0) {
		QApplication app(argc, argv);
		QApplication::setQuitOnLastWindowClosed(false);
		Comparison comparison(rows);
		one.measure(comparison);
		comparison.print(one.name, one.goal);
		// Not by exit(), which would remove the files of all.
		_exit(testing::UnitTest::GetInstance()->ad_hoc_test_result().Failed());
	}
	int status = 0;
	return waitpid(child, &status, 0) == child && status == 0;
}

} // namespace

int main(int argc, char **argv)
{
	const QByteArray wanted = argc > 1 ? argv[1] : "";
	const int most = argc > 2 ? atoi(argv[2]) : 100000;
	mediaFiles(most);
	bool measured = true;
	printf("%-34s %7s %12s %12s %9s %6s\n", "case", "rows", "floor", "dock", "times", "goal");
	fflush(stdout);
	for (const Case &one : cases) {
		for (int rows = one.fewest; rows <= std::min(one.most, most); rows *= 10) {
			if (QByteArrayView(one.name).contains(wanted))
				measured &= measureInChild(one, rows, argc, argv);
		}
	}
	return !measured;
}
