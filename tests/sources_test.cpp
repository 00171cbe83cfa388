/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Host.hpp"

#include <QAbstractItemView>
#include <QAccessible>
#include <QScreen>

using namespace Qt::StringLiterals;

class Sources : public Host {
protected:
	QStringList entries() const
	{
		QStringList texts;
		auto *selector = child<QComboBox>("sourceSelector");
		for (int i = 1; i < selector->count(); i++)
			texts.append(selector->itemText(i));
		return texts;
	}
	QString chosen() const { return child<QComboBox>("sourceSelector")->currentText(); }
};

TEST_F(Sources, AreLabelledByTheScenesThatShowThem)
{
	const OBSSource music = makeSource(u"Music"_s, {});
	const OBSSource clips = makeSource(u"Clips"_s, {});
	OBSSceneAutoRelease main = obs_scene_create("Main");
	OBSSceneAutoRelease intro = obs_scene_create("intro");
	OBSSceneAutoRelease outer = obs_scene_create("Outer");
	obs_scene_add(main, music);
	obs_scene_add(main, music);
	obs_scene_add(outer, obs_scene_get_source(intro));
	obs_scene_add(obs_sceneitem_group_get_scene(obs_scene_add_group(intro, "Group")), music);
	ASSERT_TRUE(loadModule());
	EXPECT_TRUE(entries().isEmpty()) << "nothing is listed before loading has finished";
	frontend->send(OBS_FRONTEND_EVENT_FINISHED_LOADING);
	EXPECT_EQ(entries(), (QStringList{u"Clips"_s, u"Group / intro / Main / Outer · Music"_s}));
	EXPECT_EQ(chosen(), u"Select a VLC Video Source"_s);
}

TEST_F(Sources, ARenamedSourceStaysBound)
{
	const OBSSource source = makeSource(u"Music"_s, {makeFile(u"a.mp3"_s)});
	show(source);
	obs_source_set_name(source, "Renamed");
	ASSERT_TRUE(waitFor([this] { return chosen() == u"Renamed"_s; }));
	const OBSSource twin = makeSource(u"Renamed"_s, {});
	ASSERT_TRUE(waitFor([this] { return entries().size() == 2; }));
	EXPECT_EQ(list()->count(), 1) << "a namesake does not take over";
}

TEST_F(Sources, EachKeepsItsView)
{
	QStringList files;
	for (int i = 0; i < 40; i++)
		files.append(makeFile(u"%1.mp3"_s.arg(i)));
	const OBSSource a = makeSource(u"A"_s, files);
	const OBSSource b = makeSource(u"B"_s, files);
	show(a);
	list()->setCurrentRow(30);
	choose(b);
	EXPECT_EQ(list()->currentRow(), 0);
	choose(a);
	EXPECT_EQ(list()->currentRow(), 30);
	EXPECT_TRUE(list()->viewport()->rect().intersects(list()->visualItemRect(list()->item(30))));
	EXPECT_TRUE(action("moveUp")->isEnabled());
	// A view fits only the search text that it was remembered with.
	choose(b);
	search(u"0.mp3"_s);
	choose(a);
	EXPECT_EQ(list()->currentItem()->text(), u"0.mp3"_s);
}

TEST_F(Sources, ALongNameStaysWholeAndItsListOnTheScreen)
{
	const QString name(500, u'W');
	show(makeSource(name, {}));
	EXPECT_EQ(chosen(), name);
	auto *selector = child<QComboBox>("sourceSelector");
	selector->showPopup();
	const QRect popup = selector->view()->window()->geometry(), screen = selector->screen()->availableGeometry();
	EXPECT_GT(popup.width(), selector->width());
	EXPECT_TRUE(screen.contains(popup));
	selector->hidePopup();
}

// The words are what assistive technology is told of the list, and what is painted in it.
TEST_F(Sources, AnEmptyListSaysWhatToDo)
{
	const auto says = [this](const char *words) {
		EXPECT_TRUE(waitFor([&] { return list()->accessibleDescription().startsWith(QLatin1String(words)); }))
			<< words;
		return list()->viewport()->grab().toImage();
	};
	ASSERT_TRUE(loadModule());
	const QImage nothing = says("The tracks of the queue");
	frontend->send(OBS_FRONTEND_EVENT_FINISHED_LOADING);
	EXPECT_NE(says("This scene collection has no VLC Video Source"), nothing);
	const OBSSource empty = makeSource(u"A"_s, {}), full = makeSource(u"B"_s, {makeFile(u"a.mp3"_s)});
	says("No source is chosen");
	choose(empty);
	says("The queue is empty");
	choose(full);
	says("The tracks of the queue");
	search(u"#2"_s);
	says("No track matches the search");
	EXPECT_TRUE(QAccessible::queryAccessibleInterface(list())->child(0)->state().invisible);
}
