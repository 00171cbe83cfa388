/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <optional>

// After Qt's headers, see Reelhouse.hpp.
#include <obs.hpp>

namespace reelhouse {

// Whether the media is on its way, which clients take for playing.
bool isLoading(obs_media_state state);
// Whether the media plays or is paused.
bool isPlaying(obs_media_state state);
// Maps a state to one of the four that clients know: playing, paused, stopped or ended.
obs_media_state plainState(obs_media_state state);

// What the source's media does, given the dock's switches. Only this class knows whether a state that the source
// reports may still belong to the previous track. The dock tells it of its switches and of each look at the media. It
// reads no source, and has no clock: the first look after a switch may come at any time. User-interface thread.
class MediaFollower {
public:
	// A switch has been issued. Until it has finished, the reported state belongs to the previous track.
	void switchIssued();
	// The source has received the settings of a new track.
	void trackGiven();
	// No track is on its way any more: the switch was cancelled in time, or the media was stopped.
	void settle() { reset(); }
	// The dock has bound another source, or none.
	void reset() { *this = {}; }

	// A look at the media while no switch is pending. Returns false if the report is about the previous track.
	bool look(obs_media_state reported);

	// Returns what the media does when the source reports this state: opening while the report may belong to the
	// previous track.
	obs_media_state state(obs_media_state reported) const;
	// Returns that state as of the last look, or opening since the last switch; nothing if there was none of them
	// since the media was stopped or another source bound.
	std::optional<obs_media_state> lastState() const { return last; }

private:
	enum class Phase {
		Settled,   // the report is about the current track
		Switching, // a switch is pending
		Given,     // no look since the source has received the new track
		Starting,  // looks have not seen it play yet
	};

	Phase phase = Phase::Settled;
	std::optional<obs_media_state> last;
};

} // namespace reelhouse
