/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QSet>

#include <functional>

#include <obs.hpp>

namespace reelhouse {

// Calls visit with the source of each item of a scene or group, hidden items included, until visit returns false. Adds
// each parent to visited and skips parents that are in it, because scenes may contain each other. Does nothing for null
// or for a source of another kind. User-interface thread.
void visitItems(obs_source_t *parent, QSet<obs_source_t *> &visited, const std::function<bool(obs_source_t *)> &visit);

} // namespace reelhouse
