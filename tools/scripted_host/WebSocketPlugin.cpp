/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "WebSocketPlugin.hpp"

#include <QJsonDocument>

namespace {

WebSocketPlugin &pluginOf(void *data)
{
	return *static_cast<WebSocketPlugin *>(data);
}

QJsonObject toJson(obs_data_t *data)
{
	return QJsonDocument::fromJson(obs_data_get_json(data)).object();
}

} // namespace

WebSocketPlugin::WebSocketPlugin()
{
	proc_handler_add(
		obs_get_proc_handler(), "bool obs_websocket_api_get_ph(out ptr ph)",
		[](void *data, calldata_t *call) { calldata_set_ptr(call, "ph", pluginOf(data).handler); }, this);
	proc_handler_add(
		handler, "bool vendor_register(in string name, out ptr vendor)",
		[](void *data, calldata_t *call) { calldata_set_ptr(call, "vendor", data); }, this);
	proc_handler_add(
		handler, "bool vendor_request_register(in ptr vendor, in string type, in ptr callback)",
		[](void *data, calldata_t *call) {
			pluginOf(data).requests[calldata_string(call, "type")] =
				*static_cast<obs_websocket_request_callback *>(calldata_ptr(call, "callback"));
		},
		this);
	proc_handler_add(
		handler, "bool vendor_event_emit(in ptr vendor, in string type, in ptr data)",
		[](void *data, calldata_t *call) {
			pluginOf(data).events.emplace_back(
				QString::fromUtf8(calldata_string(call, "type")),
				toJson(static_cast<obs_data_t *>(calldata_ptr(call, "data"))));
			pluginOf(data).onEvent();
		},
		this);
}

QJsonObject WebSocketPlugin::request(const std::string &name, const QByteArray &json) const
{
	const obs_websocket_request_callback &callback = requests.at(name);
	OBSDataAutoRelease data = obs_data_create_from_json(json.constData());
	OBSDataAutoRelease response = obs_data_create();
	callback.callback(data, response, callback.priv_data);
	return toJson(response);
}
