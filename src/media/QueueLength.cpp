/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "media/QueueLength.hpp"

#include <algorithm>

namespace reelhouse {

QueueLength QueueLength::of(const Known &known)
{
	QueueLength sum;
	for (qsizetype i = 0; i < known.tracks.size(); i++) {
		const Track &track = known.tracks.at(i);
		const bool isCurrent = i == known.current;
		const bool isPlayed = i < known.current;
		qint64 lengthMs = known.lengths.value(track.path, -1);
		if (isCurrent && known.currentLengthMs > 0)
			lengthMs = known.currentLengthMs;
		else if (known.sizesNow.value(track.path, track.size) == SizeMissing)
			lengthMs = 0;
		if (lengthMs < 0) {
			sum.unknown++;
			sum.unknownLeft += !isPlayed;
			continue;
		}
		sum.wholeMs += lengthMs;
		if (isCurrent)
			sum.currentMs = lengthMs;
		if (!isPlayed)
			sum.leftMs += lengthMs - (isCurrent ? std::clamp<qint64>(known.positionMs, 0, lengthMs) : 0);
	}
	return sum;
}

} // namespace reelhouse
