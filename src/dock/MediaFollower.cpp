/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/MediaFollower.hpp"

namespace reelhouse {

bool isLoading(obs_media_state state)
{
	return state == OBS_MEDIA_STATE_OPENING || state == OBS_MEDIA_STATE_BUFFERING;
}

bool isPlaying(obs_media_state state)
{
	return state == OBS_MEDIA_STATE_PLAYING || state == OBS_MEDIA_STATE_PAUSED;
}

obs_media_state plainState(obs_media_state state)
{
	if (isLoading(state))
		return OBS_MEDIA_STATE_PLAYING;
	return isPlaying(state) || state == OBS_MEDIA_STATE_ENDED ? state : OBS_MEDIA_STATE_STOPPED;
}

void MediaFollower::switchIssued()
{
	phase = Phase::Switching;
	last = OBS_MEDIA_STATE_OPENING;
}

void MediaFollower::trackGiven()
{
	phase = Phase::Given;
	last = OBS_MEDIA_STATE_OPENING;
}

bool MediaFollower::look(obs_media_state reported)
{
	// The source may not have started the new track yet. It then still reports how the previous one stopped.
	const bool isPrevious = phase == Phase::Given && !isPlaying(reported) && !isLoading(reported);
	if (isPrevious)
		phase = Phase::Starting;
	else if (!isLoading(reported))
		phase = Phase::Settled;
	last = isPrevious ? OBS_MEDIA_STATE_OPENING : state(reported);
	return !isPrevious;
}

obs_media_state MediaFollower::state(obs_media_state reported) const
{
	if (phase == Phase::Switching)
		return OBS_MEDIA_STATE_OPENING;
	const bool isKnown = phase == Phase::Settled || isPlaying(reported) || reported == OBS_MEDIA_STATE_ERROR;
	return isKnown ? reported : OBS_MEDIA_STATE_OPENING;
}

} // namespace reelhouse
