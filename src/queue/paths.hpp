/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QHash>
#include <QString>

namespace reelhouse {

// Playlist entries: local paths and URLs. The functions keep no state and may run on any thread.

// Returns the local file of a playlist entry: a file URL is decoded, a plain path is unchanged, any other URL gives an
// empty string.
QString localFilePath(const QString &path);

// Returns the new path of an entry: places gives that of a local file. The path itself if places has none, an empty one
// or the same.
QString movedPath(const QString &path, const QHash<QString, QString> &places);

// Whether an entry from outside has over 64 KiB of UTF-8. The list lays out every path, and a path of a megabyte blocks
// the window for a fifth of a second.
bool isTooLong(const QString &path);

// Returns the row text of an entry: its file name, or the whole path when it has none. The current track's text is
// marked.
QString labelFor(const QString &path, bool current);

} // namespace reelhouse
