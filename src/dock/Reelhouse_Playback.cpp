/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include <algorithm>
#include <utility>

#include "dock/widgets/TrackListWidget.hpp"
#include "dock/widgets/TrackRow.hpp"
#include "picture/HoldPicture.hpp"
#include "queue/settings.hpp"
#include "queue/text.hpp"

using namespace reelhouse;

// A switch has two phases. playTrack() stores the new settings and stops the media. When the source reports
// media_stopped, mediaStopped() applies these settings, so the source never has the new settings with the old media.
bool Reelhouse::playTrack(const QString &wantedId, bool withSceneSwitch, Previous previous)
{
	const Operation operation(this);
	const QString id = followTrack(wantedId);
	OBSSourceAutoRelease source = lockSource();
	const auto track = std::ranges::find(std::as_const(tracks), id, &Track::id);
	if (!source || track == tracks.cend())
		return false;
	if (!lookForFile(*track)) {
		playbackArmed = false;
		showError(ui("FileMissing").arg(track->path));
		postLook();
		return false;
	}

	tellRestOfBurst();
	running = false;
	playbackArmed = false;
	seekTargetMs = -1;
	endStepping();
	sceneSwitchWanted = withSceneSwitch;
	const QString previousId = currentId;
	currentId = track->id;
	changePending = true;
	managed = true;
	observed = {track->path};
	switchClock.start();
	// A queue of one entry stays untouched: an edit elsewhere may have replaced a longer queue with it.
	if (tracks.size() > 1)
		markTouched();
	// Store before the media is stopped: if OBS dies between the two, the record already names the new track.
	storeQueue();
	issueSwitch(source, previous);

	markCurrentRow(previousId);
	updateButtons();
	clearError();
	return true;
}

void Reelhouse::issueSwitch(obs_source_t *source, Previous previous)
{
	OBSDataAutoRelease settings = obs_data_create();
	OBSDataArrayAutoRelease playlist = pathArray(observed);
	obs_data_set_array(settings, playlistKey, playlist);
	obs_data_set_bool(settings, loopKey, false);
	obs_data_set_bool(settings, shuffleKey, false);
	obs_data_set_string(settings, behaviorKey, "always_play");

	switchPending = true;
	media.switchIssued();
	mediaWish.drop();
	allowHeldPicture(source, true);
	// A stop would make VLC start again what has just ended. The switch after a track's own end has waited already.
	stopDelayed = previous == Previous::CutOff && (endTimer.isActive() || mediaEnds->isUnderWay());
	if (stopDelayed)
		awaitEnd();
	else
		endTimer.stop();
	// Request the stop under the lock: libobs's thread then sees either the old serial and settings or the new
	// ones. libobs only queues the stop, so this cannot deadlock.
	const std::lock_guard lock(switchMutex);
	switchSerial++;
	pendingSettings = settings.Get();
	pendingPrevious = previous;
	if (!stopDelayed)
		obs_source_media_stop(source);
}

void Reelhouse::requestDelayedStop(obs_source_t *source)
{
	stopDelayed = false;
	// Somebody else's stop may have been enough.
	const std::lock_guard lock(switchMutex);
	if (pendingSettings)
		obs_source_media_stop(source);
}

void Reelhouse::markCurrentRow(const QString &previousId)
{
	for (int i = 0; i < playlistWidget->count(); i++) {
		TrackRow *row = playlistWidget->trackRow(i);
		if (row->id() != currentId && row->id() != previousId)
			continue;
		row->mark(row->id() == currentId);
		if (row->id() == currentId)
			playlistWidget->setCurrentItem(row, QItemSelectionModel::ClearAndSelect);
	}
}

// Wraps at both ends. The end mode "next" does not.
bool Reelhouse::playRelative(int delta)
{
	const Operation operation(this);
	followEditElsewhere();
	if (tracks.isEmpty())
		return false;
	const int current = currentIndex();
	qsizetype target = delta > 0 ? 0 : tracks.size() - 1;
	if (current >= 0)
		target = positionBeside(current, delta);
	if (!options.skipFailed)
		return playTrack(tracks.at(target).id, false);
	tellRestOfBurst();
	tryTrack(target, delta > 0 ? Walk::Forward : Walk::Back);
	return true;
}

void Reelhouse::playSelected()
{
	const QString selected = selectedId();
	if (!selected.isEmpty())
		playTrack(selected, true);
	else if (playlistWidget->currentItem() && shownCount > 0)
		selectFirstShown();
}

bool Reelhouse::togglePlay()
{
	const Operation operation(this);
	const QString selected = selectedId();
	const bool playsSelected = !selected.isEmpty() && selected != currentId;
	const QString id = followTrack(playsSelected ? selected : currentId);
	OBSSourceAutoRelease source = lockSource();
	if (!source)
		return false;
	if (playsSelected)
		return playTrack(id, false);
	bool plays = true;
	switch (obs_source_media_get_state(source)) {
	case OBS_MEDIA_STATE_PLAYING:
		obs_source_media_play_pause(source, true);
		break;
	case OBS_MEDIA_STATE_PAUSED:
		obs_source_media_play_pause(source, false);
		break;
	default:
		plays = playTrack(id, false);
	}
	updateButtons();
	return plays;
}

void Reelhouse::stop()
{
	const Operation operation(this);
	followEditElsewhere();
	stopPlayback();
}

void Reelhouse::stopPlayback()
{
	const Operation operation(this);
	const QString previousId = currentId;
	cancelSwitch();
	// If the switch never reached the source, its track does not stay current.
	if (currentId != previousId)
		markCurrentRow(previousId);
	playbackArmed = running = false;
	tellRestOfBurst();
	OBSSourceAutoRelease source = lockSource();
	if (source) {
		allowHeldPicture(source, false);
		obs_source_media_stop(source);
		media.settle();
		mediaWish.ask(OBS_MEDIA_STATE_STOPPED, mediaState());
		if (managed) {
			observed.clear();
			storeQueue();
			OBSDataAutoRelease settings = obs_data_create();
			OBSDataArrayAutoRelease playlist = pathArray({});
			obs_data_set_array(settings, playlistKey, playlist);
			keepPlaylist(source);
			obs_source_update(source, settings);
		}
	}
	clearError();
	updateButtons();
}

QString Reelhouse::selectedId() const
{
	const QListWidgetItem *row = playlistWidget->currentItem();
	if (!row || playlistWidget->isRowHidden(playlistWidget->currentRow()))
		return {};
	return row->data(IdRole).toString();
}

int Reelhouse::currentIndex() const
{
	if (currentId.isEmpty())
		return -1;
	const auto track = std::ranges::find(tracks, currentId, &Track::id);
	return track == tracks.cend() ? -1 : static_cast<int>(track - tracks.cbegin());
}
