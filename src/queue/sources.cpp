/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "queue/sources.hpp"

#include <algorithm>

namespace reelhouse {

QString nameOf(obs_source_t *source)
{
	return QString::fromUtf8(source ? obs_source_get_name(source) : "");
}

QString uuidOf(obs_source_t *source)
{
	return QString::fromUtf8(source ? obs_source_get_uuid(source) : "");
}

OBSSourceAutoRelease sourceWith(const QString &uuid)
{
	return obs_get_source_by_uuid(uuid.toUtf8().constData());
}

QList<NamedSource> namedSources(bool (*fits)(obs_source_t *source))
{
	using Enumeration = std::pair<QList<NamedSource>, decltype(fits)>;
	Enumeration all({}, fits);
	obs_enum_sources(
		[](void *data, obs_source_t *source) {
			auto &[found, fitsIn] = *static_cast<Enumeration *>(data);
			if (fitsIn(source))
				found.append({nameOf(source), uuidOf(source)});
			return true;
		},
		&all);
	std::ranges::sort(all.first, [](const NamedSource &a, const NamedSource &b) {
		return QString::localeAwareCompare(a.name, b.name) < 0;
	});
	return all.first;
}

} // namespace reelhouse
