/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QHash>
#include <QList>
#include <QString>

#include <obs.hpp>

namespace reelhouse {

// Playlist entries and the settings that hold them. The functions keep no state and may run on any thread.

// Keys of the VLC source's own settings.
inline constexpr char sourceTypeId[] = "vlc_source";
inline constexpr char playlistKey[] = "playlist";
inline constexpr char loopKey[] = "loop";
inline constexpr char shuffleKey[] = "shuffle";
inline constexpr char behaviorKey[] = "playback_behavior";
// The path or URL inside one object of a playlist array.
inline constexpr char valueKey[] = "value";

// Returns the text under the key; empty when it is absent.
QString textIn(obs_data_t *data, const char *key);
void setText(obs_data_t *data, const char *key, const QString &text);

// The "value" strings of the array under key, in array order and without empty ones. An absent array gives an empty
// list.
QList<QString> pathsIn(obs_data_t *settings, const char *key);

// Whether pathsIn() returns exactly these paths. Compares the stored UTF-8 directly, without making strings, unless
// some text differs or is not valid UTF-8.
bool holdsPaths(obs_data_t *settings, const char *key, const QList<QString> &paths);

// Returns a new array with one object per path, under "value". The caller owns the reference.
OBSDataArrayAutoRelease pathArray(const QList<QString> &paths);

// Returns the local file of a playlist entry: a file URL is decoded, a plain path is unchanged, any other URL gives an
// empty string.
QString localFilePath(const QString &path);

// Returns the items of a playlist array with new paths: places gives the new one of a local file, or an empty string or
// the same path if it stays. Items that stay are shared with the array. Null if all stay. The caller owns the reference.
OBSDataArrayAutoRelease movedItems(obs_data_array_t *items, const QHash<QString, QString> &places);

// The same for one entry.
QString movedPath(const QString &path, const QHash<QString, QString> &places);

// Whether an entry from outside has over 64 KiB of UTF-8. The list lays out every path, and a path of a megabyte blocks
// the window for a fifth of a second.
bool isTooLong(const QString &path);

// Returns the row text of an entry: its file name, or the whole path when it has none. The current track's text is
// marked.
QString labelFor(const QString &path, bool current);

} // namespace reelhouse
