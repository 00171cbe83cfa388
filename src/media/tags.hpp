/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QCache>
#include <QObject>
#include <QSet>
#include <QString>

#include <memory>
#include <optional>

namespace reelhouse {

// Tags of a media file. Each text is one line of at most 500 characters. Their content is not to be trusted.
struct Tags {
	QString title;
	QString artist;
	qint64 durationMs = -1; // -1: unknown
	bool operator==(const Tags &) const = default;
};

// Opens and reads the entry's local file. Any thread, but not the user-interface thread, because it blocks. Never
// throws. Returns empty tags for a URL, a file that is not plain, an unknown kind of file, and in a build without
// libavformat. Reads a damaged or hostile file with a bounded amount of work and returns what it found.
Tags readTags(const QString &path);

// Returns the title; without one, the entry's label without the ending of its file name.
QString displayTitle(const QString &path, const Tags &tags);

// Returns "artist – title", or the title alone when the artist is unknown.
QString artistAndTitle(const QString &path, const Tags &tags);

// Gives tags to the user-interface thread without touching a file on it: on a network disk even a question for the size
// may take minutes. One worker thread reads the files, the last requested one first.
class TagReader : public QObject {
	Q_OBJECT

public:
	explicit TagReader(QObject *parent);
	// Waits briefly for a file that is being read, but not for a disk that does not answer.
	~TagReader() override;

	// Returns the cached tags of this entry; nothing if it was never read. Always queues a check of the file, which
	// reads it when it is new or its size or time of change differs. Empty tags for a URL.
	std::optional<Tags> cached(const QString &path);

	// Returns the cached tags of this entry, or empty tags, and does not queue a check.
	Tags known(const QString &path) const;

Q_SIGNALS:
	// cached() now has tags for this path, or other ones than before.
	void tagsRead(const QString &path);

private:
	// Identifies a version of a file. The default means "no file" or "never checked".
	struct Stamp {
		qint64 size = -1; // in bytes
		qint64 changedMs = 0;
		bool operator==(const Stamp &) const = default;
	};
	struct Known {
		Stamp stamp;
		Tags tags;
	};
	struct Request {
		QString path;
		Known known;
	};
	struct Worker;

	void ask(const Request &request);
	void take(const QString &path, const Known &read);

	QCache<QString, Known> cache;
	QSet<QString> asked; // paths that wait for the worker
	// Shared with the worker's thread, which may outlive this object.
	std::shared_ptr<Worker> worker;
};

} // namespace reelhouse
