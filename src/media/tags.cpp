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
#include <utility>

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
// A call waits for answers, whichever reader gives them: the plug-in has few threads.
std::atomic<bool> waits = false;
constexpr int mostReaders = 4;
// A thread whose disk has not answered for this long no longer counts.
constexpr auto stuckAfter = 2s;
// For lengths that nobody waits for.
constexpr qint64 bytesPerMinute = 64 << 20;

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

// A thread runs only while files wait to be read. Do not join it: a read may never return. Another one starts when a
// read takes long.
struct TagReader::Worker {
	explicit Worker(TagReader *owner) : reader(owner), cache(mostKnown) {}

	std::optional<Tags> cached(const std::shared_ptr<Worker> &self, const QString &path);
	Answers answersFor(const QList<QString> &paths, bool mayWait);
	void run();
	void start(const std::shared_ptr<Worker> &self);
	void readNextLength(std::unique_lock<std::mutex> &lock);
	void measure(const QString &path, std::unique_lock<std::mutex> &lock);
	Known look(const Request &request, qint64 *bytes = nullptr) const;
	void take(const Request &request, const Known &read);
	static qint64 sizeOf(const Stamp &stamp) { return stamp.size < 0 ? SizeMissing : stamp.size; }
	void noteLength(const QString &path, const Known &read);
	bool knowsAll(const QList<QString> &paths) const;

	std::mutex mutex;
	std::condition_variable asks;    // something is to be read, or the reader is gone
	std::condition_variable changed; // a file was read, the thread ends, or the waits end
	// Use these only with the mutex held.
	TagReader *reader; // null after its destruction
	QCache<QString, Known> cache;
	QSet<QString> asked; // paths that wait to be read
	QList<Request> pending;
	QList<QString> unmeasured; // files whose lengths are to be read when nothing is pending
	QHash<QString, qint64> lengths;
	// A copy of them, with which nothing is shared: others read it while a thread here changes the first.
	std::optional<QHash<QString, qint64>> published;
	QHash<QString, qint64> measuredSizes;             // the sizes of the files when their lengths were read
	QHash<QString, qint64> untold;                    // those of them that are still to be told
	std::chrono::steady_clock::time_point nextLength; // not to be read before
	int threads = 0;
	std::chrono::steady_clock::time_point lastAnswer; // of a disk, or the start of a thread
	bool measures = false;                            // a thread reads lengths that nobody waits for
	QSet<QString> owed;                               // what a wait has not got
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
		if (pending.size() == mostKnown) {
			const QString dropped = pending.takeFirst().path;
			asked.remove(dropped);
			owed.remove(dropped);
		}
		pending.append({path, entry ? *entry : Known()});
		start(self);
	}
	return entry ? std::optional(entry->tags) : std::nullopt;
}

void TagReader::Worker::start(const std::shared_ptr<Worker> &self)
{
	asks.notify_all();
	const auto now = std::chrono::steady_clock::now();
	if (threads > 0 && (threads == mostReaders || now - lastAnswer < stuckAfter))
		return;
	threads++;
	lastAnswer = now;
	std::thread([self] { self->run(); }).detach();
}

bool TagReader::Worker::knowsAll(const QList<QString> &paths) const
{
	return std::ranges::all_of(paths,
				   [this](const QString &path) { return !hasTags(path) || cache.contains(path); });
}

TagReader::Answers TagReader::Worker::answersFor(const QList<QString> &paths, bool mayWait)
{
	std::unique_lock lock(mutex);
	if (mayWait && owed.isEmpty() && !closed && !knowsAll(paths) && !waits.exchange(true)) {
		changed.wait_for(lock, longestWait, [&] { return closed || knowsAll(paths); });
		waits = false;
		for (const QString &path : paths) {
			if (!knowsAll({path}))
				owed.insert(path);
		}
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
	while (!pending.isEmpty() || (!unmeasured.isEmpty() && !measures)) {
		if (pending.isEmpty()) {
			readNextLength(lock);
			continue;
		}
		const Request request = pending.takeLast();
		lock.unlock();
		const Known read = look(request);
		lock.lock();
		take(request, read);
		changed.notify_all();
	}
	threads--;
	changed.notify_all();
}

// The tags are not kept: those of a long queue would take the places of those that are shown.
void TagReader::Worker::readNextLength(std::unique_lock<std::mutex> &lock)
{
	measures = true;
	asks.wait_until(lock, nextLength, [this] { return !pending.isEmpty() || unmeasured.isEmpty(); });
	if (pending.isEmpty() && !unmeasured.isEmpty())
		measure(unmeasured.takeFirst(), lock);
	measures = false;
}

void TagReader::Worker::measure(const QString &path, std::unique_lock<std::mutex> &lock)
{
	qint64 bytes = 0;
	lock.unlock();
	const Known read = look({path, {}}, &bytes);
	lock.lock();
	noteLength(path, read);
	lastAnswer = std::chrono::steady_clock::now();
	// In nanoseconds: whole minutes would always be none.
	nextLength = lastAnswer + std::chrono::nanoseconds(1min) * bytes / bytesPerMinute;
	untold.insert(path, sizeOf(read.stamp));
}

void TagReader::Worker::noteLength(const QString &path, const Known &read)
{
	if (const auto known = lengths.constFind(path); known == lengths.cend() || *known != read.tags.durationMs) {
		lengths.insert(path, read.tags.durationMs);
		published.reset();
	}
	measuredSizes.insert(path, read.stamp.size);
}

TagReader::Known TagReader::Worker::look(const Request &request, qint64 *bytes) const
{
	const QString file = localFilePath(request.path);
	const QFileInfo info(file);
	Stamp stamp;
	if (info.exists())
		stamp = {info.size(), info.lastModified(QTimeZone::UTC).toMSecsSinceEpoch()};
	if (request.known.stamp == stamp)
		return request.known;
	return {stamp, readFile(file, stopped, bytes)};
}

// The lock keeps the reader alive during the post. Qt drops posted events of an object that is destroyed later.
void TagReader::Worker::take(const Request &request, const Known &read)
{
	const QString path = request.path;
	asked.remove(path);
	owed.remove(path);
	untold.remove(path); // is older
	lastAnswer = std::chrono::steady_clock::now();
	const Known *before = cache.object(path);
	const bool isNew = !before || before->tags != read.tags;
	const bool isChanged = request.known.stamp != read.stamp;
	cache.insert(path, std::make_unique<Known>(read).release());
	noteLength(path, read);
	if (!reader || (!isNew && !isChanged))
		return;
	const auto tell = [to = reader, path, isNew, isChanged, size = sizeOf(read.stamp)] {
		if (isChanged)
			Q_EMIT to->filesChanged({{path, size}});
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
	worker->unmeasured.clear();
	worker->asks.notify_all();
	worker->changed.wait_for(lock, 200ms, [this] { return worker->threads == 0; });
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

void TagReader::readLengths(const QList<std::pair<QString, qint64>> &files)
{
	const std::lock_guard lock(worker->mutex);
	worker->unmeasured.clear();
	for (const auto &[path, size] : files) {
		const auto known = worker->measuredSizes.constFind(path);
		if (hasTags(path) && (known == worker->measuredSizes.cend() || (size >= 0 && *known != size)))
			worker->unmeasured.append(path);
	}
	if (!worker->unmeasured.isEmpty())
		worker->start(worker);
}

void TagReader::tellMeasured()
{
	std::unique_lock lock(worker->mutex);
	const QHash<QString, qint64> sizes = std::exchange(worker->untold, {});
	lock.unlock();
	if (!sizes.isEmpty())
		Q_EMIT filesChanged(sizes);
}

QHash<QString, qint64> TagReader::lengths() const
{
	const std::lock_guard lock(worker->mutex);
	if (!worker->published) {
		worker->published = worker->lengths;
		worker->published->detach();
	}
	return *worker->published;
}

void TagReader::endWaits()
{
	const std::lock_guard lock(worker->mutex);
	worker->closed = true;
	worker->changed.notify_all();
}

} // namespace reelhouse
