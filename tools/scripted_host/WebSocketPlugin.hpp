/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QJsonObject>

#include <functional>
#include <map>
#include <vector>

#include <obs-websocket-api.h>
#include <obs.hpp>

// Stands in for OBS's WebSocket plug-in: a test sends requests through it and reads the events of the module.
class WebSocketPlugin {
public:
	// libobs must be running.
	WebSocketPlugin();
	~WebSocketPlugin() { end(); }
	// The plug-in may end before the modules that use it.
	void end() { proc_handler_destroy(std::exchange(handler, nullptr)); }

	// Sends a request. The plug-in does this on threads of its own.
	QJsonObject request(const std::string &name, const QByteArray &json = "{}") const;

	std::map<std::string, obs_websocket_request_callback> requests;
	std::vector<std::pair<QString, QJsonObject>> events;
	std::function<void()> onEvent = [] {
	}; // called while an event is sent

private:
	proc_handler_t *handler = proc_handler_create();
};
