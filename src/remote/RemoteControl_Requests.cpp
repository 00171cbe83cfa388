/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "remote/RemoteControl.hpp"

#include <algorithm>
#include <array>

#include "remote/values.hpp"

namespace reelhouse {

namespace {

// Nothing is done before everything is read and found right: each of these starts with what it reads.

qsizetype findTrack(Call &call, const QString &id)
{
	const QList<Track> &tracks = call.dock.queue();
	const auto track = std::ranges::find(tracks, id, &Track::id);
	if (track == tracks.cend())
		call.refuse(Refusal::UnknownTrack, id);
	return track - tracks.cbegin();
}

OBSDataArrayAutoRelease idArray(const QList<QString> &ids)
{
	OBSDataArrayAutoRelease array = obs_data_array_create();
	for (const QString &id : ids) {
		OBSDataAutoRelease item = obs_data_create();
		setText(item, "id", id);
		obs_data_array_push_back(array, item);
	}
	return array;
}

OBSDataArrayAutoRelease trackArray(const QList<Track> &tracks, qsizetype offset, qsizetype limit)
{
	OBSDataArrayAutoRelease array = obs_data_array_create();
	const qsizetype end = offset + std::min(limit, tracks.size() - offset);
	for (qsizetype i = offset; i < end; i++) {
		const Track &track = tracks.at(i);
		OBSDataAutoRelease item = obs_data_create();
		setTrack(item, i, track);
		if (track.size >= 0)
			obs_data_set_int(item, "sizeBytes", track.size);
		else if (track.size == SizeMissing)
			obs_data_set_bool(item, "missing", true);
		obs_data_array_push_back(array, item);
	}
	return array;
}

Answer countAnswer(qsizetype count)
{
	return [count](obs_data_t *response) {
		obs_data_set_int(response, "count", count);
	};
}

// Only copies on this thread, however long the queue is: the list of tracks is made on the plug-in's thread.
void getQueue(Call &call)
{
	const QList<Track> tracks = call.dock.queue();
	const qsizetype offset = call.has("offset") ? call.position("offset", tracks.size()) : 0;
	const qsizetype limit = call.has("limit") ? call.position("limit", INT64_MAX) : tracks.size();

	OBSSourceAutoRelease source = call.dock.lockSource();
	// Until the source has stopped, it still reports the previous track.
	const bool switching = call.dock.isSwitching();
	const obs_media_state state = switching ? OBS_MEDIA_STATE_OPENING : obs_source_media_get_state(source);
	const int64_t cursor = switching ? 0 : obs_source_media_get_time(source);
	const int64_t duration = switching ? 0 : obs_source_media_get_duration(source);

	OBSDataAutoRelease rest = obs_data_create();
	setSource(rest, source);
	obs_data_set_int(rest, "total", tracks.size());
	setText(rest, "currentId", call.dock.currentTrackId());
	obs_data_set_int(rest, "currentIndex", call.dock.currentIndex());
	obs_data_set_string(rest, "endMode", endModeName(call.dock.endModeNumber()));
	obs_data_set_string(rest, "mediaState", mediaStateName(state));
	obs_data_set_int(rest, "cursor", std::max<int64_t>(cursor, 0));
	obs_data_set_int(rest, "duration", std::max<int64_t>(duration, 0));
	obs_data_set_bool(rest, "canUndo", call.dock.canUndoRemove());
	obs_data_set_bool(rest, "canBringBack", call.dock.canBringBack());
	obs_data_set_int(rest, "revision", call.revision);
	call.succeed([tracks, offset, limit, rest = OBSData(rest.Get())](obs_data_t *response) {
		OBSDataArrayAutoRelease array = trackArray(tracks, offset, limit);
		obs_data_apply(response, rest);
		obs_data_set_array(response, "tracks", array);
	});
}

void getSources(Call &call)
{
	OBSDataArrayAutoRelease array = obs_data_array_create();
	const QList<Reelhouse::ListedSource> sources = call.dock.listSources();
	OBSSourceAutoRelease bound = call.dock.lockSource();
	for (const auto &[label, uuid] : sources) {
		OBSSourceAutoRelease source = obs_get_source_by_uuid(uuid.toUtf8().constData());
		OBSDataAutoRelease item = obs_data_create();
		setSource(item, source);
		setText(item, "label", label);
		obs_data_set_bool(item, "selected", source && source.Get() == bound.Get());
		obs_data_array_push_back(array, item);
	}
	call.succeed([sources = OBSDataArray(array.Get())](obs_data_t *response) {
		obs_data_set_array(response, "sources", sources);
	});
}

void selectSource(Call &call)
{
	const bool byName = call.has("sourceName") && !call.has("sourceUuid");
	const QString wanted = call.text(byName ? "sourceName" : "sourceUuid");
	if (call.isRefused())
		return;
	QString uuid = wanted;
	if (byName) {
		OBSSourceAutoRelease source = obs_get_source_by_name(wanted.toUtf8().constData());
		uuid = source ? QString::fromUtf8(obs_source_get_uuid(source)) : QString();
	}
	// An empty UUID chooses no source, but a name that nobody has must not.
	if ((byName && uuid.isEmpty()) || !call.dock.selectSource(uuid))
		call.refuse(Refusal::UnknownSource, wanted);
}

void playTrack(Call &call)
{
	const qsizetype last = call.dock.queue().size() - 1;
	const bool switchScene = call.flag("switchScene", false);
	const bool byIndex = call.has("index") && !call.has("id");
	const qsizetype index = byIndex ? call.position("index", last) : findTrack(call, call.text("id"));
	if (!call.isRefused() && !call.dock.playTrack(call.dock.queue().at(index).id, switchScene))
		call.refuse(Refusal::FileMissing);
}

void playRelative(Call &call, int delta)
{
	if (call.dock.queue().isEmpty())
		call.refuse(Refusal::EmptyQueue);
	else if (!call.dock.playRelative(delta))
		call.refuse(Refusal::FileMissing);
}

void togglePlay(Call &call)
{
	if (call.dock.isSwitching())
		call.refuse(Refusal::Switching);
	else if (!call.dock.canPlay())
		call.refuse(Refusal::NothingToPlay);
	else if (!call.dock.togglePlay())
		call.refuse(Refusal::FileMissing);
}

void addTracks(Call &call)
{
	const qsizetype total = call.dock.queue().size();
	const QList<QString> paths = call.texts("paths", "path");
	const qsizetype position = call.has("position") ? call.position("position", total) : total;
	if (paths.contains(QString()))
		call.refuse(Refusal::EmptyPath);
	if (call.isRefused())
		return;
	call.succeed([ids = call.dock.insertFiles(paths, position)](obs_data_t *response) {
		OBSDataArrayAutoRelease array = idArray(ids);
		obs_data_set_array(response, "ids", array);
	});
}

void removeTracks(Call &call)
{
	const QList<QString> ids = call.texts("ids", "id");
	QSet<QString> known;
	for (const Track &track : call.dock.queue())
		known.insert(track.id);
	for (const QString &id : ids) {
		if (!known.contains(id))
			call.refuse(Refusal::UnknownTrack, id);
	}
	if (!call.isRefused())
		call.succeed(countAnswer(call.dock.removeTracks(QSet<QString>(ids.cbegin(), ids.cend()))));
}

void undoRemove(Call &call)
{
	if (call.dock.canUndoRemove())
		call.succeed(countAnswer(call.dock.undoRemoveQuietly()));
	else
		call.refuse(Refusal::NothingToUndo);
}

void moveTrack(Call &call)
{
	const QString id = call.text("id");
	const qint64 index = call.position("index", call.dock.queue().size() - 1);
	findTrack(call, id);
	if (!call.isRefused())
		call.dock.moveTrack(id, static_cast<int>(index));
}

void setEndMode(Call &call)
{
	const QString name = call.text("endMode");
	const std::optional<Reelhouse::EndMode> mode = endModeNamed(name);
	if (!mode)
		call.refuse(Refusal::UnknownEndMode, name);
	if (!call.isRefused())
		call.dock.chooseEndMode(*mode);
}

void bringBackReplacedQueue(Call &call)
{
	if (call.dock.canBringBack())
		call.dock.bringBackReplaced();
	else
		call.refuse(Refusal::NothingToBringBack);
}

void givePlaylistBack(Call &call)
{
	if (call.dock.canGiveBack())
		call.dock.restoreSource();
	else
		call.refuse(Refusal::NothingToGiveBack);
}

constexpr bool needsSource = true;

constexpr std::array table = {
	RemoteControl::Request{"GetQueue", getQueue, needsSource},
	RemoteControl::Request{"GetSources", getSources, !needsSource},
	RemoteControl::Request{"SelectSource", selectSource, !needsSource},
	RemoteControl::Request{"PlayTrack", playTrack, needsSource},
	RemoteControl::Request{"PlayNext", [](Call &call) { playRelative(call, 1); }, needsSource},
	RemoteControl::Request{"PlayPrevious", [](Call &call) { playRelative(call, -1); }, needsSource},
	RemoteControl::Request{"TogglePlay", togglePlay, needsSource},
	RemoteControl::Request{"Stop", [](Call &call) { call.dock.stopPlayback(); }, needsSource},
	RemoteControl::Request{"AddTracks", addTracks, needsSource},
	RemoteControl::Request{"RemoveTracks", removeTracks, needsSource},
	RemoteControl::Request{"UndoRemove", undoRemove, needsSource},
	RemoteControl::Request{"MoveTrack", moveTrack, needsSource},
	RemoteControl::Request{"SetEndMode", setEndMode, needsSource},
	RemoteControl::Request{"BringBackReplacedQueue", bringBackReplacedQueue, needsSource},
	RemoteControl::Request{"GivePlaylistBack", givePlaylistBack, needsSource},
};

} // namespace

std::span<const RemoteControl::Request> RemoteControl::requests()
{
	return table;
}

} // namespace reelhouse
