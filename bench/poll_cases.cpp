/* SPDX-License-Identifier: GPL-2.0-or-later */

// What happens four times a second, whatever the user does.

#include "cases.hpp"

#include <algorithm>

#include "Stage.hpp"

using namespace Qt::StringLiterals;

namespace {

// A tick that refreshes nothing, beside one search for the id that is farthest away.
void measureTick(Comparison &comparison, Stage &stage)
{
	const QList<Reelhouse::Track> tracks = tracksOf(mediaFiles(comparison.rows));
	const QString last = tracks.constLast().id;
	const auto floor = [&] {
		EXPECT_NE(std::ranges::find(tracks, last, &Reelhouse::Track::id), tracks.cend());
	};
	int ticks = 0;
	const auto dock = [&] {
		stage.tick();
		ticks++;
	};
	stage.tickThroughRefresh();
	comparison.run(floor, dock, [&] {
		if (ticks % 4 == 3)
			dock();
	});
}

OBSSource makeInput(const char *id, const QString &name)
{
	OBSSourceAutoRelease source = obs_source_create(id, name.toUtf8().constData(), nullptr, nullptr);
	return source.Get();
}

// What most items of a scene are: not the dock's business.
void registerOtherType()
{
	static obs_source_info info = {};
	info.id = "bench_input";
	info.type = OBS_SOURCE_TYPE_INPUT;
	info.get_name = [](void *) {
		return "Other";
	};
	info.create = [](obs_data_t *, obs_source_t *source) -> void * {
		return source;
	};
	info.destroy = [](void *) {
	};
	obs_register_source(&info);
}

// 100 scenes of 50 items: 44 of other types, 4 VLC sources, a group of 3 and, in every other scene, the one before it.
struct Collection {
	Collection()
	{
		registerOtherType();
		for (int i = 0; i < 50; i++)
			vlcSources.append(makeInput("vlc_source", u"Player %1"_s.arg(i)));
		for (int i = 0; i < 100; i++)
			others.append(makeInput("bench_input", u"Other %1"_s.arg(i)));
		for (int i = 0; i < 100; i++)
			scenes.push_back(makeScene(i));
	}

	OBSScene makeScene(int number)
	{
		OBSSceneAutoRelease scene = obs_scene_create(u"Scene %1"_s.arg(number).toUtf8().constData());
		for (int i = 0; i < 44; i++)
			obs_scene_add(scene, others.at((number + i) % others.size()));
		for (int i = 0; i < 4; i++)
			obs_scene_add(scene, vlcSources.at((number * 4 + i) % vlcSources.size()));
		obs_sceneitem_t *group = obs_scene_add_group(scene, u"Group %1"_s.arg(number).toUtf8().constData());
		for (int i = 0; i < 3; i++)
			obs_scene_add(obs_sceneitem_group_get_scene(group), vlcSources.at((number + i * 7) % 50));
		if (number % 2)
			obs_scene_add(scene, obs_scene_get_source(scenes.back()));
		else
			obs_scene_add(scene, others.constFirst());
		return scene.Get();
	}

	QList<OBSSource> vlcSources;
	QList<OBSSource> others;
	std::vector<OBSScene> scenes;
};

void walk(obs_source_t *source, int &items)
{
	obs_scene_t *scene = obs_group_or_scene_from_source(source);
	if (!scene)
		return;
	obs_scene_enum_items(
		scene,
		[](obs_scene_t *, obs_sceneitem_t *item, void *data) {
			int &count = *static_cast<int *>(data);
			count++;
			walk(obs_sceneitem_get_source(item), count);
			return true;
		},
		&items);
}

} // namespace

void tickIdle(Comparison &comparison)
{
	Stage stage(comparison.rows);
	measureTick(comparison, stage);
}

void tickPlaying(Comparison &comparison)
{
	Stage stage(comparison.rows);
	stage.playThrough(comparison.rows - 1);
	measureTick(comparison, stage);
}

void tickAllSelected(Comparison &comparison)
{
	Stage stage(comparison.rows);
	stage.playThrough(comparison.rows - 1);
	stage.select(0, comparison.rows - 1);
	measureTick(comparison, stage);
}

void tickAllHidden(Comparison &comparison)
{
	Stage stage(comparison.rows);
	stage.playThrough(comparison.rows - 1);
	stage.search(u"no such track"_s);
	stage.select(0, comparison.rows - 1);
	measureTick(comparison, stage);
}

void tickManyScenes(Comparison &comparison)
{
	Stage stage(comparison.rows);
	stage.playThrough(0);
	const Collection collection;
	stage.tickThroughRefresh();
	const auto floor = [] {
		int items = 0;
		obs_enum_sources(
			[](void *data, obs_source_t *) {
				++*static_cast<int *>(data);
				return true;
			},
			&items);
		std::vector<OBSSource> scenes;
		obs_enum_scenes(
			[](void *data, obs_source_t *source) {
				static_cast<std::vector<OBSSource> *>(data)->emplace_back(source);
				return true;
			},
			&scenes);
		for (const OBSSource &scene : scenes)
			walk(scene, items);
		EXPECT_GT(items, 100 * 50);
	};
	comparison.run(floor, [&] { stage.tick(); }, [&] { stage.tickUpToRefresh(); });
}
