/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include "dock/Reelhouse.hpp"

namespace reelhouse {

// The queue's record, an object in the source's private settings, and what a rebuild put aside of it. Everything here
// runs on the user-interface thread. Private settings are fetched anew each time: loading a scene collection replaces
// them.

inline constexpr char recordKey[] = "OBS-Reelhouse";
inline constexpr char replacedKey[] = "OBS-Reelhouse-replaced";
inline constexpr int recordVersion = 1;

inline constexpr char versionKey[] = "version";
inline constexpr char tracksKey[] = "tracks";
inline constexpr char idKey[] = "id";
inline constexpr char observedKey[] = "observed";
inline constexpr char currentKey[] = "current";
inline constexpr char managedKey[] = "managed";
inline constexpr char originalLoopKey[] = "originalLoop";
inline constexpr char originalShuffleKey[] = "originalShuffle";
inline constexpr char originalBehaviorKey[] = "originalBehavior";
inline constexpr char endModeKey[] = "endMode";

QString stringIn(obs_data_t *data, const char *key);

// Whether this is a record of the format that is read and written here. False for null.
bool isReadable(obs_data_t *record);

// Appends every entry of the record that names a path to tracks, with a new id where it lost its own. False when one was
// damaged, which makes the record unusable for a load.
bool readTracks(obs_data_t *record, QList<Reelhouse::Track> &tracks);

// A new array of the tracks as a record holds them. The caller owns its one reference.
OBSDataArrayAutoRelease trackArray(const QList<Reelhouse::Track> &tracks);

// Puts a record aside that a rebuild is about to overwrite, if the rebuilt queue has other tracks. Returns how many
// tracks were put aside, 0 when there was nothing worth keeping.
qsizetype keepReplaced(obs_data_t *privateSettings, obs_data_t *record, const QList<Reelhouse::Track> &rebuilt);

// The record that was put aside, or null when there is none that could become the queue again.
OBSDataAutoRelease replacedRecord(obs_data_t *privateSettings);

// Puts one record aside in exchange for the one that becomes the queue again.
void exchangeReplaced(obs_data_t *privateSettings, obs_data_t *record);

} // namespace reelhouse
