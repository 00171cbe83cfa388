/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Host.hpp"

using namespace Qt::StringLiterals;

class Module : public Host {
protected:
	void addScene(const char *name, std::initializer_list<obs_source_t *> sources)
	{
		OBSSceneAutoRelease scene = obs_scene_create(name);
		for (obs_source_t *source : sources)
			obs_scene_add(scene, source);
		frontend->scenes.emplace_back(obs_scene_get_source(scene));
	}
};

TEST_F(Module, RegistersTheDockAndRemovesItOnUnload)
{
	ASSERT_TRUE(loadModule());
	EXPECT_EQ(frontend->dockTitle, u"Reelhouse"_s);
	EXPECT_EQ(frontend->dock->objectName(), u"OBS-Reelhouse-content"_s);
	EXPECT_EQ(frontend->callbacks.size(), 1u);
	for (const QWidget *widget : frontend->dock->findChildren<QWidget *>())
		EXPECT_TRUE(widget->toolTip().isEmpty()) << widget->objectName().toStdString();
	endObs();
	EXPECT_EQ(frontend->removedDocks, 1);
	EXPECT_TRUE(frontend->callbacks.empty());
}

TEST_F(Module, ARefusedDockLeavesNothingBehind)
{
	frontend->acceptsDock = false;
	EXPECT_FALSE(loadModule());
	EXPECT_TRUE(frontend->callbacks.empty());
}

TEST_F(Module, AfterTheExitAnnouncementTheFrontendIsNotCalled)
{
	ASSERT_TRUE(loadModule());
	frontend->send(OBS_FRONTEND_EVENT_EXIT);
	// As OBS does it: the main window takes the dock with it, then libobs unloads its modules.
	delete frontend->dock.data();
	endObs();
	EXPECT_EQ(frontend->removedDocks, 0);
	EXPECT_EQ(frontend->callbacks.size(), 1u) << "the frontend is gone and must not be called";
}

TEST_F(Module, ADockThatOutlivesTheExitIsDeletedOnUnload)
{
	makeSource(u"S"_s, {});
	ASSERT_TRUE(loadModule());
	frontend->send(OBS_FRONTEND_EVENT_EXIT);
	frontend->send(OBS_FRONTEND_EVENT_FINISHED_LOADING);
	EXPECT_EQ(child<QComboBox>("sourceSelector")->count(), 1) << "the exit is final";
	endObs();
	EXPECT_EQ(frontend->removedDocks, 0);
	EXPECT_TRUE(frontend->dock.isNull());
}

TEST_F(Module, EventsAfterTheDockWasDestroyedAreIgnored)
{
	ASSERT_TRUE(loadModule());
	delete frontend->dock.data();
	for (const obs_frontend_event event : {OBS_FRONTEND_EVENT_FINISHED_LOADING,
					       OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING, OBS_FRONTEND_EVENT_EXIT})
		frontend->send(event);
	EXPECT_TRUE(frontend->dock.isNull());
}

TEST_F(Module, ABurstOfChangesIsSavedOnceAndASuspendDropsIt)
{
	const OBSSource source = makeSource(u"Music"_s, {});
	show(source);
	ASSERT_TRUE(waitFor([this] { return frontend->saves == 1; })) << "the first load stores a record";
	for (int i = 0; i < 10; i++)
		child<QComboBox>("endMode")->setCurrentIndex(1 + i % 2);
	ASSERT_TRUE(waitFor([this] { return frontend->saves == 2; }));
	waitForTicks(4);
	EXPECT_EQ(frontend->saves, 2);
	child<QComboBox>("endMode")->setCurrentIndex(0);
	frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING);
	passTime(700); // the delay of a save that must not come
	EXPECT_EQ(frontend->saves, 2);
}

TEST_F(Module, SwitchesOnlyToTheOneSceneThatHoldsTheSource)
{
	enum Scene { A, B, C };
	const OBSSource source = makeSource(u"Music"_s, {makeFile(u"a.mp3"_s)});
	show(source);
	const auto nest = [this](Scene outer, obs_source_t *inner) {
		obs_scene_add(obs_scene_from_source(frontend->scenes[outer]), inner);
	};
	const auto group = [this, &source](Scene outer) {
		obs_scene_t *scene = obs_scene_from_source(frontend->scenes[outer]);
		obs_sceneitem_t *item = obs_scene_add_group(scene, "Group");
		obs_scene_add(obs_sceneitem_group_get_scene(item), source);
	};
	const struct {
		const char *situation;
		std::function<void()> arrange;
		bool studioMode;
		Scene program, preview;
	} rows[] = {
		{"only B holds it", [&] { nest(B, source); }, false, B, A},
		{"only B, in a group", [&] { group(B); }, false, B, A},
		{"studio mode leaves program alone", [&] { nest(B, source); }, true, A, B},
		{"A shows it already", [&] { nest(A, source), nest(B, source); }, false, A, A},
		{"B and C hold it", [&] { nest(B, source), nest(C, source); }, false, A, A},
		{"C, which B nests", [&] { nest(C, source), nest(B, frontend->scenes[C]); }, false, A, A},
		{"A and B nest each other", [&] { nest(A, frontend->scenes[B]), nest(B, frontend->scenes[A]); }, false,
		 A, A},
		{"C was removed", [&] { nest(B, source), nest(C, source), obs_source_remove(frontend->scenes[C]); },
		 false, B, A},
	};
	for (const auto &row : rows) {
		for (const char *name : {"A", "B", "C"})
			addScene(name, {});
		frontend->program = frontend->preview = frontend->scenes[A].Get();
		frontend->studioMode = row.studioMode;
		row.arrange();
		play(0);
		EXPECT_EQ(frontend->program, frontend->scenes[A])
			<< "before the source has switched: " << row.situation;
		sendStopped(source);
		QCoreApplication::processEvents();
		EXPECT_EQ(frontend->program, frontend->scenes[row.program]) << row.situation;
		EXPECT_EQ(frontend->preview, frontend->scenes[row.preview]) << row.situation;
		for (const OBSSource &scene : frontend->scenes)
			obs_source_remove(scene);
		frontend->scenes.clear();
	}
}
