/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "remote/RemoteControl.hpp"

#include <QThread>

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
	disconnect(remote->queue, nullptr, remote, nullptr);
	disconnect(&remote->tagReader, nullptr, remote, nullptr);
	remote->tagReader.endWaits();
	remote->queueTimer.stop();
	remote->restTimer.stop();
	remote->againTimer.stop();
}

RemoteControl::RemoteControl(QueueControl *queue_, void *vendor_)
	: QObject(queue_), queue(queue_), vendor(vendor_), tagReader(queue_->tagReader()), seen(stateOf(*queue_))
{
	queueTimer.setSingleShot(true);
	connect(&queueTimer, &QTimer::timeout, this, &RemoteControl::announceQueue);
	restTimer.setSingleShot(true);
	connect(&restTimer, &QTimer::timeout, this, [this] { announceState(false); });
	againTimer.setSingleShot(true);
	connect(&againTimer, &QTimer::timeout, this, [this] { announceState(true); });
	connect(queue, &QueueControl::changed, this, &RemoteControl::observe);
	connect(queue, &QueueControl::searchEnded, this, &RemoteControl::announceSearch);
	connect(queue, &QueueControl::mediaPolled, this, &RemoteControl::observePoll);
	connect(queue, &QueueControl::resuming, this, &RemoteControl::waitForPlugin);
	connect(queue, &QueueControl::trackFailed, this, &RemoteControl::announceFailure);
	connect(&tagReader, &TagReader::tagsRead, this, &RemoteControl::announceTags);
	connect(queue, &QueueControl::switchFinished, this, [this] { lengthMs = 0; });
	connect(queue, &QueueControl::canBringBackChanged, this, &RemoteControl::noticeState);
}

RemoteControl::~RemoteControl()
{
	close();
}

Response RemoteControl::serve(const Endpoint &endpoint, obs_data_t *data)
{
	Request request(*queue, tagReader, data, revision);
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
	return changed ? withState(request.response()) : request.response();
}

Response RemoteControl::withState(const Response &response) const
{
	OBSDataAutoRelease state = obs_data_create();
	setText(state, "currentId", queue->currentId());
	obs_data_set_int(state, "currentIndex", queue->currentIndex());
	obs_data_set_string(state, "mediaState", mediaStateName(queue->wantedState()));
	obs_data_set_int(state, "revision", revision);
	return [response, state = OBSData(state.Get())](obs_data_t *data) {
		response(data);
		obs_data_apply(data, state);
	};
}

void RemoteControl::emitEvent(const char *type, obs_data_t *data)
{
	sendEvent(type, data);
	stateOvertaken();
}

// No other source calls the plug-in: its header keeps a pointer to it in each source that includes it.
void RemoteControl::sendEvent(const char *type, obs_data_t *data)
{
	obs_websocket_vendor_emit_event(vendor, type, data);
}

} // namespace reelhouse
