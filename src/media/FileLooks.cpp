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
constexpr auto leastWait = 30ms;
constexpr int lateDelayMs = 100;
constexpr int mostLookers = 16;
// With those whose looks were given up. They end, or go on, when their disk answers.
constexpr int mostLookersInAll = 64;
// A thread takes so many looks at once in a folder whose last look took less than a millisecond.
constexpr size_t mostInBatch = 32;

QString parentOf(const QString &file)
{
	return file.first(std::max<qsizetype>(file.lastIndexOf(u'/'), 0));
}

QList<QString> mediaFilesIn(const QString &folder)
{
	static const QStringList patterns =
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
		bool answers = false; // one look has come back: until then only one thread looks here
		bool isQuick = false;
		bool isListed = false; // in folders
	};
	struct Batch {
		QString folder;
		std::vector<Task> tasks;
		bool isGivenUp = false;
	};

	explicit Pool(FileLooks *looks) : owner(looks) {}

	void add(Look look, const std::shared_ptr<Round> &round);
	void startThreads(const std::shared_ptr<Pool> &self);
	void giveUp(Round &round);

	std::mutex mutex; // guards everything here
	std::condition_variable answered;
	FileLooks *owner; // null after its destruction

private:
	void run(const std::shared_ptr<Pool> &self);
	void list(const QString &name, Folder &folder);
	Batch take();
	void finish(const Batch &batch, std::vector<Deliver> answers, bool isQuick);

	QHash<QString, std::shared_ptr<Folder>> known;
	std::deque<QString> folders; // those that a thread may look into now
	std::vector<Batch *> atWork;
	int threads = 0;
	int givenUp = 0; // threads whose looks were given up
};

// Lists a folder among those that a thread may look into.
void FileLooks::Pool::list(const QString &name, Folder &folder)
{
	if (folder.isListed || folder.waiting.empty() || (folder.running > 0 && !folder.answers))
		return;
	folder.isListed = true;
	folders.push_back(name);
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
	size_t wanted = 0;
	for (const QString &name : folders) {
		const Folder &folder = *known[name];
		wanted += folder.answers ? folder.waiting.size() : 1;
		if (wanted >= mostLookers)
			break;
	}
	for (; wanted > 0 && threads - givenUp < mostLookers && threads < mostLookersInAll; wanted--) {
		threads++;
		std::thread([self] { self->run(self); }).detach();
	}
}

FileLooks::Pool::Batch FileLooks::Pool::take()
{
	Batch batch{folders.front(), {}, false};
	folders.pop_front();
	Folder &folder = *known[batch.folder];
	folder.isListed = false;
	folder.running++;
	const size_t count = std::min(folder.waiting.size(), folder.isQuick ? mostInBatch : 1);
	for (size_t i = 0; i < count; i++) {
		batch.tasks.push_back(std::move(folder.waiting.front()));
		folder.waiting.pop_front();
	}
	list(batch.folder, folder);
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
			if (--round->open == 0)
				answered.notify_all();
			continue;
		}
		folder->owed--;
		// The lock keeps the owner alive during the post. Qt drops posted events of an object that is destroyed
		// later.
		if (owner)
			QMetaObject::invokeMethod(
				owner, [deliver = std::move(answers[i])] { deliver(true); }, Qt::QueuedConnection);
	}
	list(batch.folder, *folder);
	if (folder->waiting.empty() && folder->running == 0)
		known.remove(batch.folder);
}

void FileLooks::Pool::run(const std::shared_ptr<Pool> &self)
{
	os_set_thread_name("reelhouse: looks");
	std::unique_lock lock(mutex);
	while (owner && !folders.empty() && threads - givenUp <= mostLookers) {
		Batch batch = take();
		atWork.push_back(&batch);
		lock.unlock();
		const auto start = std::chrono::steady_clock::now();
		std::vector<Deliver> answers;
		for (const Task &task : batch.tasks)
			answers.push_back(task.look());
		const auto took = std::chrono::steady_clock::now() - start;
		lock.lock();
		std::erase(atWork, &batch);
		givenUp -= batch.isGivenUp;
		finish(batch, std::move(answers), took < 1ms * batch.tasks.size());
		startThreads(self);
	}
	threads--;
}

// Others take the places of the threads that are at work.
void FileLooks::Pool::giveUp(Round &round)
{
	round.isOver = true;
	const auto owe = [this, &round](const QString &folder, const auto &tasks) {
		const auto open = std::ranges::count(tasks, &round, [](const Task &task) { return task.round.get(); });
		known[folder]->owed += static_cast<size_t>(open);
	};
	for (Batch *batch : atWork) {
		owe(batch->folder, batch->tasks);
		givenUp += !std::exchange(batch->isGivenUp, true);
	}
	for (const QString &folder : known.keys())
		owe(folder, known[folder]->waiting);
}

FileLooks::FileLooks(QObject *parent) : QObject(parent), pool(std::make_shared<Pool>(this))
{
	lateTimer.setSingleShot(true);
	lateTimer.setInterval(lateDelayMs);
	connect(&lateTimer, &QTimer::timeout, this, [this] { Q_EMIT answeredLate(std::exchange(late, {})); });
}

FileLooks::~FileLooks()
{
	const std::lock_guard lock(pool->mutex);
	pool->owner = nullptr;
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
	// When another disk has used up the time, one that is quick answers in this wait.
	const auto most = std::max<std::chrono::nanoseconds>(timeLeft, leastWait);
	pool->answered.wait_for(lock, most, [&round] { return round->open == 0; });
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
		const auto look = [this, &seen, path, file, listFolders]() -> Deliver {
			return [this, &seen, path, answer = lookAt(file, listFolders)](bool isLate) {
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
