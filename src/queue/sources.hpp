/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QList>
#include <QString>

#include <obs.hpp>

namespace reelhouse {

// Sources by name and UUID. The functions keep no state and may run on any thread.

// Both are empty for a null source.
QString nameOf(obs_source_t *source);
QString uuidOf(obs_source_t *source);
// Returns the source with a UUID; null when there is none. The caller owns the reference.
OBSSourceAutoRelease sourceWith(const QString &uuid);

// A source that may have gone meanwhile.
struct NamedSource {
	QString name; // or a text to show for it
	QString uuid;
};

// Returns the sources of the scene collection that fit, sorted by name as the user's language does. libobs's list of
// sources is locked while fits is asked.
QList<NamedSource> namedSources(bool (*fits)(obs_source_t *source));

} // namespace reelhouse
