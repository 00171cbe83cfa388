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

// Opens and reads a local file. Any thread, but not the user-interface thread, because it blocks. Never throws. Returns
// empty tags for a file that is not plain, an unknown kind of file, and in a build without libavformat. Reads a damaged
// or hostile file with a bounded amount of work and returns what it found. Returns early when stopped becomes true;
// ignore that result. Adds the bytes that it has read to bytes.
Tags readFile(const QString &file, const std::atomic<bool> &stopped, qint64 *bytes = nullptr);

} // namespace reelhouse
