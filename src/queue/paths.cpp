/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "queue/paths.hpp"

#include <QUrl>

#include <optional>

using namespace Qt::StringLiterals;

namespace reelhouse {

namespace {

// Returns the local path of a file URL, which may be empty, and nothing for any other entry. Check the scheme first:
// most entries are plain paths, and parsing each as a URL costs more than the rest of its row.
std::optional<QString> fileUrlPath(const QString &path)
{
	if (!path.startsWith("file:"_L1, Qt::CaseInsensitive))
		return std::nullopt;
	const QUrl url(path, QUrl::TolerantMode);
	return url.isLocalFile() ? std::optional(url.toLocalFile()) : std::nullopt;
}

} // namespace

QString localFilePath(const QString &path)
{
	return fileUrlPath(path).value_or(path.contains("://"_L1) ? QString() : path);
}

QString movedPath(const QString &path, const QHash<QString, QString> &places)
{
	const QString place = places.value(localFilePath(path));
	return place.isEmpty() || place == localFilePath(path) ? path : place;
}

bool isTooLong(const QString &path)
{
	constexpr qsizetype maxBytes = 64 * 1024;
	return path.size() > maxBytes || path.toUtf8().size() > maxBytes;
}

QString labelFor(const QString &path, bool current)
{
	const QString file = fileUrlPath(path).value_or(path);
	const QString name = file.sliced(file.lastIndexOf(u'/') + 1);
	const QString &label = name.isEmpty() ? path : name;
	return current ? u"▶\uFE0E "_s + label : label;
}

} // namespace reelhouse
