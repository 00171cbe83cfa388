/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QList>
#include <QString>

namespace reelhouse {

// Reads and writes playlist files: M3U, M3U8, PLS and XSPF. The file's ending decides which. User-interface thread:
// they use the locale.

struct PlaylistContent {
	QList<QString> paths; // as in a queue: local paths, or URLs that name no local file
	QString error;        // why the file could not be read; empty on success
	QString leftOut;      // a message that says what of the file is not in paths; empty for a whole file
};

struct PlaylistEntry {
	QString path; // as in a queue
	QString title;
	qint64 durationMs = -1; // -1: unknown
};

// Returns the entries of the file in their order, relative ones as absolute paths. An HLS manifest gives one entry, the
// manifest itself, because its lines are pieces of one stream. Leaves out what is no path: a null character, or more
// than isTooLong() allows. Of a damaged XSPF file it returns the entries before the damage. A file without a byte order
// mark is UTF-8, and each of its lines that is not is Windows-1252.
PlaylistContent readPlaylist(const QString &file);

// Writes XSPF if the file's ending is xspf, and M3U8 otherwise. Entries in or below the file's folder are written
// relative to it. Returns an empty string on success, else the reason; an existing file is then unchanged.
QString writePlaylist(const QString &file, const QList<PlaylistEntry> &entries);

} // namespace reelhouse
