/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Model.hpp"

#include <QAction>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QSignalSpy>
#include <QSlider>
#include <QToolButton>

#include <algorithm>
#include <cstdio>
#include <future>
#include <random>
#include <thread>

#include "HeldClock.hpp"
#include "WebSocketPlugin.hpp"

// Random operations, and after each a look at what the dock and its sources have come to, which the model foretells.

namespace {

using Rule = std::function<void(Model &)>;

} // namespace

class Soak : public Host {
protected:
	void run(bool racing);

private:
	void begin();
	void operate(bool racing);
	void startRace();
	void then(const Rule &rule);
	void hear();
	QJsonObject seen() const;
	QStringList enabled() const;
	void compare();

	int pick(int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); }
	bool oneIn(int count) { return pick(count) == 0; }
	const QString &pickFrom(const QStringList &some) { return some[pick(static_cast<int>(some.size()))]; }
	// The bound source, except one time in so many; none that is deleted, which the last one never is.
	int pickSource(int others)
	{
		const int bound = worlds.front().bound, index = bound < 0 || oneIn(others) ? pick(3) : bound;
		return sources[index] ? index : 2;
	}

	// ---- what the user can do

	// Or a remote control does.
	void press(const char *name, const char *request, const Rule &rule)
	{
		auto *button = child<QToolButton>(name);
		if (remotely())
			ask(request, u"{}"_s, name, rule);
		else if (button->isEnabled())
			button->click(), then(rule);
	}
	void choose(const char *name, const char *request, const Rule &rule)
	{
		QAction *entry = action(name);
		if (request && remotely())
			ask(request, u"{}"_s, name, rule);
		else if (entry->isEnabled())
			entry->trigger(), then(rule);
	}
	void move(const char *name, int delta)
	{
		choose(name, nullptr, [delta](Model &m) { m.moveRow(delta); });
	}
	void chooseSource()
	{
		auto *selector = child<QComboBox>("sourceSelector");
		const int index = pick(4) - 1;
		const QString uuid = index < 0 ? QString() : worlds.front().sources[index].uuid;
		const int row = selector->findData(uuid);
		if (remotely()) {
			request("SelectSource", uR"({"sourceUuid": "%1"})"_s.arg(uuid),
				[index](Model &m) { m.select(index); });
		} else if (row >= 0 && row != selector->currentIndex()) {
			selector->setCurrentIndex(row);
			then([index](Model &m) { m.choose(index); });
		}
	}
	void reload()
	{
		child<QToolButton>("refresh")->click();
		then(&Model::reload);
	}
	void playRow()
	{
		const int row = pick(list()->count() + 1) - 1;
		if (row < 0)
			Q_EMIT child<QLineEdit>("search")->returnPressed();
		else
			Q_EMIT list()->itemDoubleClicked(list()->item(row));
		then([row](Model &m) { m.play(row < 0 ? m.row : row, true); });
	}
	void chooseEndMode()
	{
		auto *selector = child<QComboBox>("endMode");
		const int mode = pick(3);
		const auto rule = [mode](Model &m) {
			m.queue.endMode = mode;
		};
		if (remotely())
			ask("SetEndMode", uR"({"endMode": "%1"})"_s.arg(endModes[mode]), "endMode", rule);
		else if (selector->isEnabled())
			selector->setCurrentIndex(mode), then(rule);
	}
	void selectRows()
	{
		list()->clearSelection();
		for (int i = list()->count() ? pick(4) : 0; i > 0; i--)
			list()->setCurrentRow(pick(list()->count()), QItemSelectionModel::Select);
		std::ranges::for_each(worlds, [this](Model &world) { readSelection(world); });
	}
	void readSelection(Model &world) const
	{
		world.selected.clear();
		for (int i = 0; i < list()->count(); i++) {
			if (list()->item(i)->isSelected() && !list()->isRowHidden(i))
				world.selected += i;
		}
		const int row = list()->currentRow();
		world.row = row >= 0 && !list()->isRowHidden(row) ? row : -1;
	}
	void remove()
	{
		if (oneIn(2))
			selectRows();
		choose("remove", nullptr, &Model::remove);
	}
	void lookFor(const QString &text)
	{
		search(text);
		then([text](Model &m) { m.search = text.trimmed(); });
	}
	void moveSlider()
	{
		auto *slider = child<QSlider>("seek");
		const int value = pick(1001);
		if (!slider->isEnabled())
			return;
		if (!slider->isSliderDown()) {
			slider->setSliderDown(true);
			then([](Model &m) { m.sliderSerial = m.serial; });
		} else {
			slider->setSliderPosition(value);
			slider->setSliderDown(false);
			then([value](Model &m) { m.releaseSlider(value); });
			// The duration that it was measured by counts for the controls from the next poll on.
			settled = false;
		}
	}
	void drop()
	{
		if (list()->count() > 10)
			return;
		const QStringList files = {pickFrom(paths.mid(2, 3)), pickFrom(paths.mid(2, 3))};
		QMimeData data;
		data.setUrls({QUrl::fromLocalFile(files[0]), QUrl::fromLocalFile(files[1])});
		QDragEnterEvent enter({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, {});
		QApplication::sendEvent(list()->viewport(), &enter);
		QDropEvent dropped({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, {});
		QApplication::sendEvent(list()->viewport(), &dropped);
		then([files](Model &m) { m.append(files, m.queue.tracks.size()); });
	}
	void drag()
	{
		const int count = std::max(list()->count(), 1), from = pick(count), to = pick(count);
		if (from == to || !list()->dragEnabled())
			return;
		list()->model()->moveRow({}, from, {}, to > from ? to + 1 : to);
		then([from, to](Model &m) { m.move(from, to); });
	}

	// ---- what a remote control can do

	bool remotely() { return !libobs.joinable() && oneIn(3); }
	// Its thread waits for this one, which first comes to what was posted before.
	void request(const char *name, const QString &data, const Rule &rule)
	{
		auto response = std::async(std::launch::async, [&] { return plugin.request(name, data.toUtf8()); });
		while (response.wait_for(std::chrono::seconds(0)) != std::future_status::ready)
			QCoreApplication::sendPostedEvents();
		then(&Model::deliver);
		answer = response.get();
		for (const char *rest : {"success", "comment", "revision", "sourceName", "sourceUuid", "ids", "count"})
			answer.remove(QLatin1String(rest));
		then(rule);
	}
	// It is refused what the user's control is not enabled for.
	void ask(const char *name, const QString &data, const char *control, const Rule &rule)
	{
		request(name, data, [&](Model &m) { m.request(QLatin1String(control), rule); });
	}
	void askForQueue()
	{
		ask("GetQueue", u"{}"_s, "stop", &Model::describe);
		if (!answer.contains("tracks"_L1))
			return;
		QJsonArray tracks;
		for (const QJsonValue track : answer["tracks"_L1].toArray())
			tracks.append(QJsonArray{track["index"_L1], track["id"_L1], track["path"_L1]});
		answer["tracks"_L1] = tracks;
	}
	void askOfTrack(const char *request, const std::function<void(Model &, int, int)> &rule)
	{
		if (list()->count() == 0)
			return;
		const int row = pick(list()->count()), other = pick(list()->count());
		const QString data = uR"({"id": "%1", "index": %2, "switchScene": true, "ids": [{"id": "%1"}]})"_s;
		ask(request, data.arg(idAt(row)).arg(other), "next",
		    [rule, row, other](Model &m) { rule(m, row, other); });
	}
	void askToAdd()
	{
		const QString path = pickFrom(paths);
		const int position = pick(list()->count() + 1);
		const QString data = uR"({"paths": [{"path": "%1"}, {"path": "%1"}], "position": %2})"_s;
		if (list()->count() < 10)
			ask("AddTracks", data.arg(path).arg(position), "addFiles",
			    [path, position](Model &m) { m.append({path, path}, position); });
	}

	// ---- what others do

	void send(obs_frontend_event event, const Rule &rule)
	{
		frontend->send(event);
		then(rule);
	}
	// To the next poll, or to somewhere before it.
	void pass()
	{
		const int rest = 250 - static_cast<int>(HeldClock::nowMs() % 250);
		const int step = oneIn(4) ? pick(rest) : rest;
		QCoreApplication::sendPostedEvents();
		HeldClock::pass(step);
		then([step, rest](Model &m) {
			m.deliver();
			m.nowMs = HeldClock::nowMs();
			if (step == rest)
				m.tick();
		});
		settled |= step == rest;
		polled |= step == rest;
	}
	void tickVideo()
	{
		const int index = pickSource(6);
		std::thread([this, index] { videoTick(sources[index]); }).join();
		then([index](Model &m) { m.videoTick(index, 100); });
	}
	void setMedia()
	{
		static const obs_media_state states[] = {OBS_MEDIA_STATE_ENDED,   OBS_MEDIA_STATE_PAUSED,
							 OBS_MEDIA_STATE_STOPPED, OBS_MEDIA_STATE_OPENING,
							 OBS_MEDIA_STATE_ERROR,   OBS_MEDIA_STATE_BUFFERING};
		const int index = pickSource(6), which = pick(worlds.front().armed ? 7 : 12);
		const Media next = {which < 6 ? states[which] : OBS_MEDIA_STATE_PLAYING, pick(3) * 71000 - 1000,
				    pick(4) * 4000 - 1000};
		media(sources[index]) = next;
		then([index, next](Model &m) { m.sources[index].media = next; });
		polled = false;
	}
	void control(const char *what, void (*act)(obs_source_t *))
	{
		const int index = pickSource(6);
		act(sources[index]);
		then([index, what](Model &m) { m.sources[index].queued += QLatin1String(what); });
	}
	void edit()
	{
		const int index = pickSource(4);
		const bool loop = oneIn(2);
		QStringList playlist;
		for (int i = oneIn(8) ? 0 : 1 + pick(2) * pick(4); i > 0; i--)
			playlist += pickFrom(paths);
		if (oneIn(6))
			playlist = worlds.front().queue.paths();
		OBSDataAutoRelease settings = obs_source_get_settings(sources[index]);
		obs_data_set_bool(settings, "loop", loop);
		obs_data_set_bool(settings, "shuffle", !loop);
		setPlaylist(sources[index], playlist);
		then([index, playlist, loop](Model &m) {
			m.sources[index].playlist = playlist;
			m.sources[index].loop = loop;
			m.sources[index].shuffle = !loop;
		});
	}
	void moveFile()
	{
		const QString path = paths.constLast(), away = path + u'_';
		const bool back = QFile::exists(away);
		EXPECT_TRUE(back ? QFile::rename(away, path) : QFile::rename(path, away));
		then([path, back](Model &m) { m.missing = back ? QString() : path; });
	}
	void unload(int index)
	{
		saved[index] = OBSDataAutoRelease(obs_save_source(sources[index])).Get();
		const OBSWeakSource weak = OBSGetWeakRef(sources[index]);
		obs_source_remove(sources[index]);
		sources[index] = nullptr;
		obs_queue_task(OBS_TASK_DESTROY, [](void *) {}, nullptr, true);
		EXPECT_TRUE(obs_weak_source_expired(weak)) << "somebody still holds the source";
		then([index](Model &m) { m.sources[index].life = 0; });
	}
	void load(int index)
	{
		sources[index] = OBSSourceAutoRelease(obs_load_source(saved[index])).Get();
		then([index](Model &m) { m.sources[index].come(); });
	}
	void switchCollection()
	{
		const bool there[] = {sources[0] != nullptr, sources[1] != nullptr, true};
		send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING, &Model::suspend);
		for (int i = 0; i < 3; i++) {
			if (there[i])
				unload(i);
		}
		send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CLEANUP, &Model::suspend);
		for (int i = 0; i < 3; i++) {
			if (there[i])
				load(i);
		}
		send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED, &Model::resume);
	}

	WebSocketPlugin plugin;
	QJsonObject answer;
	QString toldCurrent, toldEndMode = endModes[0];
	int revision = 0;
	std::mt19937 random;
	QStringList paths, trace;
	OBSSource sources[3];
	OBSData saved[3];
	std::vector<Model> worlds; // all that may be the case; more than one only after a race
	std::unique_ptr<QSignalSpy> sceneRequests;
	std::thread libobs; // while a race is on
	int raced = 0;
	bool settled = true, polled = true; // since what the controls go by has changed without them
};

void Soak::begin()
{
	paths = {u"http://host/s"_s, u"file://"_s + makeFile(u"u v.mp3"_s).replace(u' ', u"%20"_s)};
	for (const char *name : {"a.mp3", "b.mp3", "c.mp3", "away.mp3"})
		paths += makeFile(QLatin1String(name));
	Model world;
	for (OBSSource &source : sources) {
		Vlc vlc;
		vlc.playlist = paths.mid(pick(4), 3);
		source = makeSource(u"S"_s, vlc.playlist,
				    R"({"loop": true, "shuffle": false, "playback_behavior": ""})");
		vlc.uuid = uuidOf(source);
		world.sources += vlc;
	}
	// The poll's ticks are to fall on full quarters of a second.
	HeldClock::pass(static_cast<int>(1000 - HeldClock::nowMs() % 1000));
	show(sources[0]);
	obs_post_load_modules();
	sceneRequests = std::make_unique<QSignalSpy>(frontend->dock, SIGNAL(sceneSwitchRequested(QString)));
	world.nowMs = HeldClock::nowMs();
	world.resume();
	world.choose(0);
	worlds = {world};
	compare();
}

void Soak::operate(bool racing)
{
	const Model &world = worlds.front();
	const int victim = pick(2);
	struct Operation {
		int weight;
		const char *name;
		bool races; // may happen while libobs's thread is at work
		std::function<void()> run;
	};
	QList<Operation> operations;
	const auto add = [&operations](int weight, const char *name, const std::function<void()> &run) {
		operations.append({weight, name, false, run});
	};
	const auto addRacing = [&operations](int weight, const char *name, const std::function<void()> &run) {
		operations.append({weight, name, true, run});
	};
	add(120, "pass", [this] { pass(); });
	add(80, "video tick", [this] { tickVideo(); });
	add(50, "media", [this] { setMedia(); });
	add(3, "own next", [this] { control("next", obs_source_media_next); });
	add(3, "own previous", [this] { control("previous", obs_source_media_previous); });
	add(2, "own stop", [this] { control("stop", obs_source_media_stop); });
	add(3, "edit", [this] { edit(); });
	add(4, "move a file", [this] { moveFile(); });
	add(world.orphaned() ? 0 : 2, "delete or recreate", [&] { sources[victim] ? unload(victim) : load(victim); });
	add(1, "collection", [this] { switchCollection(); });
	add(6, "slider", [this] { moveSlider(); });
	addRacing(1, "suspend", [this] {
		send(oneIn(2) ? OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING
			      : OBS_FRONTEND_EVENT_SCENE_COLLECTION_CLEANUP,
		     &Model::suspend);
	});
	addRacing(world.suspended ? 99 : 1, "resume",
		  [this] { send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED, &Model::resume); });
	addRacing(2, "refresh", [this] { reload(); });
	addRacing(world.live() ? 4 : 60, "choose", [this] { chooseSource(); });
	addRacing(15, "play", [this] { playRow(); });
	addRacing(8, "play or pause", [this] { press("playPause", "TogglePlay", &Model::toggle); });
	addRacing(5, "stop", [this] { press("stop", "Stop", &Model::stop); });
	addRacing(6, "next", [this] { press("next", "PlayNext", [](Model &m) { m.step(1); }); });
	addRacing(4, "previous", [this] { press("previous", "PlayPrevious", [](Model &m) { m.step(-1); }); });
	addRacing(4, "end mode", [this] { chooseEndMode(); });
	addRacing(7, "select", [this] { selectRows(); });
	addRacing(5, "search",
		  [this] { lookFor(pickFrom({{}, {}, {}, u" MP3"_s, u"a.mp3"_s, u"#2"_s, u"#0"_s, u"#x"_s})); });
	addRacing(2, "show current", [this] { choose("locateCurrent", nullptr, &Model::locate); });
	addRacing(6, "drop", [this] { drop(); });
	addRacing(4, "drag", [this] { drag(); });
	addRacing(4, "remove", [this] { remove(); });
	addRacing(4, "undo", [this] { choose("undoRemove", "UndoRemove", &Model::undo); });
	addRacing(2, "move up", [this] { move("moveUp", -1); });
	addRacing(2, "move down", [this] { move("moveDown", 1); });
	addRacing(1, "move to top", [this] { move("moveTop", -100); });
	addRacing(1, "move to bottom", [this] { move("moveBottom", 100); });
	addRacing(2, "give back", [this] { choose("restorePlaylist", "GivePlaylistBack", &Model::restore); });
	addRacing(3, "bring back",
		  [this] { choose("bringBackReplacedQueue", "BringBackReplacedQueue", &Model::bringBack); });
	add(3, "remote play", [this] { askOfTrack("PlayTrack", [](Model &m, int row, int) { m.play(row, true); }); });
	add(3, "remote move", [this] { askOfTrack("MoveTrack", [](Model &m, int row, int to) { m.move(row, to); }); });
	add(3, "remote remove",
	    [this] { askOfTrack("RemoveTracks", [](Model &m, int row, int) { m.selected = {row}, m.remove(); }); });
	add(3, "remote add", [this] { askToAdd(); });
	add(3, "remote look", [this] { askForQueue(); });

	int total = 0;
	for (const Operation &operation : std::as_const(operations))
		total += operation.weight;
	int left = pick(total);
	auto next = operations.cbegin();
	while ((left -= next->weight) >= 0)
		next++;
	trace += QLatin1String(next->name);
	if (racing && next->races && oneIn(3))
		startRace();
	next->run();
	if (libobs.joinable())
		then([](Model &) {});
}

void Soak::startRace()
{
	raced = pickSource(10);
	trace.last() += u" while the source's actions are worked off"_s;
	libobs = std::thread([source = sources[raced], delay = std::chrono::microseconds(pick(300))] {
		const auto start = std::chrono::steady_clock::now();
		while (std::chrono::steady_clock::now() - start < delay) {
		}
		videoTick(source);
	});
}

// What an operation comes to by the rules. In a race it falls between any two of the actions that libobs's thread works
// off, and what it asks for itself may or may not be found there.
void Soak::then(const Rule &rule)
{
	if (!libobs.joinable()) {
		std::ranges::for_each(worlds, rule);
		return;
	}
	libobs.join();
	std::vector<Model> outcomes;
	for (const Model &world : worlds) {
		const qsizetype waiting = world.sources[raced].queued.size();
		for (qsizetype way = 0; way < 2 * (waiting + 1); way++) {
			Model outcome = world;
			outcome.videoTick(raced, way / 2);
			rule(outcome);
			outcome.videoTick(raced, way % 2 ? 100 : waiting - way / 2);
			if (std::ranges::find(outcomes, outcome) == outcomes.end())
				outcomes.push_back(outcome);
		}
	}
	worlds = outcomes;
}

QJsonObject Soak::seen() const
{
	QJsonArray rows, all;
	for (int i = 0; i < list()->count(); i++) {
		rows.append(QJsonArray{idAt(i), pathAt(i), list()->item(i)->text().startsWith(u"▶\uFE0E "_s),
				       !list()->isRowHidden(i)});
	}
	for (const OBSSource &source : sources) {
		if (!source) {
			all.append(QJsonArray());
			continue;
		}
		const QJsonObject settings = settingsOf(source);
		OBSDataAutoRelease privateSettings = obs_source_get_private_settings(source);
		const QJsonObject kept = QJsonDocument::fromJson(obs_data_get_json(privateSettings)).object();
		QJsonObject record = kept["OBS-Reelhouse"_L1].toObject();
		QJsonObject replaced = kept["OBS-Reelhouse-replaced"_L1].toObject();
		record.remove("leftover"_L1);
		replaced.remove("leftover"_L1);
		all.append(QJsonArray{settings["playlist"_L1], settings["loop"_L1], settings["shuffle"_L1],
				      settings["playback_behavior"_L1], record, replaced, takeDone(source).join(u' ')});
	}
	const auto *message = child<QLabel>("message");
	return {{u"rows"_s, rows},
		{u"count"_s, child<QLabel>("trackCount")->text()},
		{u"message"_s, message->isHidden() ? QJsonValue() : message->text()},
		{u"status"_s, child<QLabel>("playbackTime")->accessibleDescription()},
		{u"sources"_s, all},
		{u"scenes"_s, static_cast<int>(sceneRequests->count())},
		{u"answer"_s, answer},
		{u"told"_s, worlds.front().orphaned() ? QJsonArray() : QJsonArray{toldCurrent, toldEndMode}}};
}

// What the remote control has said of its own accord. Of the queue it tells later, once changes have stopped.
void Soak::hear()
{
	for (const auto &[name, data] : std::exchange(plugin.events, {})) {
		EXPECT_GT(data["revision"_L1].toInt(), std::exchange(revision, data["revision"_L1].toInt()));
		if (name == u"CurrentTrackChanged"_s)
			toldCurrent = data["id"_L1].toString();
		else if (name == u"EndModeChanged"_s)
			toldEndMode = data["endMode"_L1].toString();
	}
}

QStringList Soak::enabled() const
{
	QStringList names;
	for (const char *name : {"playPause", "stop", "previous", "next", "addFiles", "endMode", "seek"})
		names += child<QWidget>(name)->isEnabled() ? QStringList(QLatin1String(name)) : QStringList();
	for (const QAction *entry :
	     child<QWidget>("playlistMenu")->actions() << action("bringBackReplacedQueue")) {
		if (entry->isEnabled() && !entry->isSeparator() && entry->objectName() != u"aboutPlugin"_s)
			names += entry->objectName();
	}
	names.sort();
	return names;
}

// Drops the worlds that are not the case; one has to be left.
void Soak::compare()
{
	const bool controls = settled && !worlds.front().orphaned(), button = controls && polled;
	hear();
	QJsonObject now = seen(), expected;
	answer = {};
	const QString row = list()->currentItem() ? idAt(list()->currentRow()) : QString();
	now[u"row"_s] = row + u' ' + QString::number(list()->selectedItems().size());
	now[u"controls"_s] = controls ? enabled().join(u' ') : QString();
	now[u"button"_s] = button ? child<QToolButton>("playPause")->accessibleName() : QString();
	std::erase_if(worlds, [&](Model &world) {
		readSelection(world);
		world.learnIds(now[u"rows"_s].toArray());
		expected = world.expected();
		expected[u"controls"_s] = controls ? world.enabled().join(u' ') : QString();
		expected[u"button"_s] = button ? world.playButton() : QString();
		expected[u"row"_s] = now[u"row"_s];
		if (world.picks && world.search.isEmpty() && !world.queue.tracks.isEmpty())
			expected[u"row"_s] = world.ids[*world.picks ? *world.picks : world.keyAt(0)] + u" 1"_s;
		for (Vlc &vlc : world.sources)
			vlc.done.clear();
		world.answer = {};
		world.picks.reset();
		return expected != now;
	});
	if (!worlds.empty())
		return;
	for (const QString &key : expected.keys()) {
		EXPECT_EQ(QJsonDocument({now[key]}).toJson().toStdString(),
			  QJsonDocument({expected[key]}).toJson().toStdString())
			<< key.toStdString();
	}
	ADD_FAILURE() << "after\n  " << trace.join(u"\n  "_s).toStdString();
}

void Soak::run(bool racing)
{
	using Clock = std::chrono::system_clock;
	const std::chrono::seconds limit(qEnvironmentVariableIntValue("REELHOUSE_SOAK_SECONDS"));
	const unsigned seed = qEnvironmentVariable("REELHOUSE_SOAK_SEED", u"1"_s).toUInt();
	random.seed(seed);
	std::printf("seed %u\n", seed);
	std::fflush(stdout);

	begin();
	const auto start = Clock::now();
	int count = 0;
	for (; !HasFailure() && (limit.count() ? Clock::now() - start < limit : count < 20000); count++) {
		operate(racing);
		if (oneIn(2)) {
			trace.last() += u", delivered"_s;
			QCoreApplication::sendPostedEvents();
			then(&Model::deliver);
		}
		then(&Model::store);
		compare();
		trace = trace.last(std::min<qsizetype>(trace.size(), 60));
		progress++;
	}
	const std::chrono::duration<double> taken = Clock::now() - start;
	std::printf("%d operations in %.1f s\n", count, taken.count());
	plugin.end();
	sceneRequests.reset();
	std::ranges::fill(sources, nullptr);
	std::ranges::fill(saved, nullptr);
	endObs();
}

TEST_F(Soak, TheRulesForetellWhateverIsDone)
{
	run(false);
}

TEST_F(Soak, WhatIsDoneAtOnceHappensInSomeOrder)
{
	run(true);
}
