/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Story.hpp"

#include <QFileInfo>

#include <algorithm>
#include <utility>

// What users are told of the dock, whatever is done to it.

using namespace Qt::StringLiterals;

namespace {

QByteArray everythingOf(obs_source_t *source)
{
	OBSDataAutoRelease settings = obs_source_get_settings(source);
	OBSDataAutoRelease privateSettings = obs_source_get_private_settings(source);
	return QByteArray(obs_data_get_json(settings)) + obs_data_get_json(privateSettings);
}

bool isStream(const QString &path)
{
	return path.contains(u"://"_s) && !path.startsWith(u"file:"_s, Qt::CaseInsensitive);
}

// Steps and requests that change the queue by the user's will.
const QStringList edits =
	u"drop drag moveOnto remove moveUp moveDown moveTop moveBottom AddTracks RemoveTracks MoveTrack undoRemove "
	"UndoRemove burst key"_s.split(u' ');

} // namespace

// Whether a step is for a further dock, or for its source T.
bool Story::isForOther(const Words &words) const
{
	const bool namesT = words[0] == u"ask" && words.contains(u"{'sourceName':"_s) &&
			    words.filter(u"'T'"_s).size() > 0;
	return words[0].endsWith(u':') || (namesT && isElsewhere(sources[u"T"_s]));
}

void Story::remember(const Words &words)
{
	before = ids();
	waited = waits();
	stays = bound() && requested.isEmpty() ? whatStays(words) : std::nullopt;
	boundBefore = bound() ? QString::fromUtf8(obs_source_get_name(bound())) : QString();
	observed = valuesIn(recordOf(bound()), "observed");
	unseen = valuesIn(settingsOf(bound()), "playlist");
	if (waited || unseen == observed)
		unseen.clear();
	else
		stays.reset();
	bringsBack = valuesIn(recordOf(bound(), "OBS-Reelhouse-replaced"), "tracks").join(u'\n');
	others.clear();
	const bool all = words[0] == u"restart" || words[0] == u"collection" || words[0] == u"choose" ||
			 words[0] == u"resume" || words[0] == u"look";
	// What one dock does leaves alone the source of another one, which sees what happens to its source by itself.
	const bool inOther = isForOther(words);
	if (inOther)
		stays.reset();
	for (obs_source_t *source : std::as_const(sources)) {
		if (source && isElsewhere(source))
			usersQueue.remove(
				QString::fromUtf8(obs_source_get_name(source))); // the other dock's user's now
	}
	for (auto source = sources.cbegin(); !all && source != sources.cend(); ++source) {
		const bool isOthers = inOther ? *source == bound() : *source != bound() && !isElsewhere(*source);
		if (isOthers && words[0] != u"edit" && !words.contains(u"SelectSource"_s))
			others[source.key()] = everythingOf(*source);
	}
}

void Story::keepPromises(const Words &words)
{
	const QString &verb = words[0];
	for (auto other = others.cbegin(); other != others.cend(); ++other)
		EXPECT_EQ(everythingOf(sources[other.key()]), *other) << other.key().toStdString();
	expectHonestControls();
	if (!bound()) {
		expectToldTheState(false);
		const QJsonObject deck = lastTold.value(u"StateChanged"_s);
		const QString shown =
			deck["source"_L1].toString() + deck["total"_L1].toString() + deck["canUndo"_L1].toString();
		EXPECT_TRUE(verb != u"look" || deck.isEmpty() || shown == u"0off") << shown.toStdString();
		return;
	}
	if (verb == u"edit" || verb == u"record" || verb == u"replaced")
		unseenEdit = true;
	const bool looked = verb == u"look" || verb == u"elsewhere" || verb == u"refresh" || verb == u"restart";
	if (looked && !waits())
		unseenEdit = false;
	if (verb == u"record" || verb == u"replaced")
		return;
	expectSameEverywhere();
	// The end of a switch may bring back the replaced queue.
	const bool broughtBack = rowPaths().join(u'\n') == bringsBack;
	if (stays && answer.isEmpty() && !broughtBack) {
		QStringList now = ids();
		EXPECT_EQ(now.size(), stays->second);
		now.removeIf([this](const QString &id) { return !stays->first.contains(id); });
		EXPECT_EQ(now, stays->first) << "what an edit does not name stays, in its order";
	}
	if (waited && !waits() && verb == u"video" && !broughtBack && !handMade) {
		const qsizetype current = ids().indexOf(recordOf(bound())["current"_L1].toString());
		const QJsonObject settings = settingsOf(bound());
		EXPECT_EQ(valuesIn(settings, "playlist"), rowPaths().mid(current, 1)) << "the last play wins";
		EXPECT_FALSE(settings["loop"_L1].toBool() || settings["shuffle"_L1].toBool()) << "and ends";
		unseenEdit = false;
	}
	if (!unseenEdit && !waits()) {
		EXPECT_EQ(valuesIn(recordOf(bound()), "observed"), valuesIn(settingsOf(bound()), "playlist"));
	}
	expectUsersQueueKept(words);
	expectEditSeen(words);
	expectToldTheState((verb == u"look" || verb == u"start") && ids() == before);
}

// Rows, record and remote answer are the same queue; one row is marked if the record names one.
void Story::expectSameEverywhere()
{
	const QJsonObject record = recordOf(bound()), queue = plugin.request("GetQueue");
	const QStringList rows = ids(), paths = rowPaths();
	QStringList marked;
	int shown = 0;
	for (int i = 0; i < list()->count(); i++) {
		const QString text = list()->item(i)->text();
		if (text.startsWith(u"▶\uFE0E "_s))
			marked += rows[i];
		EXPECT_TRUE(paths[i].endsWith(text.section(u"▶\uFE0E "_s, -1))) << text.toStdString();
		shown += !list()->isRowHidden(i);
	}
	EXPECT_EQ(valuesIn(record, "tracks", "id"), rows);
	EXPECT_EQ(valuesIn(queue, "tracks", "id"), rows);
	EXPECT_EQ(valuesIn(record, "tracks"), paths);
	EXPECT_EQ(valuesIn(queue, "tracks", "path"), paths);
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

void Story::expectHonestControls()
{
	const auto *play = child<QWidget>("playPause"), *time = child<QWidget>("playbackTime");
	EXPECT_EQ(play->property("class"),
		  play->accessibleName() == u"Pause" ? u"icon-media-pause"_s : u"icon-media-play"_s);
	const QString clock = child<QLabel>("playbackTime")->text();
	EXPECT_EQ(time->accessibleName(), (clock.startsWith(u'−') ? u"Remaining time "_s : u"Elapsed time "_s) + clock);
	EXPECT_EQ(list()->dragEnabled(), child<QLineEdit>("search")->text().trimmed().isEmpty());
	EXPECT_FALSE(obs_source_async_decoupled(bound())) << "it is only a moment in a switch";
	if (bound() && !child<QMenu>("playlistMenu")->isVisible())
		expectWhatWorksOffered();
}

// What is offered follows from the queue and the selection at once, what the play button says also from the media, which
// the poll sees.
void Story::expectWhatWorksOffered()
{
	const QJsonObject queue = plugin.request("GetQueue");
	const bool active = queue["success"_L1].toBool(), any = active && list()->count() > 0;
	const QListWidgetItem *chosen = list()->currentItem();
	const bool isShown = chosen && !chosen->isHidden();
	const auto shown = std::ranges::count_if(list()->selectedItems(), [](auto *item) { return !item->isHidden(); });
	const bool one = active && shown == 1, moves = one && child<QLineEdit>("search")->text().trimmed().isEmpty();
	const int row = list()->currentRow();
	const QString current = queue["currentId"_L1].toString(), says = child<QWidget>("playPause")->accessibleName();
	const auto *seek = child<QWidget>("seek"), *plays = child<QWidget>("playPause");
	const std::pair<QString, bool> offers[] = {
		{u"stop addFiles endMode"_s, active},
		{u"previous next"_s, any},
		{u"remove"_s, active && shown > 0},
		{u"undoRemove"_s, active && queue["canUndo"_L1].toBool()},
		{u"locateCurrent"_s, active && queue["currentIndex"_L1].toInt() >= 0},
		{u"moveUp moveTop"_s, moves && row > 0},
		{u"moveDown moveBottom"_s, moves && row + 1 < list()->count()},
		{u"openFolder"_s, one && isShown && chosen->isSelected() && !isStream(rowPaths()[row])},
		{u"restorePlaylist"_s, any || (active && recordOf(bound())["managed"_L1].toBool())}};
	for (const auto &[names, works] : offers)
		for (const QString &name : names.split(u' '))
			EXPECT_EQ(child<QObject>(name.toLatin1())->property("enabled"), works) << name.toStdString();
	EXPECT_FALSE(plays->isEnabled() && !(active && (isShown || !current.isEmpty())));
	EXPECT_FALSE(seek->isEnabled() && !(active && !waits()));
	EXPECT_EQ(says == u"Play Selected", isShown && ids()[row] != current) << says.toStdString();
}

// An answer with a state has the one that the request leads to, with all changes up to its revision.
QJsonObject Story::ask(const QString &request, const Words &data)
{
	const QByteArray fields = json(data.join(u' '));
	QJsonObject response = plugin.request(request.toStdString(), fields);
	const bool named = isForOther(Words{u"ask"_s} + data);
	const QJsonObject queue =
		plugin.request("GetQueue", named ? R"({"limit": 0, "sourceName": "T"})" : R"({"limit": 0})");
	if (!response.contains("currentIndex"_L1) || !queue["success"_L1].toBool() || fields.contains("dock"))
		return response;
	for (const char *key : {"currentId", "currentIndex", "revision"})
		EXPECT_EQ(response[QLatin1String(key)], queue[QLatin1String(key)]) << key;
	const QString state = response["mediaState"_L1].toString();
	const QString word = state.section(u'_', -1);
	EXPECT_TRUE(named || !waits() || word == u"PLAYING" || word == u"OPENING" || word == u"PAUSED") << "it starts";
	return response;
}

// The queue that the user last made or played from is there, or is the replaced one. One entry may be that of an edit.
void Story::expectUsersQueueKept(const Words &words)
{
	QStringList &users = usersQueue[QString::fromUtf8(obs_source_get_name(bound()))];
	const bool editedFirst = !unseen.isEmpty() && ids() != before;
	if (!requested.isEmpty() || editedFirst) { // two steps
		users.clear();
		everUsers += {rowPaths().join(u'\n'),
			      valuesIn(recordOf(bound(), "OBS-Reelhouse-replaced"), "tracks").join(u'\n')};
		return;
	}
	const bool refused = words[0] == u"ask" && !answer.isEmpty();
	const bool edited = ids() != before && !refused &&
			    std::ranges::any_of(words, [](const QString &word) { return edits.contains(word); });
	const bool played = list()->count() > 1 && ((waits() && !waited) || words[0] == u"start");
	const bool moved = words[0] == u"find" && ids() == before && !users.isEmpty();
	if (edited && ids().size() < before.size()) {
		beforeRemoval = before;
		// The queue of before an edit elsewhere does not come back.
		afterRemoval = unseen.isEmpty() ? ids() : QStringList(QString());
	}
	if (edited || played || moved) {
		users = list()->count() > 1 ? rowPaths() : QStringList();
		everUsers.insert(users.join(u'\n'));
	} else if (ids() != before && everUsers.contains(bringsBack)) {
		users.clear(); // one of two that are both the user's own
	}
	if (handMade || racing || users.isEmpty())
		return;
	const QStringList replaced = valuesIn(recordOf(bound(), "OBS-Reelhouse-replaced"), "tracks");
	EXPECT_TRUE(users == rowPaths() || users == replaced)
		<< named(users.join(u' ')).toStdString() << " is neither there nor replaced";
}

// A playlist that somebody has set elsewhere is in the queue before anything writes over it.
void Story::expectEditSeen(const Words &words)
{
	const bool takesAway = words[0] == u"find" || words.contains(u"remove"_s) || words.contains(u"RemoveTracks"_s);
	if (handMade || racing || !requested.isEmpty() || takesAway || words[0] == u"edit" ||
	    words[0] == u"elsewhere" || boundBefore != QString::fromUtf8(obs_source_get_name(bound())) ||
	    valuesIn(recordOf(bound()), "observed") == observed || rowPaths().join(u'\n') == bringsBack)
		return;
	for (const QString &one : unseen)
		EXPECT_TRUE(rowPaths().contains(one) || QFileInfo(one).isDir()) << named(one).toStdString();
}

// Revisions only rise, and whoever listens knows the state once nothing has changed for a while.
void Story::expectToldTheState(bool settled)
{
	for (const auto &[name, data] : std::exchange(plugin.events, {})) {
		const int lastRevision = revision;
		if (name != u"StateChanged")
			revision = data["revision"_L1].toInt();
		EXPECT_TRUE(name == u"StateChanged" || revision > lastRevision) << name.toStdString();
		if (const int dock = data["dock"_L1].toInt()) {
			told.append({u"%1: "_s.arg(dock) + name, data});
			continue;
		}
		lastTold[name] = data;
		last = name;
		if (name != u"StateChanged")
			told.append({name, data});
	}
	if (!settled)
		return;
	const QJsonObject queue = plugin.request("GetQueue");
	const auto expectTold = [this, &queue](const QString &event, QLatin1String key, QLatin1String inQueue) {
		EXPECT_TRUE(!lastTold.contains(event) || lastTold[event][key] == queue[inQueue]) << event.toStdString();
	};
	expectTold(u"QueueChanged"_s, "total"_L1, "total"_L1);
	expectTold(u"QueueChanged"_s, "sourceUuid"_L1, "sourceUuid"_L1);
	expectTold(u"CurrentTrackChanged"_s, "id"_L1, "currentId"_L1);
	const QJsonObject track = lastTold.value(u"CurrentTrackChanged"_s),
			  media = lastTold.value(u"MediaStateChanged"_s);
	const bool byTrack = track["revision"_L1].toInt() > media["revision"_L1].toInt();
	const QString state = queue["mediaState"_L1].toString().section(u'_', -1);
	const bool isLoading = state == u"OPENING" || state == u"BUFFERING"; // which is not told
	EXPECT_TRUE(isLoading || (track.isEmpty() && media.isEmpty()) ||
		    (byTrack ? track : media)["mediaState"_L1].toString().endsWith(
			    state == u"NONE" || state == u"ERROR" ? u"STOPPED"_s : state))
		<< state.toStdString();
	expectTold(u"EndModeChanged"_s, "endMode"_L1, "endMode"_L1);
	expectTold(u"StateChanged"_s, "endMode"_L1, "endMode"_L1);
	if (const QJsonObject deck = lastTold.value(u"StateChanged"_s); !deck.isEmpty()) {
		const int position = queue["currentIndex"_L1].toInt() + 1;
		EXPECT_EQ(deck["total"_L1], QString::number(queue["total"_L1].toInt()));
		EXPECT_EQ(deck["position"_L1], position ? QString::number(position) : QString());
		EXPECT_EQ(deck["source"_L1], queue["sourceName"_L1]);
		for (const QLatin1String flag : {"canUndo"_L1, "canBringBack"_L1, "skipFailed"_L1, "startAgain"_L1})
			EXPECT_EQ(deck[flag] == u"on"_s, queue[flag].toBool()) << flag.data();
	}
}

// What is left in its order by an edit, which names the other rows, and how many rows there are then. Nothing for any
// other step, and while the menu is open, which acts on rows of its own.
std::optional<std::pair<QStringList, qsizetype>> Story::whatStays(const Words &words)
{
	const QString &what = words[0] == u"ask" ? words[1] : words[0];
	if (!edits.contains(what) || what == u"burst" || what == u"key" || child<QMenu>("playlistMenu")->isVisible())
		return std::nullopt;
	if (what.endsWith(u"ndoRemove")) {
		if (before != afterRemoval || !plugin.request("GetQueue")["canUndo"_L1].toBool())
			return std::nullopt;
		return std::pair(beforeRemoval, beforeRemoval.size());
	}
	const QString text = QString::fromUtf8(json(words.join(u' ')));
	const bool ofSelected = what.startsWith(u"move") || what == u"remove";
	QStringList left = before;
	left.removeIf([&, this](const QString &id) {
		const auto number = static_cast<int>(before.indexOf(id));
		const bool selected = list()->item(number)->isSelected() && !list()->isRowHidden(number);
		const bool dragged = what == u"drag" && list()->item(number) == row(words[1]);
		return text.contains(id) || dragged || (ofSelected && selected);
	});
	if (what == u"remove" || what == u"RemoveTracks")
		return std::pair(left, left.size());
	qsizetype added = what == u"AddTracks" ? text.count(u"\"path\":"_s) : 0;
	for (const QString &file : what == u"drop" ? paths(words.mid(1)) : QStringList())
		added += QFile::exists(file);
	return std::pair(left, before.size() + added);
}
