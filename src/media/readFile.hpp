/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include "media/tags.hpp"

#include <atomic>

namespace reelhouse {

// False in a build without TagLib, where no file has tags.
#ifdef REELHOUSE_TAGLIB
inline constexpr bool canReadTags = true;
#else
inline constexpr bool canReadTags = false;
#endif

// readTags() for a local file. Ends early once stopped is set; what it then returns is of no use. Any thread.
Tags readFile(const QString &file, const std::atomic<bool> &stopped);

} // namespace reelhouse
