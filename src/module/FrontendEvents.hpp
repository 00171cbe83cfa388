/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <obs-frontend-api.h>

namespace reelhouse {

// Suspends, resumes and shuts down the dock as scene collections come and go. The frontend calls it on the
// user-interface thread. data is unused.
void frontendEvent(obs_frontend_event event, void *data);

} // namespace reelhouse
