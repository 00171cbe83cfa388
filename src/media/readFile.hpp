/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include "media/tags.hpp"

#include <atomic>

namespace reelhouse {

// False in a build without libavformat. No file then has tags.
#ifdef REELHOUSE_LIBAV
inline constexpr bool canReadTags = true;
#else
inline constexpr bool canReadTags = false;
#endif

// Does readTags() for a local file. Returns early when stopped becomes true; ignore that result. Any thread.
Tags readFile(const QString &file, const std::atomic<bool> &stopped);

} // namespace reelhouse
