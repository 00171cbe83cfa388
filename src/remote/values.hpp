/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QString>

#include <optional>

#include "dock/QueueControl.hpp"
#include "media/tags.hpp"
#include "queue/settings.hpp"
#include "queue/sources.hpp"

namespace reelhouse {

// Texts and fields that requests and events share. Any thread.

inline constexpr char stateChanged[] = "StateChanged";

// Returns the name that clients use. mode must be an EndMode.
const char *endModeName(int mode);
// Returns nothing for an unknown name.
std::optional<EndMode> endModeNamed(const QString &name);

// Returns the name that the WebSocket plug-in's own requests use for the state; that of "none" for an unknown state.
const char *mediaStateName(obs_media_state state);

// Sets skipFailed and startAgain.
void setOptions(obs_data_t *data, const QueueOptions &options);
// Sets sourceName and sourceUuid; both are empty for a null source.
void setSource(obs_data_t *data, obs_source_t *source);
// Sets index, id, path and label. Without a track pass -1 and an empty one.
void setTrack(obs_data_t *data, qsizetype index, const Track &track);
// Sets those of title, artist and durationMs that are known.
void setTags(obs_data_t *data, const Tags &tags);

} // namespace reelhouse
