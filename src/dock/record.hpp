/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <vector>

#include "dock/Track.hpp"

// After Qt's headers, see Reelhouse.hpp.
#include <obs.hpp>

namespace reelhouse {

// What is kept with a source, as objects in its private settings: the record of its queue, and the queue that an edit of
// the playlist made elsewhere has replaced. Everything here runs on the user-interface thread. Fetch the private settings
// anew each time: OBS replaces them when it loads a scene collection.

// The record of a queue.
struct Record {
	QList<Track> tracks;
	QList<QString> observed; // the source's playlist as last seen or written
	QString currentId;
	bool managed = false;
	bool originalLoop = false;
	bool originalShuffle = false;
	QString originalBehavior;
	int endMode = 0; // 0 to 2 when it was read
};

// The object that holds the record, or null when there is none. It may be of any format.
OBSDataAutoRelease storedRecord(obs_data_t *privateSettings);

// Whether this is a record of the format that is read and written here. False for null.
bool isReadable(obs_data_t *record);

// Whether the playlist that the record observed is exactly these paths.
bool recordObserves(obs_data_t *record, const QList<QString> &paths);

// Everything but the observed playlist. An entry without a path is left out, one that lost its id gets a new one; then
// isWhole becomes false, which makes the record unusable for a load. What is absent reads as 0, false or empty.
Record readRecord(obs_data_t *record, bool *isWhole = nullptr);

// Writes records. It keeps the object of each track that it has written, and the next record shares them: nobody changes
// such an object, so a record of a long queue costs little more than its array.
class RecordWriter {
public:
	// Replaces the whole record in the private settings.
	void write(obs_data_t *privateSettings, const Record &record);

private:
	void updateItems(const QList<Track> &tracks);

	QList<Track> tracks;        // as last written
	std::vector<OBSData> items; // their objects
	QList<QString> observed;
	OBSDataArray observedItems;
};

// The queue that an edit of the playlist made elsewhere has replaced. An "untouched" queue is as such an edit made it:
// the user has not changed it here, nor played from it if it has more than one entry.
struct ReplacedQueue {
	OBSData record = nullptr;      // null when there is none; else it can become the queue again
	bool isUntouched = false;      // the user brought another queue back in exchange for it
	bool presentUntouched = false; // of the queue that the source has now
	QString leftoverId;            // the only entry of a queue that such an edit made; empty for others

	static ReplacedQueue read(obs_data_t *privateSettings);
	// Does nothing when there is no record.
	void write(obs_data_t *privateSettings) const;
};

// What is replaced after a rebuild has put other tracks in place of the stored record's. The queue that the user last
// made or played is never lost: it is the one that is replaced, or it stays so.
ReplacedQueue replaceQueue(obs_data_t *stored, const QList<Track> &rebuilt, const ReplacedQueue &replaced);

} // namespace reelhouse
