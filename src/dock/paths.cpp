/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/paths.hpp"

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

QString textIn(obs_data_t *data, const char *key)
{
	return QString::fromUtf8(obs_data_get_string(data, key));
}

void setText(obs_data_t *data, const char *key, const QString &text)
{
	obs_data_set_string(data, key, text.toUtf8().constData());
}

QList<QString> pathsIn(obs_data_t *settings, const char *key)
{
	QList<QString> paths;
	OBSDataArrayAutoRelease array = obs_data_get_array(settings, key);
	const size_t count = obs_data_array_count(array);
	paths.reserve(static_cast<qsizetype>(count));
	for (size_t i = 0; i < count; i++) {
		OBSDataAutoRelease item = obs_data_array_item(array, i);
		QString path = textIn(item, valueKey);
		if (!path.isEmpty())
			paths.append(std::move(path));
	}
	return paths;
}

bool holdsPaths(obs_data_t *settings, const char *key, const QList<QString> &paths)
{
	OBSDataArrayAutoRelease array = obs_data_get_array(settings, key);
	const size_t count = obs_data_array_count(array);
	auto path = paths.cbegin();
	for (size_t i = 0; i < count; i++) {
		OBSDataAutoRelease item = obs_data_array_item(array, i);
		const QUtf8StringView value(obs_data_get_string(item, valueKey));
		if (value.isEmpty())
			continue;
		if (path == paths.cend() || !QAnyStringView::equal(*path, value))
			return pathsIn(settings, key) == paths;
		++path;
	}
	return path == paths.cend();
}

OBSDataArrayAutoRelease pathArray(const QList<QString> &paths)
{
	OBSDataArrayAutoRelease array = obs_data_array_create();
	for (const QString &path : paths) {
		OBSDataAutoRelease item = obs_data_create();
		setText(item, valueKey, path);
		obs_data_array_push_back(array, item);
	}
	return array;
}

QString localFilePath(const QString &path)
{
	return fileUrlPath(path).value_or(path.contains("://"_L1) ? QString() : path);
}

OBSDataArrayAutoRelease movedItems(obs_data_array_t *items, const QHash<QString, QString> &places)
{
	bool anyMoved = false;
	OBSDataArrayAutoRelease moved = obs_data_array_create();
	const size_t count = obs_data_array_count(items);
	for (size_t i = 0; i < count; i++) {
		OBSDataAutoRelease item = obs_data_array_item(items, i);
		const QString path = textIn(item, valueKey);
		const QString next = movedPath(path, places);
		if (next == path) {
			obs_data_array_push_back(moved, item);
			continue;
		}
		// Others may be using the old item.
		OBSDataAutoRelease changed = obs_data_create();
		obs_data_apply(changed, item);
		setText(changed, valueKey, next);
		obs_data_array_push_back(moved, changed);
		anyMoved = true;
	}
	return anyMoved ? std::move(moved) : nullptr;
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
