/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/record.hpp"

#include <QUuid>

#include <algorithm>

#include "dock/paths.hpp"

Reelhouse::Track Reelhouse::Track::fromPath(const QString &path)
{
	return {QUuid::createUuid().toString(QUuid::WithoutBraces), path};
}

obs_data_t *Reelhouse::Track::recordItem() const
{
	if (!item) {
		OBSDataAutoRelease made = obs_data_create();
		obs_data_set_string(made, reelhouse::valueKey, path.toUtf8().constData());
		obs_data_set_string(made, reelhouse::idKey, id.toUtf8().constData());
		item = made.Get();
	}
	return item;
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
		const QString id = stringIn(item, idKey);
		const QString path = stringIn(item, valueKey);
		whole = whole && !id.isEmpty() && !path.isEmpty();
		if (!path.isEmpty())
			tracks.append(id.isEmpty() ? Track::fromPath(path) : Track(id, path));
	}
	return whole;
}

OBSDataArrayAutoRelease trackArray(const QList<Track> &tracks)
{
	OBSDataArrayAutoRelease array = obs_data_array_create();
	for (const Track &track : tracks)
		obs_data_array_push_back(array, track.recordItem());
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
