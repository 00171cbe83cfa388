/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QSet>
#include <QString>

#include <obs.h>

namespace reelhouse {

// Switches program, or preview in studio mode, to the scene that shows the source with this UUID. Does nothing when the
// scene there already shows the source, or unless exactly one scene of the collection shows it. User-interface thread.
void switchScene(const QString &uuid);

// Whether target is parent or can be reached from it through scenes and groups, shown or hidden. Skips the scenes in
// visited and adds those that it searches. User-interface thread.
bool containsSource(obs_source_t *parent, obs_source_t *target, QSet<obs_source_t *> &visited);

} // namespace reelhouse
