/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Story.hpp"

#include <QAction>
#include <QContextMenuEvent>
#include <QJsonDocument>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QSlider>
#include <QToolButton>

#include "HeldClock.hpp"

using namespace Qt::StringLiterals;

namespace {

Qt::Key keyOf(const QString &name)
{
	return QKeySequence(name)[0].key();
}

} // namespace

void Story::on(const char *name, const std::function<void(const Words &)> &run)
{
	steps[QLatin1String(name)] = run;
}

void Story::addUserSteps()
{
	for (const char *name : {"playPause", "stop", "previous", "next", "refresh"})
		on(name, [this, name](const Words &) { child<QToolButton>(name)->click(); });
	for (const char *name : {"moveUp", "moveDown", "moveTop", "moveBottom", "remove", "undoRemove", "locateCurrent",
				 "openFolder", "restorePlaylist"})
		on(name, [this, name](const Words &) { action(name)->trigger(); });
	on("bringBack", [this](const Words &) { tool()->trigger(); });
	on("play", [this](const Words &words) { play(row(words[0])); });
	on("start", [this](const Words &words) { start(row(words[0])); });
	on("endMode", [this](const Words &words) { chooseIn("endMode", words[0]); });
	on("choose", [this](const Words &words) { chooseIn("sourceSelector", words.value(0)); });
	on("select", [this](const Words &words) { select(words); });
	on("search", [this](const Words &words) { search(words.join(u' ')); });
	on("focus", [this](const Words &words) { child<QWidget>(words[0].toLatin1())->setFocus(); });
	on("key", [this](const Words &words) { pressKey(words[0]); });
	on("slide", [this](const Words &words) { slide(words[0].toInt()); });
	on("hold", [this](const Words &words) { QTest::keyPress(child<QSlider>("seek"), keyOf(words[0])); });
	on("lift", [this](const Words &words) { QTest::keyRelease(child<QSlider>("seek"), keyOf(words[0])); });
	on("release", [this](const Words &) { release(); });
	on("time", [this](const Words &) { QTest::mouseClick(child<QLabel>("playbackTime"), Qt::LeftButton); });
	on("menu", [this](const Words &words) { openMenu(row(words.value(0))); });
	on("close", [this](const Words &) { child<QMenu>("playlistMenu")->hide(); });
	on("drop", [this](const Words &words) { drop(paths(words)); });
	on("drag", [this](const Words &words) { drag(list()->row(row(words[0])), words[1].toInt()); });
	on("burst", [this](const Words &words) { burst(words[0].toInt()); });
	on("ask", [this](const Words &words) { ask(words[0], words.mid(1)); });
	edits = u"drop drag burst remove undoRemove moveUp moveDown moveTop moveBottom AddTracks RemoveTracks UndoRemove "
		"MoveTrack key"_s.split(u' ');
}

void Story::addOthersSteps()
{
	on("video", [this](const Words &words) { workOff(words.isEmpty() ? bound() : sources[words[0]].Get()); });
	on("media", [this](const Words &words) { setMedia(words); });
	on("own", [this](const Words &words) { control(words[0]); });
	on("poll", [this](const Words &) { tick(); });
	on("look", [this](const Words &) { look(); });
	on("wait", [this](const Words &words) { HeldClock::pass(words[0].toInt()); });
	on("edit", [this](const Words &words) { setPlaylist(sources[words[0]], paths(words.mid(1))); });
	on("elsewhere", [this](const Words &words) { editElsewhere(words); });
	on("gone", [this](const Words &words) { QFile::remove(path(words[0])); });
	on("back", [this](const Words &words) { makeFile(words[0]); });
	on("suspend", [this](const Words &) { frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING); });
	on("resume", [this](const Words &) { frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED); });
	on("restart", [this](const Words &) { changeCollection(); });
	on("record", [this](const Words &words) { putRecord("OBS-Reelhouse", words.join(u' ')); });
	on("aside", [this](const Words &words) { putRecord("OBS-Reelhouse-replaced", words.join(u' ')); });
}

void Story::addQuestions()
{
	on("offers?", [this](const Words &) { answer = offered(); });
	on("transport?", [this](const Words &) { answer = transport(); });
	on("focus?", [this](const Words &) { answer = focused(); });
	on("saves?", [this](const Words &) { answer = QString::number(std::exchange(frontend->saves, 0)); });
	on("told?", [this](const Words &) { answer = heard(); });
	on("ask?", [this](const Words &words) { answer = askFor(words[0], words[1], words.mid(2)); });
}

void Story::play(QListWidgetItem *item)
{
	if (item)
		Q_EMIT list()->itemDoubleClicked(item);
}

// Plays a track until the poll takes it for playing, so that its end counts.
void Story::start(QListWidgetItem *item)
{
	play(item);
	workOff(bound());
	QCoreApplication::sendPostedEvents();
	setMedia({u"playing"_s, u"500"_s, u"4000"_s});
	look();
}

// The entry whose text ends like that; without one, and without a text, the first.
void Story::chooseIn(const char *name, const QString &text)
{
	auto *selector = child<QComboBox>(name);
	if (selector->isEnabled())
		selector->setCurrentIndex(std::max(selector->findText(text, Qt::MatchEndsWith), 0));
}

void Story::select(const Words &names)
{
	list()->clearSelection();
	for (const QString &name : names) {
		if (QListWidgetItem *item = row(name))
			list()->setCurrentItem(item, QItemSelectionModel::Select);
	}
}

void Story::pressKey(const QString &keys)
{
	QTest::keySequence(frontend->dock->focusWidget(), QKeySequence(keys));
}

void Story::slide(int value)
{
	auto *slider = child<QSlider>("seek");
	slider->setSliderDown(slider->isEnabled());
	if (slider->isSliderDown())
		slider->setSliderPosition(value);
}

// Which assistive technology does without a press before.
void Story::release()
{
	auto *slider = child<QSlider>("seek");
	if (slider->isSliderDown())
		slider->setSliderDown(false);
	else
		Q_EMIT slider->sliderReleased();
}

void Story::drag(int from, int to)
{
	if (list()->dragEnabled() && from >= 0 && from != to && to < list()->count())
		list()->model()->moveRow({}, from, {}, to > from ? to + 1 : to);
}

// Changes a tenth of a second apart, for so long.
void Story::burst(int length)
{
	for (int ms = 0; ms < length; ms += 100) {
		action(ms % 200 ? "moveUp" : "moveDown")->trigger();
		HeldClock::pass(100);
	}
}

void Story::workOff(obs_source_t *source)
{
	if (source)
		std::thread([source] { videoTick(source); }).join();
}

void Story::setMedia(const Words &words)
{
	static const QHash<QString, obs_media_state> states = {
		{u"playing"_s, OBS_MEDIA_STATE_PLAYING}, {u"paused"_s, OBS_MEDIA_STATE_PAUSED},
		{u"ended"_s, OBS_MEDIA_STATE_ENDED},     {u"stopped"_s, OBS_MEDIA_STATE_STOPPED},
		{u"error"_s, OBS_MEDIA_STATE_ERROR},     {u"buffering"_s, OBS_MEDIA_STATE_BUFFERING}};
	if (obs_source_t *source = bound())
		media(source) = {states.value(words[0]), words.value(1).toInt(), words.value(2).toInt()};
}

void Story::control(const QString &what)
{
	if (obs_source_t *source = bound())
		(what == u"next"   ? obs_source_media_next
		 : what == u"stop" ? obs_source_media_stop
				   : obs_source_media_previous)(source);
}

void Story::editElsewhere(const Words &names)
{
	if (obs_source_t *source = bound())
		setPlaylist(source, paths(names));
	look();
}

void Story::tick()
{
	HeldClock::pass(static_cast<int>(250 - HeldClock::nowMs() % 250));
}

// The poll looks for edits and sources once a second.
void Story::look()
{
	for (int i = 0; i < 4; i++)
		tick();
}

void Story::drop(const QStringList &files)
{
	QMimeData data;
	QList<QUrl> urls;
	for (const QString &file : files)
		urls += QUrl::fromLocalFile(file);
	data.setUrls(urls);
	QDragEnterEvent enter({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, {});
	QApplication::sendEvent(list()->viewport(), &enter);
	QDropEvent dropped({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, {});
	QApplication::sendEvent(list()->viewport(), &dropped);
}

void Story::openMenu(const QListWidgetItem *on)
{
	const QRect view = list()->viewport()->rect();
	const QPoint position = on ? list()->visualItemRect(on).center() : view.bottomLeft() - QPoint(-5, 2);
	QContextMenuEvent event(QContextMenuEvent::Mouse, position, list()->viewport()->mapToGlobal(position));
	QApplication::sendEvent(list()->viewport(), &event);
}

void Story::ask(const QString &name, const Words &data)
{
	const QJsonObject response = request(name.toStdString(), json(data.join(u' ')));
	answer = response["error"_L1].toString();
	const QString sentence = response["comment"_L1].toString();
	EXPECT_EQ(answer.isEmpty(), sentence.isEmpty());
	EXPECT_FALSE(sentence.startsWith(u"Remote") || sentence.contains(u"%1")) << sentence.toStdString();
}

// One value of the answer, or all.
QString Story::askFor(const QString &key, const QString &name, const Words &data)
{
	QJsonObject response = request(name.toStdString(), json(data.join(u' ')));
	response.remove("revision"_L1);
	if (key != u"all")
		response = {{key, response[key]}};
	QString text = named(QString::fromUtf8(QJsonDocument(response).toJson(QJsonDocument::Compact)));
	for (int i = 0; i < list()->count(); i++)
		text.replace(idAt(i), u'#' + named(pathAt(i)));
	for (auto source = sources.cbegin(); source != sources.cend(); ++source)
		text.replace(uuidOf(*source), source.key());
	return text.replace(u'"', u'\'');
}

void Story::changeCollection()
{
	QMap<QString, OBSData> saved;
	for (auto source = sources.begin(); source != sources.end(); ++source)
		saved[source.key()] = OBSDataAutoRelease(obs_save_source(*source)).Get();
	frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING);
	for (OBSSource &source : sources) {
		const OBSWeakSource weak = OBSGetWeakRef(source);
		obs_source_remove(source);
		source = nullptr;
		obs_queue_task(OBS_TASK_DESTROY, [](void *) {}, nullptr, true);
		EXPECT_TRUE(obs_weak_source_expired(weak)) << "somebody still holds the source";
	}
	frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CLEANUP);
	for (auto source = sources.begin(); source != sources.end(); ++source)
		*source = OBSSourceAutoRelease(obs_load_source(saved[source.key()])).Get();
	frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED);
}

void Story::putRecord(const char *key, const QString &text)
{
	OBSDataAutoRelease settings = obs_source_get_private_settings(bound());
	OBSDataAutoRelease record = obs_data_create_from_json(json(text).constData());
	obs_data_set_obj(settings, key, record);
	handMade = true;
}

// What the play button says, and which controls and entries of the menu are not offered; of the menu, those that a story
// can choose.
QString Story::offered() const
{
	QStringList names = {child<QToolButton>("playPause")->accessibleName() + u", not"_s};
	for (const char *name : {"playPause", "stop", "previous", "next", "seek", "addFiles", "endMode"}) {
		if (!child<QWidget>(name)->isEnabled())
			names += QLatin1String(name);
	}
	for (const QAction *entry : child<QMenu>("playlistMenu")->actions()) {
		if (!entry->isEnabled() && steps.contains(entry->objectName()))
			names += entry->objectName();
	}
	return names.join(u' ');
}

QString Story::transport() const
{
	const auto *time = child<QLabel>("playbackTime");
	return u"%1 %2 (%3)"_s.arg(child<QSlider>("seek")->value()).arg(time->text(), time->accessibleDescription());
}

QString Story::focused() const
{
	const QWidget *widget = frontend->dock->focusWidget();
	return widget ? widget->objectName() : u"nobody"_s;
}

QString Story::heard()
{
	QStringList lines;
	for (const auto &[name, data] : std::exchange(told, {})) {
		QString line = QString(name).remove(u"Changed"_s);
		for (const char *key : {"total", "label", "endMode", "reason"})
			line += u' ' + data[QLatin1String(key)].toVariant().toString();
		if (name.startsWith(u"Media"))
			line += data["mediaState"_L1].toString().section(u'_', -1).toLower();
		lines += line.simplified();
	}
	return lines.isEmpty() ? u"nothing"_s : lines.join(u", "_s);
}
