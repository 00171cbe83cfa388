/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "queue/settings.hpp"

#include "queue/paths.hpp"

namespace reelhouse {

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
		if (path != paths.cend() && QAnyStringView::equal(*path, value)) {
			++path;
			continue;
		}
		// A text that is not valid UTF-8 differs from the string that is made of it.
		const QString text = value.toString();
		if (!text.isEmpty() && (path == paths.cend() || text != *path++))
			return false;
	}
	return path == paths.cend();
}

OBSDataArrayAutoRelease textArray(const QList<QString> &texts, const char *key)
{
	OBSDataArrayAutoRelease array = obs_data_array_create();
	for (const QString &text : texts) {
		OBSDataAutoRelease item = obs_data_create();
		setText(item, key, text);
		obs_data_array_push_back(array, item);
	}
	return array;
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

} // namespace reelhouse
