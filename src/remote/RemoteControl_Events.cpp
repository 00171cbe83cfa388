/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "remote/RemoteControl.hpp"

#include <utility>

#include "remote/values.hpp"

namespace reelhouse {

namespace {

// Changes of the queue that come closer than this are one event, in milliseconds.
constexpr int burstGapMs = 150;
// A burst that does not end is announced this often nevertheless.
constexpr int burstLengthMs = 1000;

} // namespace

RemoteControl::State RemoteControl::stateOf(const Reelhouse &dock)
{
	OBSSourceAutoRelease source = dock.lockSource();
	return {source ? QString::fromUtf8(obs_source_get_uuid(source)) : QString(), dock.queue(),
		dock.currentTrackId(), dock.endModeNumber()};
}

void RemoteControl::observe()
{
	State before = std::exchange(seen, stateOf(*dock));
	const bool otherQueue = before.sourceUuid != seen.sourceUuid || before.tracks != seen.tracks;
	const bool otherCurrent = before.currentId != seen.currentId;
	const bool otherEndMode = before.endMode != seen.endMode;
	if (otherQueue) {
		queueRevision = ++revision;
		startQueueTimer();
	}
	// Whoever is told of the others has been told of the queue that they belong to.
	if (queueTimer.isActive() && (otherCurrent || otherEndMode))
		announceQueue();
	if (otherCurrent)
		announceCurrent();
	if (otherEndMode)
		announceEndMode();
}

void RemoteControl::startQueueTimer()
{
	if (!queueTimer.isActive())
		burst.start();
	if (burst.elapsed() < burstLengthMs)
		queueTimer.start(burstGapMs);
}

void RemoteControl::announceQueue()
{
	queueTimer.stop();
	OBSSourceAutoRelease source = dock->lockSource();
	OBSDataAutoRelease data = obs_data_create();
	setSource(data, source);
	obs_data_set_int(data, "total", seen.tracks.size());
	obs_data_set_int(data, "revision", queueRevision);
	emitEvent("QueueChanged", data);
}

void RemoteControl::announceCurrent()
{
	OBSSourceAutoRelease source = dock->lockSource();
	OBSDataAutoRelease data = obs_data_create();
	const int index = dock->currentIndex();
	setSource(data, source);
	setTrack(data, index, index < 0 ? Reelhouse::Track() : seen.tracks.at(index));
	obs_data_set_int(data, "revision", ++revision);
	emitEvent("CurrentTrackChanged", data);
}

void RemoteControl::announceEndMode()
{
	OBSSourceAutoRelease source = dock->lockSource();
	OBSDataAutoRelease data = obs_data_create();
	setSource(data, source);
	obs_data_set_string(data, "endMode", endModeName(seen.endMode));
	obs_data_set_int(data, "revision", ++revision);
	emitEvent("EndModeChanged", data);
}

} // namespace reelhouse
