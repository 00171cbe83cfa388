/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/scenes.hpp"

namespace reelhouse {

void visitItems(obs_source_t *parent, QSet<obs_source_t *> &visited, const std::function<bool(obs_source_t *)> &visit)
{
	obs_scene_t *scene = obs_scene_from_source(parent);
	if (!scene)
		scene = obs_group_from_source(parent);
	if (!scene || visited.contains(parent))
		return;
	visited.insert(parent);
	const auto visitItem = [](obs_scene_t *, obs_sceneitem_t *item, void *data) {
		const auto &visit_ = *static_cast<const std::function<bool(obs_source_t *)> *>(data);
		return visit_(obs_sceneitem_get_source(item));
	};
	obs_scene_enum_items(scene, visitItem, const_cast<std::function<bool(obs_source_t *)> *>(&visit));
}

} // namespace reelhouse
