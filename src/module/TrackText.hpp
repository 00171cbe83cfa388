/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QList>
#include <QObject>
#include <QString>

namespace reelhouse {

class QueueControl;

// Shows the current track in a text source while it is playing or paused. Which one is the choice of the VLC source that
// the dock has bound, and is kept in its private settings. User-interface thread.
class TrackText : public QObject {
public:
	struct TextSource {
		QString name;
		QString uuid;
	};

	explicit TrackText(QueueControl *queue);

	// The text sources of the scene collection in the order of their names, without those that show a file.
	static QList<TextSource> textSources();

	// The UUID of the text source that was chosen for the bound source; empty for none. It may be gone.
	QString chosen() const;
	// An empty UUID is the choice of none. Does nothing when no source is bound.
	void choose(const QString &uuid);

private:
	void follow();
	void update();
	QString text() const;

	QueueControl *const queue; // the parent
	QString path;              // of the current track; kept, since each poll would search a long queue for it
	QString shownIn;           // the text source that holds a text of ours; emptied when another takes its place
	bool justSwitched = false; // since the last poll
};

} // namespace reelhouse
