/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QMimeData>
#include <QTimer>

#include <benchmark/benchmark.h>

#include "Host.hpp"

using Work = std::function<void()>;

// What a list's row and a record's track hold of one file.
struct Entry {
	explicit Entry(const QString &path);
	QString path;
	QString label;
	QString id;
};

// The built module in the scripted host with its dock on a queue of real files, half of whose paths hold "live", and what
// the bare calls of Qt and libobs work on: the same queue as entries, as rows of a plain list and as a record.
class Fixture : public Host {
public:
	// With as many files as the case's argument says.
	explicit Fixture(benchmark::State &state);

	using Host::action, Host::child, Host::choose, Host::list, Host::search;

	// Plays the row through both phases: from here on the dock manages the source, which holds one entry.
	void playThrough(int row);
	// What the dock's poll timer, which stands still, does in a second.
	void pollFourTimes() const;
	// Drops at the top of the dock's list.
	void drop(const QMimeData *data, Qt::DropAction action) const;

	// Shows the first count entries in new rows of the bare list.
	void fillBare(int count);
	void appendBare(const Entry &entry);
	// A new array of a new object for each entry.
	OBSDataArrayAutoRelease bareTracks() const;
	// Puts a new record of these tracks in place of the bare record.
	void setBareRecord(obs_data_array_t *tracks) const;

	// Measures both by turns and reports the dock's time as the case's, the floor's in seconds, and how many times the
	// floor the dock takes. Before each measurement comes prepare, which is not measured.
	void compare(double goal, const Work &floor, const Work &dock, const Work &prepare = settle);
	void report(double goal, double floor, double times) const;
	// Does what the event loop has yet to do.
	static void settle() { QCoreApplication::processEvents(); }

	const int rows;
	QList<Entry> entries;
	QListWidget bareList;
	OBSDataAutoRelease bareSettings = obs_data_create();
	OBSSource source;

private:
	void TestBody() override {}

	benchmark::State &state;
	QPointer<QTimer> pollTimer;
};

// Has a list lay out its rows now, if it has put that off.
void layOut(const QListWidget *list);
