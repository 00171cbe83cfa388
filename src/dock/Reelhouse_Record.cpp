/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include <QComboBox>
#include <QHash>
#include <QSignalBlocker>

#include <algorithm>
#include <future>
#include <utility>

#include "queue/record.hpp"
#include "queue/settings.hpp"
#include "queue/text.hpp"

using namespace reelhouse;
using namespace Qt::StringLiterals;

namespace {

// The objects of so many tracks take longer to make than a thread.
constexpr qsizetype worthThread = 300;

QList<QString> pathsOf(const QList<Track> &tracks)
{
	QList<QString> paths;
	paths.reserve(tracks.size());
	for (const Track &track : tracks)
		paths.append(track.path);
	return paths;
}

// Whether these are the settings that the dock gives a source.
bool areDocksOwn(bool loop, bool shuffle, const QString &behavior)
{
	return !loop && !shuffle && behavior == "always_play"_L1;
}

// Returns the value that is nearest to this one. The values are in ascending order, and there is at least one.
qsizetype nearest(const QList<qsizetype> &values, qsizetype value)
{
	const auto after = std::ranges::lower_bound(values, value);
	if (after == values.cend() || (after != values.cbegin() && value - *(after - 1) <= *after - value))
		return *(after - 1);
	return *after;
}

} // namespace

// The stored queue is valid only while the source's playlist is what the dock last read or wrote. Otherwise somebody
// has edited the playlist elsewhere, and the playlist wins.
void Reelhouse::loadQueue(obs_source_t *source, bool force)
{
	const Operation operation(this);
	cancelSwitch();
	const QString selected = selectedId();
	OBSDataAutoRelease settings = obs_source_get_settings(source);
	const QList<QString> paths = pathsIn(settings, playlistKey);
	OBSDataAutoRelease privateSettings = obs_source_get_private_settings(source);
	OBSDataAutoRelease stored = storedRecord(privateSettings);
	const Record record = readRecord(stored);

	options = QueueOptions::read(privateSettings);
	removed.clear();
	failedIds.clear();
	passed = {};
	sizesNow.clear();
	unlistedQueue.clear();
	playbackArmed = false;
	if (record.isUsable && !force && recordObserves(stored, paths)) {
		takeRecord(stored, record);
	} else {
		endMode = isReadable(stored) ? record.endMode : EndStop;
		rebuildQueue(source, paths);
		storeReplacedQueue(source, stored, record);
	}
	observed = paths;
	if (currentIndex() < 0)
		currentId.clear();
	finishLoad(selected);
}

// Takes a record, which was read from this object.
void Reelhouse::takeRecord(obs_data_t *stored, const Record &record)
{
	if (record.isUsable)
		recordWriter.adopt(stored, record);
	tracks = record.tracks;
	currentId = record.currentId;
	managed = record.managed;
	originalLoop = record.originalLoop;
	originalShuffle = record.originalShuffle;
	originalBehavior = record.originalBehavior;
	endMode = record.endMode;
}

void Reelhouse::rebuildQueue(obs_source_t *source, const QList<QString> &paths)
{
	makeTracks(paths);
	currentId.clear();
	managed = false;
	OBSDataAutoRelease settings = obs_source_get_settings(source);
	originalLoop = obs_data_get_bool(settings, loopKey);
	originalShuffle = obs_data_get_bool(settings, shuffleKey);
	originalBehavior = textIn(settings, behaviorKey);
}

// The last steps for a new queue, from a record or from a playlist: shows and stores it.
void Reelhouse::finishLoad(const QString &selectId)
{
	if (originalBehavior.isEmpty())
		originalBehavior = u"stop_restart"_s;
	changePending = true;
	const QSignalBlocker blocker(endModeSelector);
	endModeSelector->setCurrentIndex(endMode);
	{
		// The objects of a new queue take as long as its rows. The end of this block waits for them. Without a
		// thread the store makes them.
		const bool isLong = tracks.size() >= worthThread;
		const auto way = isLong ? std::launch::async : std::launch::deferred;
		const auto preparation = std::async(way, [this, queue = tracks, paths = observed] {
			recordWriter.prepare(queue, paths);
		});
		rebuildList(selectId);
	}
	storeQueue();
}

void Reelhouse::storeQueue()
{
	OBSSourceAutoRelease source = lockSource();
	if (!source || shutDown)
		return;
	OBSDataAutoRelease privateSettings = obs_source_get_private_settings(source);
	recordWriter.write(privateSettings, {tracks, observed, currentId, managed, originalLoop, originalShuffle,
					     originalBehavior, endMode});
	requestSave();
}

void Reelhouse::requestSave()
{
	saveTimer.start();
	if (!saveDeadline.isActive())
		saveDeadline.start();
}

void Reelhouse::setOptions(const QueueOptions &chosen)
{
	const Operation operation(this);
	OBSSourceAutoRelease source = lockActive();
	if (!source || chosen == options)
		return;
	options = chosen;
	OBSDataAutoRelease privateSettings = obs_source_get_private_settings(source);
	options.write(privateSettings);
	requestSave();
	changePending = true;
}

void Reelhouse::restoreSource()
{
	const Operation operation(this);
	followEditElsewhere();
	cancelSwitch();
	OBSSourceAutoRelease source = lockSource();
	if (!source)
		return;
	playbackArmed = false;
	managed = false;
	currentId.clear();
	changePending = true;
	observed = pathsOf(tracks);
	storeQueue();

	OBSDataAutoRelease settings = obs_source_get_settings(source);
	OBSDataArrayAutoRelease playlist = pathArray(observed);
	keepPlaylist(source);
	obs_data_set_array(settings, playlistKey, playlist);
	obs_data_set_bool(settings, loopKey, originalLoop);
	obs_data_set_bool(settings, shuffleKey, originalShuffle);
	setText(settings, behaviorKey, originalBehavior);
	obs_source_update(source, settings);
	// The source starts its own playlist when it is on program, or always if it is set so.
	const bool plays = !tracks.isEmpty() && (originalBehavior == u"always_play"_s || obs_source_active(source));
	media.settle();
	mediaWish.ask(plays ? OBS_MEDIA_STATE_PLAYING : OBS_MEDIA_STATE_STOPPED, mediaState());

	rebuildList(selectedId());
	clearError();
}

bool Reelhouse::followEditElsewhere()
{
	OBSSourceAutoRelease source = lockSource();
	if (!source || switchPending)
		return false;
	OBSDataAutoRelease settings = obs_source_get_settings(source);
	if (holdsPaths(settings, playlistKey, observed))
		return false;
	loadQueue(source, true);
	clearError();
	return true;
}

QString Reelhouse::followTrack(const QString &id)
{
	const QSet<QString> ids = followTracks({id});
	return ids.isEmpty() ? QString() : *ids.cbegin();
}

// A rebuilt queue has new ids. A track is found again by its path, the nearest of equal ones.
QSet<QString> Reelhouse::followTracks(const QSet<QString> &ids)
{
	const QList<Track> before = tracks;
	if (!followEditElsewhere())
		return ids;
	QHash<QString, QList<qsizetype>> positions; // by path, ascending
	for (qsizetype i = 0; i < tracks.size(); i++)
		positions[tracks.at(i).path].append(i);
	QSet<QString> found;
	for (qsizetype i = 0; i < before.size(); i++) {
		const auto equal = positions.constFind(before.at(i).path);
		if (ids.contains(before.at(i).id) && equal != positions.cend())
			found.insert(tracks.at(nearest(*equal, i)).id);
	}
	return found;
}

// An edit elsewhere wins over the queue, but may be unintended: OBS's Properties dialog restores an old playlist when
// it is cancelled. So the user can bring the replaced queue back.
void Reelhouse::storeReplacedQueue(obs_source_t *source, obs_data_t *stored, const Record &record)
{
	OBSDataAutoRelease privateSettings = obs_source_get_private_settings(source);
	ReplacedQueue before = ReplacedQueue::read(privateSettings);
	const ReplacedQueue after = replaceQueue(stored, record, tracks, before);
	after.write(privateSettings);
	if (after.record == before.record)
		return;
	// The objects of a long queue take long to free. libobs has a thread for such things.
	obs_queue_task(
		OBS_TASK_DESTROY, [](void *last) { delete static_cast<OBSData *>(last); },
		new OBSData(std::exchange(before.record, nullptr)), false);
	if (record.tracks.isEmpty())
		return;
	blog(LOG_INFO,
	     "[OBS-Reelhouse] The playlist of \"%s\" was changed elsewhere and has replaced a queue of %lld tracks. "
	     "To have that queue back, choose \"%s\" in the Tools menu.",
	     obs_source_get_name(source), static_cast<long long>(record.tracks.size()),
	     ui("BringBackReplacedQueue").toUtf8().constData());
}

// Makes the queue the user's own, even if an edit elsewhere has made it.
void Reelhouse::markTouched()
{
	OBSSourceAutoRelease source = lockSource();
	if (!source)
		return;
	OBSDataAutoRelease privateSettings = obs_source_get_private_settings(source);
	ReplacedQueue replaced = ReplacedQueue::read(privateSettings);
	if (!replaced.presentUntouched)
		return;
	replaced.presentUntouched = false;
	replaced.write(privateSettings);
}

bool Reelhouse::canBringBack() const
{
	OBSSourceAutoRelease source = lockActive();
	if (!source)
		return false;
	OBSDataAutoRelease privateSettings = obs_source_get_private_settings(source);
	return ReplacedQueue::read(privateSettings).record != nullptr;
}

// A cancelled switch would leave the source without anything to play.
void Reelhouse::bringBackReplaced()
{
	if (!switchPending)
		exchangeQueues();
	else if (canBringBack() && !bringBackWait.isActive())
		bringBackWait.start();
}

// After the wait for a switch, which has ended or was cancelled.
void Reelhouse::bringBackAfterSwitch()
{
	if (!bringBackWait.isActive() || switchPending)
		return;
	bringBackWait.stop();
	exchangeQueues();
}

// The source goes on playing. Its playlist becomes the observed one, so it does not count as an edit elsewhere.
void Reelhouse::exchangeQueues()
{
	const Operation operation(this);
	OBSSourceAutoRelease source = lockActive();
	if (!source)
		return;
	OBSDataAutoRelease privateSettings = obs_source_get_private_settings(source);
	const ReplacedQueue asked = ReplacedQueue::read(privateSettings);
	if (!asked.record)
		return;
	followEditElsewhere();
	cancelSwitch();
	ReplacedQueue next = ReplacedQueue::read(privateSettings);
	// If followEditElsewhere() has just replaced a queue of the user's own, that queue stays the replaced one.
	if (next.record == asked.record) {
		next.record = OBSDataAutoRelease(storedRecord(privateSettings));
		next.isUntouched = next.presentUntouched;
	}
	next.presentUntouched = asked.isUntouched;

	takeReplaced(source, asked.record);
	next.write(privateSettings);
	updateButtons();
	clearError();
	postLook();
}

// The source keeps its playlist and its settings, so managed and the original settings follow from these, not from the
// record alone.
void Reelhouse::takeReplaced(obs_source_t *source, obs_data_t *replaced)
{
	Record record = readRecord(replaced);
	const bool takesOriginals = record.managed && areDocksOwn(originalLoop, originalShuffle, originalBehavior);
	if (!takesOriginals) {
		record.originalLoop = originalLoop;
		record.originalShuffle = originalShuffle;
		record.originalBehavior = originalBehavior;
	}
	OBSDataAutoRelease settings = obs_source_get_settings(source);
	const bool oneWasManaged = managed || record.managed;
	takeRecord(replaced, record);
	removed.clear();
	sizesNow.clear();
	unlistedQueue.clear();
	failedIds.clear();
	passed = {};
	currentId = idHeldBySource(record.currentId);
	managed = oneWasManaged && !currentId.isEmpty() &&
		  areDocksOwn(obs_data_get_bool(settings, loopKey), obs_data_get_bool(settings, shuffleKey),
			      textIn(settings, behaviorKey));
	playbackArmed = false;
	finishLoad(currentId);
}

// Returns the id of the track that the source holds, if its playlist is one entry; else an empty string. Prefers the
// given id, because the same file may be queued more than once.
QString Reelhouse::idHeldBySource(const QString &preferredId) const
{
	if (observed.size() != 1)
		return {};
	QString held;
	for (const Track &track : tracks) {
		if (track.path != observed.constFirst())
			continue;
		if (track.id == preferredId)
			return preferredId;
		if (held.isEmpty())
			held = track.id;
	}
	return held;
}
