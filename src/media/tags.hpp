/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace reelhouse {

// Tags of a media file. Each text is one line of at most 500 characters. Their content is not to be trusted.
struct Tags {
	QString title;
	QString artist;
	qint64 durationMs = -1; // -1: unknown
	bool operator==(const Tags &) const = default;
};

// Returns the title; without one, the entry's label without the ending of its file name.
QString displayTitle(const QString &path, const Tags &tags);

// Returns "artist – title", or the title alone when the artist is unknown.
QString artistAndTitle(const QString &path, const Tags &tags);

// Gives tags without touching a file on the caller's thread: on a network disk even a question for the size may take
// minutes. One thread reads the files, the last requested one first; more, up to four, while a disk does not answer.
// Use it on the user-interface thread.
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

	// Queues a check of each file, and returns a function that gives what is known of them, in their order. On
	// another thread than the reader's the function waits until all are known: two seconds at most, and not after
	// endWaits(). Only one call waits at a time, and none while a file owes its answer to an earlier one. The
	// function may outlive the reader.
	using Answers = QList<std::optional<Tags>>;
	std::function<Answers()> answersFor(const QList<QString> &paths);
	// Reads the lengths of these files, in their order, when nothing else is to be read, and slowly: the show may play
	// from the same disk. Each comes with its size in bytes, or a negative value: it is read again when that differs
	// from the one that it was read with. Replaces the list of an earlier call.
	void readLengths(const QList<std::pair<QString, qint64>> &files);
	// Returns the lengths of the files that have been read, by path, in milliseconds; -1 for a file that has none.
	QHash<QString, qint64> lengths() const;

	// Tells the sizes that were seen with the lengths so far, together: dozens of small files are read in a second.
	// Call this now and then, and before a look at the files, which is newer.
	void tellMeasured();

	// Ends the wait for answers and all later ones.
	void endWaits();

Q_SIGNALS:
	// cached() now has tags for this path, or other ones than before.
	void tagsRead(const QString &path);
	// A check has found that these files are new to the reader or have changed, or tellMeasured() tells. The sizes, by
	// path, are in bytes, or SizeMissing for what is no file.
	void filesChanged(const QHash<QString, qint64> &sizes);

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

	// Shared with the worker's thread, which may outlive this object.
	std::shared_ptr<Worker> worker;
};

} // namespace reelhouse
