/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <QTimer>

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

namespace reelhouse {

// Looks at files for the user-interface thread, which waits for a disk one second at most in an operation. Other
// threads do the looks, up to 16 at once; they are never joined, because a look may never return. The looks into a
// folder that owes an answer to an earlier operation are not waited for. Use it on the user-interface thread.
class FileLooks : public QObject {
	Q_OBJECT

public:
	explicit FileLooks(QObject *parent);
	// Waits briefly for looks, but not for a disk that does not answer.
	~FileLooks() override;

	// Starts an operation: its looks share one second.
	void beginOperation();

	// What a look saw.
	struct Seen {
		qint64 size = 0; // in bytes, or SizeMissing
		// If folders are to be listed and this is one: the media files directly in it, as absolute paths in name
		// order.
		std::optional<QList<QString>> files;
	};
	using SeenByPath = QHash<QString, Seen>;

	// Looks at the local file of each entry, once for equal ones. Returns what was seen of each, and nothing of those
	// that did not answer in time: answeredLate() tells them. Each entry must name a local file.
	std::vector<std::optional<Seen>> look(const QList<QString> &paths, bool listFolders = false);
	// As look(), for one file, and returns its size.
	std::optional<qint64> sizeOf(const QString &path);

Q_SIGNALS:
	void answeredLate(const reelhouse::FileLooks::SeenByPath &seen);

private:
	struct Pool;
	void takeLate(const QString &path, const Seen &seen);

	std::chrono::nanoseconds timeLeft = {}; // of this operation, for waits
	SeenByPath late;                        // to tell
	QTimer lateTimer;
	// Shared with the threads, which may outlive this object.
	std::shared_ptr<Pool> pool;
};

} // namespace reelhouse
