/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Story.hpp"

#include <QDir>
#include <QRegularExpression>

#include "HeldClock.hpp"

using namespace Qt::StringLiterals;

namespace {

const QString mark = u"▶\uFE0E "_s;
constexpr char settingsOfS[] = R"({"loop": true, "shuffle": false, "playback_behavior": "pause_unpause"})";
constexpr char settingsOfT[] = R"({"loop": false, "shuffle": true, "playback_behavior": "stop_restart"})";

// Whose settings a source has: its own, the dock's, or these.
QString settingsWord(const QJsonObject &settings, const QString &source)
{
	const QString text = u"%1 %2 %3"_s.arg(settings["loop"_L1].toBool())
				     .arg(settings["shuffle"_L1].toBool())
				     .arg(settings["playback_behavior"_L1].toString());
	if (text == u"0 0 always_play")
		return u"managed"_s;
	return text == (source == u"S" ? u"1 0 pause_unpause"_s : u"0 1 stop_restart"_s) ? u"own"_s : text;
}

} // namespace

Story::Story()
{
	addPlayerSteps();
	addQueueSteps();
	addSourceSteps();
	addHostSteps();
	addDockSteps();
	addQuestions();
}

void Story::tell(const char *what, const char *playlist,
		 std::initializer_list<std::pair<const char *, const char *>> lines)
{
	SCOPED_TRACE(what);
	begin(QString::fromUtf8(playlist));
	for (const auto &[words, expectedState] : lines)
		EXPECT_EQ(step(QString::fromUtf8(words)).toStdString(), expectedState) << "after: " << words;
}

void Story::begin(const QString &playlist)
{
	const bool first = sources.isEmpty();
	for (const OBSSource &source : std::as_const(sources))
		obs_source_remove(source);
	sources.clear();
	obs_queue_task(OBS_TASK_DESTROY, [](void *) {}, nullptr, true);
	made.clear();
	usersQueue.clear();
	everUsers.clear();
	handMade = unseenEdit = false;
	sources[u"S"_s] = makeSource(u"S"_s, paths(playlist.split(u' ', Qt::SkipEmptyParts)), settingsOfS);
	sources[u"T"_s] = makeSource(u"T"_s, paths({u"X"_s, u"Y"_s}), settingsOfT);
	if (first) {
		// The polls fall on full quarters of a second, and on a full second those that look for edits.
		HeldClock::pass(static_cast<int>(1000 - HeldClock::nowMs() % 1000));
		show(sources[u"S"_s]);
		obs_post_load_modules();
		plugin.onEvent = [this] {
			if (!bound() || frontend->dock->objectName() != u"OBS-Reelhouse-content")
				return;
			expectSameEverywhere();
			const auto &[name, data] = plugin.events.back();
			const int index = data["dock"_L1].toInt() ? -1 : data["index"_L1].toInt(-1);
			EXPECT_TRUE(index < 0 || ids().value(index) == data["id"_L1]) << name.toStdString();
		};
		sceneRequests = std::make_unique<QSignalSpy>(frontend->dock, SIGNAL(sceneSwitchRequested(QString)));
	} else {
		for (const char *name : {"dropDocks", "close", "endMode", "search", "resume", "look"})
			run({QLatin1String(name)});
		choose(sources[u"S"_s]);
	}
	QCoreApplication::sendPostedEvents();
	revision = 0;
	plugin.events.clear();
	told.clear();
	lastTold.clear();
	frontend->saves = 0;
	frontend->log.clear();
}

void Story::run(const Words &words)
{
	const auto found = steps.constFind(words[0]);
	if (found == steps.cend())
		ADD_FAILURE() << "no such step: " << words[0].toStdString();
	else
		(*found)(words.mid(1));
}

QString Story::step(const QString &words)
{
	QString seen;
	for (const QString &one : words.split(u"; "_s)) {
		const Words parts = one.split(u' '), request = requested.split(u' ', Qt::SkipEmptyParts);
		answer.clear();
		remember(parts + request);
		std::future<QJsonObject> response;
		if (!request.isEmpty())
			response = std::async(std::launch::async, &WebSocketPlugin::request, &plugin,
					      request[1].toStdString(), json(request.mid(2).join(u' ')));
		std::thread libobs;
		if (racing && bound())
			libobs = std::thread([source = OBSSource(bound())] { videoTick(source); });
		run(parts);
		if (libobs.joinable())
			libobs.join();
		QCoreApplication::sendPostedEvents();
		while (response.valid() && response.wait_for(std::chrono::seconds(0)) != std::future_status::ready)
			QCoreApplication::sendPostedEvents();
		keepPromises(parts + request);
		seen = parts.constFirst().endsWith(u'?') ? answer : state();
	}
	return seen;
}

QString Story::state()
{
	QStringList rows;
	for (int i = 0; i < list()->count(); i++) {
		const QListWidgetItem *item = list()->item(i);
		QString text = named(rowPaths()[i]);
		if (item->isSelected())
			text = u'[' + text + u']';
		if (list()->isRowHidden(i))
			text = u'(' + text + u')';
		rows += item->text().startsWith(mark) ? u"▶"_s + text : text;
	}
	QStringList parts = {rows.isEmpty() ? u"∅"_s : rows.join(u' ')};
	if (OBSSource source = bound())
		parts += stateOf(source);
	else if (rows.isEmpty())
		parts = {u"no source"_s};
	if (!sceneRequests->isEmpty())
		parts += u"scene"_s;
	sceneRequests->clear();
	if (!answer.isEmpty())
		parts += answer;
	const auto *message = child<QLabel>("message");
	if (!message->isHidden())
		parts += named(message->text().section(u" · "_s, 0, 0));
	return parts.join(u" | "_s);
}

QStringList Story::stateOf(obs_source_t *source) const
{
	const QJsonObject record = recordOf(source), settings = settingsOf(source);
	const QString whose = settingsWord(settings, QString::fromUtf8(obs_source_get_name(source)));
	QString managed = record["managed"_L1].toBool() ? u"managed"_s : u"own"_s;
	if (managed != whose)
		managed += u" ("_s + whose + u')';
	const QStringList replaced = valuesIn(recordOf(source, "OBS-Reelhouse-replaced"), "tracks");
	QStringList parts = {(u"src "_s + named(valuesIn(settings, "playlist").join(u' '))).trimmed(), managed,
			     u"replaced "_s + (!tool()->isEnabled() ? u"-"_s
					       : replaced.isEmpty() ? u"∅"_s
								    : named(replaced.join(u' ')))};
	if (const int mode = record["endMode"_L1].toInt())
		parts += mode == 1 ? u"next"_s : u"repeat"_s;
	if (waits())
		parts += u"waits"_s;
	const QStringList done = takeDone(source);
	if (!done.isEmpty())
		parts += u"does "_s + done.join(u", "_s);
	return parts;
}

QString Story::path(const QString &name)
{
	if (name.contains(u"://"_s))
		return name;
	if (name.startsWith(u"file:"_s))
		return u"file:"_s + path(name.sliced(5));
	const QString file = folder.filePath(name);
	if (!made.contains(name)) {
		made.insert(name);
		QDir().mkpath(file.left(file.lastIndexOf(u'/')));
		if (!name.endsWith(u'/'))
			makeFile(name);
	}
	return name.endsWith(u'/') ? file.chopped(1) : file;
}

QStringList Story::paths(const QStringList &names)
{
	QStringList all;
	for (const QString &name : names)
		all += path(name);
	return all;
}

QString Story::named(QString paths) const
{
	return paths.remove(folder.path() + u'/');
}

QListWidgetItem *Story::row(const QString &name) const
{
	bool isNumber = false;
	const int number = name.toInt(&isNumber);
	if (isNumber)
		return list()->item(number);
	const QStringList names = named(rowPaths().join(u'\n')).split(u'\n');
	return list()->item(static_cast<int>(names.indexOf(name)));
}

QStringList Story::textsOf(int role) const
{
	QStringList all;
	for (int i = 0; i < list()->count(); i++)
		all += list()->item(i)->data(role).toString();
	return all;
}

obs_source_t *Story::bound() const
{
	const QByteArray uuid = child<QComboBox>("sourceSelector")->currentData().toString().toUtf8();
	OBSSourceAutoRelease source = obs_get_source_by_uuid(uuid.constData()); // one of the story's own
	return obs_source_removed(source) ? nullptr : source.Get();
}

// There is a track to play, and yet the play button waits.
bool Story::waits() const
{
	return bound() && !recordOf(bound())["current"_L1].toString().isEmpty() &&
	       !child<QWidget>("playPause")->isEnabled();
}

QByteArray Story::json(QString text)
{
	static const QRegularExpression reference(u"[@#]([\\w./]+)"_s);
	text.replace(u'\'', u'"').replace(u"LONG"_s, QString(40'000, u'ä')); // of 80,000 bytes
	if (text.isEmpty())
		return "{}";
	for (auto match = reference.match(text); match.hasMatch(); match = reference.match(text)) {
		const QListWidgetItem *item = text[match.capturedStart()] == u'#' ? row(match.captured(1)) : nullptr;
		text.replace(match.capturedStart(), match.capturedLength(),
			     item ? item->data(Qt::UserRole).toString() : path(match.captured(1)));
	}
	return text.toUtf8();
}
