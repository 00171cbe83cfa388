/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QList>
#include <QPointer>

#include <span>

#include "remote/QueueObserver.hpp"
#include "remote/Request.hpp"

namespace reelhouse {

// The remote control of all docks: requests and events of a vendor of OBS's WebSocket plug-in. A request comes on a
// thread of the plug-in, and that thread waits while the user-interface thread serves the request. Everything else runs
// on the user-interface thread.
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

	// Registers the vendor and its requests for the queue of the first dock, which owns the remote control. Without
	// the WebSocket plug-in it only writes a log line. Call it when all modules are loaded.
	static void start(QueueControl *queue);
	// Serves the queue of a further dock, too, as long as it lives. Does nothing when there is no remote control.
	static void include(QueueControl *queue);
	// Sends the events of the changes that wait.
	static void announceNow();
	// Refuses all waiting and later requests at once, and sends no more events. Call it before the user-interface
	// thread waits for the plug-in's threads at OBS's exit. Does nothing when called again, or before start().
	static void close();

	~RemoteControl() override;

	// Carries out a request with these fields. Returns its response, or that of a refusal.
	Response serve(const Endpoint &endpoint, obs_data_t *data);

	// For the observers of the queues. Sends an event, after which StateChanged is sent as well.
	void emitEvent(const char *type, obs_data_t *data);
	void sendEvent(const char *type, obs_data_t *data);
	// Sends an event with a new revision. No event overtakes a change of a queue that has yet to be announced.
	void announce(const char *type, obs_data_t *data);
	// Announces the changes of queues that wait, in their order.
	void announceChanges();
	// Counts a change of the state of any dock.
	qint64 nextRevision() { return ++revision; }

private:
	RemoteControl(QueueControl *queue, void *vendor);

	void add(QueueControl *queue);
	QList<QueueObserver *> present() const;
	// The observer of the dock that a request is for.
	QueueObserver &observerFor(const Endpoint &endpoint, obs_data_t *data) const;
	// Adds the state after the request to a response.
	Response withState(const QueueControl &queue, const Response &response) const;

	QList<QPointer<QueueObserver>> observers; // by the numbers of their docks
	void *const vendor;                       // the plug-in's
	qint64 revision = 0;                      // grows with every change of the state
};

} // namespace reelhouse
