/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QList>
#include <QString>

#include <obs.hpp>

namespace reelhouse {

// Keys of the VLC source's own settings.
inline constexpr char sourceTypeId[] = "vlc_source";
inline constexpr char playlistKey[] = "playlist";
inline constexpr char loopKey[] = "loop";
inline constexpr char shuffleKey[] = "shuffle";
inline constexpr char behaviorKey[] = "playback_behavior";
// The path or URL inside one object of a playlist array.
inline constexpr char valueKey[] = "value";

// A text in the settings, empty when it is absent.
QString textIn(obs_data_t *data, const char *key);
void setText(obs_data_t *data, const char *key, const QString &text);

// The "value" strings of the array under key, in array order, empty ones left out; an empty list for an absent array.
QList<QString> pathsIn(obs_data_t *settings, const char *key);

// Whether pathsIn() is exactly these paths. In most cases told without reading them into strings; of text that is not
// UTF-8 never.
bool holdsPaths(obs_data_t *settings, const char *key, const QList<QString> &paths);

// A new array that holds one object with "value" per path. The caller owns its one reference.
OBSDataArrayAutoRelease pathArray(const QList<QString> &paths);

// The local file that a playlist entry names: a file URL decoded, a plain path unchanged, an empty string for any
// other URL.
QString localFilePath(const QString &path);

// The row text of an entry: its file name, or the whole path where it has none; marked when it is the current track.
QString labelFor(const QString &path, bool current);

} // namespace reelhouse
