/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Host.hpp"

#include <QDir>
#include <QFile>
#include <QLabel>

#include <csignal>

#include <sys/resource.h>
#include <util/platform.h>

using namespace Qt::StringLiterals;

class Module : public Host {
public:
	void TestBody() override {}
	void comeAndGo(bool accepted, bool exits, bool dockGoes, int removedDocks, size_t callbacks);

protected:
	static OBSSource makeScene(const char *name, std::initializer_list<obs_source_t *> sources)
	{
		OBSSceneAutoRelease scene = obs_scene_create(name);
		for (obs_source_t *source : sources)
			obs_scene_add(scene, source);
		return obs_scene_get_source(scene);
	}
	void restart() const;
	QString settings(const QByteArray &text = {}) const;
};

// Whether the frontend takes the dock; whether it ends first, which is final; whether it takes the dock with it.
void Module::comeAndGo(bool accepted, bool exits, bool dockGoes, int removedDocks, size_t callbacks)
{
	OBSSource source = makeSource(u"S"_s, {});
	frontend->acceptsDock = accepted;
	ASSERT_EQ(loadModule(), accepted);
	EXPECT_EQ(frontend->callbacks.size(), accepted ? 1u : 0u);
	if (exits)
		frontend->send(OBS_FRONTEND_EVENT_EXIT);
	if (dockGoes)
		delete frontend->dock.data();
	for (const auto event : {OBS_FRONTEND_EVENT_FINISHED_LOADING, OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING})
		frontend->send(event);
	EXPECT_TRUE(!frontend->dock || child<QComboBox>("sourceSelector")->count() == 1);
	source = nullptr;
	endObs();
	EXPECT_EQ(frontend->removedDocks, removedDocks);
	EXPECT_EQ(frontend->callbacks.size(), callbacks);
	EXPECT_TRUE(frontend->dock.isNull());
}

TEST(ModuleLife, LeavesNothingBehind)
{
	const struct {
		const char *what;
		bool accepted, exits, dockGoes;
		int removedDocks;
		size_t callbacks;
	} rows[] = {
		{"OBS unloads it", true, false, false, 1, 0},
		{"its dock is refused", false, false, false, 0, 0},
		{"somebody destroys the dock", true, false, true, 0, 0},
		{"OBS ends and takes the dock: the frontend must not be called any more", true, true, true, 0, 1},
		{"OBS ends, and the dock outlives it", true, true, false, 0, 0},
	};
	for (const auto &[what, accepted, exits, dockGoes, removedDocks, callbacks] : rows) {
		SCOPED_TRACE(what);
		Module().comeAndGo(accepted, exits, dockGoes, removedDocks, callbacks);
	}
}

TEST_F(Module, ShowsItselfWithoutTooltips)
{
	ASSERT_TRUE(loadModule());
	EXPECT_EQ(frontend->dockTitle, u"Reelhouse"_s);
	EXPECT_EQ(frontend->dock->objectName(), u"OBS-Reelhouse-content"_s);
	for (const QWidget *widget : frontend->dock->findChildren<QWidget *>())
		EXPECT_TRUE(widget->toolTip().isEmpty()) << widget->objectName().toStdString();
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
		obs_scene_add(obs_sceneitem_group_get_scene(obs_scene_add_group(scene, "Group")), source);
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
		SCOPED_TRACE(row.situation);
		for (const char *name : {"A", "B", "C"})
			frontend->scenes.push_back(makeScene(name, {}));
		frontend->program = frontend->preview = frontend->scenes[A].Get();
		frontend->studioMode = row.studioMode;
		row.arrange();
		play(0);
		EXPECT_EQ(frontend->program, frontend->scenes[A]) << "before the source has switched";
		sendStopped(source);
		QCoreApplication::processEvents();
		EXPECT_EQ(frontend->program, frontend->scenes[row.program]);
		EXPECT_EQ(frontend->preview, frontend->scenes[row.preview]);
		for (const OBSSource &scene : frontend->scenes)
			obs_source_remove(scene);
		frontend->scenes.clear();
	}
}

TEST_F(Module, ListsSourcesByNameWithTheScenesThatShowThem)
{
	const OBSSource music = makeSource(u"Music"_s, {makeFile(u"a"_s)}), clips = makeSource(u"Clips"_s, {});
	const OBSSource main = makeScene("Main", {music, music}), intro = makeScene("intro", {});
	const OBSSource outer = makeScene("Outer", {intro});
	obs_scene_add(obs_sceneitem_group_get_scene(obs_scene_add_group(obs_scene_from_source(intro), "Group")), music);
	ASSERT_TRUE(loadModule());
	const auto entries = [this] {
		QStringList texts;
		for (int i = 0; i < child<QComboBox>("sourceSelector")->count(); i++)
			texts.append(child<QComboBox>("sourceSelector")->itemText(i));
		return texts.join(u", "_s);
	};
	EXPECT_EQ(entries(), u"Select a VLC Video Source"_s) << "nothing is listed before loading has finished";
	frontend->send(OBS_FRONTEND_EVENT_FINISHED_LOADING);
	EXPECT_EQ(entries(), u"Select a VLC Video Source, Clips, Group / intro / Main / Outer · Music"_s);
	choose(music);
	obs_source_set_name(music, "Again");
	const OBSSource twin = makeSource(u"Music"_s, {});
	ASSERT_TRUE(waitFor([&] { return entries().endsWith(u"Again, Clips, Music"_s); })) << entries().toStdString();
	EXPECT_EQ(child<QComboBox>("sourceSelector")->currentText(), u"Group / intro / Main / Outer · Again"_s);
	EXPECT_EQ(list()->count(), 1) << "it stays bound, and no namesake takes over";
}

void Module::restart() const
{
	const auto call = [](const char *name) {
		return os_dlsym(obs_get_module_lib(obs_get_module("obs-reelhouse")), name);
	};
	reinterpret_cast<void (*)()>(call("obs_module_unload"))();
	ASSERT_TRUE(reinterpret_cast<bool (*)()>(call("obs_module_load"))());
	frontend->send(OBS_FRONTEND_EVENT_FINISHED_LOADING);
}

// Writes the settings file if there is a text for it.
QString Module::settings(const QByteArray &text) const
{
	QFile file(folder.filePath(u"config/obs-reelhouse/settings.json"_s));
	EXPECT_TRUE(text.isEmpty() || (file.open(QIODevice::WriteOnly) && file.write(text) == text.size()));
	file.close();
	return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

TEST_F(Module, RemembersTheSourceAndTheTimeDisplay)
{
	const OBSSource source = makeSource(u"S"_s, {});
	show(source);
	const auto shown = [this] {
		return child<QComboBox>("sourceSelector")->currentText() + u' ' + child<QLabel>("playbackTime")->text();
	};
	QTest::mouseClick(child<QWidget>("playbackTime"), Qt::LeftButton);
	const QString good = settings();
	EXPECT_EQ(good, u"{\"remainingTime\":true,\"sourceUuid\":\"%1\"}"_s.arg(uuidOf(source)));
	restart();
	EXPECT_EQ(shown(), u"S −—:—"_s);
	for (const char *text :
	     {"[]", "\xff{", "{\"sourceUuid\": 5, \"remainingTime\": \"true\"}", "{\"sourceUuid\": \"x\"}"}) {
		settings(text);
		restart();
		EXPECT_EQ(shown(), u"Select a VLC Video Source 0:00"_s) << text;
	}
	settings(good.toUtf8());

	// As on a full disk, a write ends early.
	std::signal(SIGXFSZ, SIG_IGN);
	rlimit unlimited;
	getrlimit(RLIMIT_FSIZE, &unlimited);
	const rlimit few = {8, unlimited.rlim_max};
	setrlimit(RLIMIT_FSIZE, &few);
	choose(source);
	setrlimit(RLIMIT_FSIZE, &unlimited);
	EXPECT_TRUE(child<QLabel>("message")->text().startsWith(u"⚠ Could not save the settings: "_s));
	EXPECT_EQ(settings(), good) << "the previous file is whole";
	EXPECT_EQ(QDir(folder.filePath(u"config/obs-reelhouse"_s)).entryList(QDir::Files).size(), 1);
	QDir(folder.filePath(u"config/obs-reelhouse"_s)).removeRecursively();
	makeFile(u"config/obs-reelhouse"_s);
	child<QComboBox>("sourceSelector")->setCurrentIndex(0);
	EXPECT_EQ(child<QLabel>("message")->text(), u"⚠ Could not create the settings folder"_s);
}
