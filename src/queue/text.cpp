/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "queue/text.hpp"

#include <algorithm>

#include <obs-module.h>

using namespace Qt::StringLiterals;

namespace reelhouse {

QString ui(const char *key)
{
	return QString::fromUtf8(obs_module_text(key));
}

QString clockText(qint64 ms)
{
	const qint64 seconds = std::max<qint64>(ms / 1000, 0);
	return u"%1:%2"_s.arg(seconds / 60).arg(seconds % 60, 2, 10, QChar(u'0'));
}

QString longClockText(qint64 ms)
{
	const qint64 minutes = ms / 60000;
	if (minutes < 60)
		return clockText(ms);
	return u"%1:%2"_s.arg(minutes / 60).arg(clockText(ms - minutes / 60 * 3600000), 5, QChar(u'0'));
}

} // namespace reelhouse
