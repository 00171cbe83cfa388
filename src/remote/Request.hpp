/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QList>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

#include "dock/QueueControl.hpp"
#include "media/tags.hpp"

namespace reelhouse {

// Why a request is refused.
enum class Refusal {
	Unavailable,
	NoSource,
	UnknownSource,
	UnknownTrack,
	IndexOutOfRange,
	MissingField,
	WrongType,
	EmptyList,
	EmptyPath,
	UnknownEndMode,
	FileMissing,
	EmptyQueue,
	NothingToPlay,
	NothingToUndo,
	NothingToBringBack,
	NothingToGiveBack,
	OtherSource,
	DifferentTracks,
	PathTooLong,
	TooManyTags,
	NothingMissing,
	Searching,
	GraphicsThread,
	SourceTaken,
};

// Writes a response into the data that the WebSocket plug-in sends. It owns its values, so it may run on any thread.
using Response = std::function<void(obs_data_t *data)>;

// Returns the response to a refused request. detail fills the gap in its error text. User-interface thread.
Response refusalResponse(Refusal refusal, const QString &detail = QString());

// A request on the user-interface thread: its fields and its response. Reading a field that is absent or has another
// type refuses the request and returns an empty value. The first refusal counts.
class Request {
public:
	// The arguments must outlive the request.
	Request(QueueControl &queue, TagReader &tagReader, obs_data_t *data, qint64 revision);

	QueueControl &queue;
	TagReader &tagReader;
	const qint64 revision;

	// Whether the request has this field, of any type.
	bool has(const char *key) const;
	QString text(const char *key);
	qint64 integer(const char *key);
	qint64 integer(const char *key, qint64 fallback);
	// Returns an integer from 0 to last; any other value refuses the request.
	qint64 position(const char *key, qint64 last);
	bool flag(const char *key);
	bool flag(const char *key, bool fallback);
	// Returns the texts under itemKey in a list of objects. An empty list refuses the request. The texts are in
	// objects because libobs's data has no lists of bare texts.
	QList<QString> texts(const char *listKey, const char *itemKey);

	void refuse(Refusal refusal, const QString &detail = QString());
	bool isRefused() const { return static_cast<bool>(refused); }
	// Sets the values that a successful response has beside "success".
	void respond(Response fill) { filled = std::move(fill); }
	// Returns the refusal, or else a response with "success" and the values of respond().
	Response response() const;

private:
	struct Release {
		void operator()(obs_data_item_t *item) const { obs_data_item_release(&item); }
	};
	using Item = std::unique_ptr<obs_data_item_t, Release>;

	Item item(obs_data_t *from, const char *key, obs_data_type type);
	QString text(obs_data_t *from, const char *key);

	obs_data_t *const data;
	Response refused;
	Response filled;
};

} // namespace reelhouse
