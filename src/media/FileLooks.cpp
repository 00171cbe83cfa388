/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "media/FileLooks.hpp"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <utility>

#include <util/threading.h>

#include "queue/Track.hpp"
#include "queue/paths.hpp"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace reelhouse {

namespace {

constexpr auto operationWait = 1s;
// Of that, what a dock needs after the looks to make rows and a record of so many files.
constexpr auto restForEach = 10us;
constexpr auto mostRest = 200ms;
constexpr auto leastWait = 30ms;
constexpr auto endWait = 200ms;
constexpr int lateDelayMs = 100;
// Threads whose looks an operation waits for.
constexpr int mostLookers = 16;
// Further threads, for looks that nobody waits for: they may hang, and must not take the places of the others.
constexpr int mostLateLookers = 4;
// With those whose looks were given up. They go on when their disk answers.
constexpr int mostThreads = 64;
// So many threads look into a folder that has not answered yet.
constexpr int mostUnsure = 4;
// A thread takes so many looks at once in a folder whose last look took less than a millisecond.
constexpr qsizetype mostInBatch = 32;

QStringView parentOf(const QString &file)
{
	return QStringView(file).first(std::max<qsizetype>(file.lastIndexOf(u'/'), 0));
}

QList<QString> mediaFilesIn(const QString &folder)
{
	const QStringList patterns =
		u"*.mp3 *.wav *.flac *.aac *.ogg *.m4a *.opus *.wma *.mp4 *.mkv *.mov *.avi *.webm *.m4v *.ts *.flv "
		"*.wmv *.mpg *.mpeg"_s.split(u' ');
	QList<QString> files;
	for (const QFileInfo &file : QDir(folder).entryInfoList(patterns, QDir::Files | QDir::Readable))
		files.append(file.absoluteFilePath());
	return files;
}

FileLooks::Seen lookAt(const QString &path, bool listFolders)
{
	const QString file = localFilePath(path);
	const QFileInfo info(file);
	FileLooks::Seen seen{info.isFile() ? info.size() : SizeMissing, {}};
	// A URL stays one entry, whatever it names.
	if (listFolders && file == path && info.isDir())
		seen.files = mediaFilesIn(file);
	return seen;
}

} // namespace

struct FileLooks::Pool {
	// The looks of one operation.
	struct Round {
		const QList<QString> paths;
		const bool listFolders;
		std::vector<std::optional<Seen>> answers = std::vector<std::optional<Seen>>(paths.size());
		size_t open = 0; // looks that the operation waits for
	};
	struct Task {
		std::shared_ptr<Round> round;
		qsizetype index; // of the path
	};
	struct Folder {
		QString name;
		std::deque<Task> waiting;
		int running = 0;
		bool owes = false;    // an operation has given up looks into it: nobody waits for those that are open
		bool answers = false; // the last look has come back in time
		bool isQuick = false;
		bool isListed = false; // in folders or lateFolders
	};
	struct Batch {
		std::shared_ptr<Folder> folder;
		std::vector<Task> tasks;
		bool isLate = false; // nobody waits for it
		bool isGivenUp = false;
	};

	explicit Pool(FileLooks *looks) : owner(looks) {}

	void add(const std::shared_ptr<Round> &round, const std::vector<qsizetype> &firsts);
	void startThreads(const std::shared_ptr<Pool> &self);
	void giveUp();

	std::mutex mutex;                 // guards everything here
	std::condition_variable answered; // all that an operation waits for, or a thread has ended
	FileLooks *owner;                 // null after its destruction
	int threads = 0;
	int lookers = 0; // threads at work that have not been given up, without the late ones

private:
	void run(const std::shared_ptr<Pool> &self, std::shared_ptr<Batch> batch);
	void list(const std::shared_ptr<Folder> &folder);
	std::shared_ptr<Batch> take();
	void finish(const Batch &batch, const std::vector<Seen> &answers, bool isQuick);

	QHash<QString, std::shared_ptr<Folder>> known; // those with open looks
	// Those that a thread may look into now. All looks into a late one are late.
	std::deque<std::shared_ptr<Folder>> folders;
	std::deque<std::shared_ptr<Folder>> lateFolders;
	QList<std::shared_ptr<Batch>> atWork;
	int lateLookers = 0;
};

void FileLooks::Pool::list(const std::shared_ptr<Folder> &folder)
{
	if (folder->isListed || folder->waiting.empty() || (folder->running >= mostUnsure && !folder->answers))
		return;
	folder->isListed = true;
	(folder->owes ? lateFolders : folders).push_back(folder);
}

// Of equal paths, the first one is looked at.
void FileLooks::Pool::add(const std::shared_ptr<Round> &round, const std::vector<qsizetype> &firsts)
{
	std::shared_ptr<Folder> folder;
	for (qsizetype i = 0; i < round->paths.size(); i++) {
		if (firsts[i] != i)
			continue;
		const QString file = localFilePath(round->paths.at(i));
		const QStringView name = parentOf(file);
		// Neighbours are mostly in one folder.
		if (!folder || folder->name != name) {
			std::shared_ptr<Folder> &found = known[name.toString()];
			if (!found)
				found = std::make_shared<Folder>(name.toString());
			folder = found;
		}
		round->open += !folder->owes;
		folder->waiting.push_back({round, i});
		list(folder);
	}
}

void FileLooks::Pool::startThreads(const std::shared_ptr<Pool> &self)
{
	while (threads < mostThreads) {
		const std::shared_ptr<Batch> batch = take();
		if (!batch)
			return;
		threads++;
		std::thread([self, batch] { self->run(self, batch); }).detach();
	}
}

// Returns null when there is nothing to do, or no place for one that does it.
std::shared_ptr<FileLooks::Pool::Batch> FileLooks::Pool::take()
{
	const bool isLate = folders.empty() || lookers == mostLookers;
	std::deque<std::shared_ptr<Folder>> &from = isLate ? lateFolders : folders;
	if (!owner || from.empty() || (isLate && lateLookers == mostLateLookers))
		return nullptr;
	const auto batch = std::make_shared<Batch>(from.front());
	batch->isLate = isLate;
	from.pop_front();
	Folder &folder = *batch->folder;
	folder.isListed = false;
	folder.running++;
	const auto end = folder.waiting.begin() +
			 std::min<qsizetype>(std::ssize(folder.waiting), folder.isQuick ? mostInBatch : 1);
	batch->tasks.assign(folder.waiting.begin(), end);
	folder.waiting.erase(folder.waiting.begin(), end);
	list(batch->folder);
	(isLate ? lateLookers : lookers)++;
	atWork.append(batch);
	return batch;
}

void FileLooks::Pool::finish(const Batch &batch, const std::vector<Seen> &answers, bool isQuick)
{
	Folder &folder = *batch.folder;
	folder.running--;
	folder.answers = true;
	folder.isQuick = isQuick;
	for (size_t i = 0; i < answers.size(); i++) {
		const auto &[round, index] = batch.tasks[i];
		if (!folder.owes) {
			round->answers[index] = answers[i];
			round->open--;
		} else if (owner) {
			// The lock keeps the owner alive during the post. Qt drops posted events of an object that is
			// destroyed later.
			QMetaObject::invokeMethod(
				owner,
				[to = owner, path = round->paths.at(index), seen = answers[i]] {
					to->takeLate(path, seen);
				},
				Qt::QueuedConnection);
		}
	}
	if (batch.tasks.front().round->open == 0)
		answered.notify_all();
	list(batch.folder);
	if (folder.waiting.empty() && folder.running == 0)
		known.remove(folder.name);
}

void FileLooks::Pool::run(const std::shared_ptr<Pool> &self, std::shared_ptr<Batch> batch)
{
	os_set_thread_name("reelhouse: looks");
	while (batch) {
		const auto start = std::chrono::steady_clock::now();
		std::vector<Seen> answers;
		for (const auto &[round, index] : batch->tasks)
			answers.push_back(lookAt(round->paths.at(index), round->listFolders));
		const auto took = std::chrono::steady_clock::now() - start;
		const std::lock_guard lock(mutex);
		atWork.removeOne(batch);
		if (!batch->isGivenUp)
			(batch->isLate ? lateLookers : lookers)--;
		finish(*batch, answers, took < 1ms * batch->tasks.size());
		batch = take();
		startThreads(self);
		threads -= !batch;
	}
	answered.notify_all();
}

// Others take the places of the threads that are at work.
void FileLooks::Pool::giveUp()
{
	for (const std::shared_ptr<Folder> &folder : std::as_const(known))
		folder->answers = std::exchange(folder->owes, true) && folder->answers;
	for (const std::shared_ptr<Batch> &batch : std::as_const(atWork)) {
		if (!batch->isLate && !std::exchange(batch->isGivenUp, true))
			lookers--;
	}
	std::ranges::move(std::exchange(folders, {}), std::back_inserter(lateFolders));
}

FileLooks::FileLooks(QObject *parent) : QObject(parent), pool(std::make_shared<Pool>(this))
{
	lateTimer.setSingleShot(true);
	lateTimer.setInterval(lateDelayMs);
	connect(&lateTimer, &QTimer::timeout, this, [this] { Q_EMIT answeredLate(std::exchange(late, {})); });
}

FileLooks::~FileLooks()
{
	std::unique_lock lock(pool->mutex);
	pool->owner = nullptr;
	pool->answered.wait_for(lock, endWait, [this] { return pool->threads == 0; });
}

void FileLooks::beginOperation()
{
	timeLeft = operationWait;
}

std::vector<std::optional<FileLooks::Seen>> FileLooks::look(const QList<QString> &paths, bool listFolders)
{
	if (paths.isEmpty())
		return {};
	std::unordered_map<QString, qsizetype> places;
	places.reserve(paths.size());
	std::vector<qsizetype> firsts;
	for (qsizetype i = 0; i < paths.size(); i++)
		firsts.push_back(places.try_emplace(paths.at(i), i).first->second);
	const auto round = std::make_shared<Pool::Round>(paths, listFolders);
	std::unique_lock lock(pool->mutex);
	pool->add(round, firsts);
	pool->startThreads(pool);
	const auto start = std::chrono::steady_clock::now();
	// What follows takes its time, too. When another disk has used up the wait, one that is quick answers in the least.
	const auto rest = std::min<std::chrono::nanoseconds>(restForEach * places.size(), mostRest);
	const auto most = std::max<std::chrono::nanoseconds>(timeLeft - rest, leastWait);
	// Once all threads hang, nothing would answer.
	pool->answered.wait_for(lock, most, [&] { return round->open == 0 || pool->lookers == 0; });
	timeLeft = std::max<std::chrono::nanoseconds>(timeLeft - (std::chrono::steady_clock::now() - start), 0s);
	if (round->open > 0) {
		pool->giveUp();
		pool->startThreads(pool);
	}
	std::vector<std::optional<Seen>> seen = std::move(round->answers);
	lock.unlock();
	for (qsizetype i = 0; i < paths.size(); i++)
		seen[i] = seen[firsts[i]];
	return seen;
}

std::optional<qint64> FileLooks::sizeOf(const QString &path)
{
	const std::optional<Seen> seen = look({path}).front();
	return seen ? std::optional(seen->size) : std::nullopt;
}

void FileLooks::takeLate(const QString &path, const Seen &seen)
{
	late.insert(path, seen);
	if (!lateTimer.isActive())
		lateTimer.start();
}

} // namespace reelhouse
