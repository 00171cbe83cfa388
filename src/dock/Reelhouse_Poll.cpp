/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include <QLabel>
#include <QSignalBlocker>
#include <QThread>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "dock/QueueControl.hpp"
#include "dock/widgets/SeekSlider.hpp"
#include "queue/settings.hpp"
#include "queue/text.hpp"

using namespace reelhouse;
using namespace Qt::StringLiterals;

namespace {

// Every fourth tick, once a second, the poll also looks at the list of sources and for edits elsewhere.
constexpr quint32 ticksPerRefresh = 4;
constexpr qint64 seekPatienceMs = 999;
// A seek has landed within this distance of its target, or within a thousandth of the duration if that is more.
constexpr qint64 seekToleranceMs = 100;
// VLC's list player handles the end of its media on a thread of its own, after the one that has told of it. That thread
// gets its turn later on a machine that was too slow for OBS's pictures a moment ago.
constexpr int endRestMs = 20, overloadedEndRestMs = 100;
constexpr qint64 overloadMs = 10'000;
// The show goes on after this time if VLC is not through with an end.
constexpr int longestEndMs = 100, overloadedLongestEndMs = 1000;

const char *statusKey(obs_media_state state)
{
	switch (state) {
	case OBS_MEDIA_STATE_PLAYING:
		return "StatusPlaying";
	case OBS_MEDIA_STATE_OPENING:
	case OBS_MEDIA_STATE_BUFFERING:
		return "StatusLoading";
	case OBS_MEDIA_STATE_PAUSED:
		return "StatusPaused";
	case OBS_MEDIA_STATE_ENDED:
		return "StatusEnded";
	case OBS_MEDIA_STATE_ERROR:
		return "StatusError";
	default:
		return "StatusStopped";
	}
}

// Turning decoupling on makes libobs drop the audio that it has not mixed yet, and restart its timing.
void dropBufferedAudio(obs_source_t *source)
{
	const bool decoupled = obs_source_async_decoupled(source);
	obs_source_set_async_decoupled(source, true);
	if (!decoupled)
		obs_source_set_async_decoupled(source, false);
}

} // namespace

void Reelhouse::tick()
{
	if (!isActive())
		return;
	const Operation operation(this);
	tickCount++;
	const bool refreshing = tickCount % ticksPerRefresh == 0;
	if (refreshing) {
		refreshSources();
		describeLength();
	}

	OBSSourceAutoRelease source = lockSource();
	if (!source)
		return;
	// During a switch, the source's state and playlist still belong to the previous track.
	if (switchPending) {
		updateButtons();
		return;
	}
	bringBackAfterSwitch();
	if (refreshing)
		followEditElsewhere();
	followLag();
	// VLC is not through with this end, or may be late to tell of it. The end of its thread brings the look forward.
	const bool ended = playbackArmed && obs_source_media_get_state(source) == OBS_MEDIA_STATE_ENDED;
	if (ended && (isOverloaded() || mediaEnds->isUnderWay()))
		awaitEnd();
	// Leave an end that has just been reported to lookAtEnd(), which gives VLC its rest.
	if (!playbackArmed || !endTimer.isActive())
		followMedia(source);
}

void Reelhouse::followLag()
{
	const quint32 lagged = obs_get_lagged_frames();
	if (std::exchange(laggedFrames, lagged) != lagged)
		lagClock.start();
}

bool Reelhouse::isOverloaded() const
{
	return lagClock.isValid() && lagClock.elapsed() < overloadMs;
}

void Reelhouse::awaitEnd()
{
	followLag();
	if (!endTimer.isActive())
		endTimer.start(isOverloaded() ? overloadedLongestEndMs : longestEndMs);
}

void Reelhouse::restAfterEnd()
{
	followLag();
	const int rest = isOverloaded() ? overloadedEndRestMs : endRestMs;
	if (!endTimer.isActive() || endTimer.interval() > rest)
		endTimer.start(rest);
}

// The source has reported an end. Leave to the poll what might be the state of another track, and an edit elsewhere.
void Reelhouse::lookAtEnd()
{
	const Operation operation(this);
	OBSSourceAutoRelease source = lockActive();
	if (source && stopDelayed)
		requestDelayedStop(source);
	if (!source || switchPending || obs_source_media_get_state(source) != OBS_MEDIA_STATE_ENDED)
		return;
	OBSDataAutoRelease settings = obs_source_get_settings(source);
	if (holdsPaths(settings, playlistKey, observed))
		followMedia(source);
}

// What has just happened has disarmed the track, which may end before the next poll.
void Reelhouse::postLook()
{
	postIfStillBound([this] {
		const Operation operation(this);
		OBSSourceAutoRelease source = lockActive();
		if (source && !switchPending)
			followMedia(source);
	});
}

obs_media_state Reelhouse::mediaState() const
{
	OBSSourceAutoRelease source = lockSource();
	if (!source)
		return OBS_MEDIA_STATE_NONE;
	return searching ? OBS_MEDIA_STATE_OPENING : media.state(obs_source_media_get_state(source));
}

void Reelhouse::setPaused(bool paused)
{
	carryOut(mediaWish.setPaused(paused, mediaState()));
	if (mediaWish.isWaiting())
		wishTimer.start();
}

void Reelhouse::carryOut(MediaWish::Order order)
{
	OBSSourceAutoRelease source = lockSource();
	if (source && order != MediaWish::Order::None)
		obs_source_media_play_pause(source, order == MediaWish::Order::Pause);
	if (!mediaWish.isWaiting())
		wishTimer.stop();
}

// The part of a poll that is about the media.
void Reelhouse::followMedia(obs_source_t *source)
{
	const obs_media_state state = obs_source_media_get_state(source);
	durationMs = std::max<qint64>(obs_source_media_get_duration(source), 0);
	const qint64 positionMs = std::max<qint64>(obs_source_media_get_time(source), 0);
	followSeek(positionMs);
	describePlayback(state, positionMs);
	updateButtons();
	const bool isOurs = media.look(state);
	const obs_media_state seen = media.state(state);
	carryOut(mediaWish.look(seen));
	if (isOurs)
		followFailure(state, positionMs);
	if (!switchPending)
		applyEndMode(state);
	followPicture(source, state, positionMs);
	// Between two tracks there is nothing to tell.
	if (!switchPending && !searching)
		Q_EMIT control->mediaPolled(seen, positionMs, durationMs);
}

void Reelhouse::followSeek(qint64 positionMs)
{
	if (seekTargetMs >= 0) {
		const bool landed = std::abs(positionMs - seekTargetMs) <= std::max(durationMs / 1000, seekToleranceMs);
		if (landed || seekClock.elapsed() > seekPatienceMs)
			seekTargetMs = -1;
	}
	if (isSliderHeld() || seekTargetMs >= 0)
		return;
	const QSignalBlocker blocker(seekSlider);
	const qint64 value = durationMs >= 1 ? std::min<qint64>(positionMs * 1000 / durationMs, 1000) : 0;
	seekSlider->setValue(static_cast<int>(value));
	updateTime(positionMs);
}

// Only assistive technology shows this text.
void Reelhouse::describePlayback(obs_media_state state, qint64 positionMs)
{
	const QString duration = durationMs >= 1 ? clockText(durationMs) : unknownClock.toString();
	const QString description = ui(statusKey(state)) + u" · "_s + clockText(positionMs) + u" / "_s + duration;
	// Qt announces each description that is set, even an equal one, and a screen reader would read out every poll.
	if (timeLabel->accessibleDescription() != description)
		timeLabel->setAccessibleDescription(description);
}

// Any thread, while no switch can give the source its settings. libobs does not guard these: another thread that reads
// them just now, as for a remote client, may have found the playlist and not taken its reference yet. So the playlist of
// before a change lives on until the next change.
void Reelhouse::keepPlaylist(obs_source_t *source)
{
	OBSDataAutoRelease settings = obs_source_get_settings(source);
	OBSDataArrayAutoRelease playlist = obs_data_get_array(settings, playlistKey);
	lastPlaylist = playlist.Get();
}

void Reelhouse::mediaStopped(void *data, calldata_t *params)
{
	auto *dock = static_cast<Reelhouse *>(data);
	auto *source = static_cast<obs_source_t *>(calldata_ptr(params, "source"));
	quint64 serial = 0;
	{
		const std::lock_guard lock(dock->switchMutex);
		if (!dock->pendingSettings || !source || obs_source_removed(source))
			return;
		serial = dock->switchSerial;
		if (dock->pendingPrevious == Previous::CutOff)
			dropBufferedAudio(source);
		dock->keepPlaylist(source);
		obs_source_update(source, dock->pendingSettings);
		dock->pendingSettings = nullptr;
	}
	QMetaObject::invokeMethod(dock, [dock, serial] { dock->finishSwitch(serial); }, Qt::QueuedConnection);
}

// VLC calls this at the end of its media, but not on a stop or an error.
void Reelhouse::mediaEnded(void *data, calldata_t *)
{
	auto *dock = static_cast<Reelhouse *>(data);
	// Whoever tells of an end on the user-interface thread is through with it.
	if (dock->thread() == QThread::currentThread()) {
		dock->postIfStillBound([dock] { dock->restAfterEnd(); });
	} else {
		MediaEnds::told(dock->mediaEnds);
		dock->postIfStillBound([dock] { dock->awaitEnd(); });
	}
}

// libobs emits this for the source's own hotkeys, OBS's media controls and remote controls.
void Reelhouse::mediaNext(void *data, calldata_t *)
{
	auto *dock = static_cast<Reelhouse *>(data);
	dock->postIfStillBound([dock] { dock->followStep(1); });
}

void Reelhouse::mediaPrevious(void *data, calldata_t *)
{
	auto *dock = static_cast<Reelhouse *>(data);
	dock->postIfStillBound([dock] { dock->followStep(-1); });
}

// Any thread. Runs this on the user-interface thread, unless the source has been unbound by then.
void Reelhouse::postIfStillBound(const std::function<void()> &run)
{
	const auto runIfBound = [this, run, serial = bindSerial.load()] {
		if (serial == bindSerial)
			run();
	};
	QMetaObject::invokeMethod(this, runIfBound, Qt::QueuedConnection);
}

// The source holds one entry, so its own controls cannot step to another one; they step the queue instead. The switch
// ends what the source itself did with the step, such as starting the entry again.
void Reelhouse::followStep(int step)
{
	const Operation operation(this);
	followEditElsewhere();
	if (managed && currentIndex() >= 0)
		playRelative(step);
}

void Reelhouse::finishSwitch(quint64 serial)
{
	if (serial != switchSerial)
		return;
	switchPending = stopDelayed = false;
	media.trackGiven();
	switchClock.start();
	running = true;
	hasPlayed = false;
	// The first poll must come soon enough to see a very short clip play.
	pollTimer.start();
	updateButtons();
	Q_EMIT control->switchFinished();
	OBSSourceAutoRelease source = lockSource();
	if (sceneSwitchWanted && source)
		Q_EMIT sceneSwitchRequested(uuidOf(source));
	bringBackAfterSwitch();
}
