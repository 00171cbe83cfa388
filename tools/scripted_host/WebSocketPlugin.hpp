/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QJsonObject>

#include <functional>
#include <map>
#include <vector>

#include <obs-websocket-api.h>
#include <obs.hpp>

// OBS's WebSocket plug-in as the module's remote control sees it, with requests that a test makes and events that it
// looks at.
class WebSocketPlugin {
public:
	// libobs has to be running.
	WebSocketPlugin();
	~WebSocketPlugin() { end(); }
	// It may well go before the modules that use it.
	void end() { proc_handler_destroy(std::exchange(handler, nullptr)); }

	// What the plug-in does on a thread of its own.
	QJsonObject request(const std::string &name, const QByteArray &json = "{}") const;

	std::map<std::string, obs_websocket_request_callback> requests;
	std::vector<std::pair<QString, QJsonObject>> events;
	std::function<void()> onEvent = [] {
	}; // while the event is being sent

private:
	proc_handler_t *handler = proc_handler_create();
};
