/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QHash>
#include <QList>
#include <QString>

#include <obs.hpp>

namespace reelhouse {

// The settings of the VLC source, and texts in objects of libobs. The functions keep no state and may run on any thread.

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
// some text is not valid UTF-8.
bool holdsPaths(obs_data_t *settings, const char *key, const QList<QString> &paths);

// Returns a new array with one object per text, under the key in each. The caller owns the reference.
OBSDataArrayAutoRelease textArray(const QList<QString> &texts, const char *key);
// The same for the paths of a playlist, under "value".
inline OBSDataArrayAutoRelease pathArray(const QList<QString> &paths)
{
	return textArray(paths, valueKey);
}

// Returns the items of a playlist array with new paths: movedPath() tells them. Items that stay are shared with the
// array. Null if all stay. The caller owns the reference.
OBSDataArrayAutoRelease movedItems(obs_data_array_t *items, const QHash<QString, QString> &places);

} // namespace reelhouse
