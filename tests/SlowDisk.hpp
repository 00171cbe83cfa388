/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <functional>

// A disk that does not answer: while it hangs, no thread gets an answer about a file with this in its path, of those
// with "hangs".
namespace SlowDisk {

void hang(const char *name = "hangs");
void answer();
// Waits until a thread asks.
void awaitQuestion();
// Does this while every disk is full.
void whileFull(const std::function<void()> &run);

} // namespace SlowDisk
