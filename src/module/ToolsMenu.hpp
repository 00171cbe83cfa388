/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include "dock/Reelhouse.hpp"

namespace reelhouse {

// Where OBS's users look for the rare commands of a plug-in: adds an entry to OBS's Tools menu, and under it the dock's
// commands for playlist files, the text source that shows the current track, and the queue that was replaced. The menu
// belongs to the dock. User-interface thread.
void addToToolsMenu(Reelhouse *dock);

// Takes the entry out. Not to be called after the frontend has announced its exit: OBS takes it along by itself.
void removeFromToolsMenu();

} // namespace reelhouse
