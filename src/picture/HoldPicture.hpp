/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

// After Qt's headers: libobs's SIMD shim redefines compiler intrinsics that those pull in.
#include <obs.hpp>

namespace reelhouse {

// A video filter that shows the last picture of its source while the source has none between two tracks. A source has
// the option "hold the picture" while it carries this filter, so OBS saves the option with the source.

// Makes the type of the filter known to libobs. Call it once, while the module loads.
void registerHoldPicture();

// Whether the source carries the filter. Any thread; source must not be null.
bool holdsPicture(obs_source_t *source);

// Adds the filter, nearest to the source itself, or removes it. Does nothing when nothing would change.
// User-interface thread; source must not be null.
void setHoldsPicture(obs_source_t *source, bool holds);

// Tells the source's filter whether it may hold the picture from now on: the source's next end or stop leads to another
// track. Not allowed, the filter drops the picture that it has. Does nothing without the filter. Any thread; source
// must not be null.
void allowHeldPicture(obs_source_t *source, bool allowed);

} // namespace reelhouse
