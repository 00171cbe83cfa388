/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QMimeData>
#include <QTimer>

#include <benchmark/benchmark.h>

#include "Host.hpp"

using Work = std::function<void()>;

// The values of one file in a list's row and in a record's track.
struct Entry {
	explicit Entry(const QString &path);
	QString path;
	QString label;
	QString id;
};

// The built module in the scripted host. Its dock has a queue of real files, and half of their paths contain "live".
// The bare calls of Qt and libobs work on the same queue as entries, as rows of a plain list and as a record.
class Fixture : public Host {
public:
	// Makes as many files as the case's argument says.
	explicit Fixture(benchmark::State &state);

	using Host::action, Host::child, Host::choose, Host::list, Host::search;

	// Plays the row through both phases. Afterwards the dock manages the source, which holds one entry.
	void playThrough(int row);
	// Adds a dock and gives it one of the last sources, by name, that no dock has.
	void addDock();
	// Does the polls of one second. The docks' own poll timers are stopped.
	void pollFourTimes() const;
	// Drops the data at the top of the dock's list.
	void drop(const QMimeData *data, Qt::DropAction action) const;

	// Fills the bare list with new rows for the first count entries.
	void fillBare(int count);
	void appendBare(const Entry &entry);
	// Returns a new array with a new object for each entry. The caller owns it.
	OBSDataArrayAutoRelease bareTracks() const;
	// Replaces the bare record with a new one of these tracks.
	void setBareRecord(obs_data_array_t *tracks) const;

	// Measures floor and dock by turns. Reports the dock's time as the case's, the floor's time in seconds, and the
	// ratio. prepare runs before each measurement and is not measured.
	void compare(double goal, const Work &floor, const Work &dock, const Work &prepare = settle);
	void report(double goal, double floor, double times) const;
	// Processes the pending events.
	static void settle() { QCoreApplication::processEvents(); }

	const int rows;
	QList<Entry> entries;
	QListWidget bareList;
	OBSDataAutoRelease bareSettings = obs_data_create();
	OBSSource source;

private:
	void TestBody() override {}

	void takePollTimer();

	benchmark::State &state;
	std::vector<QPointer<QTimer>> pollTimers;
};

// Makes a list lay out its rows now if that is still pending.
void layOut(const QListWidget *list);
