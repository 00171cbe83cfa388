/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/DockGroup.hpp"

#include "dock/Reelhouse.hpp"

namespace reelhouse {

void DockGroup::enter(Reelhouse *dock)
{
	docks.append(dock);
}

void DockGroup::leave(Reelhouse *dock)
{
	docks.removeOne(dock);
}

Reelhouse *DockGroup::dockOf(const QString &uuid) const
{
	for (Reelhouse *dock : docks) {
		OBSSourceAutoRelease source = dock->lockSource();
		if (source && uuidOf(source) == uuid)
			return dock;
	}
	return nullptr;
}

void DockGroup::letLowerTake(const Reelhouse *dock, const QString &uuid) const
{
	for (Reelhouse *other : docks) {
		if (other->number() < dock->number() && other->sourceUuid == uuid && !other->lockSource())
			other->refreshSources();
	}
}

void DockGroup::tellOthers(const Reelhouse *dock) const
{
	for (Reelhouse *other : docks) {
		if (other != dock)
			QMetaObject::invokeMethod(other, &Reelhouse::refreshSources, Qt::QueuedConnection);
	}
}

} // namespace reelhouse
