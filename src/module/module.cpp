/* SPDX-License-Identifier: GPL-2.0-or-later */
#include <QPointer>

#include <obs-frontend-api.h>
#include <obs-module.h>
#include <util/util.hpp>

#include "dock/Reelhouse.hpp"
#include "module/SceneSwitch.hpp"
#include "module/ToolsMenu.hpp"
#include "picture/HoldPicture.hpp"
#include "remote/RemoteControl.hpp"

// libobs declares these two functions without exporting them.
MODULE_EXPORT obs_module_t *obs_current_module(void);
MODULE_EXPORT const char *obs_module_text(const char *key);

OBS_DECLARE_MODULE()
OBS_MODULE_USE_DEFAULT_LOCALE("obs-reelhouse", "en-US")
OBS_MODULE_AUTHOR("The Reelhouse developers")

using namespace reelhouse;

namespace {

// User-interface thread only. The dock is null before it is made and after it is destroyed, which the frontend may do
// with its dock widget.
QPointer<Reelhouse> dock;
// The frontend has announced its exit and may be gone.
bool exiting = false;

constexpr char dockId[] = "OBS-Reelhouse";

// The dock relies on the exact behaviour of one OBS and one Qt, so it refuses every other version, newer patches
// included.
bool isRequiredHost()
{
	if (obs_get_version() != MAKE_SEMANTIC_VERSION(HOST_OBS_MAJOR, HOST_OBS_MINOR, HOST_OBS_PATCH)) {
		blog(LOG_ERROR, "[OBS-Reelhouse] This build requires OBS %s.", HOST_OBS_VERSION);
		return false;
	}
	if (QString::fromLatin1(qVersion()) != QLatin1String(HOST_QT_VERSION)) {
		blog(LOG_ERROR, "[OBS-Reelhouse] This build requires Qt %s; runtime is %s.", HOST_QT_VERSION,
		     qVersion());
		return false;
	}
	return true;
}

QString settingsPath()
{
	const BPtr<char> path = obs_module_get_config_path(obs_current_module(), "settings.json");
	return QString::fromUtf8(path.Get());
}

// Suspends, resumes and shuts down the dock as scene collections come and go. The frontend calls it on the
// user-interface thread.
void frontendEvent(obs_frontend_event event, void *)
{
	if (!dock)
		return;
	switch (event) {
	case OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED:
	case OBS_FRONTEND_EVENT_FINISHED_LOADING:
		dock->resume();
		break;
	case OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING:
	case OBS_FRONTEND_EVENT_SCENE_COLLECTION_CLEANUP:
		dock->suspend();
		break;
	case OBS_FRONTEND_EVENT_SCRIPTING_SHUTDOWN:
		RemoteControl::close();
		break;
	case OBS_FRONTEND_EVENT_EXIT:
		RemoteControl::close();
		exiting = true;
		dock->shutdown();
		break;
	default:
		break;
	}
}

} // namespace

MODULE_EXPORT const char *obs_module_name(void)
{
	return obs_module_text("DockName");
}

MODULE_EXPORT const char *obs_module_description(void)
{
	return obs_module_text("PluginDescription");
}

bool obs_module_load(void)
{
	if (!isRequiredHost())
		return false;
	auto *newDock = new Reelhouse(settingsPath());
	if (!obs_frontend_add_dock_by_id(dockId, obs_module_text("DockName"), newDock)) {
		delete newDock;
		return false;
	}
	dock = newDock;
	// Not before the dock: a module that refuses to load leaves no type of filter behind.
	registerHoldPicture();
	QObject::connect(newDock, &Reelhouse::sceneSwitchRequested, newDock, &switchScene);
	QObject::connect(newDock, &Reelhouse::configurationChanged, newDock, [] { obs_frontend_save(); });
	addToToolsMenu(newDock);
	exiting = false;
	obs_frontend_add_event_callback(frontendEvent, nullptr);
	blog(LOG_INFO, "[OBS-Reelhouse] %s loaded; Qt %s; dock registered.", REELHOUSE_VERSION, qVersion());
	return true;
}

void obs_module_post_load(void)
{
	// libobs calls this even when the module has refused to load.
	if (dock)
		RemoteControl::start(&dock->queueControl());
}

void obs_module_unload(void)
{
	RemoteControl::close();
	// The main window destroys the dock. If that happened after the exit announcement, the frontend is gone, too,
	// and a call to it would log an error.
	if (!exiting || dock)
		obs_frontend_remove_event_callback(frontendEvent, nullptr);
	if (!exiting)
		removeFromToolsMenu();
	if (!dock)
		return;
	dock->shutdown();
	if (!exiting)
		obs_frontend_remove_dock(dockId);
	// Null when the frontend has destroyed the dock together with its dock widget.
	delete dock;
	dock = nullptr;
}
