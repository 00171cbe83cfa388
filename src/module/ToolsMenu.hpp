/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include "dock/Reelhouse.hpp"

namespace reelhouse {

// Adds an entry to OBS's Tools menu with the dock's commands for playlist files, missing files and the order of the
// queue, the options of the bound source, and the text source that shows the current track. The dock owns the submenu.
// User-interface thread.
void addToToolsMenu(Reelhouse *dock);

// Removes the entry. Do not call it after the frontend has announced its exit: OBS destroys the entry itself.
void removeFromToolsMenu();

} // namespace reelhouse
