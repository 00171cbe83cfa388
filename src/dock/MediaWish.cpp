/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/MediaWish.hpp"

#include <utility>

#include "dock/MediaFollower.hpp"

namespace reelhouse {

namespace {

// By the second poll, the source has carried out an order that came before the first.
constexpr int pollsToSettle = 2;
// After this many polls, 1.25 seconds, a wanted state will not come: somebody else has changed the state meanwhile. A
// busy OBS needs some of this time. A client's button must not show it for longer.
constexpr int pollsToReach = 5;

} // namespace

obs_media_state MediaWish::state(obs_media_state now) const
{
	// The state that an earlier order leads to says nothing of the later one.
	const bool counts = wanted && (waiting || now == before || (repeats && isPlaying(now)));
	return counts ? *wanted : plainState(now);
}

void MediaWish::ask(obs_media_state state, obs_media_state now)
{
	repeats = wanted.has_value();
	wanted = state;
	before = now;
	polls = 0;
	waiting = false;
}

MediaWish::Order MediaWish::setPaused(bool paused, obs_media_state now)
{
	const obs_media_state next = paused ? OBS_MEDIA_STATE_PAUSED : OBS_MEDIA_STATE_PLAYING;
	const bool changes = state(now) != next;
	// A new track plays by itself.
	if (waiting || (isLoading(now) && !wanted)) {
		if (changes)
			drop();
		if (!changes || !paused)
			return Order::None;
		wanted = next;
		waiting = true;
		return takeWaiting(now);
	}
	// An earlier order for another state no longer counts.
	if (changes || (wanted && *wanted != next))
		ask(next, now);
	if (!changes)
		return Order::None;
	return paused ? Order::Pause : Order::Resume;
}

void MediaWish::drop()
{
	*this = {};
}

MediaWish::Order MediaWish::takeWaiting(obs_media_state now)
{
	if (!waiting || isLoading(now))
		return Order::None;
	drop();
	if (now != OBS_MEDIA_STATE_PLAYING)
		return Order::None;
	ask(OBS_MEDIA_STATE_PAUSED, now);
	repeats = true;
	return Order::Pause;
}

// VLC loses a resume just after a pause, a pause just after a resume, and a pause at the very start, so send these
// again, once. Do not send another order again: the user may have changed the state meanwhile.
MediaWish::Order MediaWish::look(obs_media_state now)
{
	if (waiting)
		return takeWaiting(now);
	if (!wanted || ++polls < pollsToSettle)
		return Order::None;
	if (plainState(now) == *wanted || polls >= pollsToReach) {
		drop();
	} else if (isPlaying(now) && isPlaying(*wanted) && std::exchange(repeats, false)) {
		before = now;
		return *wanted == OBS_MEDIA_STATE_PAUSED ? Order::Pause : Order::Resume;
	}
	return Order::None;
}

} // namespace reelhouse
