/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QList>
#include <QString>

namespace reelhouse {

// Values of Track::size that are not a size in bytes.
inline constexpr qint64 SizeNotLocal = -1; // the path names no local file
inline constexpr qint64 SizeUnknown = -2;  // not measured yet; never stored
inline constexpr qint64 SizeMissing = -3;  // the local path names no regular file

// What happens when a track ends. The record stores these numbers.
enum EndMode { EndStop, EndNext, EndRepeat };

// Why a track could not be played, or not to its end.
enum class TrackFailure { Error, NeverPlayed, FileMissing };

// One queue entry, a plain value for any thread. Its identity is the id, not the path: the same file may be queued more
// than once.
struct Track {
	QString id;
	QString path; // as the source's playlist item holds it: a local path or a URL
	qint64 size = SizeUnknown;

	// A track with a new id.
	static Track fromPath(const QString &path);

	bool operator==(const Track &) const = default;
};

struct RemovedTrack {
	Track track;
	int index = 0; // in the queue just before the removal
};

} // namespace reelhouse
