/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QTimer>

#include <set>

#include "Host.hpp"
#include "dock/Reelhouse.hpp"

// Real files, made once, in folders of a thousand.
QStringList mediaFiles(int count);

// The tracks of these files, as a loaded queue holds them.
QList<Reelhouse::Track> tracksOf(const QStringList &files);

// A new array of new objects, as a record holds these tracks.
OBSDataArrayAutoRelease bareArray(const QList<Reelhouse::Track> &tracks);

// The dock on a queue of real files. Its poll stands still, unless told to tick.
class Stage : public Host {
public:
	explicit Stage(int rows);

	using Host::action;
	using Host::child;
	using Host::choose;
	using Host::list;
	using Host::media;
	using Host::search;

	// Plays the row through both phases: from here on the dock manages the source, which holds one entry.
	void playThrough(int row);
	void reload();
	void changeEndMode();
	void select(int first, int last);
	void tick();
	// Ticks until the next tick is one that refreshes the sources and looks for edits made elsewhere.
	void tickUpToRefresh();
	// Until a refreshing tick has just passed.
	void tickThroughRefresh();
	// What the event loop has yet to do.
	static void settle() { QCoreApplication::processEvents(); }

	OBSSource source;

private:
	void TestBody() override {}
	void takePollTimer();

	QPointer<QTimer> pollTimer;
	int endMode = 0;
};

// The same rows in a list of Qt's that is set up as the dock's is.
class BareList : public QListWidget {
public:
	// What a row shows and carries, made beforehand.
	struct Row {
		QString label;
		Reelhouse::Track track;
	};

	// As large as the dock's list.
	BareList(const QListWidget *dockList, const QList<Reelhouse::Track> &tracks);

	void append(const Row &row);
	// Shows the first count rows.
	void fill(qsizetype count);
	void filter(const QString &text);
	// Moves every step-th row to the top, so many of them.
	void moveRows(int moved, int step);

private:
	QList<Row> rows;
};

// Has a list lay out its rows, where it has put that off.
void layOut(const QListWidget *list);
