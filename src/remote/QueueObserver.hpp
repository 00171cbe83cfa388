/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QMap>
#include <QTimer>

#include <span>

#include "dock/QueueControl.hpp"
#include "media/tags.hpp"

namespace reelhouse {

class RemoteControl;

// Turns the changes of one dock's queue into events of the remote control. The queue owns it. User-interface thread.
class QueueObserver : public QObject {
public:
	// Returns the names of all events.
	static std::span<const char *const> events();

	QueueObserver(RemoteControl &remote, QueueControl *queue);

	QueueControl &observed() const { return *queue; }
	TagReader &tags() const { return tagReader; }

	// Ends it: no more events, and no request waits for tags any more. It does not use the remote control afterwards.
	void stop();

	// Whether a change of the queue has yet to be announced, and the revision of the last one.
	bool hasWaitingChange() const { return queueWaits && !pluginLoads; }
	qint64 lastChange() const { return queueRevision; }
	void announceChange();
	// An event of any dock was sent. The state of the first dock follows when events have rested.
	void stateOvertaken();

private:
	void observe();
	void waitForPlugin();
	void announceAll();
	void observePoll(obs_media_state state, qint64 positionMs, qint64 durationMs);
	void startQueueTimer();
	void announceSource();
	void announceCurrent();
	void announceTags(const QString &path);
	void announceEndMode();
	void announceOptions();
	void announceSearch(QueueControl::SearchEnd end, qsizetype found, qsizetype missing);
	void announceFailure(const QString &id, TrackFailure failure, qsizetype count);
	void announceMedia(obs_media_state state);
	// Return the data of an event: with the bound source; with the bound source and the current track.
	OBSDataAutoRelease sourceData() const;
	OBSDataAutoRelease currentData() const;

	// QueueObserver_State.cpp: the event StateChanged, for clients that see only the last event and compare texts. It
	// tells of the first dock only: with two queues, such a client would not know of which one.
	using Texts = QMap<QByteArray, QString>;
	bool tellsState() const;
	Texts stateTexts() const;
	Texts timeTexts() const;
	void noticeState();
	void announceState(bool again);

	// The state that events report.
	struct State {
		QString sourceUuid;
		QString sourceName;
		QList<Track> tracks;
		QString currentId;
		int endMode = EndStop;
		QueueOptions options;
		QHash<QString, qint64> sizesNow;
	};
	static State stateOf(const QueueControl &queue);

	RemoteControl &remote;
	QueueControl *const queue;                            // the parent
	TagReader &tagReader;                                 // the dock's
	Tags currentTags;                                     // as last sent
	State seen;                                           // the dock's state when it was last compared
	obs_media_state toldChange = OBS_MEDIA_STATE_STOPPED; // last sent as a change of the media's state
	obs_media_state toldState = OBS_MEDIA_STATE_STOPPED;  // last sent, as a change or with a track
	qint64 lengthMs = 0;                                  // of the current track's media; 0: no poll has seen it
	qint64 queueRevision = 0;                             // the revision of the last change of the queue
	bool queueWaits = false;                              // that change has yet to be announced
	bool stopped = false;
	bool pluginLoads = false; // the plug-in may drop events until it has heard of the new scene collection
	QTimer queueTimer;        // runs until a waiting change is announced
	QElapsedTimer burst;      // time since the first of the waiting changes
	QTimer restTimer;         // runs from the last other event until StateChanged may follow
	QTimer againTimer;        // runs until StateChanged is sent once more
	Texts toldTexts;          // as StateChanged last told them
	QString failedTitle;      // of the track that failed, until one plays
};

} // namespace reelhouse
