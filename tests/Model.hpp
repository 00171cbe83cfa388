/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QHash>
#include <QJsonArray>
#include <QJsonObject>
#include <QSet>

#include <algorithm>
#include <functional>
#include <optional>

#include "Host.hpp"

// What the dock and its sources come to by the rules, which this knows, and not the code.

using namespace Qt::StringLiterals;

inline const QString endModes[] = {u"stop"_s, u"next"_s, u"repeat"_s};

inline const QHash<int, QString> stateNames = {
	{OBS_MEDIA_STATE_NONE, u"NONE"_s},       {OBS_MEDIA_STATE_ENDED, u"ENDED"_s},
	{OBS_MEDIA_STATE_PAUSED, u"PAUSED"_s},   {OBS_MEDIA_STATE_STOPPED, u"STOPPED"_s},
	{OBS_MEDIA_STATE_OPENING, u"OPENING"_s}, {OBS_MEDIA_STATE_ERROR, u"ERROR"_s},
	{OBS_MEDIA_STATE_PLAYING, u"PLAYING"_s}, {OBS_MEDIA_STATE_BUFFERING, u"BUFFERING"_s},
};
inline const QHash<int, QString> statusWords = {
	{OBS_MEDIA_STATE_NONE, u"Stopped"_s},    {OBS_MEDIA_STATE_ENDED, u"Ended"_s},
	{OBS_MEDIA_STATE_PAUSED, u"Paused"_s},   {OBS_MEDIA_STATE_STOPPED, u"Stopped"_s},
	{OBS_MEDIA_STATE_OPENING, u"Loading"_s}, {OBS_MEDIA_STATE_ERROR, u"Error"_s},
	{OBS_MEDIA_STATE_PLAYING, u"Playing"_s}, {OBS_MEDIA_STATE_BUFFERING, u"Loading"_s},
};

inline QString minutes(qint64 ms)
{
	return u"%1:%2"_s.arg(ms / 60000).arg(ms / 1000 % 60, 2, 10, QChar(u'0'));
}

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
	bool managed = false, loop = false, shuffle = false;
	QString behavior;
	int endMode = 0;
	bool operator==(const Queue &) const = default;

	int indexOf(Key key) const
	{
		const auto entry = std::ranges::find(tracks, key, &Entry::key);
		return entry == tracks.cend() ? -1 : static_cast<int>(entry - tracks.cbegin());
	}
	int currentIndex() const { return indexOf(current); }
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
	bool loop = true, shuffle = false;
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
	QList<int> selected;      // rows that the user sees and has selected
	int row = -1;             // the current one, likewise
	std::optional<Key> picks; // the only row that the dock itself selects; 0 is the first
	QString search, message;  // what is looked for; the file whose absence is complained of

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
	QString status; // as read out to the user

	QJsonObject answer; // to the last request of a remote control
	bool fileMissing = false;

	Key lastKey = 0;
	QHash<Key, QString> ids;
	QSet<QString> known;
	bool operator==(const Model &) const = default;

	Key keyAt(qsizetype index) const { return queue.tracks.value(index).key; }
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
		const Key picked = keyAt(row);
		Vlc &from = source();
		const std::optional<Queue> before = from.record;
		if (before && !force && before->observed == from.playlist) {
			queue = *before;
		} else {
			queue = {};
			insert(from.playlist, 0);
			queue.loop = from.loop;
			queue.shuffle = from.shuffle;
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
		picks = queue.indexOf(picked) < 0 ? 0 : picked;
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
		if (!live())
			return;
		std::swap(queue, *source().replaced);
		queue.observed = source().playlist;
		Key held = 0;
		for (const Entry &entry : std::as_const(queue.tracks)) {
			if (queue.observed == QStringList{entry.path} && (!held || entry.key == queue.current))
				held = entry.key;
		}
		queue.current = held;
		picks = held;
		removed.clear();
		armed = false;
		message.clear();
	}
	void restore()
	{
		cancel();
		if (!live())
			return;
		armed = queue.managed = false;
		queue.current = 0;
		queue.observed = source().playlist = queue.paths();
		source().loop = queue.loop;
		source().shuffle = queue.shuffle;
		source().behavior = queue.behavior;
		picks = keyAt(row);
		message.clear();
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
		message.clear();
		bound = index >= 0 && sources[index].life ? index : -1;
		if (bound < 0)
			return status.clear();
		boundLife = source().life;
		load(false);
		picks.reset();
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
			load(false), message.clear();
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
		message = fileMissing ? path : QString();
		if (fileMissing)
			return;
		picks = key;
		row = shows(index) ? index : -1;
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
		if (!live())
			return;
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
		message.clear();
		if (!live())
			return;
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
			load(true), message.clear();
		const auto &[state, timeMs, mediaMs] = source().media;
		durationMs = std::max<qint64>(mediaMs, 0);
		status = statusWords[state] + u" · "_s + minutes(std::max<qint64>(timeMs, 0)) + u" / "_s +
			 (durationMs ? minutes(durationMs) : u"—:—"_s);
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
			vlc.loop = vlc.shuffle = false;
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
	void append(const QStringList &paths, qsizetype position)
	{
		if (!live())
			return;
		insert(paths, position);
		search.clear();
		message.clear();
		picks = keyAt(position + paths.size() - 1);
	}
	void remove()
	{
		if (!live())
			return;
		removed.clear();
		for (int i = static_cast<int>(queue.tracks.size()) - 1; i >= 0; i--) {
			if (selected.contains(i))
				removed.prepend({queue.tracks.takeAt(i), i});
		}
		message.clear();
		picks = keyAt(std::min<qsizetype>(removed[0].second, queue.tracks.size() - 1));
		if (queue.currentIndex() >= 0 || (!queue.current && !queue.tracks.isEmpty()))
			return;
		queue.managed = true;
		queue.current = 0;
		stop();
	}
	void undo()
	{
		if (!live())
			return;
		picks = removed[0].first.key;
		message.clear();
		for (const auto &[entry, index] : std::exchange(removed, {}))
			queue.tracks.insert(std::min<qsizetype>(index, queue.tracks.size()), entry);
	}
	void move(qsizetype from, qsizetype to)
	{
		if (!live())
			return;
		queue.tracks.move(from, to);
		message.clear();
	}
	void moveRow(int delta)
	{
		picks = keyAt(row);
		move(row, std::clamp<qsizetype>(row + delta, 0, queue.tracks.size() - 1));
	}
	void locate()
	{
		search.clear();
		message.clear();
		picks = queue.current;
	}

	// ---- what is seen of all that

	bool shows(qsizetype index) const
	{
		if (search.startsWith(u'#'))
			return search.mid(1).toInt() == index + 1;
		return queue.tracks[index].path.contains(search, Qt::CaseInsensitive);
	}
	QString playButton() const
	{
		const obs_media_state state = live() ? sources[bound].media.state : OBS_MEDIA_STATE_NONE;
		if (row >= 0 && row != queue.currentIndex())
			return u"Play Selected"_s;
		return state == OBS_MEDIA_STATE_PLAYING  ? u"Pause"_s
		       : state == OBS_MEDIA_STATE_PAUSED ? u"Resume"_s
							 : u"Play"_s;
	}
	QStringList enabled() const
	{
		if (!live())
			return {};
		const int last = static_cast<int>(queue.tracks.size()) - 1;
		const bool one = selected.size() == 1, movable = one && search.isEmpty();
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
	QString refusal(const QString &control) const
	{
		if (suspended)
			return u"unavailable"_s;
		if (!live())
			return u"noSource"_s;
		if (enabled().contains(control))
			return {};
		const QHash<QString, QString> reasons = {{u"playPause"_s,
							  pending ? u"switching"_s : u"nothingToPlay"_s},
							 {u"undoRemove"_s, u"nothingToUndo"_s},
							 {u"restorePlaylist"_s, u"nothingToGiveBack"_s},
							 {u"bringBackReplacedQueue"_s, u"nothingToBringBack"_s}};
		return reasons.value(control, u"emptyQueue"_s);
	}
	// What no control of the user's stands for is done whenever there is a source.
	void request(const QString &control, const std::function<void(Model &)> &rule)
	{
		QString error = refusal(control);
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
		const Media media = pending ? Media{OBS_MEDIA_STATE_OPENING} : source().media;
		QJsonArray tracks;
		for (const auto &[key, path] : queue.tracks)
			tracks.append(QJsonArray{tracks.size(), ids[key], path});
		answer = {{u"tracks"_s, tracks},
			  {u"total"_s, tracks.size()},
			  {u"currentId"_s, ids[queue.current]},
			  {u"currentIndex"_s, queue.currentIndex()},
			  {u"endMode"_s, endModes[queue.endMode]},
			  {u"mediaState"_s, u"OBS_MEDIA_STATE_"_s + stateNames[media.state]},
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
			{u"originalShuffle"_s, of->shuffle},
			{u"originalBehavior"_s, of->behavior},
			{u"endMode"_s, of->endMode}};
	}
	QJsonObject expected() const
	{
		QJsonArray rows, all;
		int shown = 0;
		for (const auto &[key, path] : queue.tracks) {
			const bool found = shows(rows.size());
			shown += found;
			rows.append(QJsonArray{ids[key], path, key == queue.current, found});
		}
		for (const Vlc &vlc : sources) {
			all.append(vlc.life ? QJsonArray{values(vlc.playlist), vlc.loop, vlc.shuffle, vlc.behavior,
							 recordOf(vlc.record), recordOf(vlc.replaced),
							 vlc.done.join(u' ')}
					    : QJsonArray());
		}
		const QString total = QString::number(rows.size());
		return {{u"rows"_s, rows},
			{u"count"_s, u"Tracks: "_s + (search.isEmpty() ? total : u"%1 of %2"_s.arg(shown).arg(total))},
			{u"message"_s, message.isEmpty() ? QJsonValue() : u"⚠ File not found: "_s + message},
			{u"status"_s, status},
			{u"sources"_s, all},
			{u"scenes"_s, scenes},
			{u"answer"_s, answer},
			{u"told"_s,
			 orphaned() ? QJsonArray() : QJsonArray{ids[queue.current], endModes[queue.endMode]}}};
	}
};
