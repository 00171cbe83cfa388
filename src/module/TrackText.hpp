/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QObject>
#include <QString>

#include "queue/sources.hpp"

namespace reelhouse {

class QueueControl;

// Shows the current track in a text source while the track is playing or paused. The private settings of the bound VLC
// source name that text source. User-interface thread.
class TrackText : public QObject {
public:
	explicit TrackText(QueueControl *queue);
	~TrackText() override;

	// Returns the text sources of the scene collection, sorted by name, without those that show a file.
	static QList<NamedSource> textSources();

	// Returns the UUID of the text source that was chosen for the bound source; empty for none. That source may be
	// gone.
	QString chosen() const;
	// Chooses a text source; an empty UUID chooses none. Does nothing when no source is bound.
	void choose(const QString &uuid);

private:
	void follow();
	void update();
	QString text() const;

	QueueControl *const queue; // the parent
	QString path;              // of the current track; cached so that a poll need not search the queue
	QString shownText;         // as last compared
	QString shownIn; // UUID of the text source that shows our text; it is cleared when another one is used
};

} // namespace reelhouse
