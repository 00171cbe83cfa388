/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "remote/Request.hpp"

#include <array>

#include "queue/text.hpp"
#include "remote/values.hpp"

using namespace Qt::StringLiterals;

namespace reelhouse {

namespace {

struct ErrorText {
	const char *error;
	const char *textKey;
};

// Indexed by Refusal.
constexpr std::array errorTexts = {
	ErrorText{"unavailable", "RemoteUnavailable"},
	ErrorText{"noSource", "RemoteNoSource"},
	ErrorText{"unknownSource", "RemoteUnknownSource"},
	ErrorText{"unknownTrack", "RemoteUnknownTrack"},
	ErrorText{"indexOutOfRange", "RemoteIndexOutOfRange"},
	ErrorText{"missingField", "RemoteMissingField"},
	ErrorText{"wrongType", "RemoteWrongType"},
	ErrorText{"emptyList", "RemoteEmptyList"},
	ErrorText{"emptyPath", "RemoteEmptyPath"},
	ErrorText{"unknownEndMode", "RemoteUnknownEndMode"},
	ErrorText{"fileMissing", "RemoteFileMissing"},
	ErrorText{"emptyQueue", "RemoteEmptyQueue"},
	ErrorText{"nothingToPlay", "RemoteNothingToPlay"},
	ErrorText{"nothingToUndo", "RemoteNothingToUndo"},
	ErrorText{"nothingToBringBack", "RemoteNothingToBringBack"},
	ErrorText{"nothingToGiveBack", "RemoteNothingToGiveBack"},
	ErrorText{"otherSource", "RemoteOtherSource"},
	ErrorText{"differentTracks", "RemoteDifferentTracks"},
	ErrorText{"pathTooLong", "RemotePathTooLong"},
	ErrorText{"tooManyTags", "RemoteTooManyTags"},
	ErrorText{"nothingMissing", "RemoteNothingMissing"},
	ErrorText{"searching", "RemoteSearching"},
	ErrorText{"graphicsThread", "RemoteGraphicsThread"},
	ErrorText{"sourceTaken", "RemoteSourceTaken"},
};
static_assert(errorTexts.size() == static_cast<size_t>(Refusal::SourceTaken) + 1);

} // namespace

Response refusalResponse(Refusal refusal, const QString &detail)
{
	const auto &[error, textKey] = errorTexts.at(static_cast<size_t>(refusal));
	const QString comment = ui(textKey).replace(u"%1"_s, detail);
	return [error, comment](obs_data_t *data) {
		obs_data_set_bool(data, "success", false);
		obs_data_set_string(data, "error", error);
		setText(data, "comment", comment);
	};
}

Request::Request(QueueControl &queue_, TagReader &tagReader_, obs_data_t *data_, qint64 revision_)
	: queue(queue_), tagReader(tagReader_), revision(revision_), data(data_)
{}

bool Request::has(const char *key) const
{
	return obs_data_has_user_value(data, key);
}

QString Request::text(const char *key)
{
	return text(data, key);
}

qint64 Request::integer(const char *key)
{
	const Item number = item(data, key, OBS_DATA_NUMBER);
	if (!number)
		return 0;
	if (obs_data_item_numtype(number.get()) != OBS_DATA_NUM_INT)
		refuse(Refusal::WrongType, QString::fromUtf8(key));
	return obs_data_item_get_int(number.get());
}

qint64 Request::integer(const char *key, qint64 fallback)
{
	return has(key) ? integer(key) : fallback;
}

qint64 Request::position(const char *key, qint64 last)
{
	const qint64 value = integer(key);
	if (value < 0 || value > last)
		refuse(Refusal::IndexOutOfRange, QString::fromUtf8(key));
	return value;
}

bool Request::flag(const char *key, bool fallback)
{
	return has(key) ? flag(key) : fallback;
}

bool Request::flag(const char *key)
{
	const Item boolean = item(data, key, OBS_DATA_BOOLEAN);
	return boolean && obs_data_item_get_bool(boolean.get());
}

QList<QString> Request::texts(const char *listKey, const char *itemKey)
{
	const Item list = item(data, listKey, OBS_DATA_ARRAY);
	OBSDataArrayAutoRelease array = list ? obs_data_item_get_array(list.get()) : nullptr;
	const size_t count = obs_data_array_count(array);
	if (list && count == 0)
		refuse(Refusal::EmptyList, QString::fromUtf8(listKey));
	QList<QString> all;
	for (size_t i = 0; i < count; i++) {
		OBSDataAutoRelease entry = obs_data_array_item(array, i);
		all.append(text(entry, itemKey));
	}
	return all;
}

void Request::refuse(Refusal refusal, const QString &detail)
{
	if (!refused)
		refused = refusalResponse(refusal, detail);
}

Response Request::response() const
{
	if (refused)
		return refused;
	return [fill = filled](obs_data_t *response) {
		obs_data_set_bool(response, "success", true);
		if (fill)
			fill(response);
	};
}

Request::Item Request::item(obs_data_t *from, const char *key, obs_data_type type)
{
	Item found(obs_data_item_byname(from, key));
	if (!found) {
		refuse(Refusal::MissingField, QString::fromUtf8(key));
	} else if (obs_data_item_gettype(found.get()) != type) {
		refuse(Refusal::WrongType, QString::fromUtf8(key));
		found.reset();
	}
	return found;
}

QString Request::text(obs_data_t *from, const char *key)
{
	const Item string = item(from, key, OBS_DATA_STRING);
	return string ? QString::fromUtf8(obs_data_item_get_string(string.get())) : QString();
}

} // namespace reelhouse
