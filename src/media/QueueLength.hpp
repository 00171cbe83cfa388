/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QHash>
#include <QList>
#include <QString>

#include "queue/Track.hpp"

namespace reelhouse {

// How long a queue is. Tracks of unknown length count as nothing in the times, and so do tracks that are missing.
struct QueueLength {
	qint64 wholeMs = 0;
	qint64 leftMs = 0;    // after the current position; the whole queue without a current track
	qint64 currentMs = 0; // the length of the current track
	qsizetype unknown = 0;
	qsizetype unknownLeft = 0; // those of them from the current track on

	// What is known when it is made. Any thread.
	struct Known {
		const QList<Track> &tracks;
		const QHash<QString, qint64> &sizesNow; // what looks have seen since the queue was loaded, by path
		const QHash<QString, qint64> &lengths;  // in milliseconds by path; -1: none
		qsizetype current = -1;                 // position in the queue
		qint64 positionMs = 0;                  // where its media is
		qint64 currentLengthMs = 0;             // as its source reports it; 0: unknown
	};
	static QueueLength of(const Known &known);
};

} // namespace reelhouse
