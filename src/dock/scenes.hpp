/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QSet>

#include <functional>

#include <obs.hpp>

namespace reelhouse {

// Calls visit with the source of each item of a scene or group, hidden items included, until it returns false. Does nothing
// for any other source, null included, and for one that is in visited, where it puts the others: scenes may show each
// other. User-interface thread.
void visitItems(obs_source_t *parent, QSet<obs_source_t *> &visited, const std::function<bool(obs_source_t *)> &visit);

} // namespace reelhouse
