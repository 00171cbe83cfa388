/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QPointer>

#include "dock/Reelhouse.hpp"

namespace reelhouse {

// Module-wide state, user-interface thread only.

// The one dock. Null once anybody has destroyed it, the frontend with its dock widget included.
extern QPointer<Reelhouse> dock;

// The frontend has announced that OBS exits; from here on it may be gone.
extern bool exiting;

} // namespace reelhouse
