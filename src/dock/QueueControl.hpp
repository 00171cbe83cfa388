/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QHash>
#include <QObject>
#include <QSet>

#include "queue/Track.hpp"
#include "queue/options.hpp"
#include "queue/sources.hpp"

// After Qt's headers: libobs's SIMD shim redefines compiler intrinsics that those pull in.
#include <obs.hpp>

class Reelhouse;

namespace reelhouse {

class TagReader;

// The dock's interface for code that is not the user: the remote control, the Tools menu and the text source that shows
// the current track. Each operation does what the user can do by hand, and does nothing when there is nothing to act
// on. Call it on the user-interface thread. The dock owns it.
class QueueControl : public QObject {
	Q_OBJECT

public:
	explicit QueueControl(Reelhouse *dock);

	// The number of the dock, from 1.
	int dockNumber() const;
	// The number and the name of the dock that has the source with this UUID; 0 when none has.
	std::pair<int, QString> dockOf(const QString &uuid) const;
	// Whether a scene collection is loaded and the dock works on it.
	bool isActive() const;
	// The bound source, or null when none is bound or it has been deleted or removed. The caller owns the
	// reference.
	OBSSourceAutoRelease lockSource() const;

	// Refreshes the selector and returns its entries, without the one for "no source". An entry's name is its
	// label: the source's name and the scenes that show it.
	QList<NamedSource> listSources();
	// Chooses the entry with this UUID; an empty UUID is the one for "no source". Returns false when there is no
	// such entry, or another dock has that source.
	bool selectSource(const QString &uuid);

	const QList<Track> &tracks() const;
	// The sizes, or SizeMissing, that looks at files have seen since the queue was loaded, by path. Track::size keeps
	// the value that was measured earlier.
	const QHash<QString, qint64> &sizesNow() const;
	const QString &currentId() const;
	// The position of the current track in the queue; -1 when no track is current.
	int currentIndex() const;
	// The positions of the tracks that will come by themselves, at most so many, until the current one comes again.
	QList<qsizetype> upcoming(qsizetype most) const;
	EndMode endMode() const;
	void chooseEndMode(EndMode mode);
	// The options of the bound source; all off when none is bound.
	const QueueOptions &options() const;
	void setOptions(const QueueOptions &options);
	// Reads titles and lengths of the queue's files. The dock owns it.
	TagReader &tagReader() const;

	// Rebuilds the queue if somebody has edited the source's playlist elsewhere and no switch is pending. The
	// operations below do so themselves. Call it before you look for an id that is to be acted on.
	void followEditElsewhere();

	// Whether a switch is pending, or a track that can be played is searched for. What the source reports then still
	// belongs to the previous track.
	bool isSwitching() const;
	// What the media does: opening from a play until the new track has been seen; none without a source.
	obs_media_state mediaState() const;
	// That state as of the last poll or switch. It does not show the end of a track that another one follows.
	obs_media_state lastMediaState() const;
	// The state that was last wanted and has yet to come, or else the present one: playing, paused, stopped or
	// ended.
	obs_media_state wantedState() const;
	// Pauses or resumes, as soon as a new track plays. Call it only while playing or paused is the wanted state.
	void setPaused(bool paused);
	// These two return false when no track could be started. If the file is missing, the dock's message line says
	// so. With a scene switch, the started track brings the source's scene, as a double-click does.
	bool playTrack(const QString &id, bool withSceneSwitch);
	bool playRelative(int delta);
	void stopPlayback();

	// The next four operations leave the user's selection, search text and the top of the view alone. If the current
	// row is removed, the next row that the search shows becomes current.
	// Inserts new tracks before the one at this position; a position past the end means the end. Returns their ids.
	QList<QString> insertFiles(const QList<QString> &paths, qsizetype position);
	// Returns the number of removed tracks. One undo restores all of them.
	qsizetype removeTracks(const QSet<QString> &ids);
	bool canUndoRemove() const;
	// Returns the number of restored tracks.
	qsizetype undoRemove();
	// Moves the track with this id to the position index, whether the search shows it or not. Does nothing for an
	// unknown id or a position outside the queue.
	void moveTrack(const QString &id, int index);

	bool canRestore() const;
	// Writes the whole queue to the source as its playlist and restores the source's own settings.
	void restoreSource();
	// Whether there is a replaced queue, which an edit of the playlist elsewhere has replaced.
	bool canBringBack() const;
	// Puts the tracks in a random order, the current one first. The old order becomes the replaced queue. The source
	// goes on playing.
	void shuffleQueue();
	// Exchanges the replaced queue and the queue in the dock. The source goes on playing. While a switch is pending,
	// this happens when the switch has ended, after a second at most.
	void bringBackReplaced();

	// Whether the bound source holds its last picture between two tracks; false when no source is bound. The user can
	// change that in OBS's Filters dialog, too, without a signal.
	bool holdsPicture() const;
	void setHoldsPicture(bool holds);

	// Open a file dialog and return at once. Import appends the entries of the chosen file; export writes the queue
	// to it. The dock shows errors.
	void importPlaylist();
	void exportPlaylist();

	// Whether a track's file is known to be missing, and whether missing files are looked for just now.
	bool hasMissingFiles() const;
	bool isFindingFiles() const;
	// Opens a folder dialog and returns at once; then looks for missing files in that folder and below.
	void chooseSearchFolder();
	// Looks for missing files in the folder and below. Each track of the queue and of the replaced queue whose file is
	// found gets its new path and keeps its id and place. Does nothing while a search runs.
	void findMissingFiles(const QString &folder);

	// How a search for missing files has ended.
	enum class SearchEnd { Done, Cancelled, NoFolder };

Q_SIGNALS:
	// The source, the queue, the current track, the end mode or the options may have changed. Emitted once per
	// operation, at its end.
	void changed();
	// Emitted by each poll of the source's media with its mediaState(), after the end of a track has had its
	// effect. Times are in milliseconds and never negative. There is none while a switch is pending.
	void mediaPolled(obs_media_state state, qint64 positionMs, qint64 durationMs);
	// A scene collection has been loaded, and the next signals tell of it.
	void resuming();
	// The source has received the settings of the new track.
	void switchFinished();
	// A track could not be played. A count above 1 stands for further tracks of the same burst, of which this is the
	// last. Not emitted when a user or a client has asked for the track: they have their answer.
	void trackFailed(const QString &id, reelhouse::TrackFailure failure, qsizetype count);
	void canBringBackChanged(bool canBringBack);
	// The numbers of the queue's tracks whose missing file was found or is still missing; 0 unless it is done.
	void searchEnded(reelhouse::QueueControl::SearchEnd end, qsizetype found, qsizetype missing);

private:
	Reelhouse *const dock;
};

} // namespace reelhouse
