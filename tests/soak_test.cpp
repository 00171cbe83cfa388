/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Host.hpp"

#include <QAbstractEventDispatcher>
#include <QAction>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLineEdit>
#include <QMimeData>
#include <QSignalSpy>
#include <QSlider>
#include <QToolButton>

#include <algorithm>
#include <cstdio>
#include <future>
#include <optional>
#include <random>
#include <thread>

#include <sys/syscall.h>
#include <unistd.h>

#include "WebSocketPlugin.hpp"

// Random operations, and after each a look at what the dock and its sources have come to. A model foretells it, which
// knows the rules and not the code.

using namespace Qt::StringLiterals;

namespace {

// This thread's clock, and so that of its Qt timers: what it stands at while it is held, and by how much it is ahead
// once it has been.
constexpr qint64 nsPerMs = 1'000'000, nsPerSecond = 1000 * nsPerMs;
thread_local qint64 heldNs = 0, aheadNs = 0;

qint64 nowMs()
{
	timespec time;
	clock_gettime(CLOCK_MONOTONIC, &time);
	return time.tv_sec * 1000 + time.tv_nsec / nsPerMs;
}

// While this exists, time passes only when told to.
struct HeldClock {
	// From a full second on, where Qt leaves the intervals of its coarse timers as they are.
	HeldClock() { heldNs = (nowMs() / 1000 + 1) * nsPerSecond; }
	~HeldClock()
	{
		const qint64 ns = std::exchange(heldNs, 0);
		aheadNs += ns - nowMs() * nsPerMs;
	}
	static void pass(qint64 ms)
	{
		heldNs += ms * nsPerMs;
		while (QCoreApplication::eventDispatcher()->processEvents(QEventLoop::AllEvents)) {
		}
	}
};

const QString endModes[] = {u"stop"_s, u"next"_s, u"repeat"_s};

// An entry's identity in the model, which cannot foretell ids; 0 is none.
using Key = int;

struct Entry {
	Key key = 0;
	QString path;
	bool operator==(const Entry &) const = default;
};

struct Queue {
	QList<Entry> tracks;
	QStringList observed;
	Key current = 0;
	bool managed = false, loop = false;
	QString behavior;
	int endMode = 0;
	bool operator==(const Queue &) const = default;

	int currentIndex() const
	{
		const auto entry = std::ranges::find(tracks, current, &Entry::key);
		return entry == tracks.cend() ? -1 : static_cast<int>(entry - tracks.cbegin());
	}
	QStringList paths() const
	{
		QStringList all;
		for (const Entry &entry : tracks)
			all += entry.path;
		return all;
	}
};

struct Vlc {
	QString uuid, behavior;
	int life = 1, lives = 1; // life 0: deleted. One that comes back is another source to who held the first.
	QStringList playlist, queued, done;
	bool loop = true;
	std::optional<Queue> record, replaced;
	Key leftover = 0; // the only track of a queue that is nothing but what a replacement left
	Media media;
	bool operator==(const Vlc &) const = default;

	void come()
	{
		life = ++lives;
		queued.clear();
		media = {};
	}
};

struct Model {
	QList<Vlc> sources;
	QString missing; // a file that has been moved away
	qint64 nowMs = 0;
	QList<int> selected; // rows that the user sees and has selected
	int row = -1;        // the current one, likewise

	bool suspended = true;
	int chosen = -1, bound = -1, boundLife = 0;
	Queue queue;
	QList<std::pair<Entry, int>> removed;
	QString wanted; // the path that the source's next stop brings; null for none
	bool pending = false, wantsScene = false, armed = false;
	int serial = 0, bindings = 0, scenes = 0;
	QList<std::pair<int, int>> posted; // a step, or 0 for the end of a switch, and what it belongs to
	int sliderSerial = 0;
	qint64 switchedMs = -1000, durationMs = 0;
	quint32 ticks = 0;

	QJsonObject answer; // to the last request of a remote control
	bool fileMissing = false;

	Key lastKey = 0;
	QHash<Key, QString> ids;
	QSet<QString> known;
	bool operator==(const Model &) const = default;

	Vlc &source() { return sources[bound]; }
	bool live() const { return bound >= 0 && sources[bound].life == boundLife; }
	bool orphaned() const { return bound >= 0 && !live(); }

	// ---- the source and its record

	void store()
	{
		if (live())
			source().record = queue;
	}
	void cancel()
	{
		serial++;
		wanted = QString();
		wantsScene = false;
		if (!std::exchange(pending, false) || !live())
			return;
		if (source().playlist != queue.observed)
			queue.current = 0;
		queue.observed = source().playlist;
		store();
	}
	// The record holds while the playlist is what was last seen there; else the playlist has become the queue.
	void load(bool force)
	{
		cancel();
		Vlc &from = source();
		const std::optional<Queue> before = from.record;
		if (before && !force && before->observed == from.playlist) {
			queue = *before;
		} else {
			queue = {};
			insert(from.playlist, 0);
			queue.loop = from.loop;
			queue.behavior = from.behavior.isEmpty() ? u"stop_restart"_s : from.behavior;
			queue.endMode = before ? before->endMode : 0;
			queue.observed = from.playlist;
			if (before)
				keepReplaced(from, *before);
		}
		if (queue.currentIndex() < 0)
			queue.current = 0;
		removed.clear();
		armed = false;
		store();
	}
	// Unless it is worth less than what is kept already.
	void keepReplaced(Vlc &from, const Queue &before) const
	{
		const QList<Entry> &tracks = before.tracks;
		const bool leftover = tracks.isEmpty() || (tracks.size() == 1 && tracks[0].key == from.leftover);
		const bool keeps = !leftover && before.paths() != queue.paths();
		if (keeps)
			from.replaced = before;
		if (from.replaced && (keeps || leftover))
			from.leftover = queue.tracks.size() == 1 ? queue.tracks[0].key : 0;
	}
	void bringBack()
	{
		cancel();
		std::swap(queue, *source().replaced);
		queue.observed = source().playlist;
		Key held = 0;
		for (const Entry &entry : std::as_const(queue.tracks)) {
			if (queue.observed == QStringList{entry.path} && (!held || entry.key == queue.current))
				held = entry.key;
		}
		queue.current = held;
		removed.clear();
		armed = false;
	}
	void restore()
	{
		cancel();
		armed = queue.managed = false;
		queue.current = 0;
		queue.observed = source().playlist = queue.paths();
		source().loop = queue.loop;
		source().behavior = queue.behavior;
	}
	void bind(int index)
	{
		cancel();
		bindings++;
		armed = false;
		const int shownMode = std::exchange(queue, {}).endMode;
		queue.endMode = shownMode;
		removed.clear();
		durationMs = 0;
		bound = index >= 0 && sources[index].life ? index : -1;
		if (bound < 0)
			return;
		boundLife = source().life;
		load(false);
	}
	void choose(int index) { bind(chosen = index); }
	void refresh()
	{
		const int target = chosen >= 0 && sources[chosen].life ? chosen : -1;
		if (!suspended && (target != (live() ? bound : -1) || orphaned()))
			bind(target);
	}
	void reload()
	{
		refresh();
		if (live())
			load(false);
	}
	void suspend()
	{
		bind(-1);
		suspended = true;
	}
	void resume()
	{
		suspended = false;
		refresh();
	}

	// ---- playing

	void play(int index, bool withScene)
	{
		if (!live() || index < 0)
			return;
		armed = false;
		const auto &[key, path] = queue.tracks[index];
		fileMissing = path == missing;
		if (fileMissing)
			return;
		serial++;
		wanted = path;
		pending = true;
		wantsScene = withScene;
		switchedMs = nowMs;
		queue.current = key;
		queue.managed = true;
		queue.observed = QStringList{path};
		source().queued += u"stop"_s;
	}
	void step(int delta)
	{
		const int count = static_cast<int>(queue.tracks.size()), current = queue.currentIndex();
		const int from = current < 0 && delta < 0 ? 0 : current;
		play((from + delta + count) % count, false);
	}
	void toggle()
	{
		const obs_media_state state = source().media.state;
		if (row >= 0 && row != queue.currentIndex())
			play(row, false);
		else if (state == OBS_MEDIA_STATE_PLAYING || state == OBS_MEDIA_STATE_PAUSED)
			source().queued += state == OBS_MEDIA_STATE_PLAYING ? u"pause"_s : u"play"_s;
		else
			play(queue.currentIndex(), false);
	}
	void stop()
	{
		cancel();
		armed = false;
		source().queued += u"stop"_s;
		if (!queue.managed)
			return;
		queue.observed.clear();
		source().playlist.clear();
	}
	// A seek is meant for the media that the slider was taken on.
	void releaseSlider(int value)
	{
		if (!live() || pending || sliderSerial != serial)
			return;
		durationMs = std::max<qint64>(source().media.durationMs, 0);
		if (durationMs > 0)
			source().queued += u"seek %1"_s.arg(durationMs * value / 1000);
	}
	void tick()
	{
		if (suspended)
			return;
		const bool refreshing = ++ticks % 4 == 0;
		if (refreshing)
			refresh();
		if (!live() || pending)
			return;
		if (refreshing && source().playlist != queue.observed)
			load(true);
		durationMs = std::max<qint64>(source().media.durationMs, 0);
		if (queue.managed && queue.current)
			followEnd(source().media.state);
	}
	void followEnd(obs_media_state state)
	{
		if (state == OBS_MEDIA_STATE_PLAYING && nowMs - switchedMs > 99)
			armed = true;
		if (state == OBS_MEDIA_STATE_STOPPED || state == OBS_MEDIA_STATE_ERROR)
			armed = false;
		if (state != OBS_MEDIA_STATE_ENDED || !std::exchange(armed, false))
			return;
		const int next = queue.currentIndex() + (queue.endMode == 1);
		if (queue.endMode == 0 || next == queue.tracks.size())
			stop();
		else
			play(next, false);
	}
	// What libobs's thread does with up to this many of the actions that wait.
	void videoTick(int index, qsizetype count)
	{
		Vlc &vlc = sources[index];
		for (; count > 0 && !vlc.queued.isEmpty(); count--) {
			const QString what = vlc.queued.takeFirst();
			vlc.done += what;
			if (index != bound || !live())
				continue;
			if (what == u"next"_s || what == u"previous"_s)
				posted.emplaceBack(what == u"next"_s ? 1 : -1, bindings);
			if (what != u"stop"_s || wanted.isNull())
				continue;
			vlc.playlist = QStringList{std::exchange(wanted, QString())};
			vlc.loop = false;
			vlc.behavior = u"always_play"_s;
			posted.emplaceBack(0, serial);
		}
	}
	void deliver()
	{
		for (const auto &[delta, stamp] : std::exchange(posted, {})) {
			if (delta && stamp == bindings && queue.managed && queue.current)
				step(delta);
			if (delta || stamp != serial)
				continue;
			pending = false;
			switchedMs = nowMs;
			scenes += wantsScene;
		}
	}

	// ---- editing

	void insert(const QStringList &paths, qsizetype position)
	{
		for (const QString &path : paths)
			queue.tracks.insert(position++, {++lastKey, path});
	}
	void remove()
	{
		removed.clear();
		for (int i = static_cast<int>(queue.tracks.size()) - 1; i >= 0; i--) {
			if (selected.contains(i))
				removed.prepend({queue.tracks.takeAt(i), i});
		}
		if (queue.currentIndex() >= 0 || (!queue.current && !queue.tracks.isEmpty()))
			return;
		queue.managed = true;
		queue.current = 0;
		stop();
	}
	void undo()
	{
		for (const auto &[entry, index] : std::exchange(removed, {}))
			queue.tracks.insert(std::min<qsizetype>(index, queue.tracks.size()), entry);
	}
	void moveRow(int delta)
	{
		const int last = static_cast<int>(queue.tracks.size()) - 1;
		queue.tracks.move(row, std::clamp(row + delta, 0, last));
	}

	// ---- what is seen of all that

	QStringList enabled(bool searching) const
	{
		if (!live())
			return {};
		const int last = static_cast<int>(queue.tracks.size()) - 1;
		const bool one = selected.size() == 1, movable = one && !searching;
		const bool local = row >= 0 && !queue.tracks[row].path.startsWith(u"http"_s);
		const std::pair<bool, const char *> controls[] = {
			{true, "addFiles endMode stop"},
			{queue.current || row >= 0, pending ? "" : "playPause"},
			{durationMs > 0, pending ? "" : "seek"},
			{last >= 0, "next previous"},
			{!selected.isEmpty(), "remove"},
			{!removed.isEmpty(), "undoRemove"},
			{queue.current, "locateCurrent"},
			{one && local && selected.contains(row), "openFolder"},
			{movable && row > 0, "moveTop moveUp"},
			{movable && row < last, "moveBottom moveDown"},
			{queue.managed || last >= 0, "restorePlaylist"},
			{sources[bound].replaced.has_value(), "bringBackReplacedQueue"},
		};
		QStringList names;
		for (const auto &[on, some] : controls)
			names += QString::fromLatin1(on ? some : "").split(u' ', Qt::SkipEmptyParts);
		names.sort();
		return names;
	}

	// ---- what a remote control is told

	// Nothing where the request is done.
	QString refusal(const QString &control, bool searching) const
	{
		if (suspended)
			return u"unavailable"_s;
		if (!live())
			return u"noSource"_s;
		if (enabled(searching).contains(control))
			return {};
		const QHash<QString, QString> reasons = {{u"playPause"_s,
							  pending ? u"switching"_s : u"nothingToPlay"_s},
							 {u"undoRemove"_s, u"nothingToUndo"_s},
							 {u"restorePlaylist"_s, u"nothingToGiveBack"_s},
							 {u"bringBackReplacedQueue"_s, u"nothingToBringBack"_s}};
		return reasons.value(control, u"emptyQueue"_s);
	}
	// What no control of the user's stands for is done whenever there is a source.
	void request(const QString &control, bool searching, const std::function<void(Model &)> &rule)
	{
		QString error = refusal(control, searching);
		fileMissing = false;
		if (error.isEmpty())
			rule(*this);
		if (fileMissing)
			error = u"fileMissing"_s;
		if (!error.isEmpty())
			answer = {{u"error"_s, error}};
	}
	void select(int index)
	{
		refresh();
		if (suspended)
			answer = {{u"error"_s, u"unavailable"_s}};
		else if (index >= 0 && !sources[index].life)
			answer = {{u"error"_s, u"unknownSource"_s}};
		else if (index != (chosen >= 0 && sources[chosen].life ? chosen : -1))
			choose(index);
	}
	void describe()
	{
		static const QHash<int, QString> states = {
			{OBS_MEDIA_STATE_NONE, u"NONE"_s},       {OBS_MEDIA_STATE_ENDED, u"ENDED"_s},
			{OBS_MEDIA_STATE_PAUSED, u"PAUSED"_s},   {OBS_MEDIA_STATE_STOPPED, u"STOPPED"_s},
			{OBS_MEDIA_STATE_OPENING, u"OPENING"_s}, {OBS_MEDIA_STATE_ERROR, u"ERROR"_s},
			{OBS_MEDIA_STATE_PLAYING, u"PLAYING"_s}};
		const Media media = pending ? Media{OBS_MEDIA_STATE_OPENING} : source().media;
		QJsonArray tracks;
		for (const auto &[key, path] : queue.tracks)
			tracks.append(QJsonArray{tracks.size(), ids[key], path});
		answer = {{u"tracks"_s, tracks},
			  {u"total"_s, tracks.size()},
			  {u"currentId"_s, ids[queue.current]},
			  {u"currentIndex"_s, queue.currentIndex()},
			  {u"endMode"_s, endModes[queue.endMode]},
			  {u"mediaState"_s, u"OBS_MEDIA_STATE_"_s + states[media.state]},
			  {u"cursor"_s, std::max<qint64>(media.timeMs, 0)},
			  {u"duration"_s, std::max<qint64>(media.durationMs, 0)},
			  {u"canUndo"_s, !removed.isEmpty()},
			  {u"canBringBack"_s, source().replaced.has_value()}};
	}
	void learnIds(const QJsonArray &rows)
	{
		for (qsizetype i = 0; i < std::min(rows.size(), queue.tracks.size()); i++) {
			const QString id = rows[i][0].toString();
			if (const Key key = queue.tracks[i].key; !ids.contains(key) && !known.contains(id))
				known += ids[key] = id;
		}
	}
	static QJsonArray values(const QStringList &paths)
	{
		QJsonArray array;
		for (const QString &path : paths)
			array.append(QJsonObject{{u"value"_s, path}});
		return array;
	}
	QJsonObject recordOf(const std::optional<Queue> &of) const
	{
		if (!of)
			return {};
		QJsonArray tracks;
		for (const Entry &entry : of->tracks)
			tracks.append(QJsonObject{{u"value"_s, entry.path}, {u"id"_s, ids[entry.key]}});
		return {{u"version"_s, 1},
			{u"tracks"_s, tracks},
			{u"observed"_s, values(of->observed)},
			{u"current"_s, of->current ? ids[of->current] : u""_s},
			{u"managed"_s, of->managed},
			{u"originalLoop"_s, of->loop},
			{u"originalShuffle"_s, false},
			{u"originalBehavior"_s, of->behavior},
			{u"endMode"_s, of->endMode}};
	}
	QJsonObject expected() const
	{
		QJsonArray rows, all;
		for (const auto &[key, path] : queue.tracks)
			rows.append(QJsonArray{ids[key], path, key == queue.current});
		for (const Vlc &vlc : sources) {
			all.append(vlc.life ? QJsonArray{values(vlc.playlist), vlc.loop, false, vlc.behavior,
							 recordOf(vlc.record), recordOf(vlc.replaced),
							 vlc.done.join(u' ')}
					    : QJsonArray());
		}
		return {{u"rows"_s, rows},
			{u"sources"_s, all},
			{u"scenes"_s, scenes},
			{u"answer"_s, answer},
			{u"told"_s,
			 orphaned() ? QJsonArray() : QJsonArray{ids[queue.current], endModes[queue.endMode]}}};
	}
};

using Rule = std::function<void(Model &)>;

} // namespace

// Qt finds this one before libc's.
int clock_gettime(clockid_t id, timespec *time) noexcept
{
	const long result = syscall(SYS_clock_gettime, id, time);
	if (id == CLOCK_MONOTONIC && (heldNs != 0 || aheadNs != 0)) {
		const qint64 ns = heldNs ? heldNs : time->tv_sec * nsPerSecond + time->tv_nsec + aheadNs;
		*time = {ns / nsPerSecond, ns % nsPerSecond};
	}
	return static_cast<int>(result);
}

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

	// On a source that is gone and still shown, nothing comes of it.
	void byUser(const Rule &rule)
	{
		then([&rule](Model &m) {
			if (m.live())
				rule(m);
		});
	}
	// Or a remote control does, which is refused what the user's control is not enabled for.
	void press(const char *name, const char *request, const Rule &rule)
	{
		auto *button = child<QToolButton>(name);
		if (remotely())
			ask(request, u"{}"_s, name, rule);
		else if (button->isEnabled())
			button->click(), byUser(rule);
	}
	void choose(const char *name, const char *request, const Rule &rule)
	{
		QAction *tool = frontend->toolsMenu.findChild<QAction *>(QLatin1String(name));
		QAction *entry = tool ? tool : action(name);
		if (request && remotely())
			ask(request, u"{}"_s, name, rule);
		else if (entry->isEnabled())
			entry->trigger(), byUser(rule);
	}
	void move(const char *name, int delta)
	{
		choose(name, nullptr, [delta](Model &m) { m.moveRow(delta); });
	}
	void chooseSource()
	{
		if (remotely()) {
			const int index = pick(4) - 1;
			const QString uuid = index < 0 ? QString() : worlds.front().sources[index].uuid;
			return request("SelectSource", uR"({"sourceUuid": "%1"})"_s.arg(uuid),
				       [index](Model &m) { m.select(index); });
		}
		auto *selector = child<QComboBox>("sourceSelector");
		const int row = pick(selector->count());
		if (row == selector->currentIndex())
			return;
		selector->setCurrentIndex(row);
		then([uuid = selector->itemData(row).toString()](Model &m) {
			int index = 2;
			while (index >= 0 && m.sources[index].uuid != uuid)
				index--;
			m.choose(index);
		});
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
		byUser([row](Model &m) { m.play(row < 0 ? m.row : row, true); });
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
		byUser([files](Model &m) { m.insert(files, m.queue.tracks.size()); });
	}
	void drag()
	{
		const int count = std::max(list()->count(), 1), from = pick(count), to = pick(count);
		if (from == to || !list()->dragEnabled())
			return;
		list()->model()->moveRow({}, from, {}, to > from ? to + 1 : to);
		byUser([from, to](Model &m) { m.queue.tracks.move(from, to); });
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
		const bool searching = !list()->dragEnabled();
		request(name, data, [&](Model &m) { m.request(QLatin1String(control), searching, rule); });
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
		ask(request, data.arg(list()->item(row)->data(Qt::UserRole).toString()).arg(other), "next",
		    [rule, row, other](Model &m) { rule(m, row, other); });
	}
	void askToAdd()
	{
		const QString path = pickFrom(paths);
		const int position = pick(list()->count() + 1);
		const QString data = uR"({"paths": [{"path": "%1"}, {"path": "%1"}], "position": %2})"_s;
		if (list()->count() < 10)
			ask("AddTracks", data.arg(path).arg(position), "addFiles",
			    [path, position](Model &m) { m.insert({path, path}, position); });
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
		const int rest = 250 - static_cast<int>(nowMs() % 250);
		const int step = oneIn(4) ? pick(rest) : rest;
		QCoreApplication::sendPostedEvents();
		HeldClock::pass(step);
		then([step, rest](Model &m) {
			m.deliver();
			m.nowMs = nowMs();
			if (step == rest)
				m.tick();
		});
		settled |= step == rest;
	}
	void tickVideo()
	{
		const int index = pickSource(6);
		std::thread([this, index] { videoTick(sources[index]); }).join();
		then([index](Model &m) { m.videoTick(index, 100); });
	}
	void setMedia()
	{
		static const obs_media_state states[] = {OBS_MEDIA_STATE_ENDED, OBS_MEDIA_STATE_PAUSED,
							 OBS_MEDIA_STATE_STOPPED, OBS_MEDIA_STATE_OPENING,
							 OBS_MEDIA_STATE_ERROR};
		const int index = pickSource(6), which = pick(worlds.front().armed ? 6 : 12);
		const Media next = {which < 5 ? states[which] : OBS_MEDIA_STATE_PLAYING, 0, pick(4) * 4000 - 1000};
		media(sources[index]) = next;
		then([index, next](Model &m) { m.sources[index].media = next; });
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
		setPlaylist(sources[index], playlist);
		then([index, playlist, loop](Model &m) {
			m.sources[index].playlist = playlist;
			m.sources[index].loop = loop;
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
	bool settled = true;
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
	show(sources[0]);
	obs_post_load_modules();
	sceneRequests = std::make_unique<QSignalSpy>(frontend->dock, SIGNAL(sceneSwitchRequested(QString)));
	world.nowMs = nowMs();
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
	addRacing(1, "suspend", [this] { send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING, &Model::suspend); });
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
	addRacing(5, "search", [this] { search(pickFrom({{}, {}, {}, u" MP3"_s, u"a.mp3"_s, u"#2"_s})); });
	addRacing(6, "drop", [this] { drop(); });
	addRacing(4, "drag", [this] { drag(); });
	addRacing(4, "remove", [this] { choose("remove", nullptr, &Model::remove); });
	addRacing(4, "undo", [this] { choose("undoRemove", "UndoRemove", &Model::undo); });
	addRacing(2, "move up", [this] { move("moveUp", -1); });
	addRacing(2, "move down", [this] { move("moveDown", 1); });
	addRacing(1, "move to top", [this] { move("moveTop", -100); });
	addRacing(1, "move to bottom", [this] { move("moveBottom", 100); });
	addRacing(2, "give back", [this] { choose("restorePlaylist", "GivePlaylistBack", &Model::restore); });
	addRacing(3, "bring back",
		  [this] { choose("bringBackReplacedQueue", "BringBackReplacedQueue", &Model::bringBack); });
	add(3, "remote play", [this] { askOfTrack("PlayTrack", [](Model &m, int row, int) { m.play(row, true); }); });
	add(3, "remote move",
	    [this] { askOfTrack("MoveTrack", [](Model &m, int row, int to) { m.queue.tracks.move(row, to); }); });
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
		const QListWidgetItem *row = list()->item(i);
		rows.append(QJsonArray{row->data(Qt::UserRole).toString(), row->data(Qt::UserRole + 1).toString(),
				       row->text().startsWith(u"▶\uFE0E "_s)});
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
	return {{u"rows"_s, rows},
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
	     child<QWidget>("playlistMenu")->actions() + frontend->toolsMenu.findChildren<QAction *>()) {
		if (entry->isEnabled() && !entry->isSeparator() && entry->objectName() != u"aboutPlugin"_s)
			names += entry->objectName();
	}
	names.sort();
	return names;
}

// Drops the worlds that are not the case; one has to be left.
void Soak::compare()
{
	const bool controls = settled && !worlds.front().orphaned(), searching = !list()->dragEnabled();
	hear();
	QJsonObject now = seen(), expected;
	answer = {};
	now[u"controls"_s] = controls ? enabled().join(u' ') : QString();
	std::erase_if(worlds, [&](Model &world) {
		world.selected.clear();
		for (int i = 0; i < list()->count(); i++) {
			if (list()->item(i)->isSelected() && !list()->isRowHidden(i))
				world.selected += i;
		}
		world.row = list()->currentRow();
		if (world.row >= 0 && list()->isRowHidden(world.row))
			world.row = -1;
		world.learnIds(now[u"rows"_s].toArray());
		expected = world.expected();
		expected[u"controls"_s] = controls ? world.enabled(searching).join(u' ') : QString();
		for (Vlc &vlc : world.sources)
			vlc.done.clear();
		world.answer = {};
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

	const HeldClock clock;
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
