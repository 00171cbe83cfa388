/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QList>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

#include "dock/Reelhouse.hpp"

namespace reelhouse {

// Why a request is not done.
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
	Switching,
	NothingToUndo,
	NothingToBringBack,
	NothingToGiveBack,
};

// Fills a response. It holds values of its own, so that any thread may run it.
using Answer = std::function<void(obs_data_t *response)>;

// The answer of a request that is refused; detail is what the sentence for it is about. User-interface thread.
Answer refusalAnswer(Refusal refusal, const QString &detail = QString());

// One request on the user-interface thread: its data, by name and type, and what becomes of it. What cannot be read as
// it was asked for refuses the request and gives an empty value; the first refusal stands.
class Call {
public:
	Call(Reelhouse &dock, obs_data_t *data, qint64 revision);

	Reelhouse &dock;
	const qint64 revision;

	bool has(const char *key) const;
	QString text(const char *key);
	qint64 integer(const char *key);
	qint64 integer(const char *key, qint64 fallback);
	// An integer from 0 to this last one.
	qint64 position(const char *key, qint64 last);
	bool flag(const char *key, bool fallback);
	// The texts under itemKey in a list of objects that is not empty: libobs's data holds no lists of bare texts.
	QList<QString> texts(const char *listKey, const char *itemKey);

	void refuse(Refusal refusal, const QString &detail = QString());
	bool isRefused() const { return static_cast<bool>(refused); }
	// What a response holds beside its success.
	void succeed(Answer fill) { filled = std::move(fill); }
	Answer answer() const;

private:
	struct Release {
		void operator()(obs_data_item_t *item) const { obs_data_item_release(&item); }
	};
	using Item = std::unique_ptr<obs_data_item_t, Release>;

	Item item(obs_data_t *from, const char *key, obs_data_type type);
	QString text(obs_data_t *from, const char *key);

	obs_data_t *const data;
	Answer refused;
	Answer filled;
};

} // namespace reelhouse
