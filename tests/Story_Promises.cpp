/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Story.hpp"

#include <QAction>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>

#include <algorithm>

// What users are told of the dock, whatever is done to it.

using namespace Qt::StringLiterals;

namespace {

QByteArray everythingOf(obs_source_t *source)
{
	OBSDataAutoRelease settings = obs_source_get_settings(source);
	OBSDataAutoRelease privateSettings = obs_source_get_private_settings(source);
	return QByteArray(obs_data_get_json(settings)) + obs_data_get_json(privateSettings);
}

QString nameOf(obs_source_t *source)
{
	return QString::fromUtf8(obs_source_get_name(source));
}

} // namespace

void Story::remember(const Words &words)
{
	before = ids();
	waited = waits();
	expected = bound() ? plainList(words) : std::nullopt;
	bringsBack = valuesIn(recordOf(bound(), "OBS-Reelhouse-replaced"), "tracks").join(u'\n');
	others.clear();
	const bool all = words[0] == u"restart" || words[0] == u"choose" || words[0] == u"resume" ||
			 words[0] == u"look";
	for (auto source = sources.cbegin(); !all && source != sources.cend(); ++source) {
		if (*source != bound() && words[0] != u"edit" && !words.contains(u"SelectSource"_s))
			others[source.key()] = everythingOf(*source);
	}
}

void Story::keepPromises(const Words &words)
{
	const QString &verb = words[0];
	expectOthersUntouched();
	if (!bound())
		return expectToldTheState(false);
	if (verb == u"edit" || verb == u"record" || verb == u"aside")
		unseenEdit = true;
	const bool looked = verb == u"look" || verb == u"elsewhere" || verb == u"refresh" || verb == u"restart";
	if (looked && !waits())
		unseenEdit = false;
	if (verb == u"record" || verb == u"aside")
		return;
	expectSameEverywhere();
	QStringList now = ids();
	if (expected && answer.isEmpty()) {
		for (QString &id : now)
			id = before.contains(id) || beforeRemoval.contains(id) ? id : u"+"_s;
		EXPECT_EQ(now, *expected) << "a plain list, edited in the same way";
	}
	if (waited && !waits() && verb == u"video") {
		EXPECT_EQ(valuesIn(settingsOf(bound()), "playlist"), pathsOfCurrent()) << "the last play wins";
		unseenEdit = false;
	}
	if (!unseenEdit && !waits())
		expectSettledSource();
	expectUsersQueueKept(words);
	expectToldTheState((verb == u"look" || verb == u"start") && ids() == before);
}

// Rows, record and remote answer are the same queue; one row is marked if the record names one.
void Story::expectSameEverywhere()
{
	const QJsonObject record = recordOf(bound()), queue = plugin.request("GetQueue");
	QStringList recordIds, queueIds, queuePaths, marked;
	for (const QJsonValue track : record["tracks"_L1].toArray())
		recordIds += track["id"_L1].toString();
	for (const QJsonValue track : queue["tracks"_L1].toArray()) {
		queueIds += track["id"_L1].toString();
		queuePaths += track["path"_L1].toString();
	}
	int shown = 0;
	for (int i = 0; i < list()->count(); i++) {
		const QString text = list()->item(i)->text();
		if (text.startsWith(u"▶\uFE0E "_s))
			marked += idAt(i);
		EXPECT_TRUE(pathAt(i).endsWith(text.section(u"▶\uFE0E "_s, -1))) << text.toStdString();
		shown += !list()->isRowHidden(i);
	}
	const QStringList rows = ids();
	EXPECT_EQ(recordIds, rows);
	EXPECT_EQ(queueIds, rows);
	EXPECT_EQ(valuesIn(record, "tracks"), rowPaths());
	EXPECT_EQ(queuePaths, rowPaths());
	const QString current = record["current"_L1].toString();
	EXPECT_EQ(queue["currentId"_L1], current);
	EXPECT_EQ(queue["currentIndex"_L1], rows.indexOf(current));
	if (!handMade) {
		EXPECT_EQ(marked, current.isEmpty() ? QStringList() : QStringList{current});
		EXPECT_EQ(QSet<QString>(rows.begin(), rows.end()).size(), rows.size()) << "ids are unique";
	}
	EXPECT_TRUE(current.isEmpty() || marked.contains(current));

	const int mode = record["endMode"_L1].toInt(-1);
	EXPECT_TRUE(mode >= 0 && mode <= 2);
	EXPECT_EQ(child<QComboBox>("endMode")->currentIndex(), mode);
	EXPECT_FALSE(record["originalBehavior"_L1].toString().isEmpty());
	EXPECT_EQ(record["version"_L1], 1);
	EXPECT_EQ(queue["canBringBack"_L1].toBool(), tool()->isEnabled());
	const QString total = u"Tracks: %1"_s.arg(rows.size());
	EXPECT_EQ(child<QLabel>("trackCount")->text(), child<QLineEdit>("search")->text().trimmed().isEmpty()
							       ? total
							       : u"Tracks: %1 of %2"_s.arg(shown).arg(rows.size()));
}

void Story::expectSettledSource()
{
	const QJsonObject record = recordOf(bound()), settings = settingsOf(bound());
	EXPECT_EQ(valuesIn(record, "observed"), valuesIn(settings, "playlist"));
	const bool startedHere = !record["current"_L1].toString().isEmpty() && record["managed"_L1].toBool() && !handMade;
	EXPECT_FALSE(startedHere && (settings["loop"_L1].toBool() || settings["shuffle"_L1].toBool()));
}

void Story::expectOthersUntouched()
{
	for (auto other = others.cbegin(); other != others.cend(); ++other)
		EXPECT_EQ(everythingOf(sources[other.key()]), *other) << other.key().toStdString();
}

// The queue that the user last made or played from is there, or is kept aside. One entry may be a mere leftover.
void Story::expectUsersQueueKept(const Words &words)
{
	QStringList &users = usersQueue[nameOf(bound())];
	const bool edited = ids() != before &&
			    std::ranges::any_of(words, [this](const QString &word) { return edits.contains(word); });
	const bool played = list()->count() > 1 && ((waits() && !waited) || words[0] == u"start");
	if (edited && ids().size() < before.size()) {
		beforeRemoval = before;
		afterRemoval = ids();
	}
	if (edited || played) {
		users = list()->count() > 1 ? rowPaths() : QStringList();
		everUsers.insert(users.join(u'\n'));
	} else if (ids() != before && everUsers.contains(bringsBack)) {
		users.clear(); // one of two that are both the user's own
	}
	if (handMade || racing || users.isEmpty())
		return;
	const QStringList kept = valuesIn(recordOf(bound(), "OBS-Reelhouse-replaced"), "tracks");
	EXPECT_TRUE(users == rowPaths() || users == kept)
		<< named(users).join(u' ').toStdString() << " is neither there nor kept";
}

// Revisions only rise, and whoever listens knows the state once nothing has changed for a while.
void Story::expectToldTheState(bool settled)
{
	for (const auto &[name, data] : std::exchange(plugin.events, {})) {
		EXPECT_GT(data["revision"_L1].toInt(), std::exchange(revision, data["revision"_L1].toInt()));
		lastTold[name] = data;
		told.append({name, data});
	}
	if (!settled)
		return;
	const QJsonObject queue = plugin.request("GetQueue");
	const auto expectTold = [this, &queue](const QString &event, QLatin1String key, QLatin1String inQueue) {
		EXPECT_TRUE(!lastTold.contains(event) || lastTold[event][key] == queue[inQueue]) << event.toStdString();
	};
	expectTold(u"QueueChanged"_s, "total"_L1, "total"_L1);
	expectTold(u"CurrentTrackChanged"_s, "id"_L1, "currentId"_L1);
	expectTold(u"EndModeChanged"_s, "endMode"_L1, "endMode"_L1);
}

QStringList Story::pathsOfCurrent() const
{
	const QJsonObject queue = plugin.request("GetQueue");
	return rowPaths().mid(queue["currentIndex"_L1].toInt(), 1);
}

// What an edit makes of a plain list of the ids, with "+" for a new one; nothing for any other step.
std::optional<QStringList> Story::plainList(const Words &words)
{
	QStringList plain = before;
	const QString &what = words[0] == u"ask" ? words[1] : words[0];
	const QJsonObject data = QJsonDocument::fromJson(json(words.mid(2).join(u' '))).object();
	const bool searching = !child<QLineEdit>("search")->text().isEmpty();
	QList<int> selected;
	for (int i = 0; i < list()->count(); i++) {
		if (list()->item(i)->isSelected() && !list()->isRowHidden(i))
			selected += i;
	}
	if (child<QMenu>("playlistMenu")->isVisible()) {
		return std::nullopt; // which acts on rows of its own
	} else if (what == u"drop") {
		plain.insert(plain.size(), words.size() - 1, u"+"_s);
	} else if (what == u"AddTracks") {
		const qsizetype position = data["position"_L1].toInt(static_cast<int>(plain.size()));
		plain.insert(std::min(position, plain.size()), data["paths"_L1].toArray().size(), u"+"_s);
	} else if (what == u"remove") {
		plain.removeIf([&, this](const QString &id) { return selected.contains(before.indexOf(id)); });
	} else if (what == u"RemoveTracks") {
		for (const QJsonValue track : data["ids"_L1].toArray())
			plain.removeAll(track["id"_L1].toString());
	} else if (what == u"undoRemove" || what == u"UndoRemove") {
		if (plugin.request("GetQueue")["canUndo"_L1].toBool())
			return before == afterRemoval ? std::optional(beforeRemoval) : std::nullopt;
	} else if (what == u"MoveTrack") {
		const qsizetype from = plain.indexOf(data["id"_L1].toString()), to = data["index"_L1].toInt();
		if (from >= 0 && to < plain.size())
			plain.move(from, to);
	} else if (what == u"drag") {
		const int from = list()->row(row(words[1])), to = words[2].toInt();
		if (!searching && from >= 0 && to < plain.size())
			plain.move(from, to);
	} else if (what.startsWith(u"move")) {
		const qsizetype from = selected.value(0), last = plain.size() - 1;
		const QHash<QString, qsizetype> targets = {{u"moveUp"_s, from - 1},
							   {u"moveDown"_s, from + 1},
							   {u"moveTop"_s, 0},
							   {u"moveBottom"_s, last}};
		if (!searching && selected.size() == 1)
			plain.move(from, std::clamp<qsizetype>(targets[what], 0, last));
	} else {
		return std::nullopt;
	}
	return plain;
}
