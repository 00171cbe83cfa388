/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QCache>
#include <QObject>
#include <QSet>
#include <QString>

#include <memory>
#include <optional>

namespace reelhouse {

// What a media file says about itself, which may be anything: the texts are one line each and end after 500 characters.
struct Tags {
	QString title;
	QString artist;
	qint64 durationMs = -1; // -1: unknown
	bool operator==(const Tags &) const = default;
};

// Opens and reads the local file that the entry names, now: not for the user-interface thread. Any thread; never throws.
// Empty for a URL, for what is no plain file, for a file of an unknown kind, and in a build without TagLib. A cut or
// hostile file gives what can be read of it with a bounded amount of work.
Tags readTags(const QString &path);

// The title, or else the entry's label without the ending of its file name.
QString displayTitle(const QString &path, const Tags &tags);

// "artist – title", or the title alone where no artist is known.
QString artistAndTitle(const QString &path, const Tags &tags);

// Tags for the user-interface thread, which touches no file for them: even to ask a network disk for the size of a file
// can take minutes. One thread of its own looks at the files, at the one that was asked for last before the others.
class TagReader : public QObject {
	Q_OBJECT

public:
	explicit TagReader(QObject *parent);
	// Waits a moment for a file that is being read, but no longer for a disk that does not answer.
	~TagReader() override;

	// What is known of this entry; nothing if it was not read yet. In either case the file is then looked at in the
	// background, and read if it is new or has another size or time of change. Empty tags for a URL.
	std::optional<Tags> cached(const QString &path);

	// What is known of this entry already, without a look at its file. Empty if that is nothing.
	Tags known(const QString &path) const;

Q_SIGNALS:
	// cached() has tags for this path where it had none, or others.
	void tagsRead(const QString &path);

private:
	// By what a change of a file is told; at first, and later without a file, it is this.
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
	QSet<QString> asked; // the paths that the worker has yet to answer for
	// Shared with the worker's thread, which may outlive this object.
	std::shared_ptr<Worker> worker;
};

} // namespace reelhouse
