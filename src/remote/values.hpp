/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QString>

#include <optional>

#include "dock/QueueControl.hpp"
#include "dock/paths.hpp"
#include "media/tags.hpp"

namespace reelhouse {

// How requests and events spell what the dock knows. Any thread.

const char *endModeName(int mode);
std::optional<EndMode> endModeNamed(const QString &name);

// As the WebSocket plug-in's own requests name the states.
const char *mediaStateName(obs_media_state state);

// sourceName and sourceUuid, both empty for a null source.
void setSource(obs_data_t *data, obs_source_t *source);
// index, id, path and label.
void setTrack(obs_data_t *data, qsizetype index, const Track &track);
// title, artist and durationMs, each where it is known.
void setTags(obs_data_t *data, const Tags &tags);

} // namespace reelhouse
