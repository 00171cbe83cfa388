/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "media/tags.hpp"

#include <QFileInfo>
#include <QRegularExpression>
#include <QTimeZone>
#include <QUrl>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include <util/threading.h>

#include "media/readFile.hpp"
#include "queue/paths.hpp"

using namespace Qt::StringLiterals;

namespace reelhouse {

namespace {

// The most files that are cached, and the most that may wait to be read.
constexpr int mostKnown = 300;

} // namespace

Tags readTags(const QString &path)
{
	const std::atomic<bool> never = false;
	return readFile(localFilePath(path), never);
}

QString displayTitle(const QString &path, const Tags &tags)
{
	if (!tags.title.isEmpty())
		return tags.title;
	QString name = labelFor(path, false);
	if (localFilePath(path).isEmpty()) {
		// The title may go on air. The rest of a URL may hold a password or a key, so use only the file name or
		// the host.
		const QUrl url(path);
		if (url.fileName().isEmpty())
			return url.host().isEmpty() ? name : url.host();
		name = url.fileName();
	}
	// Digits alone after the last dot are part of a name: "Mix 2.5".
	static const QRegularExpression ending(u"(?<=.)\\.(?=[0-9]*[A-Za-z])[0-9A-Za-z]{1,5}$"_s);
	return name.remove(ending);
}

QString artistAndTitle(const QString &path, const Tags &tags)
{
	const QString title = displayTitle(path, tags);
	return tags.artist.isEmpty() ? title : tags.artist + u" – "_s + title;
}

// The thread runs only while files wait to be read. Do not join it: a read may never return.
struct TagReader::Worker {
	explicit Worker(TagReader *owner) : reader(owner) {}

	void run();
	Known look(const Request &request) const;

	std::mutex mutex;
	std::condition_variable idle;
	// Use these three only with the mutex held.
	TagReader *reader; // null after its destruction
	QList<Request> pending;
	bool running = false;
	std::atomic<bool> stopped = false; // stops a read at its next access to the file
};

void TagReader::Worker::run()
{
	os_set_thread_name("reelhouse: tags");
	std::unique_lock lock(mutex);
	while (!pending.isEmpty()) {
		const Request request = pending.takeLast();
		lock.unlock();
		const Known read = look(request);
		lock.lock();
		// The lock keeps the reader alive during the post. Qt drops posted events of an object that is
		// destroyed later.
		if (reader) {
			const auto deliver = [to = reader, path = request.path, read] {
				to->take(path, read);
			};
			QMetaObject::invokeMethod(reader, deliver, Qt::QueuedConnection);
		}
	}
	running = false;
	idle.notify_all();
}

TagReader::Known TagReader::Worker::look(const Request &request) const
{
	const QString file = localFilePath(request.path);
	const QFileInfo info(file);
	Stamp stamp;
	if (info.exists())
		stamp = {info.size(), info.lastModified(QTimeZone::UTC).toMSecsSinceEpoch()};
	if (request.known.stamp == stamp)
		return request.known;
	return {stamp, readFile(file, stopped)};
}

TagReader::TagReader(QObject *parent) : QObject(parent), cache(mostKnown), worker(std::make_shared<Worker>(this)) {}

TagReader::~TagReader()
{
	using namespace std::chrono_literals;
	std::unique_lock lock(worker->mutex);
	worker->reader = nullptr;
	worker->stopped = true;
	worker->pending.clear();
	worker->idle.wait_for(lock, 200ms, [this] { return !worker->running; });
}

std::optional<Tags> TagReader::cached(const QString &path)
{
	if (!canReadTags || localFilePath(path).isEmpty())
		return Tags();
	const Known *entry = cache.object(path);
	if (!asked.contains(path))
		ask({path, entry ? *entry : Known()});
	return entry ? std::optional(entry->tags) : std::nullopt;
}

Tags TagReader::known(const QString &path) const
{
	const Known *entry = cache.object(path);
	return entry ? entry->tags : Tags();
}

void TagReader::ask(const Request &request)
{
	asked.insert(request.path);
	const std::lock_guard lock(worker->mutex);
	if (worker->pending.size() == mostKnown)
		asked.remove(worker->pending.takeFirst().path);
	worker->pending.append(request);
	if (std::exchange(worker->running, true))
		return;
	std::thread([worker = worker] { worker->run(); }).detach();
}

void TagReader::take(const QString &path, const Known &read)
{
	asked.remove(path);
	const Known *before = cache.object(path);
	const bool same = before && before->tags == read.tags;
	cache.insert(path, std::make_unique<Known>(read).release());
	if (!same)
		Q_EMIT tagsRead(path);
}

} // namespace reelhouse
