/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QElapsedTimer>
#include <QTimer>

#include <span>

#include "remote/Call.hpp"

namespace reelhouse {

// The dock's remote control: requests and events of a vendor of OBS's WebSocket plug-in.
//
// A request comes on one of that plug-in's threads, which waits while the user-interface thread serves it. Everything
// else runs on the user-interface thread.
class RemoteControl : public QObject {
public:
	struct Request {
		const char *name;
		void (*serve)(Call &call);
		bool needsSource;
	};

	// Registers the vendor and everything it can be asked, for as long as the dock lives. Without the WebSocket
	// plug-in it says so in the log and does nothing. To be called once all modules are loaded.
	static void start(Reelhouse *dock);
	// OBS ends, and its user-interface thread is about to wait for the plug-in's threads. Requests on their way are
	// answered with a refusal at once, as are those that still come, and no event is sent any more. Harmless when
	// repeated, or when nothing was started.
	static void close();

	~RemoteControl() override;

	Answer serve(const Request &request, obs_data_t *data);

private:
	RemoteControl(Reelhouse *dock, void *vendor);

	void emitEvent(const char *type, obs_data_t *data);

	// RemoteControl_Requests.cpp
	static std::span<const Request> requests();

	// RemoteControl_Events.cpp
	void observe();
	void startQueueTimer();
	void announceQueue();
	void announceCurrent();
	void announceEndMode();

	// What the events tell of.
	struct State {
		QString sourceUuid;
		QList<Reelhouse::Track> tracks;
		QString currentId;
		int endMode = Reelhouse::EndStop;
	};
	static State stateOf(const Reelhouse &dock);

	Reelhouse *const dock; // the parent
	void *const vendor;    // the plug-in's
	State seen;
	qint64 revision = 0;      // counts every change of a part of the state
	qint64 queueRevision = 0; // that of the queue's last change
	QTimer queueTimer;        // runs while a change of the queue is still to be announced
	QElapsedTimer burst;      // since the first of those changes
};

} // namespace reelhouse
