/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include <algorithm>
#include <utility>

#include "dock/QueueControl.hpp"
#include "dock/widgets/TrackRow.hpp"
#include "media/tags.hpp"
#include "queue/paths.hpp"
#include "queue/text.hpp"

using namespace reelhouse;
using namespace Qt::StringLiterals;

namespace {

// For this long after a switch, a source that reports "playing" may mean the previous media.
constexpr qint64 settleMs = 99;
// So many tracks that a burst passes over are told one by one; the others are told at its end, as one.
constexpr int mostTold = 10;

void logFailure(const Track &track, TrackFailure failure)
{
	const char *key = failure == TrackFailure::FileMissing ? "FileMissing" : "TrackNotPlayable";
	blog(LOG_WARNING, "[OBS-Reelhouse] %s", ui(key).arg(track.path).toUtf8().constData());
}

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
		if (switchClock.isValid() && switchClock.elapsed() <= settleMs)
			break;
		playbackArmed = true;
		tellRestOfBurst();
		markFailed(currentId, false);
		break;
	case OBS_MEDIA_STATE_STOPPED:
	case OBS_MEDIA_STATE_ERROR:
		playbackArmed = false;
		break;
	case OBS_MEDIA_STATE_ENDED:
		if (!std::exchange(playbackArmed, false))
			break;
		// The file may have gone or changed while it played.
		tagReader->cached(tracks.at(current).path);
		// After an edit elsewhere, the end is that of another queue.
		if (!followEditElsewhere())
			goOnAfter(current);
		break;
	default:
		break;
	}
}

void Reelhouse::goOnAfter(qsizetype position)
{
	const qsizetype next = positionAfter(position);
	if (skips()) {
		tryTrack(next, Walk::OwnEnd);
	} else if (next < 0) {
		stopPlayback();
	} else {
		const Track track = tracks.at(next);
		if (!playTrack(track.id, false, Previous::Ended) && isMissing(track))
			Q_EMIT control->trackFailed(track.id, TrackFailure::FileMissing, 1);
	}
}

qsizetype Reelhouse::positionAfter(qsizetype position) const
{
	if (endMode == EndRepeat)
		return position;
	if (endMode != EndNext)
		return -1;
	const bool isLast = position + 1 >= tracks.size();
	if (isLast)
		return options.startAgain && !tracks.isEmpty() ? 0 : -1;
	return position + 1;
}

// Plays the track at this position, or passes it over and posts the try of the next one: on a slow disk each look takes
// its time, and OBS's window works between two.
void Reelhouse::tryTrack(qsizetype position, Walk walk)
{
	const Operation operation(this);
	// Once around, no track could be played.
	if (position < 0 || passed.count >= tracks.size()) {
		const bool failed = passed.count > 0;
		tellRestOfBurst();
		if (walk == Walk::OwnEnd)
			stopPlayback();
		if (failed)
			showError(ui("NothingPlayable"));
		return;
	}
	const Track track = tracks.at(position);
	if (!lookForFile(track)) {
		passOver(track, TrackFailure::FileMissing);
		postTryAfter(track.id, position, walk);
		return;
	}
	const Burst burst = std::exchange(passed, {});
	playTrack(track.id, false, walk == Walk::OwnEnd ? Previous::Ended : Previous::CutOff);
	passed = burst;
	if (passed.count == 0)
		return;
	const QString message = ui("TracksPassed").arg(passed.count);
	showMessage(u"⚠ "_s + message, message);
}

// A play, a stop or another source ends the walk; all of them raise the serial.
void Reelhouse::postTryAfter(const QString &id, qsizetype position, Walk walk)
{
	searching = true;
	const auto proceed = [this, id, position, walk, serial = switchSerial] {
		searching = false;
		OBSSourceAutoRelease source = lockActive();
		if (!source || serial != switchSerial)
			return;
		followEditElsewhere();
		if (serial != switchSerial || tracks.isEmpty())
			return;
		// Without the track that was passed over, its place is that of the one that followed.
		const auto at = std::ranges::find(std::as_const(tracks), id, &Track::id);
		const bool isThere = at != tracks.cend();
		const qsizetype last = isThere ? at - tracks.cbegin() : walk == Walk::Back ? position : position - 1;
		tryTrack(walk == Walk::OwnEnd ? positionAfter(last) : positionBeside(last, walk == Walk::Back ? -1 : 1),
			 walk);
	};
	QMetaObject::invokeMethod(this, proceed, Qt::QueuedConnection);
}

// Wraps at both ends.
qsizetype Reelhouse::positionBeside(qsizetype position, int delta) const
{
	const qsizetype count = tracks.size();
	return (position + delta + count) % count;
}

void Reelhouse::passOver(const Track &track, TrackFailure failure)
{
	passed = {passed.count + 1, track.id, failure};
	if (passed.count > mostTold)
		return;
	logFailure(track, failure);
	Q_EMIT control->trackFailed(track.id, failure, 1);
}

// A track plays, or playback stops.
void Reelhouse::tellRestOfBurst()
{
	const Burst burst = std::exchange(passed, {});
	if (burst.count <= mostTold)
		return;
	blog(LOG_WARNING, "[OBS-Reelhouse] %s", ui("TracksPassed").arg(burst.count).toUtf8().constData());
	Q_EMIT control->trackFailed(burst.lastId, burst.lastFailure, burst.count - mostTold);
}

// Sees whether the media that a switch has given to the source has failed.
void Reelhouse::followFailure(obs_media_state state, qint64 positionMs)
{
	hasPlayed = hasPlayed || positionMs > 0 || durationMs > 0;
	if (isLoading(state))
		return;
	const bool ran = std::exchange(running, running && isPlaying(state));
	if (ran && state == OBS_MEDIA_STATE_ERROR)
		currentFailed(TrackFailure::Error);
	else if (ran && state == OBS_MEDIA_STATE_ENDED && !hasPlayed)
		currentFailed(TrackFailure::NeverPlayed);
}

void Reelhouse::currentFailed(TrackFailure failure)
{
	const int current = currentIndex();
	if (!managed || current < 0)
		return;
	const Operation operation(this);
	const Track track = tracks.at(current);
	markFailed(track.id, true);
	tagReader->cached(track.path);
	if (!skips()) {
		Q_EMIT control->trackFailed(track.id, failure, 1);
		showError(ui("TrackNotPlayable").arg(track.path));
		return;
	}
	playbackArmed = false;
	// An error after the track has played is its end.
	if (failure == TrackFailure::Error && hasPlayed) {
		logFailure(track, failure);
		Q_EMIT control->trackFailed(track.id, failure, 1);
	} else {
		passOver(track, failure);
	}
	tryTrack(positionAfter(current), Walk::OwnEnd);
}

// A screen reader hears of a row whether its track has failed.
void Reelhouse::markFailed(const QString &id, bool failed)
{
	if (failed == failedIds.contains(id))
		return;
	if (failed)
		failedIds.insert(id);
	else
		failedIds.remove(id);
	if (QListWidgetItem *row = findRow(id, false))
		static_cast<TrackRow *>(row)->setFailed(failed);
}

// Tracks whose files are known to be missing end the list, or are passed over.
QList<qsizetype> Reelhouse::upcoming(qsizetype most) const
{
	QList<qsizetype> positions;
	const int current = currentIndex();
	if (!managed || current < 0 || endMode != EndNext)
		return positions;
	for (qsizetype at = positionAfter(current); at >= 0 && positions.size() < most; at = positionAfter(at)) {
		if (!isMissing(tracks.at(at)))
			positions.append(at);
		else if (!options.skipFailed)
			break;
		if (at == current)
			break;
	}
	return positions;
}
