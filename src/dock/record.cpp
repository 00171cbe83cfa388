/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/record.hpp"

#include <QUuid>

#include <algorithm>

#include "dock/paths.hpp"

Reelhouse::Track Reelhouse::Track::fromPath(const QString &path)
{
	return {QUuid::createUuid().toString(QUuid::WithoutBraces), path};
}

namespace reelhouse {

namespace {

using Track = Reelhouse::Track;

// In a record put aside: the id of a queue's only track where that queue is nothing but what such a rebuild left.
constexpr char leftoverKey[] = "leftover";

QString onlyId(const QList<Track> &tracks)
{
	return tracks.size() == 1 ? tracks.constFirst().id : QString();
}

} // namespace

QString stringIn(obs_data_t *data, const char *key)
{
	return QString::fromUtf8(obs_data_get_string(data, key));
}

bool isReadable(obs_data_t *record)
{
	return obs_data_get_int(record, versionKey) == recordVersion;
}

bool readTracks(obs_data_t *record, QList<Track> &tracks)
{
	OBSDataArrayAutoRelease array = obs_data_get_array(record, tracksKey);
	const size_t count = obs_data_array_count(array);
	tracks.reserve(static_cast<qsizetype>(count));
	bool whole = true;
	for (size_t i = 0; i < count; i++) {
		OBSDataAutoRelease item = obs_data_array_item(array, i);
		Track track{stringIn(item, idKey), stringIn(item, valueKey)};
		whole = whole && !track.id.isEmpty() && !track.path.isEmpty();
		if (track.path.isEmpty())
			continue;
		if (track.id.isEmpty())
			track = Track::fromPath(track.path);
		tracks.append(std::move(track));
	}
	return whole;
}

OBSDataArrayAutoRelease trackArray(const QList<Track> &tracks)
{
	OBSDataArrayAutoRelease array = obs_data_array_create();
	for (const Track &track : tracks) {
		OBSDataAutoRelease item = obs_data_create();
		obs_data_set_string(item, valueKey, track.path.toUtf8().constData());
		obs_data_set_string(item, idKey, track.id.toUtf8().constData());
		obs_data_array_push_back(array, item);
	}
	return array;
}

qsizetype keepReplaced(obs_data_t *privateSettings, obs_data_t *record, const QList<Track> &rebuilt)
{
	if (!record)
		return 0;
	OBSDataAutoRelease kept = replacedRecord(privateSettings);
	const QString leftover = stringIn(kept, leftoverKey);
	QList<Track> before;
	const bool usable = readTracks(record, before) && isReadable(record);

	// What an earlier rebuild left is worth less than the queue that it replaced, and so is a record in which
	// nothing can be read.
	const bool isLeftover = before.isEmpty() || (!leftover.isEmpty() && onlyId(before) == leftover);
	const bool keeps = usable ? !isLeftover && !std::ranges::equal(before, rebuilt, {}, &Track::path, &Track::path)
				  : !before.isEmpty() || !kept;
	if (keeps) {
		obs_data_set_obj(privateSettings, replacedKey, record);
		obs_data_addref(record);
		kept = record;
	}
	if (kept && (keeps || isLeftover))
		obs_data_set_string(kept, leftoverKey, onlyId(rebuilt).toUtf8().constData());
	return keeps ? before.size() : 0;
}

OBSDataAutoRelease replacedRecord(obs_data_t *privateSettings)
{
	OBSDataAutoRelease record = obs_data_get_obj(privateSettings, replacedKey);
	OBSDataArrayAutoRelease tracks = obs_data_get_array(record, tracksKey);
	// An empty queue comes back only if it was one.
	if (!isReadable(record) && obs_data_array_count(tracks) == 0)
		return nullptr;
	return record;
}

void exchangeReplaced(obs_data_t *privateSettings, obs_data_t *record)
{
	OBSDataAutoRelease kept = replacedRecord(privateSettings);
	obs_data_set_string(record, leftoverKey, obs_data_get_string(kept, leftoverKey));
	obs_data_set_obj(privateSettings, replacedKey, record);
}

} // namespace reelhouse
