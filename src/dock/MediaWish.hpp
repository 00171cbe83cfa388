/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <optional>

// After Qt's headers, see Reelhouse.hpp.
#include <obs.hpp>

namespace reelhouse {

// The state that was last wanted from the source's media, until it has come. libobs only queues media actions, so the
// reported state is an old one for a while. States are those of MediaFollower::state(). User-interface thread.
class MediaWish {
public:
	// What the dock has to ask of the source.
	enum class Order { None, Pause, Resume };

	// Returns the wanted state, or else the present one: playing, paused, stopped or ended.
	obs_media_state state(obs_media_state now) const;

	// The source has just been asked for something that leads to this state.
	void ask(obs_media_state wanted, obs_media_state now);
	// Wants playing or paused. While the new track is opening, the order waits.
	Order setPaused(bool paused, obs_media_state now);
	// Nothing is wanted any more.
	void drop();

	// Whether an order waits until the new track plays.
	bool isWaiting() const { return waiting; }
	// Gives the order that waited, if the track can take it now.
	Order takeWaiting(obs_media_state now);
	// The poll has seen the media do this.
	Order look(obs_media_state now);

private:
	std::optional<obs_media_state> wanted;         // until it has come or five polls have passed
	obs_media_state before = OBS_MEDIA_STATE_NONE; // the state when the wish came
	int polls = 0;                                 // since the source was asked
	bool waiting = false;                          // the source has not been asked yet
	bool repeats = false;                          // VLC may lose the order
};

} // namespace reelhouse
