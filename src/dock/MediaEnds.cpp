/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/MediaEnds.hpp"

#include <utility>
#include <vector>

namespace reelhouse {

// Goes with its thread.
struct MediaEnds::Told {
	std::vector<std::shared_ptr<MediaEnds>> ends;

	~Told()
	{
		for (const std::shared_ptr<MediaEnds> &one : ends)
			one->threadEnded();
	}
};

void MediaEnds::told(const std::shared_ptr<MediaEnds> &ends)
{
	thread_local Told byThisThread;
	{
		const std::lock_guard lock(ends->mutex);
		ends->underWay++;
	}
	byThisThread.ends.push_back(ends);
}

bool MediaEnds::isUnderWay()
{
	const std::lock_guard lock(mutex);
	return underWay > 0;
}

void MediaEnds::close()
{
	const std::lock_guard lock(mutex);
	report = nullptr;
}

void MediaEnds::threadEnded()
{
	const std::lock_guard lock(mutex);
	underWay--;
	if (report)
		report();
}

} // namespace reelhouse
