/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "media/tags.hpp"

#include <QCache>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>
#include <QThread>
#include <QTimeZone>
#include <QUrl>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include <util/threading.h>

#include "media/readFile.hpp"
#include "queue/Track.hpp"
#include "queue/paths.hpp"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace reelhouse {

namespace {

// The most files that are cached, and the most that may wait to be read.
constexpr int mostKnown = 300;
// A thread of OBS's WebSocket plug-in waits no longer than this for a disk.
constexpr auto longestWait = 2s;

} // namespace

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
	explicit Worker(TagReader *owner) : reader(owner), cache(mostKnown) {}

	std::optional<Tags> cached(const std::shared_ptr<Worker> &self, const QString &path);
	Answers answersFor(const QList<QString> &paths, bool mayWait);
	void run();
	Known look(const Request &request) const;
	void take(const Request &request, const Known &read);
	bool knowsAll(const QList<QString> &paths) const;

	std::mutex mutex;
	std::condition_variable changed; // a file was read, the thread ends, or the waits end
	// Use these only with the mutex held.
	TagReader *reader; // null after its destruction
	QCache<QString, Known> cache;
	QSet<QString> asked; // paths that wait to be read
	QList<Request> pending;
	bool running = false;
	bool waits = false;   // a call waits for answers
	bool overdue = false; // a wait ended without them, and no file has been read since
	bool closed = false;
	std::atomic<bool> stopped = false; // stops a read at its next access to the file
};

namespace {

bool hasTags(const QString &path)
{
	return canReadTags && !localFilePath(path).isEmpty();
}

} // namespace

std::optional<Tags> TagReader::Worker::cached(const std::shared_ptr<Worker> &self, const QString &path)
{
	if (!hasTags(path))
		return Tags();
	const std::lock_guard lock(mutex);
	const Known *entry = cache.object(path);
	if (!asked.contains(path)) {
		asked.insert(path);
		if (pending.size() == mostKnown)
			asked.remove(pending.takeFirst().path);
		pending.append({path, entry ? *entry : Known()});
		if (!std::exchange(running, true))
			std::thread([self] { self->run(); }).detach();
	}
	return entry ? std::optional(entry->tags) : std::nullopt;
}

bool TagReader::Worker::knowsAll(const QList<QString> &paths) const
{
	return std::ranges::all_of(paths,
				   [this](const QString &path) { return !hasTags(path) || cache.contains(path); });
}

TagReader::Answers TagReader::Worker::answersFor(const QList<QString> &paths, bool mayWait)
{
	std::unique_lock lock(mutex);
	if (mayWait && !waits && !overdue && !closed && !knowsAll(paths)) {
		waits = true;
		overdue = !changed.wait_for(lock, longestWait, [&] { return closed || knowsAll(paths); });
		waits = false;
	}
	Answers answers;
	for (const QString &path : paths) {
		const Known *entry = cache.object(path);
		answers.append(entry ? std::optional(entry->tags) : std::nullopt);
		if (!hasTags(path))
			answers.last() = Tags();
	}
	return answers;
}

void TagReader::Worker::run()
{
	os_set_thread_name("reelhouse: tags");
	std::unique_lock lock(mutex);
	while (!pending.isEmpty()) {
		const Request request = pending.takeLast();
		lock.unlock();
		const Known read = look(request);
		lock.lock();
		take(request, read);
		changed.notify_all();
	}
	running = false;
	changed.notify_all();
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

// The lock keeps the reader alive during the post. Qt drops posted events of an object that is destroyed later.
void TagReader::Worker::take(const Request &request, const Known &read)
{
	const QString path = request.path;
	asked.remove(path);
	overdue = false;
	const Known *before = cache.object(path);
	const bool isNew = !before || before->tags != read.tags;
	const bool isChanged = request.known.stamp != read.stamp;
	cache.insert(path, std::make_unique<Known>(read).release());
	if (!reader || (!isNew && !isChanged))
		return;
	const auto tell = [to = reader, path, isNew, isChanged, size = read.stamp.size] {
		if (isChanged)
			Q_EMIT to->fileChanged(path, size < 0 ? SizeMissing : size);
		if (isNew)
			Q_EMIT to->tagsRead(path);
	};
	QMetaObject::invokeMethod(reader, tell, Qt::QueuedConnection);
}

TagReader::TagReader(QObject *parent) : QObject(parent), worker(std::make_shared<Worker>(this)) {}

TagReader::~TagReader()
{
	endWaits();
	std::unique_lock lock(worker->mutex);
	worker->reader = nullptr;
	worker->stopped = true;
	worker->pending.clear();
	worker->changed.wait_for(lock, 200ms, [this] { return !worker->running; });
}

std::optional<Tags> TagReader::cached(const QString &path)
{
	return worker->cached(worker, path);
}

Tags TagReader::known(const QString &path) const
{
	const std::lock_guard lock(worker->mutex);
	const Known *entry = worker->cache.object(path);
	return entry ? entry->tags : Tags();
}

std::function<TagReader::Answers()> TagReader::answersFor(const QList<QString> &paths)
{
	for (const QString &path : paths)
		cached(path);
	return [worker = worker, paths, own = thread()] {
		return worker->answersFor(paths, QThread::currentThread() != own);
	};
}

void TagReader::endWaits()
{
	const std::lock_guard lock(worker->mutex);
	worker->closed = true;
	worker->changed.notify_all();
}

} // namespace reelhouse
