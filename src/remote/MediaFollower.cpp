/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "remote/MediaFollower.hpp"

#include <utility>

namespace reelhouse {

namespace {

// By the second poll, the source has carried out a request that came before the first.
constexpr int pollsToSettle = 2;
// After this many polls, two seconds, a requested state will not come. A busy OBS needs some of this time.
constexpr int pollsToReach = 8;

bool isLoading(obs_media_state state)
{
	return state == OBS_MEDIA_STATE_OPENING || state == OBS_MEDIA_STATE_BUFFERING;
}

bool isPlaying(obs_media_state state)
{
	return state == OBS_MEDIA_STATE_PLAYING || state == OBS_MEDIA_STATE_PAUSED;
}

// Maps a state to one of the four that clients know.
obs_media_state plain(obs_media_state state)
{
	if (isLoading(state))
		return OBS_MEDIA_STATE_PLAYING;
	return isPlaying(state) || state == OBS_MEDIA_STATE_ENDED ? state : OBS_MEDIA_STATE_STOPPED;
}

} // namespace

obs_media_state MediaFollower::reported() const
{
	OBSSourceAutoRelease source = queue.lockSource();
	if (!source || queue.isSwitching())
		return source ? OBS_MEDIA_STATE_OPENING : OBS_MEDIA_STATE_NONE;
	const obs_media_state state = obs_source_media_get_state(source);
	return starting && !isPlaying(state) && state != OBS_MEDIA_STATE_ERROR ? OBS_MEDIA_STATE_OPENING : state;
}

obs_media_state MediaFollower::asked() const
{
	if (queue.isSwitching())
		return OBS_MEDIA_STATE_PLAYING;
	const obs_media_state now = reported();
	// The state that an earlier request leads to says nothing of the later one.
	const bool waits = pending && (now == reportedBefore || (follows && isPlaying(now)));
	return waits ? *pending : plain(now);
}

void MediaFollower::trackGiven()
{
	pending.reset();
	starting = firstPoll = true;
}

void MediaFollower::ask(obs_media_state state)
{
	follows = pending.has_value();
	pending = state;
	reportedBefore = reported();
	pendingPolls = 0;
}

void MediaFollower::setPaused(bool paused)
{
	const obs_media_state wanted = paused ? OBS_MEDIA_STATE_PAUSED : OBS_MEDIA_STATE_PLAYING;
	const bool changes = asked() != wanted;
	if (changes)
		sendPause(paused);
	// An earlier request for another state no longer counts.
	if (changes || (pending && *pending != wanted))
		ask(wanted);
}

void MediaFollower::sendPause(bool paused)
{
	OBSSourceAutoRelease source = queue.lockSource();
	obs_source_media_play_pause(source, paused);
}

// VLC loses a resume just after a pause and a pause just after a resume, so send the second of two again, once. Do not
// send a single request again: the user may have changed the state meanwhile.
void MediaFollower::followPending(obs_media_state state)
{
	if (!pending || ++pendingPolls < pollsToSettle)
		return;
	if (plain(state) == *pending || pendingPolls >= pollsToReach) {
		pending.reset();
	} else if (isPlaying(state) && isPlaying(*pending) && std::exchange(follows, false)) {
		sendPause(*pending == OBS_MEDIA_STATE_PAUSED);
		reportedBefore = state;
	}
}

MediaFollower::Change MediaFollower::poll(obs_media_state state)
{
	followPending(state);
	if (isLoading(state))
		return {};
	// The source may not have started the new track yet. It then still reports how the previous one stopped.
	if (std::exchange(firstPoll, false) && !isPlaying(state))
		return {};
	starting = false;
	return tell(state);
}

MediaFollower::Change MediaFollower::otherSource(bool bound)
{
	pending.reset();
	starting = firstPoll = false;
	return bound ? Change() : tell(OBS_MEDIA_STATE_STOPPED);
}

MediaFollower::Change MediaFollower::tell(obs_media_state state)
{
	Change change;
	const obs_media_state next = plain(state);
	if (next != lastChange || next != lastSent)
		change.state = lastChange = lastSent = next;
	return change;
}

} // namespace reelhouse
