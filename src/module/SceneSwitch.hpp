/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QSet>
#include <QString>

#include <obs.h>

namespace reelhouse {

// Brings the scene that shows the source with this UUID to program, or to preview in studio mode. Does nothing when the
// scene there shows it already, or when not exactly one scene of the collection does. User-interface thread.
void switchScene(const QString &uuid);

// Whether target is parent or can be reached from it through scenes and groups, shown or hidden. What was searched
// before is in visited, and is searched no more.
bool containsSource(obs_source_t *parent, obs_source_t *target, QSet<obs_source_t *> &visited);

} // namespace reelhouse
