/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Stage.hpp"

#include <QAbstractButton>
#include <QDir>
#include <QFile>

#include <filesystem>

using namespace Qt::StringLiterals;

namespace {

constexpr int pollIntervalMs = 250;
constexpr int filesPerFolder = 1000;

// Half of the paths hold "live"; one in a hundred or so begins its number with 42.
QString nameOf(int number)
{
	return u"episode %1 %2.mp3"_s.arg(number).arg(number % 2 ? "studio"_L1 : "live"_L1);
}

// Sees the dock's poll timer when it fires.
class PollWatch : public QObject {
public:
	PollWatch() { qApp->installEventFilter(this); }
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

} // namespace

QStringList mediaFiles(int count)
{
	static const QTemporaryDir folder;
	static QStringList files;
	for (int i = static_cast<int>(files.size()); i < count; i++) {
		const QString season = folder.filePath(u"season %1"_s.arg(i / filesPerFolder));
		const QString file = season + u'/' + nameOf(i);
		if (i % filesPerFolder == 0) {
			QDir().mkdir(season);
			EXPECT_TRUE(QFile(file).open(QIODevice::WriteOnly));
		} else {
			// A file system takes its time for new inodes, most of all where it has just lost as many.
			const QString first = files.at(i - i % filesPerFolder);
			std::filesystem::create_hard_link(first.toStdU16String(), file.toStdU16String());
		}
		files.append(file);
	}
	return files.first(count);
}

QList<Reelhouse::Track> tracksOf(const QStringList &files)
{
	QList<Reelhouse::Track> tracks;
	for (const QString &file : files) {
		tracks.append(Reelhouse::Track::fromPath(file));
		tracks.last().size = 0;
	}
	return tracks;
}

OBSDataArrayAutoRelease bareArray(const QList<Reelhouse::Track> &tracks)
{
	OBSDataArrayAutoRelease array = obs_data_array_create();
	for (const Reelhouse::Track &track : tracks) {
		OBSDataAutoRelease item = obs_data_create();
		obs_data_set_string(item, "value", track.path.toUtf8().constData());
		obs_data_set_string(item, "id", track.id.toUtf8().constData());
		obs_data_array_push_back(array, item);
	}
	return array;
}

Stage::Stage(int rows)
{
	source = makeSource(u"Queue"_s, mediaFiles(rows));
	show(source);
	takePollTimer();
	settle();
}

void Stage::takePollTimer()
{
	const PollWatch watch;
	EXPECT_TRUE(waitFor([&watch] { return watch.timer; }));
	pollTimer = watch.timer;
	pollTimer->stop();
}

void Stage::playThrough(int row)
{
	list()->scrollToItem(list()->item(row));
	play(row);
	sendStopped(source);
	settle();
	media(source) = {OBS_MEDIA_STATE_PLAYING, 500, 4000};
	// What plays this soon after a switch is not yet taken for the new track.
	QTest::qSleep(100);
}

void Stage::reload()
{
	child<QAbstractButton>("refresh")->click();
}

void Stage::changeEndMode()
{
	child<QComboBox>("endMode")->setCurrentIndex(++endMode % 3);
}

void Stage::select(int first, int last)
{
	const QAbstractItemModel *model = list()->model();
	list()->selectionModel()->select(QItemSelection(model->index(first, 0), model->index(last, 0)),
					 QItemSelectionModel::ClearAndSelect);
}

void Stage::tick()
{
	QMetaObject::invokeMethod(pollTimer, "timeout");
}

// A refreshing tick is known by the new name that the selector shows after it.
void Stage::tickThroughRefresh()
{
	static int names = 0;
	const QString name = u"Queue %1"_s.arg(++names);
	obs_source_set_name(source, name.toUtf8().constData());
	const auto *selector = child<QComboBox>("sourceSelector");
	do
		tick();
	while (!selector->currentText().endsWith(name));
}

void Stage::tickUpToRefresh()
{
	for (int i = 0; i < 3; i++)
		tick();
}

BareList::BareList(const QListWidget *dockList, const QList<Reelhouse::Track> &tracks)
{
	setUniformItemSizes(true);
	setSelectionMode(ExtendedSelection);
	setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
	resize(dockList->size());
	show();
	rows.reserve(tracks.size());
	for (const Reelhouse::Track &track : tracks)
		rows.append({track.path.section(u'/', -1), track});
}

void BareList::append(const Row &row)
{
	auto *item = new QListWidgetItem(row.label);
	item->setData(Reelhouse::IdRole, row.track.id);
	item->setData(Reelhouse::PathRole, row.track.path);
	item->setData(Reelhouse::SizeRole, row.track.size);
	addItem(item);
}

void BareList::fill(qsizetype count)
{
	clear();
	for (qsizetype i = 0; i < count; i++)
		append(rows.at(i));
}

void BareList::filter(const QString &text)
{
	for (int i = 0; i < count(); i++)
		setRowHidden(i, !rows.at(i).track.path.contains(text, Qt::CaseInsensitive));
}

void BareList::moveRows(int moved, int step)
{
	for (int i = 0; i < moved; i++)
		model()->moveRows({}, (i + 1) * step, 1, {}, i);
}

void layOut(const QListWidget *list)
{
	list->indexAt(QPoint());
}
