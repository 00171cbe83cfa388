/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QMap>
#include <QTimer>

#include <span>

#include "remote/Request.hpp"

namespace reelhouse {

// The dock's remote control: requests and events of a vendor of OBS's WebSocket plug-in. A request comes on a thread of
// the plug-in, and that thread waits while the user-interface thread serves the request. Everything else runs on the
// user-interface thread.
class RemoteControl : public QObject {
public:
	// A kind of request that clients can send.
	struct Endpoint {
		enum Kind {
			Looks,         // reads, and needs no source
			LooksAtSource, // reads values of the bound source
			Chooses,       // binds a source; the response has the state after that
			Acts,          // changes the bound source; the response has the state after that
			Exchanges,     // as Acts, but looks for an edit elsewhere itself
		};

		const char *name;
		void (*serve)(Request &request);
		Kind kind;

		bool needsSource() const { return kind == LooksAtSource || kind >= Acts; }
		bool changes() const { return kind >= Chooses; }
	};

	// Returns all endpoints. RemoteControl_Requests.cpp
	static std::span<const Endpoint> endpoints();
	// Returns the names of all events. RemoteControl_Events.cpp
	static std::span<const char *const> events();

	// Registers the vendor and its requests. The queue owns the remote control. Without the WebSocket plug-in it
	// only writes a log line. Call it when all modules are loaded.
	static void start(QueueControl *queue);
	// Refuses all waiting and later requests at once, and sends no more events. Call it before the user-interface
	// thread waits for the plug-in's threads at OBS's exit. Does nothing when called again, or before start().
	static void close();

	~RemoteControl() override;

	// Carries out a request with these fields. Returns its response, or that of a refusal.
	Response serve(const Endpoint &endpoint, obs_data_t *data);

private:
	RemoteControl(QueueControl *queue, void *vendor);

	// Sends an event, after which StateChanged is sent as well.
	void emitEvent(const char *type, obs_data_t *data);
	void sendEvent(const char *type, obs_data_t *data);
	// Sends an event with a new revision. No event overtakes a change of the queue that has yet to be announced.
	void announce(const char *type, obs_data_t *data);

	// Adds the state after the request to a response.
	Response withState(const Response &response) const;

	// RemoteControl_Events.cpp
	void observe();
	void waitForPlugin();
	void announceAll();
	void observePoll(obs_media_state state, qint64 positionMs, qint64 durationMs);
	void startQueueTimer();
	void announceSource();
	void announceQueue();
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

	// RemoteControl_State.cpp: the event StateChanged, for clients that see only the last event and compare texts.
	using Texts = QMap<QByteArray, QString>;
	Texts stateTexts() const;
	Texts timeTexts() const;
	void noticeState();
	void stateOvertaken();
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

	QueueControl *const queue;                            // the parent
	void *const vendor;                                   // the plug-in's
	TagReader &tagReader;                                 // the dock's
	Tags currentTags;                                     // as last sent
	State seen;                                           // the dock's state when it was last compared
	obs_media_state toldChange = OBS_MEDIA_STATE_STOPPED; // last sent as a change of the media's state
	obs_media_state toldState = OBS_MEDIA_STATE_STOPPED;  // last sent, as a change or with a track
	qint64 lengthMs = 0;                                  // of the current track's media; 0: no poll has seen it
	qint64 revision = 0;                                  // grows with every change of the state
	qint64 queueRevision = 0;                             // the revision of the last change of the queue
	bool pluginLoads = false; // the plug-in may drop events until it has heard of the new scene collection
	QTimer queueTimer;        // runs while a change of the queue has yet to be announced
	QElapsedTimer burst;      // time since the first of those changes
	QTimer restTimer;         // runs from the last other event until StateChanged may follow
	QTimer againTimer;        // runs until StateChanged is sent once more
	Texts toldTexts;          // as StateChanged last told them
	QString failedTitle;      // of the track that failed, until one plays
};

} // namespace reelhouse
