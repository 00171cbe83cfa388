/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "media/FileLooks.hpp"

#include <QDir>
#include <QFileInfo>
#include <QSet>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
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
constexpr size_t mostInBatch = 32;

QString parentOf(const QString &file)
{
	return file.first(std::max<qsizetype>(file.lastIndexOf(u'/'), 0));
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

FileLooks::Seen lookAt(const QString &file, bool listFolders)
{
	const QFileInfo info(file);
	FileLooks::Seen seen{info.isFile() ? info.size() : SizeMissing, {}};
	if (listFolders && info.isDir())
		seen.files = mediaFilesIn(file);
	return seen;
}

} // namespace

struct FileLooks::Pool {
	// The looks of one operation that it waits for.
	struct Round {
		size_t open = 0;
		std::vector<Deliver> answers;
		bool isOver = false;
	};
	struct Task {
		std::function<Deliver()> look;
		std::shared_ptr<Round> round; // null: no one waits
	};
	struct Folder {
		std::deque<Task> waiting;
		int running = 0;
		size_t owed = 0;      // looks that an operation has given up, or did not wait for
		bool answers = false; // the last look has come back in time
		bool isQuick = false;
		bool isListed = false; // in folders or lateFolders
	};
	struct Batch {
		QString folder;
		std::vector<Task> tasks;
		bool isLate = false; // nobody waits for it
		bool isGivenUp = false;
	};

	explicit Pool(FileLooks *looks) : owner(looks) {}

	void add(Look look, const std::shared_ptr<Round> &round);
	void startThreads(const std::shared_ptr<Pool> &self);
	void giveUp(Round &round);

	std::mutex mutex;                 // guards everything here
	std::condition_variable answered; // or a thread has ended
	FileLooks *owner;                 // null after its destruction
	int threads = 0;
	int lookers = 0; // threads at work that have not been given up, without the late ones

private:
	void run(const std::shared_ptr<Pool> &self, std::shared_ptr<Batch> batch);
	void list(const QString &name, Folder &folder);
	std::shared_ptr<Batch> take();
	void finish(const Batch &batch, std::vector<Deliver> answers, bool isQuick);

	QHash<QString, std::shared_ptr<Folder>> known;
	// Those that a thread may look into now. All looks into a late one are late.
	std::deque<QString> folders;
	std::deque<QString> lateFolders;
	QList<std::shared_ptr<Batch>> atWork;
	int lateLookers = 0;
};

void FileLooks::Pool::list(const QString &name, Folder &folder)
{
	if (folder.isListed || folder.waiting.empty() || (folder.running >= mostUnsure && !folder.answers))
		return;
	folder.isListed = true;
	(folder.owed > 0 ? lateFolders : folders).push_back(name);
}

void FileLooks::Pool::add(Look look, const std::shared_ptr<Round> &round)
{
	std::shared_ptr<Folder> &folder = known[look.folder];
	if (!folder)
		folder = std::make_shared<Folder>();
	const bool isWaitedFor = folder->owed == 0;
	if (isWaitedFor)
		round->open++;
	else
		folder->owed++;
	folder->waiting.push_back({std::move(look.look), isWaitedFor ? round : nullptr});
	list(look.folder, *folder);
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
	std::deque<QString> &from = isLate ? lateFolders : folders;
	if (!owner || from.empty() || (isLate && lateLookers == mostLateLookers))
		return nullptr;
	const auto batch = std::make_shared<Batch>();
	batch->folder = from.front();
	batch->isLate = isLate;
	from.pop_front();
	Folder &folder = *known[batch->folder];
	folder.isListed = false;
	folder.running++;
	const size_t count = std::min(folder.waiting.size(), folder.isQuick ? mostInBatch : 1);
	for (size_t i = 0; i < count; i++) {
		batch->tasks.push_back(std::move(folder.waiting.front()));
		folder.waiting.pop_front();
	}
	list(batch->folder, folder);
	(isLate ? lateLookers : lookers)++;
	atWork.append(batch);
	return batch;
}

void FileLooks::Pool::finish(const Batch &batch, std::vector<Deliver> answers, bool isQuick)
{
	const std::shared_ptr<Folder> folder = known[batch.folder];
	folder->running--;
	folder->answers = true;
	folder->isQuick = isQuick;
	for (size_t i = 0; i < answers.size(); i++) {
		Round *round = batch.tasks[i].round.get();
		if (round && !round->isOver) {
			round->answers.push_back(std::move(answers[i]));
			round->open--;
			continue;
		}
		folder->owed--;
		// The lock keeps the owner alive during the post. Qt drops posted events of an object that is destroyed
		// later.
		if (owner)
			QMetaObject::invokeMethod(
				owner, [deliver = std::move(answers[i])] { deliver(true); }, Qt::QueuedConnection);
	}
	answered.notify_all();
	list(batch.folder, *folder);
	if (folder->waiting.empty() && folder->running == 0)
		known.remove(batch.folder);
}

void FileLooks::Pool::run(const std::shared_ptr<Pool> &self, std::shared_ptr<Batch> batch)
{
	os_set_thread_name("reelhouse: looks");
	while (batch) {
		const auto start = std::chrono::steady_clock::now();
		std::vector<Deliver> answers;
		for (const Task &task : batch->tasks)
			answers.push_back(task.look());
		const auto took = std::chrono::steady_clock::now() - start;
		const std::lock_guard lock(mutex);
		atWork.removeOne(batch);
		if (!batch->isGivenUp)
			(batch->isLate ? lateLookers : lookers)--;
		finish(*batch, std::move(answers), took < 1ms * batch->tasks.size());
		batch = take();
		startThreads(self);
		threads -= !batch;
	}
	answered.notify_all();
}

// Others take the places of the threads that are at work.
void FileLooks::Pool::giveUp(Round &round)
{
	round.isOver = true;
	const auto owe = [this, &round](const QString &name, const auto &tasks) {
		const auto open = std::ranges::count(tasks, &round, [](const Task &task) { return task.round.get(); });
		known[name]->owed += static_cast<size_t>(open);
		known[name]->answers = known[name]->answers && open == 0;
	};
	for (const std::shared_ptr<Batch> &batch : std::as_const(atWork)) {
		owe(batch->folder, batch->tasks);
		if (!batch->isLate && !std::exchange(batch->isGivenUp, true))
			lookers--;
	}
	for (const QString &name : known.keys())
		owe(name, known[name]->waiting);
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

void FileLooks::lookAtAll(std::vector<Look> looks)
{
	if (looks.empty())
		return;
	const auto round = std::make_shared<Pool::Round>();
	std::unique_lock lock(pool->mutex);
	for (Look &look : looks)
		pool->add(std::move(look), round);
	pool->startThreads(pool);
	const auto start = std::chrono::steady_clock::now();
	// What follows takes its time, too. When another disk has used up the wait, one that is quick answers in the least.
	const auto rest = std::min<std::chrono::nanoseconds>(restForEach * looks.size(), mostRest);
	const auto most = std::max<std::chrono::nanoseconds>(timeLeft - rest, leastWait);
	// Once all threads hang, nothing would answer.
	pool->answered.wait_for(lock, most, [&] { return round->open == 0 || pool->lookers == 0; });
	timeLeft = std::max<std::chrono::nanoseconds>(timeLeft - (std::chrono::steady_clock::now() - start), 0s);
	if (round->open > 0) {
		pool->giveUp(*round);
		pool->startThreads(pool);
	}
	round->isOver = true;
	const std::vector<Deliver> answers = std::move(round->answers);
	lock.unlock();
	for (const Deliver &deliver : answers)
		deliver(false);
}

FileLooks::SeenByPath FileLooks::look(const QList<QString> &paths, bool listFolders)
{
	SeenByPath seen;
	std::vector<Look> looks;
	for (const QString &path : QSet<QString>(paths.cbegin(), paths.cend())) {
		const QString file = localFilePath(path);
		// A late answer finds no result of this call any more.
		// A URL stays one entry, whatever it names.
		const bool lists = listFolders && file == path;
		const auto look = [this, &seen, path, file, lists]() -> Deliver {
			return [this, &seen, path, answer = lookAt(file, lists)](bool isLate) {
				(isLate ? late : seen).insert(path, answer);
				if (isLate && !lateTimer.isActive())
					lateTimer.start();
			};
		};
		looks.push_back({parentOf(file), look});
	}
	lookAtAll(std::move(looks));
	return seen;
}

std::optional<qint64> FileLooks::sizeOf(const QString &path)
{
	const SeenByPath seen = look({path});
	return seen.isEmpty() ? std::nullopt : std::optional(seen.cbegin()->size);
}

} // namespace reelhouse
