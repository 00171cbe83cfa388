/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <vector>

#include "queue/Track.hpp"

// After Qt's headers, see Reelhouse.hpp.
#include <obs.hpp>

namespace reelhouse {

// Two objects in a source's private settings: the record of its queue, and the replaced queue, which an edit of the
// playlist elsewhere has replaced. Everything here runs on the user-interface thread. Fetch the private settings for
// each call: OBS replaces them when it loads a scene collection.

struct Record {
	QList<Track> tracks;
	QList<QString> observed; // the source's playlist as last read or written
	QString currentId;
	bool managed = false;
	bool originalLoop = false;
	bool originalShuffle = false;
	QString originalBehavior;
	int endMode = 0; // an EndMode; readRecord() limits it to 0 to 2

	// readRecord() sets it: the record has the format version of this module, and each entry a path and an id. If not,
	// the queue must be rebuilt.
	bool isUsable = false;
};

// Returns the object that holds the record, or null when there is none. Its format is not checked.
OBSDataAutoRelease storedRecord(obs_data_t *privateSettings);

// Whether the record has the format version that this module reads and writes. False for null.
bool isReadable(obs_data_t *record);

// Whether the observed playlist of the record is exactly these paths.
bool recordObserves(obs_data_t *record, const QList<QString> &paths);

// Reads everything but the observed playlist. An entry without a path is left out and an entry without an id gets a new
// one. Absent values read as 0, false or empty, and so does a record that is null.
Record readRecord(obs_data_t *record);

// Writes records. The writer keeps the object of each track that it has written, and the next record shares these
// objects, so a record of a long queue costs little more than its array. Never change these objects. Another thread may
// run prepare() while nobody else uses the writer.
class RecordWriter {
public:
	// Replaces the whole record in these private settings.
	void write(obs_data_t *privateSettings, const Record &record);
	// Keeps the objects of a usable record, which was read from data, as if this writer had written them.
	void adopt(obs_data_t *data, const Record &record);
	// Makes the objects that a record of these will need, as write() does for those that are not there yet.
	void prepare(const QList<Track> &tracks, const QList<QString> &observed);

private:
	void updateItems(const QList<Track> &tracks);

	QList<Track> tracks;        // of the last record
	std::vector<OBSData> items; // the objects of these tracks
	QList<QString> observed;
	OBSDataArray observedItems;
};

// The replaced queue, which an edit of the playlist elsewhere has replaced. An "untouched" queue is still as such an
// edit made it: the user has not changed it in the dock, and has not played one of several entries.
struct ReplacedQueue {
	OBSData record = nullptr;      // the record of the replaced queue; null when there is none
	bool isUntouched = false;      // it was untouched when the user exchanged it for another queue
	bool presentUntouched = false; // the queue in the dock is untouched
	QString leftoverId;            // the id of the only entry, if an edit elsewhere made a queue of one; else empty

	static ReplacedQueue read(obs_data_t *privateSettings);
	// Does nothing when record is null.
	void write(obs_data_t *privateSettings) const;

	// Gives the tracks of the record new paths, as movedItems() does.
	void moveTracks(const QHash<QString, QString> &places) const;
};

// Returns the replaced queue after a rebuild has put others in place of the tracks of the stored record. The queue that
// the user last made or played is never lost: it becomes the replaced queue or stays it. stored may be null; record is
// what was read from it.
ReplacedQueue replaceQueue(obs_data_t *stored, const Record &record, const QList<Track> &rebuilt,
			   const ReplacedQueue &replaced);

} // namespace reelhouse
