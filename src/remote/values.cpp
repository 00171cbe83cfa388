/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "remote/values.hpp"

#include <array>

#include "queue/paths.hpp"
#include "queue/settings.hpp"

namespace reelhouse {

namespace {

// Indexed by EndMode.
constexpr std::array endModes = {"stop", "next", "repeat"};

} // namespace

const char *endModeName(int mode)
{
	return endModes.at(mode);
}

std::optional<EndMode> endModeNamed(const QString &name)
{
	for (const EndMode mode : {EndStop, EndNext, EndRepeat}) {
		if (name == QLatin1String(endModeName(mode)))
			return mode;
	}
	return std::nullopt;
}

const char *mediaStateName(obs_media_state state)
{
	switch (state) {
	case OBS_MEDIA_STATE_PLAYING:
		return "OBS_MEDIA_STATE_PLAYING";
	case OBS_MEDIA_STATE_OPENING:
		return "OBS_MEDIA_STATE_OPENING";
	case OBS_MEDIA_STATE_BUFFERING:
		return "OBS_MEDIA_STATE_BUFFERING";
	case OBS_MEDIA_STATE_PAUSED:
		return "OBS_MEDIA_STATE_PAUSED";
	case OBS_MEDIA_STATE_STOPPED:
		return "OBS_MEDIA_STATE_STOPPED";
	case OBS_MEDIA_STATE_ENDED:
		return "OBS_MEDIA_STATE_ENDED";
	case OBS_MEDIA_STATE_ERROR:
		return "OBS_MEDIA_STATE_ERROR";
	default:
		return "OBS_MEDIA_STATE_NONE";
	}
}

void setOptions(obs_data_t *data, const QueueOptions &options)
{
	obs_data_set_bool(data, "skipFailed", options.skipFailed);
	obs_data_set_bool(data, "startAgain", options.startAgain);
}

void setSource(obs_data_t *data, obs_source_t *source)
{
	setText(data, "sourceName", nameOf(source));
	setText(data, "sourceUuid", uuidOf(source));
}

void setTrack(obs_data_t *data, qsizetype index, const Track &track)
{
	obs_data_set_int(data, "index", index);
	setText(data, "id", track.id);
	setText(data, "path", track.path);
	setText(data, "label", track.path.isEmpty() ? QString() : labelFor(track.path, false));
}

void setTags(obs_data_t *data, const Tags &tags)
{
	if (!tags.title.isEmpty())
		setText(data, "title", tags.title);
	if (!tags.artist.isEmpty())
		setText(data, "artist", tags.artist);
	if (tags.durationMs >= 0)
		obs_data_set_int(data, "durationMs", tags.durationMs);
}

} // namespace reelhouse
