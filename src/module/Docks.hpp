/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QList>
#include <QMap>
#include <QObject>
#include <QPointer>
#include <QString>

#include "dock/DockGroup.hpp"
#include "dock/Reelhouse.hpp"

namespace reelhouse {

// The docks: the first one, and those that the user has added. A further dock is there because it has a settings file.
// The frontend may destroy a dock with its dock widget. User-interface thread.
class Docks : public QObject {
	Q_OBJECT

public:
	// Returns null when the frontend refuses the first dock.
	Reelhouse *openFirst() { return open(1); }
	// Opens those that the user has added in earlier runs of OBS, where the frontend last had them.
	void openOthers();

	// Returns the first dock; null when the frontend has destroyed it.
	Reelhouse *first() const { return docks.value(1); }
	// Returns the docks that there are, by their numbers.
	QList<Reelhouse *> all() const;
	// Returns the dock's name; from the second dock on, with the name of its source.
	static QString titleOf(const Reelhouse *dock);

	// The docks release what belongs to the scene collection, and work on the present one. The one with the lower
	// number comes first.
	void suspend();
	void resume();
	void shutdown();
	// Shuts all docks down and destroys them, the first one last. Does not call the frontend when it is gone.
	void close(bool frontendIsThere);

	bool canAdd() const { return freeNumber() > 0; }
	// Opens a further dock with the lowest free number, in a window of its own.
	void add();
	// Takes a further dock away, and its settings file: soon, since the frontend destroys the dock at once. Its source
	// keeps its queue and plays on. A switch that is under way is awaited, for a second at most.
	void remove(Reelhouse *dock);

Q_SIGNALS:
	void opened(Reelhouse *dock);
	// A dock has come or gone, or one has another title.
	void changed();

private:
	Reelhouse *open(int number);
	Reelhouse *openFurther(int number);
	int freeNumber() const;
	void removeNow(Reelhouse *dock);
	// Stops the timers of the docks that would ask for a save, too, but for the one that asks now.
	void save(const Reelhouse *asker);
	void showTitle(Reelhouse *dock);

	DockGroup group; // before the docks, which it outlives
	QMap<int, QPointer<Reelhouse>> docks;
	QList<QPointer<Reelhouse>> leaving; // docks that will be removed
	bool active = false;                // a scene collection is loaded
};

} // namespace reelhouse
