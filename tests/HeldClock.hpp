/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QtTypes>

// This thread's clock, and so that of its Qt timers, on which time passes only when told to, or in a wait that was
// in vain. Others keep their own.
namespace HeldClock {

void hold();
qint64 nowMs();
// Goes on with what is due by then.
void pass(int ms);

} // namespace HeldClock
