/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <utility>

namespace reelhouse {

// The ends of one source's media. VLC tells OBS of an end on its input thread, and its own list player after that, on
// the same thread. A stop between the two makes the list player start the same entry again. On a busy machine that
// thread may lose the processor between the two for a long time. So an end counts once the thread has ended.
class MediaEnds {
public:
	// report is called on each thread that ends.
	explicit MediaEnds(std::function<void()> report_) : report(std::move(report_)) {}

	// The calling thread, which is one of VLC's, tells of an end.
	static void told(const std::shared_ptr<MediaEnds> &ends);
	// Whether a thread has told of an end and has not ended yet. Any thread.
	bool isUnderWay();
	// Nothing is reported from now on. Any thread.
	void close();

private:
	struct Told;

	void threadEnded();

	std::mutex mutex; // guards these two
	std::function<void()> report;
	int underWay = 0;
};

} // namespace reelhouse
