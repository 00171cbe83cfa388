/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include "dock/Reelhouse.hpp"

namespace reelhouse {

// Adds an entry to OBS's Tools menu with the dock's commands for playlist files and missing files, the text source that shows the current
// track, and the replaced queue. The dock owns the submenu. User-interface thread.
void addToToolsMenu(Reelhouse *dock);

// Removes the entry. Do not call it after the frontend has announced its exit: OBS destroys the entry itself.
void removeFromToolsMenu();

} // namespace reelhouse
