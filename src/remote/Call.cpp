/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "remote/Call.hpp"

#include <array>

#include "dock/text.hpp"
#include "remote/values.hpp"

using namespace Qt::StringLiterals;

namespace reelhouse {

namespace {

struct Words {
	const char *code;
	const char *textKey;
};

// By refusal.
constexpr std::array words = {
	Words{"unavailable", "RemoteUnavailable"},
	Words{"noSource", "RemoteNoSource"},
	Words{"unknownSource", "RemoteUnknownSource"},
	Words{"unknownTrack", "RemoteUnknownTrack"},
	Words{"indexOutOfRange", "RemoteIndexOutOfRange"},
	Words{"missingField", "RemoteMissingField"},
	Words{"wrongType", "RemoteWrongType"},
	Words{"emptyList", "RemoteEmptyList"},
	Words{"emptyPath", "RemoteEmptyPath"},
	Words{"unknownEndMode", "RemoteUnknownEndMode"},
	Words{"fileMissing", "RemoteFileMissing"},
	Words{"emptyQueue", "RemoteEmptyQueue"},
	Words{"nothingToPlay", "RemoteNothingToPlay"},
	Words{"switching", "RemoteSwitching"},
	Words{"nothingToUndo", "RemoteNothingToUndo"},
	Words{"nothingToBringBack", "RemoteNothingToBringBack"},
	Words{"nothingToGiveBack", "RemoteNothingToGiveBack"},
};
static_assert(words.size() == static_cast<size_t>(Refusal::NothingToGiveBack) + 1);

} // namespace

Answer refusalAnswer(Refusal refusal, const QString &detail)
{
	const auto &[code, textKey] = words.at(static_cast<size_t>(refusal));
	const QString comment = ui(textKey).replace(u"%1"_s, detail);
	return [code, comment](obs_data_t *response) {
		obs_data_set_bool(response, "success", false);
		obs_data_set_string(response, "error", code);
		setText(response, "comment", comment);
	};
}

Call::Call(Reelhouse &dock_, obs_data_t *data_, qint64 revision_) : dock(dock_), revision(revision_), data(data_) {}

bool Call::has(const char *key) const
{
	return obs_data_has_user_value(data, key);
}

QString Call::text(const char *key)
{
	return text(data, key);
}

qint64 Call::integer(const char *key)
{
	const Item number = item(data, key, OBS_DATA_NUMBER);
	if (!number)
		return 0;
	if (obs_data_item_numtype(number.get()) != OBS_DATA_NUM_INT)
		refuse(Refusal::WrongType, QString::fromUtf8(key));
	return obs_data_item_get_int(number.get());
}

qint64 Call::integer(const char *key, qint64 fallback)
{
	return has(key) ? integer(key) : fallback;
}

qint64 Call::position(const char *key, qint64 last)
{
	const qint64 value = integer(key);
	if (value < 0 || value > last)
		refuse(Refusal::IndexOutOfRange, QString::fromUtf8(key));
	return value;
}

bool Call::flag(const char *key, bool fallback)
{
	if (!has(key))
		return fallback;
	const Item boolean = item(data, key, OBS_DATA_BOOLEAN);
	return boolean && obs_data_item_get_bool(boolean.get());
}

QList<QString> Call::texts(const char *listKey, const char *itemKey)
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

void Call::refuse(Refusal refusal, const QString &detail)
{
	if (!refused)
		refused = refusalAnswer(refusal, detail);
}

Answer Call::answer() const
{
	if (refused)
		return refused;
	return [fill = filled](obs_data_t *response) {
		obs_data_set_bool(response, "success", true);
		if (fill)
			fill(response);
	};
}

Call::Item Call::item(obs_data_t *from, const char *key, obs_data_type type)
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

QString Call::text(obs_data_t *from, const char *key)
{
	const Item string = item(from, key, OBS_DATA_STRING);
	return string ? QString::fromUtf8(obs_data_item_get_string(string.get())) : QString();
}

} // namespace reelhouse
