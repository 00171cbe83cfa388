/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QHash>
#include <QObject>
#include <QSet>
#include <QString>

#include <memory>

namespace reelhouse {

// Finds files that have been moved, by their names. It touches no file on the user-interface thread: a disk may not
// answer for minutes. Use it on that thread.
class FileFinder : public QObject {
	Q_OBJECT

public:
	// Where the files of some local paths are now: the path itself if its file is there, else the file that was
	// found for it, else an empty string.
	using Places = QHash<QString, QString>;

	explicit FileFinder(QObject *parent);
	// Waits briefly for a running search, but not for a disk that does not answer.
	~FileFinder() override;

	// Looks for a file with the same name in the folder and below, for each path whose file is not there. Among
	// several it prefers the one with the most folder names in common with the path, counted from the end, then the
	// one that is the least deep. Hidden files and folders do not count. Gives up a search that is running.
	void start(const QString &folder, const QSet<QString> &paths);
	// Gives the search up: finished() does not follow.
	void cancel();
	bool isRunning() const { return search != nullptr; }
	// The number of files that the running search has seen.
	qint64 filesSeen() const;

Q_SIGNALS:
	// isFolder is false if there is no such folder.
	void finished(const reelhouse::FileFinder::Places &places, bool isFolder);

private:
	struct Search;

	void finish(const Search *ended, const Places &places, bool isFolder);

	std::shared_ptr<Search> search; // shared with its thread, which may outlive this object; null: none runs
};

} // namespace reelhouse
