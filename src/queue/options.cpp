/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "queue/options.hpp"

#include "queue/privateKeys.hpp"

namespace reelhouse {

namespace {

constexpr char skipFailedKey[] = "skipFailed";
constexpr char startAgainKey[] = "startAgain";

} // namespace

QueueOptions QueueOptions::read(obs_data_t *privateSettings)
{
	OBSDataAutoRelease stored = obs_data_get_obj(privateSettings, optionsKey);
	return {obs_data_get_bool(stored, skipFailedKey), obs_data_get_bool(stored, startAgainKey)};
}

void QueueOptions::write(obs_data_t *privateSettings) const
{
	OBSDataAutoRelease stored = obs_data_get_obj(privateSettings, optionsKey);
	if (!stored)
		stored = obs_data_create();
	obs_data_set_bool(stored, skipFailedKey, skipFailed);
	obs_data_set_bool(stored, startAgainKey, startAgain);
	obs_data_set_obj(privateSettings, optionsKey, stored);
}

} // namespace reelhouse
