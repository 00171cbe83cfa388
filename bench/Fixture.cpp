/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Fixture.hpp"

#include <QDir>
#include <QDropEvent>
#include <QFile>
#include <QUuid>

#include <algorithm>
#include <ctime>

using namespace Qt::StringLiterals;

namespace {

constexpr int pollIntervalMs = 250;
constexpr int filesPerFolder = 1000;

// The files are made once for all cases.
QStringList mediaFiles(int count)
{
	static const QTemporaryDir folder;
	static QStringList files;
	for (int i = static_cast<int>(files.size()); i < count; i++) {
		const QString season = folder.filePath(u"season %1"_s.arg(i / filesPerFolder));
		QDir().mkdir(season);
		QFile file(u"%1/episode %2 %3.mp3"_s.arg(season).arg(i).arg(i % 2 ? "studio"_L1 : "live"_L1));
		EXPECT_TRUE(file.open(QIODevice::WriteOnly));
		files.append(file.fileName());
	}
	return files.first(count);
}

// Finds the dock's poll timer when it fires.
class TimerWatch : public QObject {
public:
	TimerWatch() { qApp->installEventFilter(this); }
	QTimer *timer = nullptr;

protected:
	bool eventFilter(QObject *watched, QEvent *event) override
	{
		auto *candidate = qobject_cast<QTimer *>(watched);
		if (event->type() == QEvent::Timer && candidate && candidate->interval() == pollIntervalMs)
			timer = candidate;
		return false;
	}
};

// Measures this thread's processor time: time that a busy machine waits is not the dock's.
double secondsOf(const Work &work)
{
	const auto now = [] {
		timespec time;
		clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
		return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
	};
	const double start = now();
	work();
	return now() - start;
}

double median(std::vector<double> &values)
{
	const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
	std::ranges::nth_element(values, middle);
	return *middle;
}

} // namespace

Entry::Entry(const QString &path_)
	: path(path_), label(path.section(u'/', -1)), id(QUuid::createUuid().toString(QUuid::WithoutBraces))
{}

Fixture::Fixture(benchmark::State &state_) : rows(static_cast<int>(state_.range(0))), state(state_)
{
	const QStringList files = mediaFiles(rows);
	entries = QList<Entry>(files.begin(), files.end());
	source = makeSource(u"Queue"_s, files);
	show(source);
	takePollTimer();

	bareList.setUniformItemSizes(true);
	bareList.setSelectionMode(QAbstractItemView::ExtendedSelection);
	bareList.setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
	bareList.resize(list()->size());
	bareList.show();
	fillBare(rows);
	settle();
}

void Fixture::playThrough(int row)
{
	list()->scrollToItem(list()->item(row));
	play(row);
	videoTick(source);
	settle();
	media(source) = {OBS_MEDIA_STATE_PLAYING, 500, 4000};
	// The dock ignores a "playing" that comes sooner after a switch.
	QTest::qSleep(100);
}

void Fixture::takePollTimer()
{
	const TimerWatch watch;
	EXPECT_TRUE(waitFor([&watch] { return watch.timer; }));
	watch.timer->stop();
	pollTimers.emplace_back(watch.timer);
}

void Fixture::addDock()
{
	frontend->toolsMenu.findChild<QAction *>(u"addAnotherDock"_s)->trigger();
	settle();
	auto *selector = frontend->others.last()->findChild<QComboBox *>(u"sourceSelector"_s);
	// The first dock's source is in no scene and stands last.
	selector->setCurrentIndex(static_cast<int>(frontend->others.size()));
	EXPECT_EQ(selector->currentIndex(), frontend->others.size()) << "the source is free";
	settle();
	takePollTimer();
}

void Fixture::pollFourTimes() const
{
	for (const QPointer<QTimer> &timer : pollTimers) {
		for (int i = 0; i < 4; i++)
			QMetaObject::invokeMethod(timer, "timeout");
	}
}

void Fixture::drop(const QMimeData *data, Qt::DropAction action) const
{
	QDragEnterEvent enter(QPoint(), action, data, Qt::LeftButton, {});
	QCoreApplication::sendEvent(list()->viewport(), &enter);
	QDropEvent event(QPointF(), action, data, Qt::LeftButton, {});
	event.setDropAction(action);
	QCoreApplication::sendEvent(list()->viewport(), &event);
}

void Fixture::fillBare(int count)
{
	bareList.clear();
	for (const Entry &entry : entries.first(count))
		appendBare(entry);
}

void Fixture::appendBare(const Entry &entry)
{
	auto *item = new QListWidgetItem(entry.label);
	item->setData(Qt::UserRole, entry.id);
	item->setData(Qt::UserRole + 1, entry.path);
	item->setData(Qt::UserRole + 2, 0);
	bareList.addItem(item);
}

OBSDataArrayAutoRelease Fixture::bareTracks() const
{
	OBSDataArrayAutoRelease tracks = obs_data_array_create();
	for (const Entry &entry : entries) {
		OBSDataAutoRelease track = obs_data_create();
		obs_data_set_string(track, "value", entry.path.toUtf8().constData());
		obs_data_set_string(track, "id", entry.id.toUtf8().constData());
		obs_data_array_push_back(tracks, track);
	}
	return tracks;
}

void Fixture::setBareRecord(obs_data_array_t *tracks) const
{
	OBSDataAutoRelease record = obs_data_create();
	obs_data_set_array(record, "tracks", tracks);
	obs_data_set_obj(bareSettings, "record", record);
}

void Fixture::compare(double goal, const Work &floor, const Work &dock, const Work &prepare)
{
	std::vector<double> floors, ratios;
	for (auto _ : state) {
		// Each of the two goes first once, because the second one may find cached data of the first.
		prepare();
		double floorTook = secondsOf(floor);
		double dockTook = secondsOf(dock);
		prepare();
		dockTook += secondsOf(dock);
		floorTook += secondsOf(floor);
		floors.push_back(floorTook / 2);
		ratios.push_back(dockTook / floorTook);
		state.SetIterationTime(dockTook / 2);
	}
	report(goal, median(floors), median(ratios));
}

void Fixture::report(double goal, double floor, double times) const
{
	state.counters["floor"] = floor;
	state.counters["times"] = times;
	state.counters["goal"] = goal;
}

void layOut(const QListWidget *list)
{
	list->indexAt(QPoint());
}
