/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "module/SceneSwitch.hpp"

#include <vector>

#include <obs-frontend-api.h>
#include <obs.hpp>

#include "dock/scenes.hpp"
#include "queue/sources.hpp"

namespace reelhouse {

namespace {

bool holds(obs_source_t *scene, obs_source_t *target)
{
	QSet<obs_source_t *> visited;
	return containsSource(scene, target, visited);
}

std::vector<OBSSource> scenesHolding(obs_source_t *target)
{
	std::vector<OBSSource> matches;
	obs_frontend_source_list scenes = {};
	obs_frontend_get_scenes(&scenes);
	for (size_t i = 0; i < scenes.sources.num; i++) {
		obs_source_t *scene = scenes.sources.array[i];
		if (!obs_source_removed(scene) && holds(scene, target))
			matches.emplace_back(scene);
	}
	obs_frontend_source_list_free(&scenes);
	return matches;
}

} // namespace

void switchScene(const QString &uuid)
{
	OBSSourceAutoRelease source = sourceWith(uuid);
	if (!source)
		return;
	const bool studioMode = obs_frontend_preview_program_mode_active();
	OBSSourceAutoRelease current = studioMode ? obs_frontend_get_current_preview_scene()
						  : obs_frontend_get_current_scene();
	if (current && holds(current, source))
		return;
	const std::vector<OBSSource> matches = scenesHolding(source);
	if (matches.size() != 1)
		return;
	if (studioMode)
		obs_frontend_set_current_preview_scene(matches.front());
	else
		obs_frontend_set_current_scene(matches.front());
}

bool containsSource(obs_source_t *parent, obs_source_t *target, QSet<obs_source_t *> &visited)
{
	if (parent == target)
		return true;
	bool found = false;
	visitItems(parent, visited, [&](obs_source_t *shown) {
		found = containsSource(shown, target, visited);
		return !found;
	});
	return found;
}

} // namespace reelhouse
