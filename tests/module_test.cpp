/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Host.hpp"
#include "SlowDisk.hpp"
#include "WebSocketPlugin.hpp"

#include <QDir>
#include <QFile>

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
	static void addGroup(obs_source_t *scene, obs_source_t *source)
	{
		obs_sceneitem_t *group = obs_scene_add_group(obs_scene_from_source(scene), "Group");
		obs_scene_add(obs_sceneitem_group_get_scene(group), source);
	}
	void restart() const;
};

// Whether the frontend takes the dock; whether it ends first, which is final; whether it takes the dock with it.
void Module::comeAndGo(bool accepted, bool exits, bool dockGoes, int removedDocks, size_t callbacks)
{
	SCOPED_TRACE(testing::Message() << accepted << exits << dockGoes);
	OBSSource source = makeSource(u"S"_s, {});
	frontend->acceptsDock = accepted;
	ASSERT_EQ(loadModule(), accepted);
	EXPECT_EQ(frontend->callbacks.size(), accepted ? 1u : 0u);
	EXPECT_EQ(frontend->dock.isNull(), !accepted);
	EXPECT_EQ(obs_source_get_display_name("reelhouse_hold_picture") != nullptr, accepted);
	for (const QWidget *widget : accepted ? frontend->dock->findChildren<QWidget *>() : QList<QWidget *>())
		EXPECT_TRUE(widget->toolTip().isEmpty()) << widget->objectName().toStdString();
	if (exits)
		frontend->send(OBS_FRONTEND_EVENT_EXIT);
	if (dockGoes)
		delete frontend->dock.data();
	for (const auto &[event, listed] : {std::pair(OBS_FRONTEND_EVENT_FINISHED_LOADING, 2),
					    {OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING, 1},
					    {OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED, 2},
					    {OBS_FRONTEND_EVENT_SCENE_COLLECTION_CLEANUP, 1}}) {
		frontend->send(event);
		EXPECT_TRUE(!frontend->dock || child<QComboBox>("sourceSelector")->count() == (exits ? 1 : listed))
			<< event;
	}
	source = nullptr;
	endObs();
	EXPECT_EQ(frontend->removedDocks, removedDocks);
	EXPECT_EQ(frontend->callbacks.size(), callbacks);
	EXPECT_TRUE(frontend->dock.isNull());
}

TEST(ModuleLife, LeavesNothingBehind)
{
	Module().comeAndGo(true, false, false, 1, 0);
	Module().comeAndGo(false, false, false, 0, 0);
	Module().comeAndGo(true, false, true, 0, 0);
	// The dock goes after the module has been told that OBS ends: the frontend must not be called any more.
	Module().comeAndGo(true, true, true, 0, 1);
	Module().comeAndGo(true, true, false, 0, 0);
}

TEST_F(Module, SwitchesOnlyToTheOneSceneThatHoldsTheSource)
{
	const OBSSource source = makeSource(u"Music"_s, {makeFile(u"a.mp3"_s)});
	show(source);
	const OBSSource other = makeSource(u"Other"_s, {makeFile(u"b.mp3"_s)});
	// What the scenes A, B and C hold, hidden: s the source, o another one, g a group with it, a b c that scene.
	const struct {
		const char *situation;
		const char *holds[3];
		bool studioMode, removesC;
		size_t program, preview;
	} rows[] = {
		{"only B holds it", {"", "s", ""}, false, false, 1, 0},
		{"only B, below another source", {"o", "so", "o"}, false, false, 1, 0},
		{"only B, in a group", {"", "g", ""}, false, false, 1, 0},
		{"studio mode leaves program alone", {"", "s", ""}, true, false, 0, 1},
		{"studio mode asks what the preview shows", {"s", "", ""}, true, false, 0, 0},
		{"A shows it already", {"s", "s", ""}, false, false, 0, 0},
		{"B and C hold it", {"", "s", "s"}, false, false, 0, 0},
		{"C, which B nests", {"", "c", "s"}, false, false, 0, 0},
		{"A and B nest each other", {"b", "a", ""}, false, false, 0, 0},
		{"C was removed", {"", "s", "s"}, false, true, 1, 0},
	};
	for (const auto &[situation, holds, studioMode, removesC, program, preview] : rows) {
		SCOPED_TRACE(situation);
		auto &scenes = frontend->scenes;
		scenes = {makeScene("A", {}), makeScene("B", {}), makeScene("C", {})};
		for (size_t i = 0; i < scenes.size(); i++) {
			for (const char what : std::string(holds[i])) {
				if (what == 'g')
					addGroup(scenes[i], source);
				else
					obs_sceneitem_set_visible(
						obs_scene_add(obs_scene_from_source(scenes[i]),
							      what == 's'   ? source.Get()
							      : what == 'o' ? other.Get()
									    : scenes[size_t(what - 'a')].Get()),
						false);
			}
		}
		frontend->program = scenes[0];
		frontend->preview = scenes[studioMode ? 2 : 0];
		frontend->studioMode = studioMode;
		if (removesC)
			obs_source_remove(scenes[2]);
		obs_source_set_async_decoupled(source, removesC);
		play(0);
		EXPECT_EQ(frontend->program, scenes[0]) << "before the source has switched";
		videoTick(source);
		EXPECT_EQ(obs_source_async_decoupled(source), removesC) << "which the user has chosen";
		QCoreApplication::processEvents();
		EXPECT_EQ(frontend->program, scenes[program]);
		EXPECT_EQ(frontend->preview, scenes[preview]);
		for (const OBSSource &scene : scenes)
			obs_source_remove(scene);
		scenes.clear();
	}
	frontend->toolsMenu.findChild<QAction *>(u"addAnotherDock"_s)->trigger();
	QCoreApplication::processEvents();
	const QPointer<QWidget> first = std::exchange(frontend->dock, frontend->others[2]->widget());
	frontend->scenes = {makeScene("A", {}), makeScene("B", {other})};
	frontend->program = frontend->scenes[0];
	choose(other);
	play(0);
	videoTick(other);
	QCoreApplication::processEvents();
	EXPECT_EQ(frontend->program, frontend->scenes[1]) << "a further dock brings its source's scene, too";
	frontend->dock = first;
}

TEST_F(Module, ListsSourcesByNameWithTheScenesThatShowThem)
{
	const OBSSource music = makeSource(u"Music"_s, {makeFile(u"a"_s), QString()}),
			clips = makeSource(u"Clips"_s, {});
	const OBSSource main = makeScene("Main", {music, music}), intro = makeScene("intro", {});
	const OBSSource outer = makeScene("Outer", {intro});
	addGroup(intro, music);
	ASSERT_TRUE(loadModule());
	const auto entries = [this] {
		const auto *selector = child<QComboBox>("sourceSelector");
		QString texts = selector->itemText(0);
		for (int i = 1; i < selector->count(); i++)
			texts += u", "_s + selector->itemText(i);
		return texts;
	};
	EXPECT_FALSE(child<QMenu>("showCurrentTrackIn")->isEmpty()) << "some desktops hide an empty submenu";
	EXPECT_EQ(entries(), u"Select a VLC Video Source"_s) << "nothing is listed before loading has finished";
	EXPECT_FALSE(child<QWidget>("addFiles")->isEnabled());
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

TEST_F(Module, RemembersTheSourceAndTheTimeDisplay)
{
	const OBSSource source = makeSource(u"S"_s, {});
	show(source);
	const auto shown = [this] {
		return child<QComboBox>("sourceSelector")->currentText() + u' ' + child<QLabel>("playbackTime")->text();
	};
	QTest::mouseClick(child<QWidget>("playbackTime"), Qt::LeftButton);
	const QString settings = u"config/obs-reelhouse/settings.json"_s;
	QFile file(folder.filePath(settings));
	ASSERT_TRUE(file.open(QIODevice::ReadOnly));
	EXPECT_EQ(file.readAll(), "{\"remainingTime\":true,\"sourceUuid\":\"" + uuidOf(source).toLatin1() + "\"}");
	restart();
	EXPECT_EQ(shown(), u"S −—:—"_s);
	makeFile(settings, R"({"sourceUuid": 5, "remainingTime": "true"})");
	restart();
	EXPECT_EQ(shown(), u"Select a VLC Video Source 0:00"_s);
	choose(source);
	child<QComboBox>("sourceSelector")->setCurrentIndex(0);
	QFile saved(file.fileName());
	ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
	EXPECT_EQ(saved.readAll(), "{\"remainingTime\":false,\"sourceUuid\":\"\"}");
	// Nothing can be saved on a full disk, nor where a folder stands.
	SlowDisk::whileFull([&] { choose(source); });
	EXPECT_TRUE(child<QLabel>("message")->text().startsWith(u"⚠ Could not save the settings: "_s));
	child<QComboBox>("sourceSelector")->setCurrentIndex(0);
	ASSERT_TRUE(file.remove() && QDir().mkdir(file.fileName()));
	choose(source);
	EXPECT_TRUE(child<QLabel>("message")->text().startsWith(u"⚠ Could not save the settings: "_s));
	ASSERT_TRUE(QDir(folder.filePath(u"config/obs-reelhouse"_s)).removeRecursively());
	makeFile(u"config/obs-reelhouse"_s);
	QTest::mouseClick(child<QWidget>("playbackTime"), Qt::LeftButton);
	EXPECT_EQ(child<QLabel>("message")->text(), u"⚠ Could not create the settings folder"_s);
	QTest::mouseClick(child<QWidget>("playbackTime"), Qt::RightButton);
	QTest::mouseRelease(child<QWidget>("playbackTime"), Qt::LeftButton, {}, {0, -9});
	EXPECT_EQ(child<QLabel>("playbackTime")->text(), u"−—:—"_s) << "which only the left button changes";
}

TEST_F(Module, HasTheDocksThatTheUserAdded)
{
	WebSocketPlugin plugin;
	const OBSSource a = makeSource(u"A"_s, {}), b = makeSource(u"B"_s, {}), c = makeSource(u"C"_s, {});
	const auto save = [this](int number, obs_source_t *source) {
		return makeFile(u"config/obs-reelhouse/settings-%1.json"_s.arg(number),
				"{\"sourceUuid\":\"" + uuidOf(source).toUtf8() + "\"}");
	};
	const auto selected = [this](int number) {
		return frontend->others.value(number)->findChild<QComboBox *>(u"sourceSelector"_s)->currentText();
	};
	ASSERT_TRUE(QDir(folder.path()).mkpath(u"config/obs-reelhouse"_s));
	save(2, a);
	save(4, b);
	ASSERT_TRUE(loadModule());
	obs_post_load_modules();
	frontend->send(OBS_FRONTEND_EVENT_FINISHED_LOADING);
	ASSERT_EQ(frontend->others.keys(), (QList{2, 4}));
	EXPECT_EQ(selected(2) + selected(4), u"AB"_s);
	for (const QByteArray &named :
	     {R"({"sourceName": "B"})"_ba, "{\"sourceUuid\": \"" + uuidOf(b).toUtf8() + "\"}"})
		EXPECT_TRUE(plugin.request("GetQueue", named)["success"_L1].toBool()) << named.toStdString();
	// What a dock has left behind is not the choice of the next one, which comes back as well.
	QFile left(save(3, c));
	frontend->toolsMenu.findChild<QAction *>(u"addAnotherDock"_s)->trigger();
	QCoreApplication::processEvents();
	ASSERT_TRUE(frontend->others.contains(3));
	EXPECT_EQ(selected(3), u"Select a VLC Video Source"_s);
	ASSERT_TRUE(left.remove() && QDir().mkdir(left.fileName()));
	frontend->toolsMenu.findChild<QAction *>(QString(), Qt::FindDirectChildrenOnly)
		->menu()
		->actions()[2]
		->menu()
		->actions()
		.constLast()
		->trigger();
	passTime(1);
	EXPECT_EQ(frontend->log.constLast(), u"The settings of Reelhouse 3 cannot be removed: it will be back."_s);
}

TEST_F(Module, HoldsThePictureOfTheSourceThatCarriesItsFilter)
{
	OBSSource source = makeSource(u"S"_s, {});
	obs_source_filter_add(source, OBSSourceAutoRelease(obs_source_create_private("strange", "Other", nullptr)));
	const auto state = [&] {
		QString names =
			u"%1 %2:"_s.arg(action("holdPicture")->isEnabled()).arg(action("holdPicture")->isChecked());
		// From the source outwards.
		obs_source_enum_filters(
			source,
			[](obs_source_t *, obs_source_t *filter, void *text) {
				*static_cast<QString *>(text) += u' ' + QString::fromUtf8(obs_source_get_name(filter));
			},
			&names);
		return names;
	};
	show(source);
	EXPECT_EQ(state(), u"1 0: Other"_s);
	EXPECT_TRUE(obs_get_source_output_flags("reelhouse_hold_picture") & OBS_SOURCE_CAP_DISABLED)
		<< "the Filters dialog does not offer it";
	action("holdPicture")->trigger();
	EXPECT_EQ(state(), u"1 1: Hold Picture Between Tracks Other"_s);
	EXPECT_GT(frontend->saves, 0);
	child<QComboBox>("sourceSelector")->setCurrentIndex(0);
	EXPECT_EQ(state(), u"0 0: Hold Picture Between Tracks Other"_s);
	OBSDataAutoRelease saved = obs_save_source(source);
	obs_source_remove(source);
	source = nullptr;
	obs_queue_task(OBS_TASK_DESTROY, [](void *) {}, nullptr, true);
	source = OBSSourceAutoRelease(obs_load_source(saved)).Get();
	choose(source);
	EXPECT_EQ(state(), u"1 1: Hold Picture Between Tracks Other"_s) << "the filter is saved with the source";
	obs_source_filter_add(
		source, OBSSourceAutoRelease(obs_source_create_private("reelhouse_hold_picture", "Copy", nullptr)));
	action("holdPicture")->trigger();
	EXPECT_EQ(state(), u"1 0: Other"_s);
	action("holdPicture")->trigger();
	obs_source_filter_remove(
		source, OBSSourceAutoRelease(obs_source_get_filter_by_name(source, "Hold Picture Between Tracks")));
	Q_EMIT child<QMenu>("toolsMenu")->aboutToShow();
	EXPECT_EQ(state(), u"1 0: Other"_s) << "the Filters dialog has removed it";
}

TEST_F(Module, SaysWhenItRefusesItsHostAndWhenThereIsNoRemoteControl)
{
	const QStringList &log = frontend->log;
	frontend->obsVersion++;
	ASSERT_FALSE(loadModule());
	obs_post_load_modules();
	EXPECT_TRUE(log.size() == 1 && log[0].startsWith(u"This build requires OBS "_s));
	frontend->obsVersion -= 2;
	ASSERT_FALSE(loadModule());
	frontend->obsVersion++;
	frontend->qtVersion = "6.8.99";
	ASSERT_FALSE(loadModule());
	EXPECT_EQ(log.constLast(),
		  u"This build requires Qt %1; runtime is 6.8.99."_s.arg(QLatin1String(QT_VERSION_STR)));
	frontend->qtVersion = QT_VERSION_STR;
	ASSERT_TRUE(loadModule());
	EXPECT_TRUE(log.constLast().endsWith(u" loaded; Qt %1; dock registered."_s.arg(QLatin1String(qVersion()))));
	obs_post_load_modules();
	EXPECT_EQ(log.constLast(), u"OBS's WebSocket plug-in is not there: no remote control."_s);
}
