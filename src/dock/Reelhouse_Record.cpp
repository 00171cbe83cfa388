/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QSignalBlocker>

#include <algorithm>

#include "dock/paths.hpp"
#include "dock/record.hpp"

using namespace reelhouse;
using namespace Qt::StringLiterals;

namespace {

// The media files directly in a folder, as absolute paths in name order.
QList<QString> mediaFilesIn(const QString &folder)
{
	static const QStringList patterns =
		u"*.mp3 *.wav *.flac *.aac *.ogg *.m4a *.opus *.wma *.mp4 *.mkv *.mov *.avi *.webm *.m4v *.ts *.flv "
		"*.wmv *.mpg *.mpeg"_s.split(u' ');
	QList<QString> files;
	for (const QFileInfo &file : QDir(folder).entryInfoList(patterns, QDir::Files | QDir::Readable))
		files.append(file.absoluteFilePath());
	return files;
}

// A source's playlist with each folder replaced by its media files; URLs are never looked into.
QList<QString> expandFolders(const QList<QString> &paths)
{
	QList<QString> expanded;
	for (const QString &path : paths) {
		if (!path.contains("://"_L1) && QFileInfo(path).isDir())
			expanded.append(mediaFilesIn(path));
		else
			expanded.append(path);
	}
	return expanded;
}

} // namespace

// The stored queue holds only while the source's playlist is what the dock last saw or wrote; otherwise somebody edited
// it elsewhere, and the playlist wins.
void Reelhouse::loadQueue(obs_source_t *source, bool force)
{
	cancelSwitch();
	const QString selected = selectedId();
	OBSDataAutoRelease settings = obs_source_get_settings(source);
	const QList<QString> sourcePaths = pathsIn(settings, playlistKey);
	OBSDataAutoRelease privateSettings = obs_source_get_private_settings(source);
	OBSDataAutoRelease stored = obs_data_get_obj(privateSettings, recordKey);
	obs_data_t *record = isReadable(stored) ? stored.Get() : nullptr;

	readEndMode(record);
	tracks.clear();
	removed.clear();
	currentId.clear();
	playbackArmed = false;

	if (record && !force && holdsPaths(record, observedKey, sourcePaths) && readTracks(record, tracks)) {
		readTakeover(record);
		currentId = stringIn(record, currentKey);
	} else {
		tracks.clear();
		for (const QString &path : expandFolders(sourcePaths))
			tracks.append(Track::fromPath(path));
		managed = false;
		originalLoop = obs_data_get_bool(settings, loopKey);
		originalShuffle = obs_data_get_bool(settings, shuffleKey);
		originalBehavior = stringIn(settings, behaviorKey);
		keepReplacedQueue(source, stored);
	}
	observed = {sourcePaths};
	if (currentIndex() < 0)
		currentId.clear();
	showLoaded(selected);
}

// What a record says beside its tracks. Of a null record the end mode reads 0, to stop.
void Reelhouse::readEndMode(obs_data_t *record)
{
	endMode = static_cast<int>(std::clamp<long long>(obs_data_get_int(record, endModeKey), EndStop, EndRepeat));
}

void Reelhouse::readTakeover(obs_data_t *record)
{
	managed = obs_data_get_bool(record, managedKey);
	originalLoop = obs_data_get_bool(record, originalLoopKey);
	originalShuffle = obs_data_get_bool(record, originalShuffleKey);
	originalBehavior = stringIn(record, originalBehaviorKey);
}

// What every queue ends with that comes from a record or a playlist.
void Reelhouse::showLoaded(const QString &selectId)
{
	if (originalBehavior.isEmpty())
		originalBehavior = u"stop_restart"_s;
	const QSignalBlocker blocker(endModeSelector);
	endModeSelector->setCurrentIndex(endMode);
	rebuildList(selectId);
	storeQueue();
}

void Reelhouse::storeQueue()
{
	OBSSourceAutoRelease source = lockSource();
	if (!source || shutDown)
		return;
	OBSDataAutoRelease record = obs_data_create();
	OBSDataArrayAutoRelease trackItems = trackArray(tracks);
	OBSDataArrayAutoRelease observedItems = obs_data_array_create();
	if (!observed.items)
		observed.items = pathArray(observed.paths).Get();
	obs_data_array_push_back_array(observedItems, observed.items);
	obs_data_set_int(record, versionKey, recordVersion);
	obs_data_set_array(record, tracksKey, trackItems);
	obs_data_set_array(record, observedKey, observedItems);
	obs_data_set_string(record, currentKey, currentId.toUtf8().constData());
	obs_data_set_bool(record, managedKey, managed);
	obs_data_set_bool(record, originalLoopKey, originalLoop);
	obs_data_set_bool(record, originalShuffleKey, originalShuffle);
	obs_data_set_string(record, originalBehaviorKey, originalBehavior.toUtf8().constData());
	obs_data_set_int(record, endModeKey, endMode);

	OBSDataAutoRelease privateSettings = obs_source_get_private_settings(source);
	obs_data_set_obj(privateSettings, recordKey, record);
	saveTimer.start();
	Q_EMIT stateChanged();
}

void Reelhouse::restoreSource()
{
	cancelSwitch();
	OBSSourceAutoRelease source = lockSource();
	if (!source)
		return;
	playbackArmed = false;
	managed = false;
	currentId.clear();
	observed = {};
	observed.paths.reserve(tracks.size());
	for (const Track &track : std::as_const(tracks))
		observed.paths.append(track.path);
	storeQueue();

	OBSDataAutoRelease settings = obs_source_get_settings(source);
	OBSDataArrayAutoRelease playlist = pathArray(observed.paths);
	obs_data_set_array(settings, playlistKey, playlist);
	obs_data_set_bool(settings, loopKey, originalLoop);
	obs_data_set_bool(settings, shuffleKey, originalShuffle);
	obs_data_set_string(settings, behaviorKey, originalBehavior.toUtf8().constData());
	obs_source_update(source, settings);

	rebuildList(selectedId());
	clearError();
}
