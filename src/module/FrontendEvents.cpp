/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "module/module.hpp"

#include "module/FrontendEvents.hpp"

#include "remote/RemoteControl.hpp"

namespace reelhouse {

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

} // namespace reelhouse
