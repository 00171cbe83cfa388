/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QElapsedTimer>
#include <QTimer>

#include <span>

#include "remote/Request.hpp"

namespace reelhouse {

// The dock's remote control: requests and events of a vendor of OBS's WebSocket plug-in.
//
// A request comes on one of that plug-in's threads, which waits while the user-interface thread serves it. Everything
// else runs on the user-interface thread.
class RemoteControl : public QObject {
public:
	// One request that clients can make.
	struct Endpoint {
		enum Kind {
			Looks,         // at what needs no source
			LooksAtSource, // at what the bound source has
			Chooses,       // another source, and is answered with what is current there
			Acts,          // on the bound source, and is answered with what is current afterwards
		};

		const char *name;
		void (*serve)(Request &request);
		Kind kind;

		bool needsSource() const { return kind == LooksAtSource || kind == Acts; }
		bool changes() const { return kind == Chooses || kind == Acts; }
	};

	// RemoteControl_Requests.cpp
	static std::span<const Endpoint> endpoints();
	// The names of all events. RemoteControl_Events.cpp
	static std::span<const char *const> events();

	// Registers the vendor and everything it can be asked, for as long as the dock lives. Without the WebSocket
	// plug-in it says so in the log and does nothing. To be called once all modules are loaded.
	static void start(QueueControl *queue);
	// OBS ends, and its user-interface thread is about to wait for the plug-in's threads. Requests on their way are
	// answered with a refusal at once, as are those that still come, and no event is sent any more. Harmless when
	// repeated, or when nothing was started.
	static void close();

	~RemoteControl() override;

	Response serve(const Endpoint &endpoint, obs_data_t *data);

private:
	RemoteControl(QueueControl *queue, void *vendor);

	void emitEvent(const char *type, obs_data_t *data);

	Response withState(const Response &response) const;

	// RemoteControl_Events.cpp
	void observe();
	void observePoll(obs_media_state state, qint64 positionMs, qint64 durationMs);
	void startQueueTimer();
	void announceSource();
	void announceQueue();
	void announceCurrent();
	void announceTags(const QString &path);
	void announceEndMode();
	void announceMedia(const MediaFollower::Change &change);
	// An event's data with the bound source, and with the current track.
	OBSDataAutoRelease sourceData() const;
	OBSDataAutoRelease currentData() const;

	// What the events tell of.
	struct State {
		QString sourceUuid;
		QString sourceName;
		QList<Track> tracks;
		QString currentId;
		int endMode = EndStop;
	};
	static State stateOf(const QueueControl &queue);

	QueueControl *const queue; // the parent
	void *const vendor;        // the plug-in's
	MediaFollower media;
	TagReader &tagReader; // the dock's
	Tags currentTags;     // as last told
	State seen;
	qint64 revision = 0;      // counts every change of a part of the state
	qint64 queueRevision = 0; // that of the queue's last change
	QTimer queueTimer;        // runs while a change of the queue is still to be announced
	QElapsedTimer burst;      // since the first of those changes
};

} // namespace reelhouse
