/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "media/FileFinder.hpp"

#include <QDir>
#include <QDirListing>
#include <QFileInfo>
#include <QQueue>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <tuple>

#include <util/threading.h>

using namespace Qt::StringLiterals;

namespace reelhouse {

namespace {

// Returns the path in the form in which paths are compared: systems compose accents in different ways, and a queue from
// Windows has backslashes.
QString comparable(const QString &path)
{
	QString text = path.normalized(QString::NormalizationForm_C);
	const bool fromWindows = text.startsWith("\\\\"_L1) || (text.size() > 2 && text[1] == u':' && text[2] == u'\\');
	return fromWindows ? text.replace(u'\\', u'/') : text;
}

QString nameIn(const QString &path)
{
	return path.sliced(path.lastIndexOf(u'/') + 1);
}

// Returns how many of their last names two paths share.
int sharedNames(QStringView a, QStringView b)
{
	int count = 0;
	while (!a.isEmpty() && !b.isEmpty()) {
		const qsizetype atA = a.lastIndexOf(u'/'), atB = b.lastIndexOf(u'/');
		if (a.sliced(atA + 1) != b.sliced(atB + 1))
			break;
		count++;
		a.truncate(std::max<qsizetype>(atA, 0));
		b.truncate(std::max<qsizetype>(atB, 0));
	}
	return count;
}

// The best file so far for a path that is looked for.
struct Best {
	QString path;       // as it was asked
	QString comparable; // the same
	QString file;       // empty: none
	int shared = 0;

	void offer(const QString &other)
	{
		const int otherShared = sharedNames(comparable, reelhouse::comparable(other));
		if (file.isEmpty() ||
		    std::tuple(-otherShared, other.count(u'/'), other) < std::tuple(-shared, file.count(u'/'), file)) {
			file = other;
			shared = otherShared;
		}
	}
};

struct Folder {
	QString path;
	QString realPath; // without links: a folder is visited once, even if links make a loop
};

} // namespace

// The thread is not joined: a look at a disk may never return.
struct FileFinder::Search : std::enable_shared_from_this<FileFinder::Search> {
	Search(FileFinder *owner, const QString &folder_, const QSet<QString> &paths_)
		: finder(owner), folder(folder_), paths(paths_)
	{}

	void run();
	void walk();
	void visit(const Folder &visited, QQueue<Folder> &next);
	Places places() const;

	std::mutex mutex;
	std::condition_variable ended;
	// Use these two only with the mutex held.
	FileFinder *finder; // null: the result is not wanted any more
	bool running = true;
	std::atomic<bool> stopped = false;
	std::atomic<qint64> filesSeen = 0;

	// Only the thread uses these.
	const QString folder;
	const QSet<QString> paths;
	QHash<QString, QList<Best>> wanted; // by the name of the file
	QSet<QString> visitedPaths;
};

void FileFinder::Search::run()
{
	os_set_thread_name("reelhouse: finder");
	for (const QString &path : paths) {
		const QString text = comparable(path);
		wanted[nameIn(text)].append({path, text, {}});
	}
	const bool isFolder = QFileInfo(folder).isDir();
	if (isFolder)
		walk();
	const Places found = places();

	const std::lock_guard lock(mutex);
	running = false;
	// The lock keeps the finder alive during the post. Qt drops posted events of an object that is destroyed later.
	if (finder) {
		const auto deliver = [self = shared_from_this(), to = finder, found, isFolder] {
			to->finish(self.get(), found, isFolder);
		};
		QMetaObject::invokeMethod(finder, deliver, Qt::QueuedConnection);
	}
	ended.notify_all();
}

// Folders of one depth after those of the depth above.
void FileFinder::Search::walk()
{
	const QFileInfo start(folder);
	QQueue<Folder> folders;
	folders.enqueue({start.absoluteFilePath(), start.canonicalFilePath()});
	while (!folders.isEmpty() && !stopped) {
		const Folder next = folders.dequeue();
		if (visitedPaths.contains(next.realPath))
			continue;
		visitedPaths.insert(next.realPath);
		visit(next, folders);
	}
}

void FileFinder::Search::visit(const Folder &visited, QQueue<Folder> &next)
{
	for (const auto &entry : QDirListing(visited.path)) {
		if (stopped)
			return;
		if (entry.isDir()) {
			const QString realPath = entry.isSymLink() ? entry.canonicalFilePath()
								   : QDir(visited.realPath).filePath(entry.fileName());
			next.enqueue({entry.filePath(), realPath});
			continue;
		}
		filesSeen++;
		const auto named = wanted.find(comparable(entry.fileName()));
		if (named == wanted.end() || !entry.isFile())
			continue;
		for (Best &best : *named)
			best.offer(entry.filePath());
	}
}

FileFinder::Places FileFinder::Search::places() const
{
	Places found;
	for (const QList<Best> &named : wanted) {
		for (const Best &best : named) {
			if (stopped)
				return {};
			found.insert(best.path, QFileInfo(best.path).isFile() ? best.path : best.file);
		}
	}
	return found;
}

FileFinder::FileFinder(QObject *parent) : QObject(parent) {}

FileFinder::~FileFinder()
{
	using namespace std::chrono_literals;
	const std::shared_ptr<Search> last = search;
	cancel();
	if (!last)
		return;
	std::unique_lock lock(last->mutex);
	last->ended.wait_for(lock, 200ms, [&last] { return !last->running; });
}

void FileFinder::start(const QString &folder, const QSet<QString> &paths)
{
	cancel();
	search = std::make_shared<Search>(this, folder, paths);
	std::thread([started = search] { started->run(); }).detach();
}

void FileFinder::cancel()
{
	// Outlives the lock of its mutex.
	const std::shared_ptr<Search> last = std::move(search);
	if (!last)
		return;
	const std::lock_guard lock(last->mutex);
	last->finder = nullptr;
	last->stopped = true;
}

qint64 FileFinder::filesSeen() const
{
	return search ? search->filesSeen.load() : 0;
}

// A search may be given up after its result was posted.
void FileFinder::finish(const Search *ended, const Places &places, bool isFolder)
{
	if (search.get() != ended)
		return;
	search = nullptr;
	Q_EMIT finished(places, isFolder);
}

} // namespace reelhouse
