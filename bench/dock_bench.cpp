/* SPDX-License-Identifier: GPL-2.0-or-later */

// The cases, each with its goal: the most times its floor that it should take. The program takes the options of Google
// Benchmark, a word that selects cases by name, and the largest number of rows.

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QDrag>
#include <QFileInfo>
#include <QLabel>
#include <QSlider>
#include <QUrl>

#include <algorithm>

#include <malloc.h>

#include "Fixture.hpp"
#include "WebSocketPlugin.hpp"

using namespace Qt::StringLiterals;

namespace {

void ownLengths(benchmark::internal::Benchmark *benchmark)
{
	benchmark->RangeMultiplier(10)->UseManualTime()->Unit(benchmark::kMillisecond);
}

void anyLength(benchmark::internal::Benchmark *benchmark)
{
	benchmark->Apply(ownLengths)->Range(100, 100000);
}

// Loads a stored queue: the dock reads it, looks for its files and stores it.
void load(benchmark::State &state)
{
	Fixture queue(state);
	queue.playThrough(queue.rows - 1);
	queue.setBareRecord(queue.bareTracks());
	auto *refresh = queue.child<QAbstractButton>("refresh");
	const auto floor = [&] {
		OBSDataAutoRelease record = obs_data_get_obj(queue.bareSettings, "record");
		OBSDataArrayAutoRelease tracks = obs_data_get_array(record, "tracks");
		for (size_t i = 0; i < obs_data_array_count(tracks); i++) {
			OBSDataAutoRelease track = obs_data_array_item(tracks, i);
			const QString id = QString::fromUtf8(obs_data_get_string(track, "id"));
			const QFileInfo file(QString::fromUtf8(obs_data_get_string(track, "value")));
			benchmark::DoNotOptimize(file.isFile() ? file.size() : -1);
		}
		queue.fillBare(queue.rows);
		layOut(&queue.bareList);
		queue.setBareRecord(queue.bareTracks());
	};
	const auto dock = [&] {
		refresh->click();
		layOut(queue.list());
	};
	queue.compare(1.25, floor, dock);
}
BENCHMARK(load)->Apply(anyLength);

// Enters and clears a search that shows half of the rows.
void search(benchmark::State &state)
{
	Fixture queue(state);
	const std::initializer_list<QString> texts = {u"LIVE"_s, QString()};
	const auto floor = [&] {
		for (const QString &text : texts) {
			for (int i = 0; i < queue.rows; i++)
				queue.bareList.setRowHidden(i, !queue.entries.at(i).path.contains(text,
												  Qt::CaseInsensitive));
			layOut(&queue.bareList);
		}
	};
	const auto dock = [&] {
		for (const QString &text : texts) {
			queue.search(text);
			layOut(queue.list());
		}
	};
	queue.compare(1.25, floor, dock);
}
BENCHMARK(search)->Apply(anyLength);

// Stores after a command that leaves the tracks alone. The floor is a new record that shares the objects of the old
// one.
void store(benchmark::State &state)
{
	Fixture queue(state);
	queue.playThrough(queue.rows - 1);
	OBSDataArrayAutoRelease objects = queue.bareTracks();
	auto *endMode = queue.child<QComboBox>("endMode");
	const auto floor = [&] {
		OBSDataArrayAutoRelease tracks = obs_data_array_create();
		obs_data_array_push_back_array(tracks, objects);
		queue.setBareRecord(tracks);
	};
	queue.compare(2, floor, [&] { endMode->setCurrentIndex((endMode->currentIndex() + 1) % endMode->count()); });
}
BENCHMARK(store)->Apply(anyLength);

// Drops a file. The floor is one new row, and one whole record built and set.
void addOne(benchmark::State &state)
{
	Fixture queue(state);
	queue.playThrough(0);
	queue.entries.append(Entry(queue.entries.constFirst().path));
	QMimeData file;
	file.setUrls({QUrl::fromLocalFile(queue.entries.constLast().path)});
	const auto floor = [&] {
		queue.appendBare(queue.entries.constLast());
		layOut(&queue.bareList);
		queue.setBareRecord(queue.bareTracks());
	};
	const auto dock = [&] {
		queue.drop(&file, Qt::CopyAction);
		layOut(queue.list());
	};
	queue.compare(3, floor, dock, [&] {
		if (queue.list()->count() > queue.rows) {
			// The new row is selected.
			queue.action("remove")->trigger();
			delete queue.bareList.takeItem(queue.rows);
		}
		Fixture::settle();
	});
	EXPECT_EQ(queue.list()->count(), queue.rows + 1);
}
BENCHMARK(addOne)->Apply(anyLength);

// Removes half of the rows and restores them.
void removeHalf(benchmark::State &state)
{
	Fixture queue(state);
	queue.playThrough(0);
	const QAbstractItemModel *model = queue.list()->model();
	const auto floor = [&] {
		for (const int count : {queue.rows / 2, queue.rows}) {
			queue.fillBare(count);
			layOut(&queue.bareList);
		}
	};
	const auto dock = [&] {
		for (const char *command : {"remove", "undoRemove"}) {
			queue.action(command)->trigger();
			layOut(queue.list());
		}
	};
	queue.compare(1.5, floor, dock, [&] {
		EXPECT_EQ(queue.list()->count(), queue.rows);
		const QItemSelection half(model->index(queue.rows / 2, 0), model->index(queue.rows - 1, 0));
		queue.list()->selectionModel()->select(half, QItemSelectionModel::ClearAndSelect);
		Fixture::settle();
	});
}
BENCHMARK(removeHalf)->Apply(anyLength);

// Drags a hundred rows from all over the queue to its top.
void drag100(benchmark::State &state)
{
	Fixture queue(state);
	queue.playThrough(0);
	const int step = queue.rows / 101;
	QAbstractItemModel *model = queue.list()->model();
	auto *drag = new QDrag(queue.list());
	drag->setMimeData(model->mimeData({model->index(0, 0)}));
	const auto prepare = [&] {
		for (QListWidget *list : {queue.list(), &queue.bareList}) {
			QItemSelection rows;
			for (int i = 1; i <= 100; i++)
				rows.append(QItemSelectionRange(list->model()->index(i * step, 0)));
			list->setCurrentRow(step);
			list->selectionModel()->select(rows, QItemSelectionModel::ClearAndSelect);
			list->scrollToTop();
		}
		Fixture::settle();
	};
	const auto floor = [&] {
		for (int i = 0; i < 100; i++)
			queue.bareList.model()->moveRows({}, (i + 1) * step, 1, {}, i);
		layOut(&queue.bareList);
	};
	const auto dock = [&] {
		queue.drop(drag->mimeData(), Qt::MoveAction);
		layOut(queue.list());
	};
	// A list accepts a move only during a drag of its own.
	QTimer::singleShot(0, drag, [&] {
		queue.compare(3, floor, dock, prepare);
		QDrag::cancel();
	});
	drag->exec(Qt::MoveAction);
	EXPECT_TRUE(queue.list()->item(0)->isSelected() && queue.list()->item(99)->isSelected());
}
BENCHMARK(drag100)->Apply(ownLengths)->Range(1000, 100000);

// Paints a page of rows. The floor paints one text per row, not three.
void paint(benchmark::State &state)
{
	Fixture queue(state);
	queue.compare(3, [&] { queue.bareList.viewport()->repaint(); }, [&] { queue.list()->viewport()->repaint(); });
}
BENCHMARK(paint)->Apply(ownLengths)->Arg(1000);

double bytesTakenBy(const Work &work)
{
	const auto bytesInUse = [] {
		const struct mallinfo2 info = mallinfo2();
		return static_cast<double>(info.uordblks + info.hblkhd);
	};
	const double before = bytesInUse();
	work();
	Fixture::settle();
	return bytesInUse() - before;
}

// Measures the memory, in bytes, that the dock needs for a shown source, without the record, which belongs to the
// source.
void memory(benchmark::State &state)
{
	Fixture queue(state);
	queue.playThrough(0);
	queue.child<QComboBox>("sourceSelector")->setCurrentIndex(0);
	queue.bareList.clear();
	Fixture::settle();
	QList<Entry> entries;
	const double dock = bytesTakenBy([&] { queue.choose(queue.source); });
	const double floor = bytesTakenBy([&] {
		for (const Entry &entry : queue.entries) {
			// The dock shares no path with others, so copy it here.
			entries.append(Entry(QString::fromUtf8(entry.path.toUtf8())));
			queue.appendBare(entries.constLast());
		}
		layOut(&queue.bareList);
	});
	for (auto _ : state)
		state.SetIterationTime(0);
	queue.report(1.5, floor, dock / floor);
}
BENCHMARK(memory)->Apply(anyLength)->Iterations(1);

// Sends the request on this thread, where it is served at once, so only the response is measured.
void getQueue(benchmark::State &state)
{
	Fixture queue(state);
	WebSocketPlugin plugin;
	obs_post_load_modules();
	const auto request = plugin.requests.at("GetQueue");
	OBSDataAutoRelease question = obs_data_create();
	const auto floor = [&] {
		OBSDataAutoRelease answer = obs_data_create();
		OBSDataArrayAutoRelease tracks = obs_data_array_create();
		for (const Entry &entry : queue.entries) {
			OBSDataAutoRelease track = obs_data_create();
			obs_data_set_int(track, "index", 0);
			obs_data_set_string(track, "id", entry.id.toUtf8().constData());
			obs_data_set_string(track, "path", entry.path.toUtf8().constData());
			obs_data_set_string(track, "label", entry.label.toUtf8().constData());
			obs_data_set_int(track, "sizeBytes", 0);
			obs_data_array_push_back(tracks, track);
		}
		obs_data_set_array(answer, "tracks", tracks);
	};
	queue.compare(2, floor, [&] {
		OBSDataAutoRelease answer = obs_data_create();
		request.callback(question, answer, request.priv_data);
	});
}
BENCHMARK(getQueue)->Apply(anyLength);

void countItems(obs_source_t *source, int &items)
{
	const auto count = [](obs_scene_t *, obs_sceneitem_t *item, void *data) {
		int &counted = *static_cast<int *>(data);
		counted++;
		countItems(obs_sceneitem_get_source(item), counted);
		return true;
	};
	if (obs_scene_t *scene = obs_group_or_scene_from_source(source))
		obs_scene_enum_items(scene, count, &items);
}

// Counts the items of all scenes.
int walkScenes()
{
	const auto append = [](void *data, obs_source_t *source) {
		static_cast<std::vector<OBSSource> *>(data)->emplace_back(source);
		return true;
	};
	std::vector<OBSSource> scenes;
	obs_enum_scenes(append, &scenes);
	int items = 0;
	for (const OBSSource &scene : scenes)
		countItems(scene, items);
	return items;
}

size_t readPlaylist(obs_source_t *source)
{
	OBSDataAutoRelease settings = obs_source_get_settings(source);
	OBSDataArrayAutoRelease playlist = obs_data_get_array(settings, "playlist");
	size_t length = 0;
	for (size_t i = 0; i < obs_data_array_count(playlist); i++) {
		OBSDataAutoRelease item = obs_data_array_item(playlist, i);
		length += strlen(obs_data_get_string(item, "value"));
	}
	return length;
}

// The work of each second: four polls of the media and the current track, of which one also walks all scenes and reads
// the source's playlist.
void comparePoll(Fixture &queue, int docks = 1)
{
	const QString last = queue.entries.constLast().id;
	QSlider slider;
	QLabel label;
	const auto floorOfOne = [&] {
		for (int i = 0; i < 4; i++) {
			benchmark::DoNotOptimize(obs_source_media_get_state(queue.source));
			benchmark::DoNotOptimize(obs_source_media_get_duration(queue.source));
			benchmark::DoNotOptimize(std::ranges::find(queue.entries, last, &Entry::id));
			const auto time = static_cast<int>(obs_source_media_get_time(queue.source));
			slider.setValue(time);
			label.setText(QString::number(time));
		}
		benchmark::DoNotOptimize(walkScenes());
		benchmark::DoNotOptimize(readPlaylist(queue.source));
	};
	const auto floor = [&] {
		for (int i = 0; i < docks; i++)
			floorOfOne();
	};
	queue.compare(2, floor, [&] { queue.pollFourTimes(); });
}

// At rest the source holds the whole playlist. During playback it holds one entry, here the queue's last one.
void poll(benchmark::State &state, bool playing)
{
	Fixture queue(state);
	if (playing)
		queue.playThrough(queue.rows - 1);
	comparePoll(queue);
}
BENCHMARK_CAPTURE(poll, idle, false)->Apply(anyLength);
BENCHMARK_CAPTURE(poll, playing, true)->Apply(anyLength);

// 100 scenes of 50 items: 45 of a type that the dock ignores, 4 of 50 VLC sources, and the previous scene.
void pollManyScenes(benchmark::State &state, int docks)
{
	Fixture queue(state);
	queue.playThrough(0);
	OBSSourceAutoRelease other = obs_source_create("of a type that is not installed", "Other", nullptr, nullptr);
	std::vector<OBSSource> players;
	for (int i = 0; i < 50; i++) {
		const QByteArray name = "Player " + QByteArray::number(i);
		OBSSourceAutoRelease player = obs_source_create("vlc_source", name.constData(), nullptr, nullptr);
		players.emplace_back(player.Get());
	}
	std::vector<OBSScene> scenes;
	for (size_t i = 0; i < 100; i++) {
		OBSSceneAutoRelease scene = obs_scene_create(QByteArray::number(i).constData());
		obs_scene_add(scene, i % 2 ? obs_scene_get_source(scenes.back()) : other.Get());
		for (size_t item = 0; item < 49; item++)
			obs_scene_add(scene, item < 4 ? players.at((i * 4 + item) % 50).Get() : other.Get());
		scenes.emplace_back(scene.Get());
	}
	EXPECT_EQ(walkScenes(), 100 * 50 + 50 * 50);
	for (int i = 1; i < docks; i++)
		queue.addDock();
	comparePoll(queue, docks);
}
BENCHMARK_CAPTURE(pollManyScenes, oneDock, 1)->Apply(ownLengths)->Arg(100);
BENCHMARK_CAPTURE(pollManyScenes, fourDocks, 4)->Apply(ownLengths)->Arg(100);

} // namespace

int main(int argc, char **argv)
{
	benchmark::Initialize(&argc, argv);
	QApplication app(argc, argv);
	QApplication::setQuitOnLastWindowClosed(false);
	// A failed expectation ends the run, because a figure of work that was not done means nothing.
	GTEST_FLAG_SET(throw_on_failure, true);
	const std::string word = argc > 1 ? argv[1] : "";
	const std::string most = argc > 2 ? argv[2] : "100000";
	// All lengths are powers of ten, so the number of digits selects them.
	const std::string filter = word + ".*/[0-9]{1," + std::to_string(most.size()) + "}/";
	return !benchmark::RunSpecifiedBenchmarks(nullptr, nullptr, filter);
}
