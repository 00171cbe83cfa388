/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QList>
#include <QString>

namespace reelhouse {

// Playlist files: M3U and M3U8, PLS and XSPF. The file's ending says which of them it is.

struct PlaylistContent {
	QList<QString> paths; // as a queue holds them: local paths, or URLs that name no local file
	QString error;        // why the file cannot be read; empty when it was
};

struct PlaylistEntry {
	QString path; // as a queue holds it
	QString title;
	qint64 durationMs = -1; // -1: not known
};

// What the file lists, in its order. Entries that are relative to the file come as absolute paths. An HLS manifest is
// one entry, itself: its lines are pieces of one stream.
PlaylistContent readPlaylist(const QString &file);

// Writes XSPF where the file's ending says so, M3U8 for every other. Entries beside or below the file are written relative
// to it. Returns why that failed, or an empty string; a file that was there before is then as it was.
QString writePlaylist(const QString &file, const QList<PlaylistEntry> &entries);

} // namespace reelhouse
