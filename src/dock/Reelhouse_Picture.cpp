/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include "picture/HoldPicture.hpp"

using namespace reelhouse;

namespace {

// For this long after a switch, the media's state may be that of the previous track.
constexpr qint64 staleMs = 500;
// A track that has played for this long without a picture has none.
constexpr qint64 pictureDelayMs = 400;

} // namespace

// Decides whether the last picture may be held when this media ends. A switch and a stop have decided it already.
void Reelhouse::followPicture(obs_source_t *source, obs_media_state state, qint64 positionMs)
{
	if (switchPending || searching)
		return;
	switch (state) {
	case OBS_MEDIA_STATE_PLAYING:
	case OBS_MEDIA_STATE_PAUSED:
		if (obs_source_get_base_width(source) > 0)
			allowHeldPicture(source, managed && currentIndex() >= 0);
		else if (positionMs >= pictureDelayMs)
			allowHeldPicture(source, false);
		break;
	case OBS_MEDIA_STATE_OPENING:
	case OBS_MEDIA_STATE_BUFFERING:
		break;
	default:
		if (!switchClock.isValid() || switchClock.elapsed() > staleMs)
			allowHeldPicture(source, false);
	}
}
