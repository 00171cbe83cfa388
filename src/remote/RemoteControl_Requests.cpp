/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "remote/RemoteControl.hpp"

#include <algorithm>
#include <array>
#include <span>
#include <vector>

#include "media/QueueLength.hpp"
#include "queue/paths.hpp"
#include "queue/settings.hpp"
#include "remote/values.hpp"

namespace reelhouse {

namespace {

// Each endpoint first reads and checks all fields, and changes something only if all are valid.

qsizetype findTrack(Request &request, const QString &id)
{
	const QList<Track> &tracks = request.queue.tracks();
	const auto track = std::ranges::find(tracks, id, &Track::id);
	if (track == tracks.cend())
		request.refuse(Refusal::UnknownTrack, id);
	return track - tracks.cbegin();
}

OBSDataArrayAutoRelease nameArray(const char *key, std::span<const char *const> names)
{
	QList<QString> texts;
	for (const char *name : names)
		texts.append(QString::fromUtf8(name));
	return textArray(texts, key);
}

OBSDataArrayAutoRelease upcomingArray(const QueueControl &queue)
{
	constexpr qsizetype most = 20;
	OBSDataArrayAutoRelease array = obs_data_array_create();
	for (const qsizetype position : queue.upcoming(most)) {
		OBSDataAutoRelease item = obs_data_create();
		setText(item, "id", queue.tracks().at(position).id);
		obs_data_set_int(item, "index", position);
		obs_data_array_push_back(array, item);
	}
	return array;
}

// The queue as GetQueue responds with it. Any thread.
struct Page {
	QList<Track> tracks;             // the whole queue
	QHash<QString, qint64> sizesNow; // what looks have seen since the queue was loaded, by path
	qsizetype begin = 0;
	qsizetype end = 0;
	// Gives the tags of each track of the page; empty when they are not wanted.
	std::function<TagReader::Answers()> answers;
	QHash<QString, qint64> lengths; // of files that have been read, by path
	qsizetype current = -1;
	Tags currentTags;
	qint64 currentDurationMs = 0; // 0: unknown
	qint64 cursorMs = 0;
};

OBSDataAutoRelease trackData(const Page &page, qsizetype index, const Tags &tags)
{
	const Track &track = page.tracks.at(index);
	OBSDataAutoRelease data = obs_data_create();
	setTrack(data, index, track);
	setTags(data, tags);
	const qint64 size = page.sizesNow.value(track.path, track.size);
	if (size == SizeMissing)
		obs_data_set_bool(data, "missing", true);
	else if (size >= 0)
		obs_data_set_int(data, "sizeBytes", size);
	return data;
}

void setLength(obs_data_t *data, const Page &page, const QHash<QString, qint64> &lengths)
{
	const QueueLength length = QueueLength::of(
		{page.tracks, page.sizesNow, lengths, page.current, page.cursorMs, page.currentDurationMs});
	obs_data_set_int(data, "queueDurationMs", length.wholeMs);
	obs_data_set_int(data, "queueRemainingMs", length.leftMs);
	obs_data_set_int(data, "unknownLengths", length.unknown);
	obs_data_set_int(data, "unknownRemaining", length.unknownLeft);
}

void setPage(obs_data_t *data, const Page &page)
{
	OBSDataArrayAutoRelease array = obs_data_array_create();
	const TagReader::Answers answers = page.answers ? page.answers() : TagReader::Answers();
	bool allKnown = page.answers && page.current >= page.begin && page.current < page.end;
	bool complete = true;
	qint64 remainingMs = -page.cursorMs;
	QHash<QString, qint64> lengths = page.lengths; // and those that have been read since
	for (qsizetype i = page.begin; i < page.end; i++) {
		Tags tags = i == page.current ? page.currentTags : Tags();
		if (page.answers) {
			complete = complete && answers.at(i - page.begin);
			tags = answers.at(i - page.begin).value_or(tags);
			if (answers.at(i - page.begin))
				lengths.insert(page.tracks.at(i).path, tags.durationMs);
		}
		OBSDataAutoRelease track = trackData(page, i, tags);
		obs_data_array_push_back(array, track);
		const bool known = i == page.current && page.currentDurationMs > 0;
		const qint64 durationMs = known ? page.currentDurationMs : tags.durationMs;
		allKnown = allKnown && (i < page.current || durationMs >= 0);
		if (i >= page.current)
			remainingMs += durationMs;
	}
	obs_data_set_array(data, "tracks", array);
	setLength(data, page, lengths);
	if (page.answers)
		obs_data_set_bool(data, "complete", complete);
	if (allKnown)
		obs_data_set_int(data, "remainingMs", std::max<qint64>(remainingMs, 0));
}

Response countResponse(qsizetype count)
{
	return [count](obs_data_t *data) {
		obs_data_set_int(data, "count", count);
	};
}

Page readPage(Request &request)
{
	constexpr qsizetype mostTags = 100;
	Page page;
	page.tracks = request.queue.tracks();
	page.sizesNow = request.queue.sizesNow();
	const qsizetype total = page.tracks.size();
	page.begin = request.has("offset") ? request.position("offset", total) : 0;
	const qsizetype limit = request.has("limit") ? request.position("limit", INT64_MAX) : total;
	page.end = page.begin + std::min(limit, total - page.begin);
	const bool withTags = request.flag("tags", false);
	if (withTags && page.end - page.begin > mostTags)
		request.refuse(Refusal::TooManyTags);
	if (withTags && !request.isRefused()) {
		QList<QString> paths;
		for (qsizetype i = page.begin; i < page.end; i++)
			paths.append(page.tracks.at(i).path);
		page.answers = request.tagReader.answersFor(paths);
	}
	page.current = request.queue.currentIndex();
	page.lengths = request.tagReader.lengths();
	return page;
}

// The user-interface thread only copies the list, however long it is. The plug-in's thread makes the response from it.
void getQueue(Request &request)
{
	Page page = readPage(request);
	if (request.isRefused())
		return;
	OBSSourceAutoRelease source = request.queue.lockSource();
	// During a switch, the source still reports the times of the previous track.
	if (!request.queue.isSwitching()) {
		page.cursorMs = std::max<qint64>(obs_source_media_get_time(source), 0);
		page.currentDurationMs = std::max<qint64>(obs_source_media_get_duration(source), 0);
	}
	if (page.current >= 0)
		page.currentTags = request.tagReader.cached(page.tracks.at(page.current).path).value_or(Tags());

	OBSDataAutoRelease rest = obs_data_create();
	setSource(rest, source);
	obs_data_set_int(rest, "total", page.tracks.size());
	setText(rest, "currentId", request.queue.currentId());
	obs_data_set_int(rest, "currentIndex", page.current);
	setTags(rest, page.currentTags);
	obs_data_set_string(rest, "endMode", endModeName(request.queue.endMode()));
	OBSDataArrayAutoRelease upcoming = upcomingArray(request.queue);
	obs_data_set_array(rest, "upcoming", upcoming);
	setOptions(rest, request.queue.options());
	obs_data_set_string(rest, "mediaState", mediaStateName(request.queue.mediaState()));
	obs_data_set_int(rest, "cursor", page.cursorMs);
	obs_data_set_int(rest, "duration", page.currentDurationMs);
	obs_data_set_bool(rest, "canUndo", request.queue.canUndoRemove());
	obs_data_set_bool(rest, "canBringBack", request.queue.canBringBack());
	obs_data_set_int(rest, "revision", request.revision);
	request.respond([page, rest = OBSData(rest.Get())](obs_data_t *data) {
		obs_data_apply(data, rest);
		setPage(data, page);
	});
}

void getVersion(Request &request)
{
	std::vector<const char *> requests;
	for (const RemoteControl::Endpoint &endpoint : RemoteControl::endpoints())
		requests.push_back(endpoint.name);
	request.respond([requests](obs_data_t *data) {
		OBSDataArrayAutoRelease requestArray = nameArray("requestType", requests);
		OBSDataArrayAutoRelease eventArray = nameArray("eventType", QueueObserver::events());
		obs_data_set_string(data, "version", REELHOUSE_VERSION);
		obs_data_set_array(data, "requests", requestArray);
		obs_data_set_array(data, "events", eventArray);
	});
}

void getSources(Request &request)
{
	OBSDataArrayAutoRelease array = obs_data_array_create();
	const QList<NamedSource> sources = request.queue.listSources();
	OBSSourceAutoRelease bound = request.queue.lockSource();
	for (const auto &[label, uuid] : sources) {
		OBSSourceAutoRelease source = sourceWith(uuid);
		OBSDataAutoRelease item = obs_data_create();
		setSource(item, source);
		setText(item, "label", label);
		obs_data_set_bool(item, "selected", source && source.Get() == bound.Get());
		obs_data_set_int(item, "dock", request.queue.dockOf(uuid).first);
		obs_data_array_push_back(array, item);
	}
	request.respond([sources = OBSDataArray(array.Get())](obs_data_t *data) {
		obs_data_set_array(data, "sources", sources);
	});
}

void selectSource(Request &request)
{
	const bool byName = request.has("sourceName") && !request.has("sourceUuid");
	const QString wanted = request.text(byName ? "sourceName" : "sourceUuid");
	const int dock = request.queue.dockNumber();
	if (request.integer("dock", 1) != dock)
		request.refuse(Refusal::IndexOutOfRange, QString::fromUtf8("dock"));
	if (request.isRefused())
		return;
	QString uuid = wanted;
	if (byName) {
		OBSSourceAutoRelease source = obs_get_source_by_name(wanted.toUtf8().constData());
		uuid = uuidOf(source);
	}
	// An empty UUID means "no source". An unknown name must not mean it.
	if ((!byName || !uuid.isEmpty()) && request.queue.selectSource(uuid))
		return;
	// Only now: a dock that waits for the source may just have taken it.
	const auto [other, otherName] = request.queue.dockOf(uuid);
	if (other > 0)
		request.refuse(Refusal::SourceTaken, otherName);
	else
		request.refuse(Refusal::UnknownSource, wanted);
}

void start(Request &request, const QString &id, bool switchScene = false)
{
	if (!request.queue.playTrack(id, switchScene))
		request.refuse(Refusal::FileMissing);
}

void playTrack(Request &request)
{
	const QList<Track> &tracks = request.queue.tracks();
	const bool switchScene = request.flag("switchScene", false);
	const bool byIndex = request.has("index");
	const bool byId = request.has("id") || !byIndex;
	qsizetype index = byIndex ? request.position("index", tracks.size() - 1) : 0;
	const QString id = byId ? request.text("id") : QString();
	const qsizetype found = byId ? findTrack(request, id) : index;
	if (!byIndex)
		index = found;
	if (request.isRefused())
		return;
	if (byId && tracks.at(index).id != id)
		request.refuse(Refusal::DifferentTracks);
	else
		start(request, tracks.at(index).id, switchScene);
}

void playRelative(Request &request, int delta)
{
	if (request.queue.tracks().isEmpty())
		request.refuse(Refusal::EmptyQueue);
	else if (!request.queue.playRelative(delta))
		request.refuse(Refusal::FileMissing);
}

void play(Request &request)
{
	const QList<Track> &tracks = request.queue.tracks();
	const obs_media_state state = request.queue.wantedState();
	if (tracks.isEmpty())
		request.refuse(Refusal::EmptyQueue);
	else if (request.queue.currentIndex() < 0)
		start(request, tracks.constFirst().id);
	else if (state == OBS_MEDIA_STATE_PAUSED)
		request.queue.setPaused(false);
	else if (state != OBS_MEDIA_STATE_PLAYING)
		start(request, request.queue.currentId());
}

void pauseOrResume(Request &request, bool paused)
{
	const obs_media_state state = request.queue.wantedState();
	if (state == OBS_MEDIA_STATE_PLAYING || state == OBS_MEDIA_STATE_PAUSED)
		request.queue.setPaused(paused);
}

// Ignores the list's selection, unlike the dock's play button, because a client does not see the selection.
void togglePlay(Request &request)
{
	const obs_media_state state = request.queue.wantedState();
	if (request.queue.currentIndex() < 0)
		request.refuse(Refusal::NothingToPlay);
	else if (state == OBS_MEDIA_STATE_PLAYING || state == OBS_MEDIA_STATE_PAUSED)
		request.queue.setPaused(state == OBS_MEDIA_STATE_PLAYING);
	else
		start(request, request.queue.currentId());
}

void stop(Request &request)
{
	request.queue.stopPlayback();
}

void addTracks(Request &request)
{
	const qsizetype total = request.queue.tracks().size();
	const QList<QString> paths = request.texts("paths", "path");
	const qsizetype position = request.has("position") ? request.position("position", total) : total;
	if (paths.contains(QString()))
		request.refuse(Refusal::EmptyPath);
	if (std::ranges::any_of(paths, isTooLong))
		request.refuse(Refusal::PathTooLong);
	if (request.isRefused())
		return;
	request.respond([ids = request.queue.insertFiles(paths, position)](obs_data_t *data) {
		OBSDataArrayAutoRelease array = textArray(ids, "id");
		obs_data_set_array(data, "ids", array);
	});
}

void removeTracks(Request &request)
{
	const QList<QString> ids = request.texts("ids", "id");
	QSet<QString> known;
	for (const Track &track : request.queue.tracks())
		known.insert(track.id);
	for (const QString &id : ids) {
		if (!known.contains(id))
			request.refuse(Refusal::UnknownTrack, id);
	}
	if (request.isRefused())
		return;
	request.respond(countResponse(request.queue.removeTracks(QSet<QString>(ids.cbegin(), ids.cend()))));
}

void undoRemove(Request &request)
{
	if (request.queue.canUndoRemove())
		request.respond(countResponse(request.queue.undoRemove()));
	else
		request.refuse(Refusal::NothingToUndo);
}

void moveTrack(Request &request)
{
	const QString id = request.text("id");
	const qint64 index = request.position("index", request.queue.tracks().size() - 1);
	findTrack(request, id);
	if (!request.isRefused())
		request.queue.moveTrack(id, static_cast<int>(index));
}

void setEndMode(Request &request)
{
	const QString name = request.text("endMode");
	const std::optional<EndMode> mode = endModeNamed(name);
	if (!mode)
		request.refuse(Refusal::UnknownEndMode, name);
	if (!request.isRefused())
		request.queue.chooseEndMode(*mode);
}

void setOption(Request &request, bool QueueOptions::*option)
{
	QueueOptions options = request.queue.options();
	options.*option = request.flag("enabled");
	if (!request.isRefused())
		request.queue.setOptions(options);
}

void shuffleQueue(Request &request)
{
	if (request.queue.tracks().isEmpty())
		request.refuse(Refusal::EmptyQueue);
	else
		request.queue.shuffleQueue();
}

void bringBackReplacedQueue(Request &request)
{
	if (request.queue.canBringBack())
		request.queue.bringBackReplaced();
	else
		request.refuse(Refusal::NothingToBringBack);
}

void givePlaylistBack(Request &request)
{
	if (request.queue.canRestore())
		request.queue.restoreSource();
	else
		request.refuse(Refusal::NothingToGiveBack);
}

// The event of the search's end tells what was found: a disk may take minutes, and the plug-in has few threads.
void findMissingFiles(Request &request)
{
	const QString folder = localFilePath(request.text("folder"));
	if (folder.isEmpty())
		request.refuse(Refusal::EmptyPath);
	else if (isTooLong(folder))
		request.refuse(Refusal::PathTooLong);
	else if (request.queue.isFindingFiles())
		request.refuse(Refusal::Searching);
	else if (!request.queue.hasMissingFiles())
		request.refuse(Refusal::NothingMissing);
	if (!request.isRefused())
		request.queue.findMissingFiles(folder);
}

using Endpoint = RemoteControl::Endpoint;
constexpr auto looks = Endpoint::Looks;
constexpr auto chooses = Endpoint::Chooses;
constexpr auto looksAtSource = Endpoint::LooksAtSource;
constexpr auto acts = Endpoint::Acts;
constexpr auto exchanges = Endpoint::Exchanges;

constexpr std::array table = {
	Endpoint{"GetVersion", getVersion, looks},
	Endpoint{"GetSources", getSources, looks},
	Endpoint{"SelectSource", selectSource, chooses},
	Endpoint{"GetQueue", getQueue, looksAtSource},
	Endpoint{"Play", play, acts},
	Endpoint{"Pause", [](Request &request) { pauseOrResume(request, true); }, acts},
	Endpoint{"Resume", [](Request &request) { pauseOrResume(request, false); }, acts},
	Endpoint{"TogglePlay", togglePlay, acts},
	Endpoint{"Stop", stop, acts},
	Endpoint{"PlayTrack", playTrack, acts},
	Endpoint{"PlayNext", [](Request &request) { playRelative(request, 1); }, acts},
	Endpoint{"PlayPrevious", [](Request &request) { playRelative(request, -1); }, acts},
	Endpoint{"AddTracks", addTracks, acts},
	Endpoint{"RemoveTracks", removeTracks, acts},
	Endpoint{"UndoRemove", undoRemove, acts},
	Endpoint{"MoveTrack", moveTrack, acts},
	Endpoint{"SetEndMode", setEndMode, acts},
	Endpoint{"SetSkipFailed", [](Request &request) { setOption(request, &QueueOptions::skipFailed); }, acts},
	Endpoint{"SetStartAgain", [](Request &request) { setOption(request, &QueueOptions::startAgain); }, acts},
	Endpoint{"ShuffleQueue", shuffleQueue, acts},
	Endpoint{"BringBackReplacedQueue", bringBackReplacedQueue, exchanges},
	Endpoint{"GivePlaylistBack", givePlaylistBack, acts},
	Endpoint{"FindMissingFiles", findMissingFiles, acts},
};

} // namespace

std::span<const RemoteControl::Endpoint> RemoteControl::endpoints()
{
	return table;
}

} // namespace reelhouse
