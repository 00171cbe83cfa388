/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <optional>

#include "dock/QueueControl.hpp"

namespace reelhouse {

// Turns the polls of the source's media into changes for clients. libobs queues media actions, so a state may appear
// one poll late, and a short one not at all. User-interface thread.
class MediaFollower {
public:
	// The result of one poll.
	struct Change {
		std::optional<obs_media_state> state; // the new state, if it changed: playing, paused, stopped or ended
	};

	explicit MediaFollower(const QueueControl &queue_) : queue(queue_) {}

	// Whether a switch is pending, or no poll has seen the new track yet.
	bool isStarting() const { return starting || queue.isSwitching(); }
	// Returns the state that the source reports; opening while that report may belong to the previous track; none
	// without a source.
	obs_media_state reported() const;
	// Returns the state that was last requested and has yet to come, else the reported state: playing, paused,
	// stopped or ended.
	obs_media_state asked() const;

	// Call this after a request to the source that leads to this state.
	void ask(obs_media_state state);
	// Pauses or resumes. Call it only while asked() is playing or paused.
	void setPaused(bool paused);
	// The source has received the settings of a new track.
	void trackGiven();
	// An event about a track has sent this state to clients.
	void toldWithTrack(obs_media_state state) { lastSent = state; }
	Change poll(obs_media_state state);
	// The dock has bound another source, or none.
	Change otherSource(bool bound);

private:
	Change tell(obs_media_state state);
	void followPending(obs_media_state state);
	void sendPause(bool paused);

	const QueueControl &queue;
	obs_media_state lastChange = OBS_MEDIA_STATE_STOPPED; // last sent to clients as a change
	obs_media_state lastSent = OBS_MEDIA_STATE_STOPPED;   // last sent to clients, as a change or with a track
	std::optional<obs_media_state> pending; // the requested state, until it has come or two seconds have passed
	obs_media_state reportedBefore = OBS_MEDIA_STATE_NONE;
	int pendingPolls = 0;
	bool follows = false; // the request came while another one was still pending
	bool starting = false;
	bool firstPoll = false; // the next poll is the first one of the new track
};

} // namespace reelhouse
