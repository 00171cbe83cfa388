/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QList>
#include <QString>

class Reelhouse;

namespace reelhouse {

// The docks of this OBS. They share its sources, and a source has one dock: whichever has bound it keeps it. The group
// outlives the docks, which enter and leave it themselves. User-interface thread.
class DockGroup {
public:
	void enter(Reelhouse *dock);
	void leave(Reelhouse *dock);

	// Returns the dock that has bound the source with this UUID; null when none has.
	Reelhouse *dockOf(const QString &uuid) const;
	// Lets the docks with lower numbers that wait for this source take it first.
	void letLowerTake(const Reelhouse *dock, const QString &uuid) const;
	// Lets the other docks look at the sources, soon: this one has bound another one, or none, or is called otherwise.
	void tellOthers(const Reelhouse *dock) const;

private:
	QList<Reelhouse *> docks;
};

} // namespace reelhouse
