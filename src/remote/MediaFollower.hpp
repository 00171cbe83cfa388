/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <optional>

#include "dock/QueueControl.hpp"

namespace reelhouse {

// What the polls of the source's media mean for a client. libobs only queues what is asked of a source, so a state may
// be one poll late, and a shorter one goes unseen. User-interface thread.
class MediaFollower {
public:
	enum class Failure { Error, NeverPlayed };

	// What one poll has brought.
	struct Change {
		std::optional<obs_media_state> state; // another plain state than before
		std::optional<Failure> failure;       // of the track that was started
	};

	explicit MediaFollower(const QueueControl &queue_) : queue(queue_) {}

	// A track is on its way to the source, or no poll has seen yet what becomes of it there.
	bool isStarting() const { return starting || queue.isSwitching(); }
	// What the source reports, and opening as long as that may still mean the track before.
	obs_media_state reported() const;
	// The state that was asked of the source: playing, paused, stopped or ended. What it reports, where nothing was.
	obs_media_state asked() const;

	// Something was asked of the source that leads to this state.
	void ask(obs_media_state state);
	// Pauses what plays, or resumes what is paused. To be called only while asked() is one of the two.
	void setPaused(bool paused);
	// The source was given a track.
	void trackGiven();
	// Clients were told this state together with a track.
	void toldWithTrack(obs_media_state state) { shown = state; }
	Change poll(obs_media_state state, qint64 positionMs, qint64 durationMs);
	// The dock has another source, or none.
	Change otherSource(bool bound);

private:
	Change tell(obs_media_state state);
	void followPending(obs_media_state state);
	void sendPause(bool paused);

	const QueueControl &queue;
	obs_media_state told = OBS_MEDIA_STATE_STOPPED;  // as a change
	obs_media_state shown = OBS_MEDIA_STATE_STOPPED; // as a change or with a track
	std::optional<obs_media_state> pending; // asked for, until the source reports another state than before
	obs_media_state reportedBefore = OBS_MEDIA_STATE_NONE;
	int pendingPolls = 0;
	bool starting = false;
	bool firstPoll = false; // the next poll is the first of the given track
	bool running = false;   // the given track has neither ended nor failed
	bool known = false;     // the given track was seen to have a duration or a position
};

} // namespace reelhouse
