/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QObject>
#include <QSet>

#include "dock/Track.hpp"

// After Qt's headers: libobs's SIMD shim redefines compiler intrinsics that those pull in.
#include <obs.hpp>

class Reelhouse;

namespace reelhouse {

class TagReader;

// What others than the user may see of the dock, and do with its queue: the remote control, the Tools menu, the text source
// that shows the current track. What it does is what the user can do by hand; operations that have nothing to act on do
// nothing. User-interface thread. It belongs to the dock.
class QueueControl : public QObject {
	Q_OBJECT

public:
	explicit QueueControl(Reelhouse *dock);

	// Whether a scene collection is there to work on.
	bool isActive() const;
	// The bound source, or null when none is bound or it has been deleted or removed. The caller owns the reference.
	OBSSourceAutoRelease lockSource() const;

	// One entry of the selector.
	struct ListedSource {
		QString label; // with the scenes that show the source
		QString uuid;
	};
	// What the selector offers, brought up to date, without its entry for no source.
	QList<ListedSource> listSources();
	// Chooses in the selector; an empty UUID is its entry for no source. False when it has no such entry.
	bool selectSource(const QString &uuid);

	const QList<Track> &tracks() const;
	// The ids of tracks whose file was missing when they were to be played. Their sizes still say what was measured
	// before.
	const QSet<QString> &refusedTracks() const;
	const QString &currentId() const;
	// The position of the current track in the queue, -1 for none.
	int currentIndex() const;
	EndMode endMode() const;
	void chooseEndMode(EndMode mode);
	// What the files of the queue say about themselves.
	TagReader &tagReader() const;

	// A track is on its way to the source, whose media state still means the previous one.
	bool isSwitching() const;
	// These two return false when they could not start a track, which the message line explains if its file is missing.
	bool playTrack(const QString &id, bool withSceneSwitch);
	bool playRelative(int delta);
	void stopPlayback();

	// These leave the user's selection, search and scroll position alone; if the current row goes, the next one that the
	// search shows takes its place.
	// Puts new tracks before the one at this position, or at the end where there is none. Returns their ids.
	QList<QString> insertFiles(const QList<QString> &paths, qsizetype position);
	// Returns how many tracks it has removed, of which the next undo puts back as many.
	qsizetype removeTracks(const QSet<QString> &ids);
	bool canUndoRemove() const;
	// Returns how many tracks have come back.
	qsizetype undoRemove();
	// Makes index the position of the track with this id, whether the search shows it or not.
	void moveTrack(const QString &id, int index);

	bool canRestore() const;
	// Gives the source the whole queue as its own playlist, and its own settings.
	void restoreSource();
	// Whether an edit of the playlist made elsewhere has replaced a queue that can be brought back.
	bool canBringBack() const;
	// Exchanges that queue and the present one. The source plays on.
	void bringBackReplaced();

	// Ask for a playlist file, and append what it lists, or write the queue to it. An error shows in the dock.
	void importPlaylist();
	void exportPlaylist();

Q_SIGNALS:
	// The source, the queue, the current track or the end mode may be another than before. Comes once for an operation,
	// at its end.
	void changed();
	// What the poll has read of the source's media, in milliseconds, never negative. It reads nothing while a track is
	// on its way to the source.
	void mediaPolled(obs_media_state state, qint64 positionMs, qint64 durationMs);
	// The track that was on its way has been given to the source.
	void switchFinished();
	void canBringBackChanged(bool canBringBack);

private:
	Reelhouse *const dock;
};

} // namespace reelhouse
