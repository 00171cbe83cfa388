/* SPDX-License-Identifier: GPL-2.0-or-later */

// Writing the record, and reading the playlist that it is compared with.

#include "cases.hpp"

#include <QAbstractButton>

#include "Stage.hpp"
#include "dock/record.hpp"

using namespace Qt::StringLiterals;

namespace {

// The objects of a stored queue, to be pushed into one array after the other.
class Objects {
public:
	explicit Objects(const QList<Reelhouse::Track> &tracks)
	{
		OBSDataArrayAutoRelease array = bareArray(tracks);
		for (size_t i = 0; i < obs_data_array_count(array); i++) {
			OBSDataAutoRelease item = obs_data_array_item(array, i);
			objects.emplace_back(item.Get());
		}
	}
	void push() const
	{
		OBSDataArrayAutoRelease array = obs_data_array_create();
		for (const OBSData &object : objects)
			obs_data_array_push_back(array, object);
	}

private:
	std::vector<OBSData> objects;
};

// A command of the dock's that leaves the tracks as they are.
void storeUnchanged(Comparison &comparison, const std::function<void(Stage &)> &command)
{
	Stage stage(comparison.rows);
	stage.playThrough(comparison.rows - 1);
	const Objects objects(tracksOf(mediaFiles(comparison.rows)));
	comparison.run([&] { objects.push(); }, [&] { command(stage); }, &Stage::settle);
}

// The record's tracks alone: what changes one of them rebuilds the rows as well.
void storeChanged(Comparison &comparison, const std::function<void(QList<Reelhouse::Track> &)> &change)
{
	QList<Reelhouse::Track> tracks = tracksOf(mediaFiles(comparison.rows));
	const Objects objects(tracks);
	OBSDataArrayAutoRelease stored = reelhouse::trackArray(tracks);
	comparison.run([&] { objects.push(); }, [&] { stored = reelhouse::trackArray(tracks); },
		       [&] { change(tracks); });
}

} // namespace

void storeEndMode(Comparison &comparison)
{
	storeUnchanged(comparison, &Stage::changeEndMode);
}

// The source still holds the whole playlist, and the record its paths as last seen.
void storeNotYetPlayed(Comparison &comparison)
{
	Stage stage(comparison.rows);
	const Objects objects(tracksOf(mediaFiles(comparison.rows)));
	const auto floor = [&] {
		objects.push();
		objects.push();
	};
	comparison.run(floor, [&] { stage.changeEndMode(); }, &Stage::settle);
}

// The floor marks the rows as well: Qt lays a list out anew where a text has changed.
void storePlay(Comparison &comparison)
{
	const int rows = comparison.rows;
	Stage stage(rows);
	stage.playThrough(rows - 2);
	const QList<Reelhouse::Track> tracks = tracksOf(mediaFiles(rows));
	const Objects objects(tracks);
	BareList list(stage.list(), tracks);
	list.fill(rows);
	list.setCurrentRow(rows - 2);
	const auto floor = [&] {
		objects.push();
		list.currentItem()->setText(u"played"_s);
		list.setCurrentRow(2 * rows - 3 - list.currentRow());
		list.currentItem()->setText(u"plays"_s);
		layOut(&list);
	};
	bool last = false;
	const auto dock = [&] {
		stage.child<QAbstractButton>(last ? "previous" : "next")->click();
		last = !last;
		layOut(stage.list());
	};
	comparison.run(floor, dock, &Stage::settle);
}

void storeStop(Comparison &comparison)
{
	storeUnchanged(comparison, [](Stage &stage) { stage.child<QAbstractButton>("stop")->click(); });
}

void storeAdded(Comparison &comparison)
{
	storeChanged(comparison, [](QList<Reelhouse::Track> &tracks) {
		tracks.append(Reelhouse::Track::fromPath(tracks.constFirst().path));
	});
}

void storeRemoved(Comparison &comparison)
{
	storeChanged(comparison, [whole = QList<Reelhouse::Track>()](QList<Reelhouse::Track> &tracks) mutable {
		// Removed one by one, a thousand measurements would leave nothing of a short queue.
		if (whole.isEmpty())
			whole = tracks;
		if (tracks.size() <= whole.size() / 2)
			tracks = whole;
		tracks.removeAt(tracks.size() / 2);
	});
}

void storeMoved(Comparison &comparison)
{
	storeChanged(comparison, [](QList<Reelhouse::Track> &tracks) { tracks.move(tracks.size() - 1, 0); });
}

// Four ticks, of which one reads the playlist: the dock has not played yet, and the source still holds all of it.
void checkPlaylist(Comparison &comparison)
{
	Stage stage(comparison.rows);
	stage.tickThroughRefresh();
	const auto floor = [&] {
		OBSDataAutoRelease settings = obs_source_get_settings(stage.source);
		OBSDataArrayAutoRelease playlist = obs_data_get_array(settings, "playlist");
		size_t length = 0;
		for (size_t i = 0; i < obs_data_array_count(playlist); i++) {
			OBSDataAutoRelease item = obs_data_array_item(playlist, i);
			length += strlen(obs_data_get_string(item, "value"));
		}
		EXPECT_GT(length, 0u);
	};
	comparison.run(floor, [&] { stage.tick(); }, [&] { stage.tickUpToRefresh(); });
}
