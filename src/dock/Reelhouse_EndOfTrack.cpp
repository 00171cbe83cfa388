/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include <utility>

using namespace reelhouse;

namespace {

// For this long after a switch, a source that reports "playing" may mean the previous media.
constexpr qint64 settleMs = 99;

} // namespace

void Reelhouse::applyEndMode(obs_media_state state)
{
	// Return early, without a search of the queue, when the state cannot arm or end anything.
	if (!managed || (state == OBS_MEDIA_STATE_PLAYING) == playbackArmed)
		return;
	const int current = currentIndex();
	if (current < 0)
		return;
	switch (state) {
	case OBS_MEDIA_STATE_PLAYING:
		if (!switchClock.isValid() || switchClock.elapsed() > settleMs)
			playbackArmed = true;
		break;
	case OBS_MEDIA_STATE_STOPPED:
	case OBS_MEDIA_STATE_ERROR:
		playbackArmed = false;
		break;
	case OBS_MEDIA_STATE_ENDED:
		if (!std::exchange(playbackArmed, false))
			break;
		if (endMode == EndRepeat)
			playTrack(currentId, false, Previous::Ended);
		else if (endMode == EndNext && current + 1 < tracks.size())
			playTrack(tracks.at(current + 1).id, false, Previous::Ended);
		else
			stopPlayback();
		break;
	default:
		break;
	}
}

// Returns the positions of the tracks that will come by themselves, until the current one comes again.
QList<qsizetype> Reelhouse::upcoming(qsizetype most) const
{
	QList<qsizetype> positions;
	const int current = currentIndex();
	if (!managed || endMode != EndNext || current < 0)
		return positions;
	for (qsizetype next = current + 1; next < tracks.size() && positions.size() < most; next++)
		positions.append(next);
	return positions;
}
