/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "queue/Track.hpp"

#include <QUuid>

namespace reelhouse {

Track Track::fromPath(const QString &path)
{
	return {QUuid::createUuid().toString(QUuid::WithoutBraces), path};
}

} // namespace reelhouse
