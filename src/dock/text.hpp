/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QString>

namespace reelhouse {

// What stands for a clock time that is not known.
inline constexpr QStringView unknownClock = u"—:—";

// The module's locale text for a key, or an empty string when the locale lookup has none. User-interface thread.
QString ui(const char *key);

// "minutes:seconds" for a time in milliseconds, fractions cut off, negative times as 0. There is no hours field: minutes
// grow past 59.
QString clockText(qint64 ms);

} // namespace reelhouse
