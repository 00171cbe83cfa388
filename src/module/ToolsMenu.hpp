/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include "module/Docks.hpp"

namespace reelhouse {

// Adds an entry to OBS's Tools menu with a dock's commands for playlist files, missing files and the order of the
// queue, the options of the bound source, and the text source that shows the current track. With several docks, each
// has a submenu of its own. The docks must outlive the entry. User-interface thread.
void addToToolsMenu(Docks *docks);

// Removes the entry. Do not call it after the frontend has announced its exit: OBS destroys the entry itself.
void removeFromToolsMenu();

} // namespace reelhouse
