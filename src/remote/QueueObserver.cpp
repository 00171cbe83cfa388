/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "remote/QueueObserver.hpp"

#include <algorithm>
#include <array>
#include <utility>

#include "dock/MediaFollower.hpp"
#include "remote/RemoteControl.hpp"
#include "remote/values.hpp"

namespace reelhouse {

namespace {

constexpr char sourceChanged[] = "SourceChanged";
constexpr char queueChanged[] = "QueueChanged";
constexpr char currentTrackChanged[] = "CurrentTrackChanged";
constexpr char endModeChanged[] = "EndModeChanged";
constexpr char optionsChanged[] = "OptionsChanged";
constexpr char mediaStateChanged[] = "MediaStateChanged";
constexpr char trackFailed[] = "TrackFailed";
constexpr char missingFilesSearched[] = "MissingFilesSearched";

// Queue changes that are nearer to each other than this make one event. In milliseconds.
constexpr int burstGapMs = 150;
// An unending burst is announced this often. In milliseconds.
constexpr int burstLengthMs = 1000;

} // namespace

std::span<const char *const> QueueObserver::events()
{
	static constexpr std::array names = {sourceChanged,  queueChanged,   currentTrackChanged,
					     endModeChanged, optionsChanged, mediaStateChanged,
					     trackFailed,    stateChanged,   missingFilesSearched};
	return names;
}

QueueObserver::QueueObserver(RemoteControl &remote_, QueueControl *queue_)
	: QObject(queue_), remote(remote_), queue(queue_), tagReader(queue_->tagReader()), seen(stateOf(*queue_))
{
	queueTimer.setSingleShot(true);
	connect(&queueTimer, &QTimer::timeout, this, [this] { remote.announceChanges(); });
	restTimer.setSingleShot(true);
	connect(&restTimer, &QTimer::timeout, this, [this] { announceState(false); });
	againTimer.setSingleShot(true);
	connect(&againTimer, &QTimer::timeout, this, [this] { announceState(true); });
	connect(queue, &QueueControl::changed, this, &QueueObserver::observe);
	connect(queue, &QueueControl::searchEnded, this, &QueueObserver::announceSearch);
	connect(queue, &QueueControl::mediaPolled, this, &QueueObserver::observePoll);
	connect(queue, &QueueControl::resuming, this, &QueueObserver::waitForPlugin);
	connect(queue, &QueueControl::trackFailed, this, &QueueObserver::announceFailure);
	connect(&tagReader, &TagReader::tagsRead, this, &QueueObserver::announceTags);
	connect(queue, &QueueControl::switchFinished, this, [this] { lengthMs = 0; });
	connect(queue, &QueueControl::canBringBackChanged, this, &QueueObserver::noticeState);
}

void QueueObserver::stop()
{
	stopped = true;
	disconnect(queue, nullptr, this, nullptr);
	disconnect(&tagReader, nullptr, this, nullptr);
	tagReader.endWaits();
	queueTimer.stop();
	restTimer.stop();
	againTimer.stop();
}

QueueObserver::State QueueObserver::stateOf(const QueueControl &queue)
{
	OBSSourceAutoRelease source = queue.lockSource();
	return {uuidOf(source),  nameOf(source),  queue.tracks(),  queue.currentId(),
		queue.endMode(), queue.options(), queue.sizesNow()};
}

// The plug-in drops events until OBS has told it of the new scene collection, perhaps after us. So tell everything once
// OBS has told all modules.
void QueueObserver::waitForPlugin()
{
	if (std::exchange(pluginLoads, true))
		return;
	QMetaObject::invokeMethod(this, &QueueObserver::announceAll, Qt::QueuedConnection);
}

void QueueObserver::announceAll()
{
	pluginLoads = false;
	if (stopped)
		return;
	if (!queue->isActive())
		return observe();
	seen = stateOf(*queue);
	lengthMs = 0;
	queueRevision = remote.nextRevision();
	queueWaits = true;
	announceCurrent();
	announceEndMode();
	announceOptions();
}

void QueueObserver::observe()
{
	if (pluginLoads)
		return;
	State before = std::exchange(seen, stateOf(*queue));
	const bool otherSource = before.sourceUuid != seen.sourceUuid;
	const bool otherQueue = otherSource || before.tracks != seen.tracks || before.sizesNow != seen.sizesNow;
	const bool otherCurrent = before.currentId != seen.currentId;
	const bool otherEndMode = before.endMode != seen.endMode;
	const bool otherOptions = before.options != seen.options;
	// For another source, the event of the new queue names the source.
	if (!otherSource && before.sourceName != seen.sourceName)
		announceSource();
	if (otherQueue) {
		queueRevision = remote.nextRevision();
		startQueueTimer();
	}
	if (otherSource || otherCurrent)
		lengthMs = 0;
	if (otherCurrent)
		announceCurrent();
	if (otherEndMode)
		announceEndMode();
	if (otherOptions)
		announceOptions();
	if (otherSource && seen.sourceUuid.isEmpty())
		announceMedia(OBS_MEDIA_STATE_STOPPED);
	noticeState();
}

void QueueObserver::observePoll(obs_media_state state, qint64, qint64 durationMs)
{
	// What was last seen may be of another queue.
	if (pluginLoads)
		return;
	// Only a poll notices a new name of the source.
	observe();
	if (lengthMs == 0 && durationMs > 0 && isPlaying(state)) {
		lengthMs = durationMs;
		if (queue->currentIndex() >= 0)
			announceCurrent();
	}
	if (!isLoading(state))
		announceMedia(state);
	noticeState();
}

void QueueObserver::startQueueTimer()
{
	if (!std::exchange(queueWaits, true))
		burst.start();
	if (burst.elapsed() < burstLengthMs)
		queueTimer.start(burstGapMs);
}

OBSDataAutoRelease QueueObserver::sourceData() const
{
	OBSSourceAutoRelease source = queue->lockSource();
	OBSDataAutoRelease data = obs_data_create();
	setSource(data, source);
	// Clients that know of one dock only take an event without it for theirs.
	if (queue->dockNumber() > 1)
		obs_data_set_int(data, "dock", queue->dockNumber());
	return data;
}

OBSDataAutoRelease QueueObserver::currentData() const
{
	OBSDataAutoRelease data = sourceData();
	const int index = queue->currentIndex();
	setTrack(data, index, index < 0 ? Track() : seen.tracks.at(index));
	return data;
}

void QueueObserver::announceSource()
{
	OBSDataAutoRelease data = sourceData();
	remote.announce(sourceChanged, data);
}

void QueueObserver::announceChange()
{
	queueTimer.stop();
	queueWaits = false;
	OBSDataAutoRelease data = sourceData();
	obs_data_set_int(data, "total", seen.tracks.size());
	obs_data_set_int(data, "revision", queueRevision);
	remote.emitEvent(queueChanged, data);
}

void QueueObserver::announceCurrent()
{
	remote.announceChanges();
	OBSDataAutoRelease data = currentData();
	const int index = queue->currentIndex();
	currentTags = index < 0 ? Tags() : tagReader.cached(seen.tracks.at(index).path).value_or(Tags());
	setTags(data, currentTags);
	if (lengthMs > 0)
		obs_data_set_int(data, "durationMs", lengthMs);
	toldState = queue->wantedState();
	obs_data_set_string(data, "mediaState", mediaStateName(toldState));
	remote.announce(currentTrackChanged, data);
}

// Sends the event of the current track again when the tags of its file have been read.
void QueueObserver::announceTags(const QString &path)
{
	if (pluginLoads)
		return;
	const int index = queue->currentIndex();
	if (index >= 0 && seen.tracks.at(index).path == path && tagReader.cached(path) != currentTags)
		announceCurrent();
	noticeState();
}

void QueueObserver::announceEndMode()
{
	OBSDataAutoRelease data = sourceData();
	obs_data_set_string(data, "endMode", endModeName(seen.endMode));
	remote.announce(endModeChanged, data);
}

void QueueObserver::announceOptions()
{
	OBSDataAutoRelease data = sourceData();
	setOptions(data, seen.options);
	remote.announce(optionsChanged, data);
}

void QueueObserver::announceSearch(QueueControl::SearchEnd end, qsizetype found, qsizetype missing)
{
	observe();
	OBSDataAutoRelease data = sourceData();
	if (end == QueueControl::SearchEnd::Done) {
		obs_data_set_int(data, "found", found);
		obs_data_set_int(data, "missing", missing);
	} else {
		obs_data_set_string(data, "reason",
				    end == QueueControl::SearchEnd::NoFolder ? "noFolder" : "cancelled");
	}
	remote.announce(missingFilesSearched, data);
}

void QueueObserver::announceFailure(const QString &id, TrackFailure failure, qsizetype count)
{
	static constexpr std::array reasons = {"error", "neverPlayed", "fileMissing"};
	const QList<Track> &tracks = queue->tracks();
	const auto track = std::ranges::find(tracks, id, &Track::id);
	if (track == tracks.cend())
		return;
	failedTitle = displayTitle(track->path, tagReader.cached(track->path).value_or(Tags()));
	OBSDataAutoRelease data = sourceData();
	setTrack(data, track - tracks.cbegin(), *track);
	obs_data_set_string(data, "reason", reasons.at(static_cast<size_t>(failure)));
	if (count > 1)
		obs_data_set_int(data, "count", count);
	remote.announce(trackFailed, data);
	noticeState();
}

void QueueObserver::announceMedia(obs_media_state state)
{
	const obs_media_state next = plainState(state);
	if (next == OBS_MEDIA_STATE_PLAYING)
		failedTitle.clear();
	if (next == toldChange && next == toldState)
		return;
	toldChange = toldState = next;
	OBSDataAutoRelease data = currentData();
	obs_data_set_string(data, "mediaState", mediaStateName(next));
	remote.announce(mediaStateChanged, data);
}

} // namespace reelhouse
