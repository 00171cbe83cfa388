/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QElapsedTimer>
#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QTimer>
#include <QWidget>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

// After Qt's headers: libobs's SIMD shim redefines compiler intrinsics that those pull in.
#include <obs.hpp>

#include "dock/MediaEnds.hpp"
#include "dock/MediaFollower.hpp"
#include "dock/MediaWish.hpp"
#include "media/FileLooks.hpp"
#include "media/QueueLength.hpp"
#include "queue/Track.hpp"
#include "queue/options.hpp"
#include "queue/record.hpp"
#include "queue/sources.hpp"

class QAction;
class QComboBox;
class QDropEvent;
class QGridLayout;
class QHelpEvent;
class QLabel;
class QLineEdit;
class QListWidgetItem;
class QProgressDialog;
class QToolButton;
class QUrl;

namespace reelhouse {
class DockGroup;
class FileFinder;
class QueueControl;
class SeekSlider;
class TagReader;
class TrackListWidget;
} // namespace reelhouse

// The dock. It binds one VLC source at a time, holds that source's play queue, stores it in the source's private
// settings, and plays it by giving the source one entry after the other.
//
// Everything runs on the user-interface thread, except the functions that libobs calls: mediaStopped(), mediaEnded(),
// mediaNext() and mediaPrevious().
class Reelhouse : public QWidget {
	Q_OBJECT

public:
	using Track = reelhouse::Track;
	using RemovedTrack = reelhouse::RemovedTrack;

	// The state of the list for one source when the dock unbound it.
	struct ViewState {
		QString selectedTrackId;
		QString searchText;
		int scrollValue = 0;
	};

	// The row at the top of the list's view.
	struct ViewTop {
		QString trackId;
		int y = 0; // where it begins, in pixels below the top of the viewport; 0 or less
	};

	// Rows of the list, named by the ids of their tracks.
	struct RowSelection {
		QSet<QString> selected;
		QString current;
	};

	// Builds the widgets and reads the settings file. Nothing is listed or bound before resume(). With an empty
	// path, settings are neither read nor written. The number, from 1, tells the docks of the group apart. The group
	// must outlive the dock.
	Reelhouse(reelhouse::DockGroup &group, int number, const QString &settingsPath, QWidget *parent = nullptr);
	~Reelhouse() override;

	// Releases the source and everything else that belongs to the scene collection. A second call does nothing.
	void suspend();
	// Starts work on the active scene collection. Does nothing after shutdown().
	void resume();
	// Suspends for good: the dock binds nothing and writes no record afterwards.
	void shutdown();

	int number() const { return dockNumber; }
	// The dock's name, which has its number from the second dock on.
	QString name() const;
	// Writes the choice of the source and the kind of the time display into the settings file. The message line tells
	// what goes wrong.
	void saveSelection();
	// Forgets what was chosen here, so that a later dock of this number does not take the source in this scene
	// collection. Call it before shutdown().
	void forgetChoice();
	// All private settings have been saved: this dock need not ask for it.
	void noteSaved();

	// The interface for other code. It lives as long as the dock.
	reelhouse::QueueControl &queueControl() const { return *control; }

Q_SIGNALS:
	// Private settings of a source have changed and the scene collection has to be saved. Emitted half a second
	// after the last write, and at the latest five seconds after the first one.
	void configurationChanged();
	// The source with this UUID has switched to a track that the user played from the list.
	void sceneSwitchRequested(const QString &uuid);

protected:
	// Reelhouse_Input.cpp
	bool eventFilter(QObject *watched, QEvent *event) override;
	void resizeEvent(QResizeEvent *event) override;

private:
	friend class reelhouse::DockGroup;
	friend class reelhouse::QueueControl;

	// Reelhouse.cpp
	// Whether a scene collection is loaded and the dock works on it.
	bool isActive() const { return !suspended && !shutDown; }
	// The scope of one operation, which may contain others. The outermost scope emits the change signal at its end,
	// so a listener that calls back finds no operation half done.
	class Operation {
	public:
		explicit Operation(Reelhouse *dock);
		Operation(const Operation &) = delete;
		~Operation();

	private:
		Reelhouse *const dock;
	};
	void cancelSwitch();
	void clearQueue();
	void showUnbound();
	void loadSelection();

	// Reelhouse_Widgets.cpp
	void buildUi();
	void buildTopGrid();
	void placeTopGrid();
	void buildList();
	QLayout *buildTransportRow();
	void makeShortcuts();
	void connectSignals();
	void setEndMode();

	// Reelhouse_Menu.cpp
	void buildMenu();
	void connectMenu();
	void updateMenuActions(bool active, const QString &selected);
	QPoint prepareMenu(QPoint position);
	bool selectMenuRows();
	void forgetMenuRows();
	void locateCurrent();
	void openFolder();
	void showAbout();

	// Reelhouse_Sources.cpp
	// What an entry of the selector has beside its text and the UUID of its source.
	enum EntryRole {
		LabelRole = Qt::UserRole + 1, // the source's name and the scenes that show it
		DockRole,                     // the number of another dock that has the source; 0 for none
	};
	void refreshSources();
	void rebuildSelector(const QList<reelhouse::NamedSource> &sources);
	// The other dock that has the source with this UUID; null when none has.
	Reelhouse *otherDockOf(const QString &uuid) const;
	bool showsExactly(const QList<reelhouse::NamedSource> &sources) const;
	int indexOfChosen() const;
	void markChosen();
	void chooseSource();
	void chooseCurrentEntry();
	void reloadSource();
	void bindSource(const QString &uuid);
	void disconnectSource();
	// The bound source, or null when none is bound or it has been deleted or removed. The caller owns the
	// reference.
	OBSSourceAutoRelease lockSource() const;
	// As lockSource(), but also null while no scene collection is active.
	OBSSourceAutoRelease lockActive() const;

	// Reelhouse_Record.cpp
	void loadQueue(obs_source_t *source, bool force);
	void rebuildQueue(obs_source_t *source, const QList<QString> &paths);
	void takeRecord(obs_data_t *stored, const reelhouse::Record &record);
	void finishLoad(const QString &selectId);
	void storeQueue();
	void requestSave();
	void setOptions(const reelhouse::QueueOptions &chosen);
	void shuffleQueue();
	bool canRestore() const { return managed || !tracks.isEmpty(); }
	void restoreSource();
	// Every command that writes the source's playlist calls one of these three first. They rebuild the queue if
	// somebody has edited the playlist elsewhere. While a switch is pending they do nothing: the source still has
	// the old playlist. The first one returns whether it has rebuilt the queue. The others return the ids that these
	// tracks have then, and leave out a track whose path has gone.
	bool followEditElsewhere();
	QString followTrack(const QString &id);
	QSet<QString> followTracks(const QSet<QString> &ids);
	void storeReplacedQueue(obs_source_t *source, obs_data_t *stored, const reelhouse::Record &record);
	void markTouched();
	bool canBringBack() const;
	void bringBackReplaced();
	void bringBackAfterSwitch();
	void exchangeQueues();
	void takeReplaced(obs_source_t *source, obs_data_t *replaced);
	QString idHeldBySource(const QString &preferredId) const;

	// What a switch does to the previous track. The last sound of one that has ended by itself is still heard.
	enum class Previous { CutOff, Ended };

	// Reelhouse_Playback.cpp
	// The first three return false when no track could be started. If the file is missing, the message line says
	// so.
	bool playTrack(const QString &id, bool withSceneSwitch, Previous previous = Previous::CutOff);
	bool playRelative(int delta);
	bool togglePlay();
	void stop();
	void stopPlayback();
	void issueSwitch(obs_source_t *source, Previous previous);
	void requestDelayedStop(obs_source_t *source);
	void markCurrentRow(const QString &previousId);
	void playSelected();
	// The id of the list's current row; empty when there is no current row or the search hides it.
	QString selectedId() const;
	// The position of the current track in the queue; -1 when no track is current.
	int currentIndex() const;

	// Reelhouse_Poll.cpp
	void tick();
	void followMedia(obs_source_t *source);
	void followLag();
	bool isOverloaded() const;
	void awaitEnd();
	void restAfterEnd();
	void lookAtEnd();
	void postLook();
	// The next two are about states of MediaFollower.
	obs_media_state mediaState() const;
	void setPaused(bool paused);
	void carryOut(reelhouse::MediaWish::Order order);
	void followSeek(qint64 positionMs);
	void describePlayback(obs_media_state state, qint64 positionMs);
	void keepPlaylist(obs_source_t *source);
	// libobs calls these four on threads of its own and of VLC.
	static void mediaStopped(void *data, calldata_t *params);
	static void mediaEnded(void *data, calldata_t *params);
	static void mediaNext(void *data, calldata_t *params);
	static void mediaPrevious(void *data, calldata_t *params);
	void postIfStillBound(const std::function<void()> &run);
	void followStep(int step);
	void finishSwitch(quint64 serial);

	// Reelhouse_EndOfTrack.cpp
	// From one candidate to the next: what a track's own end does, Next and Previous.
	enum class Walk { OwnEnd, Forward, Back };
	void applyEndMode(obs_media_state state);
	// What follows by itself, after the track at this position.
	void goOnAfter(qsizetype position);
	// The position of the track that comes by itself when the one at this position ends; -1 when playback stops.
	qsizetype positionAfter(qsizetype position) const;
	qsizetype positionBeside(qsizetype position, int delta) const;
	// Whether the queue goes on by itself past tracks that cannot be played.
	bool skips() const { return options.skipFailed && endMode == reelhouse::EndNext; }
	void tryTrack(qsizetype position, Walk walk);
	void postTryAfter(const QString &id, qsizetype position, Walk walk);
	void passOver(const Track &track, reelhouse::TrackFailure failure);
	void tellRestOfBurst();
	void followFailure(obs_media_state state, qint64 positionMs);
	void currentFailed(reelhouse::TrackFailure failure);
	void markFailed(const QString &id, bool failed);
	QList<qsizetype> upcoming(qsizetype most) const;

	// Reelhouse_Picture.cpp
	void followPicture(obs_source_t *source, obs_media_state state, qint64 positionMs);

	// Reelhouse_Transport.cpp
	void updateTime(qint64 positionMs);
	void toggleTimeDisplay();
	void beginSeek();
	void stepSeek(int value);
	void endStepping();
	void endSeek();
	void seekToSlider();
	bool isSliderHeld() const;
	qint64 timeAtSlider(int value) const;
	void updateButtons();
	void holdFocus(QWidget *widget, bool enabled);
	void giveFocusBack();
	void updatePlayPauseButton(obs_media_state state, const QString &selected);
	void showError(const QString &message);
	void showNotice(const QString &message);
	void showMessage(const QString &text, const QString &spoken);
	void clearError();

	// Reelhouse_TrackList.cpp
	void rebuildList(const QString &selectId);
	void updateRows();
	bool hasRowOf(const Track &track, int row) const;
	void filterList();
	void selectFirstShown();
	void filterRows();
	void showCount();
	void updateListKeepingView();
	QString nearestTrackInQueue(int wanted) const;
	ViewTop viewTop() const;
	void keepViewTop(const ViewTop &top);
	void rememberView();
	void restoreView(const QString &uuid);
	QListWidgetItem *findRow(const QString &id, bool shownOnly) const;
	QString searchText() const;
	QString whyNoSource() const;
	void explainEmptyList();
	// Counts the selected rows that the search shows, and stops at 2.
	int visibleSelectionCount() const;

	// Reelhouse_Editing.cpp
	void addFiles();
	void appendFiles(const QList<QString> &paths);
	void clearSearchSilently();
	// Shows the rows after an edit; the id is that of the track which a user's edit makes the current row.
	using ShowRows = std::function<void(const QString &id)>;
	QList<QString> insertTracks(const QList<QString> &paths, qsizetype position, const ShowRows &showRows);
	void removeSelected();
	qsizetype takeTracks(const QSet<QString> &ids, const ShowRows &showRows);
	void undoRemove();
	qsizetype putTracksBack(const ShowRows &showRows);
	void moveSelected(int delta);
	void orderChanged();

	// Reelhouse_Files.cpp
	void makeTracks(const QList<QString> &paths);
	void measureTracks();
	QList<QString> droppedFiles(const QList<QUrl> &urls);
	// Looks for the track's file, and returns false when it is missing.
	bool lookForFile(const Track &track);
	bool isMissing(const Track &track) const;
	void noteSizes(const QHash<QString, qint64> &sizes);
	void readLengths();
	QString lengthText();
	void showLengthTip(const QHelpEvent *event);
	void describeLength();
	void takeLateAnswers(const reelhouse::FileLooks::SeenByPath &seen);
	void expandLate(const reelhouse::FileLooks::SeenByPath &seen);

	// Reelhouse_PlaylistFiles.cpp
	// Open a file dialog and return at once. Import appends the entries of the chosen file; export writes the queue
	// to it.
	void chooseImport();
	void chooseExport();
	void importPlaylist(const QString &file);
	void exportPlaylist(const QString &file);
	void tellError(const QString &message);
	void showBoxIfHidden(const QString &message, bool isError);

	// Reelhouse_MissingFiles.cpp
	bool hasMissingFiles() const;
	// Opens a folder dialog and returns at once.
	void chooseSearchFolder();
	void findMissingFiles(const QString &folder, bool byUser);
	QSet<QString> pathsToFind(obs_source_t *source) const;
	void showSearch();
	void cancelSearch();
	void endSearch();
	void takePlaces(const QHash<QString, QString> &places, bool isFolder);
	void movePlaylistEntries(obs_source_t *source, const QHash<QString, QString> &places);
	std::pair<qsizetype, qsizetype> moveTracks(const QHash<QString, QString> &places);
	void tellSearch(qsizetype found, qsizetype missing);

	// Reelhouse_Input.cpp
	bool showFolderTip(const QHelpEvent *event);
	QRect sizeColumnOf(const QListWidgetItem *row) const;
	void handleFileDrag(QDropEvent *event);

	reelhouse::DockGroup &group;
	const int dockNumber;
	const QString settingsPath;
	reelhouse::QueueControl *const control;
	reelhouse::TagReader *const tagReader;   // reads titles and lengths of the queue's files
	reelhouse::FileFinder *const fileFinder; // finds missing files of the bound source's queues
	reelhouse::FileLooks *const looks;       // asks the disks about the queue's files

	// The user's last choice in the selector, in whichever scene collection. It is kept when the source disappears,
	// so that the source is bound again when it returns.
	QString sourceUuid;

	// The bound source: either all of these are set or none is.
	OBSWeakSource weakSource;
	OBSSignal stoppedSignal;
	OBSSignal endedSignal;
	OBSSignal nextSignal;
	OBSSignal previousSignal;
	std::atomic<quint64> bindSerial = 0; // counts the bindings; the other threads read it

	// Switch handshake. The libobs thread uses the four members below the mutex, only with it held.
	std::mutex switchMutex;
	OBSData pendingSettings; // applied when the source reports media_stopped; null: nothing to apply
	Previous pendingPrevious = Previous::CutOff; // what the pending settings do to the previous track
	// Of the source, before the dock's last change of its settings. The user-interface thread uses it without the
	// mutex when no settings are pending.
	OBSDataArray lastPlaylist;
	quint64 switchSerial = 0;   // one per issued or cancelled switch: a late continuation compares and does nothing
	bool switchPending = false; // from playTrack() until finishSwitch() or a cancel
	bool stopDelayed = false;   // the pending switch has yet to stop the media, which is just ending by itself
	bool sceneSwitchWanted = false;

	// The bound source's media. The follower hears of each switch and each look.
	reelhouse::MediaFollower media;
	reelhouse::MediaWish mediaWish;

	// The queue of the bound source, and the other values of its record.
	QList<Track> tracks;
	QList<RemovedTrack> removed;     // the last removal, ascending by index; one undo consumes it
	QHash<QString, ViewState> views; // by source UUID
	QList<QString> observed; // the source's playlist as last read or written; a difference is an edit elsewhere
	QString currentId;       // empty, or the id of the current track
	bool managed = false;    // the dock wrote the source's present playlist and settings
	bool originalLoop = false;
	bool originalShuffle = false;
	QString originalBehavior;
	reelhouse::RecordWriter recordWriter;
	reelhouse::QueueOptions options; // as stored with the source
	// By path: the size that a later look has seen, where it differs from that of the row.
	QHash<QString, qint64> sizesNow;
	// The ids of the queue while the disk of one of its folders owes the listing; else empty.
	QList<QString> unlistedQueue;
	QSet<QString> failedIds; // tracks that have failed and not played since

	// The tracks that were passed over since one last played.
	struct Burst {
		qsizetype count = 0;
		QString lastId;
		reelhouse::TrackFailure lastFailure = reelhouse::TrackFailure::Error;
	};
	Burst passed;
	bool searching = false; // the next try of a search for a track that can be played has been posted

	// The search for missing files, while one runs.
	QProgressDialog *searchDialog = nullptr;
	QString searchFolder;
	bool searchByUser = false; // not by a remote request

	int operations = 0; // nested operations that are running
	// The outermost operation has to emit the change signal. Whoever changes what the signal tells sets it, even if
	// nothing can be stored any more: another thread may remove the source during an operation.
	bool changePending = false;
	bool finishPending = false;           // and before it that a switch has finished, which was cancelled too late
	std::optional<RowSelection> menuRows; // the rows that the open context menu acts on
	bool bringBackOffered = false;        // the value that canBringBackChanged() last sent
	int shownCount = 0;                   // number of rows that the search shows

	bool suspended = true;
	bool shutDown = false;
	bool reordering = false; // the dock itself is moving rows
	bool remainingTime = false;
	bool narrowLayout = false;
	bool running = false;       // the media of the last switch has neither ended nor failed
	bool hasPlayed = false;     // a poll saw a length or a position of it
	bool playbackArmed = false; // a poll saw the current track play, so its end counts
	int endMode = reelhouse::EndStop;
	quint32 tickCount = 0;
	qint64 durationMs = 0;
	qint64 seekTargetMs = -1;          // -1: no seek in flight
	std::optional<quint64> seekSerial; // while the slider is held: switchSerial at the start of the seek
	bool steppingSlider = false;       // keys, wheel or assistive technology moved the slider; the seek follows
	quint32 laggedFrames = 0;          // so many pictures OBS has been too slow for
	QElapsedTimer lagClock;            // since the last of them
	QElapsedTimer switchClock;
	QElapsedTimer seekClock;
	QTimer pollTimer;
	QTimer wishTimer;                                // runs while a wish waits for the new track
	QTimer endTimer;                                 // runs from the media's end until VLC is through with it
	std::shared_ptr<reelhouse::MediaEnds> mediaEnds; // of the bound source; VLC's threads share it
	QTimer bringBackWait;                            // runs while Bring Back waits for a switch to end
	QTimer saveTimer;                                // restarts with each change
	QTimer saveDeadline;                             // runs from the first unsaved change
	// The sum of the lengths with the current track at its start, and what it was made from; nothing after a change of
	// the queue.
	std::optional<reelhouse::QueueLength> queueLength;
	QHash<QString, qint64> summedLengths;
	qint64 summedMediaMs = 0;
	QTimer lengthsTimer;                 // runs while a change of the queue has yet to be followed by reads
	QTimer seekDebounce;                 // runs until the wheel or the released keys have rested
	QWidget *focusAfterSwitch = nullptr; // the control that has the focus again when it works again

	// Owned by their Qt parents.
	QComboBox *sourceSelector = nullptr;
	QGridLayout *topGrid = nullptr;
	QWidget *sourceRow = nullptr;
	QLineEdit *searchEdit = nullptr;
	reelhouse::TrackListWidget *playlistWidget = nullptr;
	QLabel *trackCountLabel = nullptr;
	QLabel *timeLabel = nullptr;
	QLabel *messageLabel = nullptr;
	reelhouse::SeekSlider *seekSlider = nullptr;
	QComboBox *endModeSelector = nullptr;
	QToolButton *playPauseButton = nullptr;
	QToolButton *previousButton = nullptr;
	QToolButton *nextButton = nullptr;
	QToolButton *stopButton = nullptr;
	QToolButton *addFilesButton = nullptr;
	QAction *removeAction = nullptr;
	QAction *undoRemoveAction = nullptr;
	QAction *locateCurrentAction = nullptr;
	QAction *openFolderAction = nullptr;
	QAction *moveUpAction = nullptr;
	QAction *moveDownAction = nullptr;
	QAction *moveTopAction = nullptr;
	QAction *moveBottomAction = nullptr;
	QAction *restorePlaylistAction = nullptr;
};
