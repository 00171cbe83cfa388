/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "remote/RemoteControl.hpp"

#include <QThread>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <utility>

#include <obs-websocket-api.h>

#include "remote/values.hpp"

namespace reelhouse {

namespace {

// A request that has not begun after this time is given up.
constexpr std::chrono::seconds requestTimeout(5);

// A request that a thread of the plug-in hands to the user-interface thread.
struct Task {
	enum State { Waiting, Running, Done, GivenUp };

	const RemoteControl::Endpoint &endpoint;
	obs_data_t *const data; // the plug-in owns it and keeps it until the task is done or given up
	Response response;
	State state = Waiting;
};

// The state that the plug-in's threads and the user-interface thread share. It is never destroyed before the process
// ends: the plug-in may send a request after the RemoteControl is gone.
struct Dispatcher {
	std::mutex mutex; // guards the other members and the state of each task
	std::condition_variable changed;
	RemoteControl *remote = nullptr; // null: closed
	// A task was given up, and the user-interface thread has run none since. Until it does, no request waits: that
	// thread may be waiting for the plug-in's threads, and would then wait for each of their requests in turn.
	bool stalled = false;
	Response unavailable;
	Response graphicsThread;
} dispatcher;

// User-interface thread. Does nothing for a task that was given up: its data may be gone.
void run(Task &task)
{
	RemoteControl *remote = nullptr;
	{
		const std::lock_guard lock(dispatcher.mutex);
		dispatcher.stalled = false;
		if (!dispatcher.remote || task.state != Task::Waiting)
			return;
		remote = dispatcher.remote;
		task.state = Task::Running;
	}
	task.response = remote->serve(task.endpoint, task.data);
	{
		const std::lock_guard lock(dispatcher.mutex);
		task.state = Task::Done;
	}
	dispatcher.changed.notify_all();
}

// Runs on a thread of the plug-in, or on any thread when another module sends the request. Waits for a task that is
// running however long it takes: its effects happen, so the response must tell them.
Response dispatch(const std::shared_ptr<Task> &task)
{
	std::unique_lock lock(dispatcher.mutex);
	// The plug-in runs a serial-frame batch on the graphics thread. A wait here would stop the picture.
	if (obs_in_task_thread(OBS_TASK_GRAPHICS))
		return dispatcher.graphicsThread;
	RemoteControl *remote = dispatcher.remote;
	if (remote && remote->thread() == QThread::currentThread()) {
		lock.unlock();
		return remote->serve(task->endpoint, task->data);
	}
	if (remote && !dispatcher.stalled) {
		// The locked dispatcher keeps the RemoteControl alive during this call.
		QMetaObject::invokeMethod(remote, [task] { run(*task); }, Qt::QueuedConnection);
		dispatcher.changed.wait_for(lock, requestTimeout,
					    [&task] { return !dispatcher.remote || task->state == Task::Done; });
		dispatcher.changed.wait(lock, [&task] { return task->state != Task::Running; });
		if (task->state == Task::Done)
			return std::move(task->response);
		task->state = Task::GivenUp;
		dispatcher.stalled = dispatcher.remote;
	}
	return dispatcher.unavailable;
}

void handleRequest(obs_data_t *data, obs_data_t *responseData, void *endpoint)
{
	const auto task = std::make_shared<Task>(*static_cast<const RemoteControl::Endpoint *>(endpoint), data);
	dispatch(task)(responseData);
}

// Returns the remote control; null when it is closed.
RemoteControl *openOne()
{
	const std::lock_guard lock(dispatcher.mutex);
	return dispatcher.remote;
}

// Refuses a request that names another source than the bound one.
void checkSource(Request &request, obs_source_t *source)
{
	const bool otherName = request.has("sourceName") && request.text("sourceName") != nameOf(source);
	const bool otherUuid = request.has("sourceUuid") && request.text("sourceUuid") != uuidOf(source);
	if (otherName || otherUuid)
		request.refuse(Refusal::OtherSource, nameOf(source));
}

} // namespace

void RemoteControl::start(QueueControl *queue)
{
	// The plug-in's header caches this pointer, which may be left from an earlier start of libobs in this process.
	_ph = nullptr;
	const obs_websocket_vendor vendor = obs_websocket_register_vendor("OBS-Reelhouse");
	if (!vendor) {
		blog(LOG_INFO, "[OBS-Reelhouse] OBS's WebSocket plug-in is not there: no remote control.");
		return;
	}
	auto *remote = new RemoteControl(queue, vendor);
	{
		const std::lock_guard lock(dispatcher.mutex);
		dispatcher.remote = remote;
		dispatcher.stalled = false;
		dispatcher.unavailable = refusalResponse(Refusal::Unavailable);
		dispatcher.graphicsThread = refusalResponse(Refusal::GraphicsThread);
	}
	for (const Endpoint &endpoint : endpoints())
		obs_websocket_vendor_register_request(vendor, endpoint.name, handleRequest,
						      const_cast<Endpoint *>(&endpoint));
}

void RemoteControl::close()
{
	RemoteControl *remote = nullptr;
	{
		const std::lock_guard lock(dispatcher.mutex);
		remote = std::exchange(dispatcher.remote, nullptr);
	}
	dispatcher.changed.notify_all();
	if (!remote)
		return;
	for (QueueObserver *observer : remote->present())
		observer->stop();
}

RemoteControl::RemoteControl(QueueControl *queue, void *vendor_) : QObject(queue), vendor(vendor_)
{
	add(queue);
}

void RemoteControl::include(QueueControl *queue)
{
	if (RemoteControl *remote = openOne())
		remote->add(queue);
}

void RemoteControl::announceNow()
{
	if (RemoteControl *remote = openOne())
		remote->announceChanges();
}

void RemoteControl::add(QueueControl *queue)
{
	observers.removeAll(nullptr);
	observers.append(new QueueObserver(*this, queue));
	std::ranges::sort(observers, {},
			  [](const QPointer<QueueObserver> &observer) { return observer->observed().dockNumber(); });
}

QList<QueueObserver *> RemoteControl::present() const
{
	QList<QueueObserver *> alive;
	for (const QPointer<QueueObserver> &observer : observers) {
		if (observer)
			alive.append(observer);
	}
	return alive;
}

RemoteControl::~RemoteControl()
{
	close();
}

// A request that names a source is for the dock that has it. When none has it, a dock that has another one refuses it.
QueueObserver &RemoteControl::observerFor(const Endpoint &endpoint, obs_data_t *data) const
{
	const auto has = [data](const char *key) {
		return obs_data_has_user_value(data, key);
	};
	const auto hasSource = [](const QueueObserver *observer) {
		return OBSSourceAutoRelease(observer->observed().lockSource()) != nullptr;
	};
	const auto hasNamed = [&](const QueueObserver *observer) {
		OBSSourceAutoRelease source = observer->observed().lockSource();
		return source && (!has("sourceName") || textIn(data, "sourceName") == nameOf(source)) &&
		       (!has("sourceUuid") || textIn(data, "sourceUuid") == uuidOf(source));
	};
	const auto isNumbered = [number = obs_data_get_int(data, "dock")](const QueueObserver *observer) {
		return observer->observed().dockNumber() == number;
	};
	const QList<QueueObserver *> all = present();
	auto found = all.cend();
	if (endpoint.kind == Endpoint::Chooses) {
		found = std::ranges::find_if(all, isNumbered);
	} else if (endpoint.needsSource() && (has("sourceName") || has("sourceUuid"))) {
		found = std::ranges::find_if(all, hasNamed);
		if (found == all.cend())
			found = std::ranges::find_if(all, hasSource);
	}
	return found == all.cend() ? *all.constFirst() : **found;
}

Response RemoteControl::serve(const Endpoint &endpoint, obs_data_t *data)
{
	const QueueObserver &observer = observerFor(endpoint, data);
	QueueControl *queue = &observer.observed();
	Request request(*queue, observer.tags(), data, revision);
	if (!queue->isActive())
		request.refuse(Refusal::Unavailable);
	if (endpoint.needsSource() && !request.isRefused()) {
		OBSSourceAutoRelease source = queue->lockSource();
		if (source)
			checkSource(request, source);
		else
			request.refuse(Refusal::NoSource);
	}
	// The request's ids and positions are those of the queue that is there now.
	if (endpoint.kind == Endpoint::Acts && !request.isRefused())
		queue->followEditElsewhere();
	if (!request.isRefused())
		endpoint.serve(request);
	const bool changed = endpoint.changes() && !request.isRefused();
	return changed ? withState(*queue, request.response()) : request.response();
}

Response RemoteControl::withState(const QueueControl &queue, const Response &response) const
{
	OBSDataAutoRelease state = obs_data_create();
	setText(state, "currentId", queue.currentId());
	obs_data_set_int(state, "currentIndex", queue.currentIndex());
	obs_data_set_string(state, "mediaState", mediaStateName(queue.wantedState()));
	obs_data_set_int(state, "revision", revision);
	return [response, state = OBSData(state.Get())](obs_data_t *data) {
		response(data);
		obs_data_apply(data, state);
	};
}

void RemoteControl::emitEvent(const char *type, obs_data_t *data)
{
	sendEvent(type, data);
	for (QueueObserver *observer : present())
		observer->stateOvertaken();
}

void RemoteControl::announce(const char *type, obs_data_t *data)
{
	announceChanges();
	obs_data_set_int(data, "revision", nextRevision());
	emitEvent(type, data);
}

void RemoteControl::announceChanges()
{
	QList<QueueObserver *> waiting = present();
	waiting.removeIf([](const QueueObserver *observer) { return !observer->hasWaitingChange(); });
	std::ranges::sort(waiting, {}, &QueueObserver::lastChange);
	for (QueueObserver *observer : std::as_const(waiting))
		observer->announceChange();
}

// No other source calls the plug-in: its header keeps a pointer to it in each source that includes it.
void RemoteControl::sendEvent(const char *type, obs_data_t *data)
{
	obs_websocket_vendor_emit_event(vendor, type, data);
}

} // namespace reelhouse
