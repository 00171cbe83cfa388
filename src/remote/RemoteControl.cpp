/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "remote/RemoteControl.hpp"

#include <QThread>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <utility>

#include <obs-websocket-api.h>

namespace reelhouse {

namespace {

// How long the user-interface thread may take before a request is given up.
constexpr std::chrono::seconds patience(5);

// A request on its way from a thread of the plug-in's to the user-interface thread and back.
struct Task {
	enum State { Waiting, Running, Done, GivenUp };

	const RemoteControl::Request &request;
	obs_data_t *const data; // the plug-in's, which keeps it until the task is done or given up
	Answer answer;
	State state = Waiting;
};

// Where the two threads meet. It outlives every RemoteControl, because the plug-in cannot be told to forget a request
// once it may be gone itself.
struct Gate {
	std::mutex mutex; // guards the rest, and the states of all tasks
	std::condition_variable changed;
	RemoteControl *open = nullptr; // null: closed
	// A task was given up and the user-interface thread has run none since. Nobody waits for it meanwhile: it may be
	// waiting for the plug-in's threads, all of whose requests would be waited for in turn.
	bool stalled = false;
	Answer unavailable;
} gate;

// User-interface thread. Does nothing for a task that was given up, whose data may be gone.
void run(Task &task)
{
	RemoteControl *remote = nullptr;
	{
		const std::lock_guard lock(gate.mutex);
		gate.stalled = false;
		if (!gate.open || task.state != Task::Waiting)
			return;
		remote = gate.open;
		task.state = Task::Running;
	}
	task.answer = remote->serve(task.request, task.data);
	{
		const std::lock_guard lock(gate.mutex);
		task.state = Task::Done;
	}
	gate.changed.notify_all();
}

// On the thread that asks: one of the plug-in's, or for another module any thread. A task that has begun is waited for
// however long it takes: it is done, and so must be answered.
Answer pass(const std::shared_ptr<Task> &task)
{
	std::unique_lock lock(gate.mutex);
	RemoteControl *remote = gate.open;
	if (remote && remote->thread() == QThread::currentThread()) {
		lock.unlock();
		return remote->serve(task->request, task->data);
	}
	if (remote && !gate.stalled) {
		// With the gate locked, the RemoteControl cannot go away under this.
		QMetaObject::invokeMethod(remote, [task] { run(*task); }, Qt::QueuedConnection);
		gate.changed.wait_for(lock, patience, [&task] { return !gate.open || task->state == Task::Done; });
		gate.changed.wait(lock, [&task] { return task->state != Task::Running; });
		if (task->state == Task::Done)
			return std::move(task->answer);
		task->state = Task::GivenUp;
		gate.stalled = gate.open;
	}
	return gate.unavailable;
}

void answerRequest(obs_data_t *data, obs_data_t *response, void *request)
{
	const auto task = std::make_shared<Task>(*static_cast<const RemoteControl::Request *>(request), data);
	pass(task)(response);
}

} // namespace

void RemoteControl::start(Reelhouse *dock)
{
	// What the header has kept belongs to an earlier start of libobs in this process.
	_ph = nullptr;
	const obs_websocket_vendor vendor = obs_websocket_register_vendor("OBS-Reelhouse");
	if (!vendor) {
		blog(LOG_INFO, "[OBS-Reelhouse] OBS's WebSocket plug-in is not there: no remote control.");
		return;
	}
	auto *remote = new RemoteControl(dock, vendor);
	{
		const std::lock_guard lock(gate.mutex);
		gate.open = remote;
		gate.stalled = false;
		gate.unavailable = refusalAnswer(Refusal::Unavailable);
	}
	for (const Request &request : requests())
		obs_websocket_vendor_register_request(vendor, request.name, answerRequest,
						      const_cast<Request *>(&request));
}

void RemoteControl::close()
{
	RemoteControl *remote = nullptr;
	{
		const std::lock_guard lock(gate.mutex);
		remote = std::exchange(gate.open, nullptr);
	}
	gate.changed.notify_all();
	if (!remote)
		return;
	disconnect(remote->dock, &Reelhouse::stateChanged, remote, &RemoteControl::observe);
	remote->queueTimer.stop();
}

RemoteControl::RemoteControl(Reelhouse *dock_, void *vendor_)
	: QObject(dock_), dock(dock_), vendor(vendor_), seen(stateOf(*dock_))
{
	queueTimer.setSingleShot(true);
	connect(&queueTimer, &QTimer::timeout, this, &RemoteControl::announceQueue);
	connect(dock, &Reelhouse::stateChanged, this, &RemoteControl::observe);
}

RemoteControl::~RemoteControl()
{
	close();
}

Answer RemoteControl::serve(const Request &request, obs_data_t *data)
{
	Call call(*dock, data, revision);
	if (!dock->isActive())
		call.refuse(Refusal::Unavailable);
	else if (request.needsSource && !OBSSourceAutoRelease(dock->lockSource()))
		call.refuse(Refusal::NoSource);
	else
		request.serve(call);
	return call.answer();
}

void RemoteControl::emitEvent(const char *type, obs_data_t *data)
{
	obs_websocket_vendor_emit_event(vendor, type, data);
}

} // namespace reelhouse
