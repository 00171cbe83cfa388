/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QString>

namespace reelhouse {

// The text for an unknown clock time.
inline constexpr QStringView unknownClock = u"—:—";

// Returns the module's locale text for a key; an empty string when the lookup has none. User-interface thread.
QString ui(const char *key);

// Returns "minutes:seconds" for a time in milliseconds. Fractions are cut off, negative times read as 0, and minutes
// grow past 59 because there is no hours field.
QString clockText(qint64 ms);
// The same with hours, from one hour on: "1:05:00".
QString longClockText(qint64 ms);

} // namespace reelhouse
