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
#include <mutex>
#include <optional>

// After Qt's headers: libobs's SIMD shim redefines compiler intrinsics that those pull in.
#include <obs.hpp>

#include "dock/Track.hpp"
#include "dock/record.hpp"

class QAction;
class QComboBox;
class QDropEvent;
class QGridLayout;
class QHelpEvent;
class QLabel;
class QLineEdit;
class QListWidgetItem;
class QToolButton;

namespace reelhouse {
class QueueControl;
class SeekSlider;
class TagReader;
class TrackListWidget;
} // namespace reelhouse

// The dock. It binds one VLC source at a time, holds that source's play queue, keeps it in the source's private
// settings, and plays it by giving the source one entry after the other.
//
// Everything runs on the user-interface thread, except what libobs calls: mediaStopped(), mediaNext(), mediaPrevious().
class Reelhouse : public QWidget {
	Q_OBJECT

public:
	using Track = reelhouse::Track;
	using RemovedTrack = reelhouse::RemovedTrack;

	// What the list showed of one source when the dock let go of it.
	struct ViewState {
		QString selectedTrackId;
		QString searchText;
		int scrollValue = 0;
	};

	// Rows of the list by the ids of their tracks.
	struct RowSelection {
		QSet<QString> selected;
		QString current;
	};

	// Builds the widgets and reads the settings file; nothing is listed or bound before resume(). An empty path means
	// that settings are neither read nor written.
	explicit Reelhouse(const QString &settingsPath, QWidget *parent = nullptr);
	~Reelhouse() override;

	// Lets go of the source and all that belongs to the scene collection. Harmless when repeated.
	void suspend();
	// Starts on the now active scene collection. Does nothing after shutdown().
	void resume();
	// Suspends for good. From here on the dock binds nothing and writes no record.
	void shutdown();

	// For everybody but the user. It lives as long as the dock.
	reelhouse::QueueControl &queueControl() const { return *control; }

Q_SIGNALS:
	// Half a second after the last write to a source's private settings: the scene collection wants saving.
	void configurationChanged();
	// The source with this UUID has switched to a track that the user started from the list.
	void sceneSwitchRequested(const QString &uuid);

protected:
	// Reelhouse_Input.cpp
	bool eventFilter(QObject *watched, QEvent *event) override;
	void resizeEvent(QResizeEvent *event) override;

private:
	friend class reelhouse::QueueControl;

	// Reelhouse.cpp
	// Whether a scene collection is there to work on.
	bool isActive() const { return !suspended && !shutDown; }
	// One operation, which may be part of another one. When the outermost ends, it tells of the change, if there was
	// one: a listener that calls back finds nothing half done.
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
	void saveSelection();

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
	void refreshSources();
	void rebuildSelector(const QList<std::pair<QString, QString>> &sources);
	void chooseSource();
	void reloadSource();
	void bindSource(const QString &uuid);
	void disconnectSource();
	// The bound source, or null when none is bound or it has been deleted or removed.
	OBSSourceAutoRelease lockSource() const;
	// As lockSource(), and null while no scene collection is active.
	OBSSourceAutoRelease lockActive() const;

	// Reelhouse_Record.cpp
	void loadQueue(obs_source_t *source, bool force);
	void rebuildQueue(obs_source_t *source, const QList<QString> &paths);
	void takeRecord(const reelhouse::Record &record);
	void showLoaded(const QString &selectId);
	void storeQueue();
	bool canRestore() const { return managed || !tracks.isEmpty(); }
	void restoreSource();
	bool takeOutsideEdit(obs_source_t *source);
	void keepReplacedQueue(obs_source_t *source);
	void markTouched();
	bool canBringBack() const;
	void bringBackReplaced();
	QString idHeldBySource(const QString &preferredId) const;

	// Reelhouse_Playback.cpp
	// The first three return false when they could not start a track, which the message line explains if its file is
	// missing.
	bool playTrack(const QString &id, bool withSceneSwitch);
	bool playRelative(int delta);
	bool togglePlay();
	void stopPlayback();
	void issueSwitch(obs_source_t *source);
	void markCurrentRow(const QString &previousId);
	void playSelected();
	// The id of the list's current row; empty when there is none or the search hides it.
	QString selectedId() const;
	// The position of the current track in the queue, -1 for none.
	int currentIndex() const;

	// Reelhouse_Poll.cpp
	void tick();
	void followSeek(qint64 positionMs);
	void describePlayback(obs_media_state state, qint64 positionMs);
	void applyEndMode(obs_media_state state);
	// These three are called by libobs on a thread of its own.
	static void mediaStopped(void *data, calldata_t *params);
	static void mediaNext(void *data, calldata_t *params);
	static void mediaPrevious(void *data, calldata_t *params);
	void postStep(int step);
	void followStep(int step, quint64 serial);
	void finishSwitch(quint64 serial);

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
	void holdFocus();
	void giveFocusBack();
	void updatePlayPauseButton(obs_media_state state, const QString &selected);
	void showError(const QString &message);
	void clearError();

	// Reelhouse_TrackList.cpp
	void rebuildList(const QString &selectId);
	void updateRows();
	bool hasRowOf(const Track &track, int row) const;
	void filterList();
	void filterRows();
	void showCount();
	void showQuietly();
	QString nearestTrackInQueue() const;
	void rememberView();
	void restoreView(const QString &uuid);
	QListWidgetItem *findRow(const QString &id, bool shownOnly) const;
	QString searchText() const;
	void explainEmptyList();
	// 0, 1, or 2 for any larger number of selected rows that the search does not hide.
	int visibleSelectionCount() const;

	// Reelhouse_Editing.cpp
	void addFiles();
	void appendFiles(const QList<QString> &paths);
	void clearSearchSilently();
	QList<QString> insertTracks(const QList<QString> &paths, qsizetype position);
	void removeSelected();
	qsizetype takeTracks(const QSet<QString> &ids, const std::function<void()> &showRows);
	void undoRemove();
	QString putTracksBack();
	void moveSelected(int delta);
	void orderChanged();

	// Reelhouse_PlaylistFiles.cpp
	// Ask for a playlist file, and append what it lists, or write the queue to it.
	void chooseImport();
	void chooseExport();
	void importPlaylist(const QString &file);
	void exportPlaylist(const QString &file);

	// Reelhouse_Input.cpp
	bool showFolderTip(const QHelpEvent *event);
	QRect sizeColumnOf(const QListWidgetItem *row) const;
	void handleFileDrag(QDropEvent *event);

	const QString settingsPath;
	reelhouse::QueueControl *const control;
	reelhouse::TagReader *const tagReader; // what the files of the queue say about themselves

	// The user's choice in the selector. It outlives its source's disappearance, so that the source is bound again
	// when it comes back.
	QString sourceUuid;

	// The bound source; all of these are set or none is.
	OBSWeakSource weakSource;
	OBSSignal stoppedSignal;
	OBSSignal nextSignal;
	OBSSignal previousSignal;
	std::atomic<quint64> bindSerial = 0; // one per binding; the libobs thread reads it

	// Switch handshake: the libobs thread touches these two, only with switchMutex held.
	std::mutex switchMutex;
	OBSData pendingSettings;    // applied when the source reports media_stopped; null = nothing to apply
	quint64 switchSerial = 0;   // one per issued or cancelled switch: a late continuation compares and gives up
	bool switchPending = false; // from playTrack() until the continuation or a cancel
	bool sceneSwitchWanted = false;

	// The queue of the bound source and what the record keeps beside it.
	QList<Track> tracks;
	QList<RemovedTrack> removed;     // the last removal, ascending by index; one undo consumes it
	QHash<QString, ViewState> views; // by source UUID
	QList<QString> observed; // the source's playlist as last seen or written here; a difference is somebody's edit
	QString currentId;       // empty, or the id of the current track
	bool managed = false;    // the source holds a playlist and settings of the dock's making
	bool originalLoop = false;
	bool originalShuffle = false;
	QString originalBehavior;
	reelhouse::RecordWriter recordWriter;
	QSet<QString> refusedIds; // of the tracks whose file was missing when they were to be played

	int operations = 0;                   // that are going on, one within the other
	bool stateTouched = false;            // the outermost of them has a change to tell
	std::optional<RowSelection> menuRows; // what the open context menu acts on
	bool bringBackOffered = false;        // as last told by canBringBackChanged()
	int shownCount = 0;                   // rows that the search shows

	bool suspended = true;
	bool shutDown = false;
	bool reordering = false; // rows are being moved by the dock itself
	bool remainingTime = false;
	bool narrowLayout = false;
	bool playbackArmed = false; // the current track was seen playing: its end counts
	int endMode = reelhouse::EndStop;
	quint32 tickCount = 0;
	qint64 durationMs = 0;
	qint64 seekTargetMs = -1;          // -1: no seek in flight
	std::optional<quint64> seekSerial; // the switch serial that the slider was taken under, until it is released
	bool steppingSlider = false; // keys, the wheel or assistive technology have moved it, and no seek has followed
	QElapsedTimer switchClock;
	QElapsedTimer seekClock;
	QTimer pollTimer;
	QTimer saveTimer;                    // runs while changes come close upon each other
	QTimer saveDeadline;                 // runs from the first change that is not saved yet
	QTimer seekDebounce;                 // runs while the wheel or a key that was let go may go on
	QWidget *focusAfterSwitch = nullptr; // the control that a switch took the keyboard focus from

	// Owned by Qt's parent-child tree.
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
