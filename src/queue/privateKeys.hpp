/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

namespace reelhouse {

// Every key of ours in a VLC source's private settings, which OBS saves with the scene collection.

inline constexpr char recordKey[] = "OBS-Reelhouse";            // object: the record of the queue
inline constexpr char replacedKey[] = "OBS-Reelhouse-replaced"; // object: the replaced queue
inline constexpr char optionsKey[] = "OBS-Reelhouse-options";   // object: what the user has chosen for the queue
// The number of the dock for which this source was chosen last in its scene collection.
inline constexpr char dockKey[] = "OBS-Reelhouse-dock";
// The UUID of the text source that shows the current track.
inline constexpr char textSourceKey[] = "OBS-Reelhouse-text";
// The name of that source. A copy of the scene collection has another UUID.
inline constexpr char textSourceNameKey[] = "OBS-Reelhouse-text-name";

} // namespace reelhouse
