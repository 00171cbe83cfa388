/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "queue/record.hpp"

#include <QHash>

#include <algorithm>

#include "queue/privateKeys.hpp"
#include "queue/settings.hpp"

namespace reelhouse {

namespace {

constexpr int recordVersion = 1;
constexpr char versionKey[] = "version";
constexpr char tracksKey[] = "tracks";
constexpr char idKey[] = "id";
constexpr char observedKey[] = "observed";
constexpr char currentKey[] = "current";
constexpr char managedKey[] = "managed";
constexpr char originalLoopKey[] = "originalLoop";
constexpr char originalShuffleKey[] = "originalShuffle";
constexpr char originalBehaviorKey[] = "originalBehavior";
constexpr char endModeKey[] = "endMode";
constexpr long long lastEndMode = 2;

// A replaced queue is stored as its record with the three keys below added.
constexpr char untouchedKey[] = "untouched";
constexpr char presentUntouchedKey[] = "presentUntouched";
constexpr char leftoverKey[] = "leftover";

QList<Track> readTracks(obs_data_t *record, bool &isUsable)
{
	QList<Track> tracks;
	OBSDataArrayAutoRelease array = obs_data_get_array(record, tracksKey);
	const size_t count = obs_data_array_count(array);
	tracks.reserve(static_cast<qsizetype>(count));
	for (size_t i = 0; i < count; i++) {
		OBSDataAutoRelease item = obs_data_array_item(array, i);
		const QString id = textIn(item, idKey);
		const QString path = textIn(item, valueKey);
		isUsable = isUsable && !id.isEmpty() && !path.isEmpty();
		if (!path.isEmpty())
			tracks.append(id.isEmpty() ? Track::fromPath(path) : Track{id, path});
	}
	return tracks;
}

OBSData makeItem(const Track &track)
{
	OBSDataAutoRelease item = obs_data_create();
	setText(item, valueKey, track.path);
	setText(item, idKey, track.id);
	return item.Get();
}

// Whether the object has the keys that makeItem() gives it, in its order, and no others.
bool isAsMade(obs_data_t *item)
{
	bool isSame = true;
	obs_data_item_t *at = obs_data_first(item);
	for (const char *key : {valueKey, idKey}) {
		isSame = isSame && at && strcmp(obs_data_item_get_name(at), key) == 0;
		obs_data_item_next(&at);
	}
	isSame = isSame && !at;
	obs_data_item_release(&at);
	return isSame;
}

// Compare the pointers first: copies of a track share their texts.
bool isSameText(const QString &a, const QString &b)
{
	return a.constData() == b.constData() || a == b;
}

bool hasSameItem(const Track &a, const Track &b)
{
	return isSameText(a.id, b.id) && isSameText(a.path, b.path);
}

QString onlyId(const QList<Track> &tracks)
{
	return tracks.size() == 1 ? tracks.constFirst().id : QString();
}

} // namespace

OBSDataAutoRelease storedRecord(obs_data_t *privateSettings)
{
	return obs_data_get_obj(privateSettings, recordKey);
}

bool isReadable(obs_data_t *record)
{
	return obs_data_get_int(record, versionKey) == recordVersion;
}

bool recordObserves(obs_data_t *record, const QList<QString> &paths)
{
	return holdsPaths(record, observedKey, paths);
}

Record readRecord(obs_data_t *data)
{
	Record record;
	record.isUsable = isReadable(data);
	record.tracks = readTracks(data, record.isUsable);
	record.currentId = textIn(data, currentKey);
	record.managed = obs_data_get_bool(data, managedKey);
	record.originalLoop = obs_data_get_bool(data, originalLoopKey);
	record.originalShuffle = obs_data_get_bool(data, originalShuffleKey);
	record.originalBehavior = textIn(data, originalBehaviorKey);
	record.endMode = static_cast<int>(std::clamp<long long>(obs_data_get_int(data, endModeKey), 0, lastEndMode));
	return record;
}

void RecordWriter::write(obs_data_t *privateSettings, const Record &record)
{
	prepare(record.tracks, record.observed);
	// Make new arrays each time: those of the previous record may still be in use.
	OBSDataArrayAutoRelease trackArray = obs_data_array_create();
	for (const OBSData &item : items)
		obs_data_array_push_back(trackArray, item);
	OBSDataArrayAutoRelease observedArray = obs_data_array_create();
	obs_data_array_push_back_array(observedArray, observedItems);

	OBSDataAutoRelease data = obs_data_create();
	obs_data_set_int(data, versionKey, recordVersion);
	obs_data_set_array(data, tracksKey, trackArray);
	obs_data_set_array(data, observedKey, observedArray);
	setText(data, currentKey, record.currentId);
	obs_data_set_bool(data, managedKey, record.managed);
	obs_data_set_bool(data, originalLoopKey, record.originalLoop);
	obs_data_set_bool(data, originalShuffleKey, record.originalShuffle);
	setText(data, originalBehaviorKey, record.originalBehavior);
	obs_data_set_int(data, endModeKey, record.endMode);
	obs_data_set_obj(privateSettings, recordKey, data);
}

void RecordWriter::adopt(obs_data_t *data, const Record &record)
{
	tracks = record.tracks;
	items.clear();
	OBSDataArrayAutoRelease array = obs_data_get_array(data, tracksKey);
	for (qsizetype i = 0; i < tracks.size(); i++) {
		OBSDataAutoRelease item = obs_data_array_item(array, static_cast<size_t>(i));
		items.emplace_back(isAsMade(item) ? OBSData(item) : makeItem(tracks.at(i)));
	}
}

void RecordWriter::prepare(const QList<Track> &nextTracks, const QList<QString> &nextObserved)
{
	updateItems(nextTracks);
	if (observedItems && observed == nextObserved)
		return;
	observed = nextObserved;
	observedItems = pathArray(observed).Get();
}

// Reuse the objects at the start and the end of the queue, which most changes leave alone. Look up only those between
// them.
void RecordWriter::updateItems(const QList<Track> &next)
{
	if (next.isSharedWith(tracks))
		return;
	const auto [oldFirst, newFirst] = std::ranges::mismatch(tracks, next, hasSameItem);
	const auto start = newFirst - next.begin();
	const auto shorter = std::min(tracks.size(), next.size());
	qsizetype end = 0;
	while (start + end < shorter && hasSameItem(tracks.at(tracks.size() - 1 - end), next.at(next.size() - 1 - end)))
		end++;

	// By the texts that copies of a track share. One that does not share its id gets a new object.
	QHash<const QChar *, qsizetype> known;
	for (auto i = start; i < tracks.size() - end; i++)
		known.insert(tracks.at(i).id.constData(), i);
	std::vector<OBSData> middle;
	for (auto i = start; i < next.size() - end; i++) {
		const Track &track = next.at(i);
		const auto at = known.constFind(track.id.constData());
		const bool isKnown = at != known.cend() && hasSameItem(tracks.at(*at), track);
		middle.push_back(isKnown ? items[*at] : makeItem(track));
	}
	items.erase(items.begin() + start, items.end() - end);
	items.insert(items.begin() + start, std::make_move_iterator(middle.begin()),
		     std::make_move_iterator(middle.end()));
	tracks = next;
}

ReplacedQueue ReplacedQueue::read(obs_data_t *privateSettings)
{
	OBSDataAutoRelease record = obs_data_get_obj(privateSettings, replacedKey);
	OBSDataArrayAutoRelease tracks = obs_data_get_array(record, tracksKey);
	// An unreadable record without tracks is no queue. A readable one may be an empty queue.
	if (!isReadable(record) && obs_data_array_count(tracks) == 0)
		return {};
	return {record.Get(), obs_data_get_bool(record, untouchedKey), obs_data_get_bool(record, presentUntouchedKey),
		textIn(record, leftoverKey)};
}

void ReplacedQueue::write(obs_data_t *privateSettings) const
{
	if (!record)
		return;
	// Store the record itself: a copy of a long queue takes long, and the queue in the source has a record of its
	// own.
	obs_data_set_obj(privateSettings, replacedKey, record);
	obs_data_set_bool(record, untouchedKey, isUntouched);
	obs_data_set_bool(record, presentUntouchedKey, presentUntouched);
	setText(record, leftoverKey, leftoverId);
}

void ReplacedQueue::moveTracks(const QHash<QString, QString> &places) const
{
	OBSDataArrayAutoRelease before = obs_data_get_array(record, tracksKey);
	OBSDataArrayAutoRelease moved = movedItems(before, places);
	if (moved)
		obs_data_set_array(record, tracksKey, moved);
}

ReplacedQueue replaceQueue(obs_data_t *stored, const Record &record, const QList<Track> &rebuilt,
			   const ReplacedQueue &replaced)
{
	if (!stored)
		return replaced;
	const QList<Track> &before = record.tracks;
	const bool isSingleOfEdit = before.size() == 1 && before.constFirst().id == replaced.leftoverId;
	ReplacedQueue next = replaced;
	if (record.isUsable && std::ranges::equal(before, rebuilt, {}, &Track::path, &Track::path)) {
		// The rebuilt queue has the same entries, with new ids.
		if (isSingleOfEdit)
			next.leftoverId = onlyId(rebuilt);
		return next;
	}
	// Even an unreadable record is better than nothing to bring back.
	const bool mayReplace = before.isEmpty() ? !record.isUsable && !replaced.record : !isSingleOfEdit;
	if (mayReplace && (!replaced.record || !replaced.presentUntouched)) {
		next.record = stored;
		next.isUntouched = false;
	}
	next.presentUntouched = true;
	next.leftoverId = onlyId(rebuilt);
	return next;
}

} // namespace reelhouse
