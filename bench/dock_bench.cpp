/* SPDX-License-Identifier: GPL-2.0-or-later */

// What the dock does to a whole queue at once, beside the least that the same work takes: the bare calls of Qt and
// libobs on the same rows, in the same run. The counter "floors" is the one to look at: how many times the floor the
// dock takes.

#include <QAbstractButton>
#include <QApplication>
#include <QListWidget>

#include <atomic>
#include <chrono>
#include <thread>

#include <benchmark/benchmark.h>

#include "Host.hpp"
#include "WebSocketPlugin.hpp"

using namespace Qt::StringLiterals;

namespace {

QString pathOf(int number)
{
	return u"http://host/season %1/episode %2.mp3"_s.arg(number / 100).arg(number);
}

double seconds(const std::function<void()> &work)
{
	const auto start = std::chrono::steady_clock::now();
	work();
	return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Times what other threads have this one do.
class QueuedCalls : public QObject {
public:
	double took = 0;

	bool eventFilter(QObject *watched, QEvent *event) override
	{
		if (event->type() != QEvent::MetaCall)
			return false;
		took += seconds([&] { watched->event(event); });
		return true;
	}
};

class Stage : public Host {
public:
	explicit Stage(int rows)
	{
		QStringList paths;
		for (int i = 0; i < rows; i++)
			paths.append(pathOf(i));
		source = makeSource(u"Queue"_s, paths);
		show(source);
		obs_post_load_modules();
	}
	void load() { child<QAbstractButton>("refresh")->click(); }
	void filter(const QString &text) { search(text); }
	void store() { child<QComboBox>("endMode")->setCurrentIndex(++mode % 3); }
	// How long a remote control that asks for the whole queue holds this thread.
	double heldByRemote() const
	{
		QueuedCalls calls;
		qApp->installEventFilter(&calls);
		std::atomic<bool> answered = false;
		std::thread remote([&] {
			plugin.request("GetQueue");
			answered = true;
		});
		while (!answered)
			QCoreApplication::processEvents();
		remote.join();
		return calls.took;
	}

private:
	void TestBody() override {}

	WebSocketPlugin plugin;
	OBSSource source;
	int mode = 0;
};

// The rows alone, in a list that is set up as the dock's is.
class BareList : public QListWidget {
public:
	explicit BareList(int rows_) : rows(rows_)
	{
		setUniformItemSizes(true);
		resize(900, 200);
		show();
	}
	void fill()
	{
		clear();
		for (int i = 0; i < rows; i++) {
			auto *item = new QListWidgetItem(pathOf(i));
			for (int role = Qt::UserRole; role < Qt::UserRole + 3; role++)
				item->setData(role, item->text());
			addItem(item);
		}
	}
	void filter(const QString &text)
	{
		for (int i = 0; i < count(); i++)
			setRowHidden(i, !item(i)->text().contains(text, Qt::CaseInsensitive));
	}

private:
	const int rows;
};

OBSDataArrayAutoRelease bareArray(int rows)
{
	OBSDataArrayAutoRelease array = obs_data_array_create();
	const QByteArray id(36, 'x');
	for (int i = 0; i < rows; i++) {
		OBSDataAutoRelease item = obs_data_create();
		obs_data_set_string(item, "value", pathOf(i).toUtf8().constData());
		obs_data_set_string(item, "id", id.constData());
		obs_data_array_push_back(array, item);
	}
	return array;
}

void readArray(obs_data_array_t *array)
{
	for (size_t i = 0; i < obs_data_array_count(array); i++) {
		OBSDataAutoRelease item = obs_data_array_item(array, i);
		benchmark::DoNotOptimize(QString::fromUtf8(obs_data_get_string(item, "value")));
		benchmark::DoNotOptimize(QString::fromUtf8(obs_data_get_string(item, "id")));
	}
}

// The queue as a remote control sees it.
void bareAnswer(int rows)
{
	OBSDataArrayAutoRelease array = obs_data_array_create();
	const QByteArray id(36, 'x');
	for (int i = 0; i < rows; i++) {
		OBSDataAutoRelease item = obs_data_create();
		const QByteArray path = pathOf(i).toUtf8();
		obs_data_set_int(item, "index", i);
		obs_data_set_string(item, "id", id.constData());
		obs_data_set_string(item, "path", path.constData());
		obs_data_set_string(item, "label", path.constData() + path.lastIndexOf('/') + 1);
		obs_data_array_push_back(array, item);
	}
	OBSDataAutoRelease answer = obs_data_create();
	obs_data_set_array(answer, "tracks", array);
}

// Runs floor and dock in turn, so that a slow moment of the machine meets both.
void compare(benchmark::State &state, const std::function<void()> &floor, const std::function<double()> &dock)
{
	double floors = 0, docks = 0;
	for (auto _ : state) {
		floors += seconds(floor);
		const double took = dock();
		docks += took;
		state.SetIterationTime(took);
	}
	state.counters["floors"] = docks / floors;
}

void load(benchmark::State &state)
{
	const int rows = static_cast<int>(state.range(0));
	Stage stage(rows);
	BareList list(rows);
	// The stored queue is read, the list filled and the record stored anew.
	const auto floor = [&] {
		OBSDataArrayAutoRelease array = bareArray(rows);
		readArray(array);
		list.fill();
	};
	compare(state, floor, [&] { return seconds([&] { stage.load(); }); });
}

void filter(benchmark::State &state)
{
	const int rows = static_cast<int>(state.range(0));
	Stage stage(rows);
	BareList list(rows);
	list.fill();
	bool narrow = false;
	const auto text = [&narrow] {
		return narrow ? u"season 1/"_s : u"episode 9"_s;
	};
	const auto search = [&] {
		stage.filter(text());
		narrow = !narrow;
	};
	compare(state, [&] { list.filter(text()); }, [&] { return seconds(search); });
}

void store(benchmark::State &state)
{
	const int rows = static_cast<int>(state.range(0));
	Stage stage(rows);
	compare(state, [&] { bareArray(rows); }, [&] { return seconds([&] { stage.store(); }); });
}

void remote(benchmark::State &state)
{
	const int rows = static_cast<int>(state.range(0));
	Stage stage(rows);
	compare(state, [&] { bareAnswer(rows); }, [&] { return stage.heldByRemote(); });
}

constexpr int smallest = 1000;
constexpr int largest = 100000;

BENCHMARK(load)->RangeMultiplier(10)->Range(smallest, largest)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(filter)->RangeMultiplier(10)->Range(smallest, largest)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(store)->RangeMultiplier(10)->Range(smallest, largest)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(remote)->RangeMultiplier(10)->Range(smallest, largest)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
	QApplication app(argc, argv);
	benchmark::Initialize(&argc, argv);
	benchmark::RunSpecifiedBenchmarks();
	return 0;
}
