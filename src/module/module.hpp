/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QPointer>

#include "dock/Reelhouse.hpp"

namespace reelhouse {

// Module-wide state. User-interface thread only.

// The dock. Null before it is made and after it is destroyed, which the frontend may do with its dock widget.
extern QPointer<Reelhouse> dock;

// The frontend has announced its exit and may be gone.
extern bool exiting;

} // namespace reelhouse
