/* SPDX-License-Identifier: GPL-2.0-or-later */
#include <algorithm>
#include <memory>

#include <obs-frontend-api.h>
#include <obs-module.h>

#include "dock/QueueControl.hpp"
#include "module/Docks.hpp"
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

// User-interface thread only. Null unless the module is loaded.
std::unique_ptr<Docks> docks;
// The frontend has announced its exit and may be gone.
bool exiting = false;

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

// Suspends, resumes and shuts down the docks as scene collections come and go. The frontend calls it on the
// user-interface thread.
void frontendEvent(obs_frontend_event event, void *)
{
	if (docks->all().isEmpty())
		return;
	switch (event) {
	case OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED:
	case OBS_FRONTEND_EVENT_FINISHED_LOADING:
		docks->resume();
		break;
	case OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING:
	case OBS_FRONTEND_EVENT_SCENE_COLLECTION_CLEANUP:
		docks->suspend();
		break;
	case OBS_FRONTEND_EVENT_SCRIPTING_SHUTDOWN:
		RemoteControl::close();
		break;
	case OBS_FRONTEND_EVENT_EXIT:
		RemoteControl::close();
		exiting = true;
		docks->shutdown();
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
	docks = std::make_unique<Docks>();
	if (!docks->openFirst()) {
		docks.reset();
		return false;
	}
	// Not before the dock: a module that refuses to load leaves no type of filter behind.
	registerHoldPicture();
	addToToolsMenu(docks.get());
	exiting = false;
	obs_frontend_add_event_callback(frontendEvent, nullptr);
	blog(LOG_INFO, "[OBS-Reelhouse] %s loaded; Qt %s; dock registered.", REELHOUSE_VERSION, qVersion());
	docks->openOthers();
	return true;
}

void obs_module_post_load(void)
{
	// libobs calls this even when the module has refused to load.
	if (!docks || !docks->first())
		return;
	RemoteControl::start(&docks->first()->queueControl());
	const auto include = [](const Reelhouse *dock) {
		RemoteControl::include(&dock->queueControl());
	};
	const QList<Reelhouse *> all = docks->all();
	std::for_each(all.cbegin() + 1, all.cend(), include);
	QObject::connect(docks.get(), &Docks::opened, docks.get(), include);
}

void obs_module_unload(void)
{
	RemoteControl::close();
	if (!docks)
		return;
	// The main window destroys the docks. If that happened after the exit announcement, the frontend is gone, too,
	// and a call to it would log an error.
	if (!exiting || !docks->all().isEmpty())
		obs_frontend_remove_event_callback(frontendEvent, nullptr);
	if (!exiting)
		removeFromToolsMenu();
	docks->close(!exiting);
	docks.reset();
}
