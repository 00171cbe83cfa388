/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Story.hpp"

#include <QContextMenuEvent>
#include <QDir>
#include <QJsonDocument>
#include <QMimeData>
#include <QScrollBar>
#include <QSlider>
#include <QToolButton>
#include <QWheelEvent>

#include <algorithm>

#include "HeldClock.hpp"

using namespace Qt::StringLiterals;

namespace {

QByteArray wave(const QString &title, const QString &artist, int ms)
{
	const auto chunk = [](const char *name, const QByteArray &content) {
		const auto size = static_cast<quint32>(content.size());
		QByteArray bytes(name);
		for (int shift = 0; shift < 32; shift += 8)
			bytes += static_cast<char>(size >> shift);
		return bytes + content + QByteArray(size % 2, '\0');
	};
	// One channel of 8,000 bytes a second.
	const QByteArray format("\1\0\1\0\x40\x1f\0\0\x40\x1f\0\0\1\0\x08\0", 16);
	return chunk("RIFF",
		     "WAVE" + chunk("fmt ", format) + chunk("data", QByteArray(ms * 8, '\x80')) +
			     chunk("LIST", "INFO" + chunk("INAM", title.toUtf8()) + chunk("IART", artist.toUtf8())));
}

QObject *dragSource = nullptr; // the widget whose rows are dragged

} // namespace

// The module finds this one before Qt's, which knows only drags by hand.
QObject *QDropEvent::source() const
{
	return dragSource;
}

void Story::on(const char *name, const std::function<void(const Words &)> &run)
{
	steps[QLatin1String(name)] = run;
}

void Story::addPlayerSteps()
{
	for (const char *name : {"playPause", "stop", "previous", "next", "refresh"})
		on(name, [this, name](const Words &) { child<QToolButton>(name)->click(); });
	// The entry whose text ends like that; without one, and without a text, the first.
	for (const auto &[name, selector] : {std::pair("endMode", "endMode"), {"choose", "sourceSelector"}})
		on(name, [box = selector, this](const Words &words) {
			const int index = child<QComboBox>(box)->findText(words.value(0), Qt::MatchEndsWith);
			if (!child<QWidget>(box)->isEnabled())
				return;
			child<QComboBox>(box)->setCurrentIndex(std::max(index, 0));
			Q_EMIT child<QComboBox>(box)->activated(std::max(index, 0));
		});
	on("play", [this](const Words &words) {
		if (QListWidgetItem *item = row(words[0]))
			Q_EMIT list()->itemDoubleClicked(item);
	});
	// Plays a track until the poll takes it for playing, so that its end counts.
	on("start", [this](const Words &words) {
		for (const QString &one : {u"play "_s + words[0], u"video"_s, u"media playing 500 4000"_s, u"look"_s}) {
			run(one.split(u' '));
			QCoreApplication::sendPostedEvents();
		}
	});
	on("focus", [this](const Words &words) { child<QWidget>(words[0].toLatin1())->setFocus(); });
	on("key", [this](const Words &words) { QTest::keySequence(frontend->dock->focusWidget(), words[0]); });
	for (const auto &[name, action] : {std::pair("hold", QTest::Press), {"lift", QTest::Release}})
		on(name, [key = action, this](const Words &words) {
			QTest::keyEvent(key, child<QSlider>("seek"), QKeySequence(words[0])[0].key());
		});
	// As X11 tells of a key that is held down; Qt does not always know the release for what it is.
	on("repeat", [this](const Words &words) {
		for (const bool isKnown : {true, false, true}) {
			for (const QEvent::Type type : {QEvent::KeyRelease, QEvent::KeyPress}) {
				const bool repeats = isKnown || type == QEvent::KeyPress;
				QKeyEvent event(type, QKeySequence(words[0])[0].key(), {}, {}, repeats);
				event.setTimestamp(9);
				QApplication::sendEvent(frontend->dock->focusWidget(), &event);
			}
		}
	});
	on("slide", [this](const Words &words) {
		auto *slider = child<QSlider>("seek");
		slider->setSliderDown(slider->isEnabled());
		if (slider->isSliderDown())
			slider->setSliderPosition(words[0].toInt());
	});
	// Which assistive technology does without a press before.
	on("release", [this](const Words &) {
		auto *slider = child<QSlider>("seek");
		if (slider->isSliderDown())
			slider->setSliderDown(false);
		else
			Q_EMIT slider->sliderReleased();
	});
	on("wheel", [this](const Words &words) {
		QWheelEvent event({9, 9}, {9, 9}, {}, {0, -120}, {}, {}, Qt::NoScrollPhase, false);
		QApplication::sendEvent(child<QWidget>(words[0].toLatin1()), &event);
	});
	on("time", [this](const Words &) { QTest::mouseClick(child<QLabel>("playbackTime"), Qt::LeftButton); });
}

void Story::addQueueSteps()
{
	for (const char *name :
	     {"moveUp", "moveDown", "moveTop", "moveBottom", "remove", "undoRemove", "locateCurrent", "openFolder",
	      "restorePlaylist", "skipFailed", "startAgain", "shuffleQueue", "holdPicture"})
		on(name, [this, name](const Words &) { action(name)->trigger(); });
	on("bringBack", [this](const Words &) { tool()->trigger(); });
	on("select", [this](const Words &words) {
		list()->clearSelection();
		for (const QString &name : words)
			list()->setCurrentItem(row(name), QItemSelectionModel::Select);
	});
	on("scroll", [this](const Words &words) { list()->verticalScrollBar()->setValue(words[0].toInt()); });
	on("search", [this](const Words &words) { search(words.join(u' ')); });
	on("menu", [this](const Words &words) {
		const QListWidgetItem *item = row(words.value(0));
		QWidget *view = list()->viewport();
		// The keyboard's place may be outside of the view.
		const QPoint at = item                         ? list()->visualItemRect(item).center()
				  : words.value(0) == u"key"_s ? QPoint(-1, -1)
							       : view->rect().bottomLeft() - QPoint(-5, 2);
		QContextMenuEvent event(QContextMenuEvent::Mouse, at, view->mapToGlobal(at));
		QApplication::sendEvent(view, &event);
		EXPECT_TRUE(view->rect().contains(view->mapFromGlobal(child<QMenu>("playlistMenu")->pos())));
	});
	on("close", [this](const Words &) { child<QMenu>("playlistMenu")->hide(); });
	on("drop", [this](const Words &words) {
		QList<QUrl> urls;
		for (const QString &file : paths(words))
			urls += QUrl::fromLocalFile(file);
		drop(urls);
	});
	on("drag", [this](const Words &words) {
		const int from = list()->row(row(words[0])), to = words[1].toInt();
		if (list()->dragEnabled() && from >= 0 && from != to && to < list()->count())
			list()->model()->moveRow({}, from, {}, to > from ? to + 1 : to);
	});
	// Drops the selected rows on the upper or the lower half of another one.
	on("moveOnto", [this](const Words &words) {
		const QRect rect = list()->visualItemRect(row(words[0]));
		const QPoint at(5, words[1] == u"upper" ? rect.top() + 1 : rect.bottom() - 1);
		const std::unique_ptr<QMimeData> data(
			list()->model()->mimeData(list()->selectionModel()->selectedIndexes()));
		QDragEnterEvent enter(at, Qt::MoveAction, data.get(), Qt::LeftButton, {});
		QDropEvent event(at, Qt::MoveAction, data.get(), Qt::LeftButton, {});
		dragSource = list();
		QApplication::sendEvent(list()->viewport(), &enter);
		QApplication::sendEvent(list()->viewport(), &event);
		dragSource = nullptr;
	});
	// Changes a tenth of a second apart, for so long.
	on("burst", [this](const Words &words) {
		for (int ms = 0; ms < words[0].toInt(); ms += 100) {
			action(ms % 200 ? "moveUp" : "moveDown")->trigger();
			HeldClock::pass(100);
		}
	});
	on("ask", [this](const Words &words) {
		const QJsonObject response = ask(words[0], words.mid(1));
		answer = response["error"_L1].toString();
		const QString sentence = response["comment"_L1].toString();
		if (!sentence.isEmpty() && !comments.contains(sentence))
			comments += sentence;
		EXPECT_EQ(answer.isEmpty(), sentence.isEmpty());
		EXPECT_FALSE(sentence.startsWith(u"Remote") || sentence.contains(u"%1")) << sentence.toStdString();
	});
}

Qt::DropAction Story::drop(const QList<QUrl> &urls, Qt::DropActions actions)
{
	QMimeData data;
	data.setUrls(urls);
	QDragEnterEvent enter({5, 5}, actions, &data, Qt::LeftButton, {});
	QApplication::sendEvent(list()->viewport(), &enter);
	QDropEvent event({5, 5}, actions, &data, Qt::LeftButton, Qt::ShiftModifier); // which proposes a move
	if (enter.isAccepted())
		QApplication::sendEvent(list()->viewport(), &event);
	return enter.isAccepted() && event.isAccepted() ? event.dropAction() : Qt::IgnoreAction;
}

void Story::addSourceSteps()
{
	on("video", [this](const Words &words) {
		if (obs_source_t *source = words.isEmpty() ? bound() : sources[words[0]].Get())
			videoTick(source);
	});
	on("media", [this](const Words &words) {
		const QStringList states = u"none playing opening buffering paused stopped ended error"_s.split(u' ');
		const auto state = static_cast<obs_media_state>(states.indexOf(words[0]));
		if (obs_source_t *source = bound())
			media(source) = {state, words.value(1).toInt(), words.value(2).toInt(),
					 words.value(3).toUInt()};
	});
	on("lags", [](const Words &) { laggedFrames++; });
	on("ends", [this](const Words &words) { endMedia(words.isEmpty() ? bound() : sources[words[0]].Get()); });
	on("endsSlowly", [this](const Words &) { endMediaSlowly(bound()); });
	on("leaves", [this](const Words &) { leave(); });
	// Does what is said after the source has got its new track and before the dock hears of that.
	on("midway", [this](const Words &words) {
		videoTick(bound());
		run(words);
	});
	on("own", [this](const Words &words) {
		if (obs_source_t *source = bound())
			(words[0] == u"next"   ? obs_source_media_next
			 : words[0] == u"stop" ? obs_source_media_stop
					       : obs_source_media_previous)(source);
	});
	on("edit", [this](const Words &words) { setPlaylist(sources[words[0]], paths(words.mid(1))); });
	on("elsewhere", [this](const Words &words) {
		if (obs_source_t *source = bound())
			setPlaylist(source, paths(words));
		run({u"look"_s});
	});
	on("onAir", [this](const Words &) { obs_source_inc_active(bound()); });
	on("rename", [this](const Words &words) { obs_source_set_name(sources[words[0]], words[1].toUtf8()); });
	on("delete", [this](const Words &words) { obs_source_remove(sources[words[0]]); });
	// Another thread removes the source in the middle of the next change of the list.
	on("vanish", [this](const Words &) {
		const auto remove = [source = bound()] {
			std::thread([source] { obs_source_remove(source); }).join();
		};
		QObject::connect(list()->model(), &QAbstractItemModel::rowsInserted, list(), remove,
				 Qt::SingleShotConnection);
	});
	on("gone", [this](const Words &words) {
		if (words[0].endsWith(u'/'))
			QDir(path(words[0])).removeRecursively();
		else
			QFile::remove(path(words[0]));
	});
	on("back", [this](const Words &words) { makeFile(words[0]); });
	// A sound file of so many milliseconds, with a title, or - for none, and an artist.
	on("song", [this](const Words &words) {
		made.insert(words[0]);
		makeFile(words[0], wave(QString(words[1]).remove(u'-'), words[2], words[3].toInt()));
	});
	on("lengths", [this](const Words &) {
		EXPECT_TRUE(waitFor([this] { return plugin.request("GetQueue")["unknownLengths"_L1] == 0; }));
	});
	// Waits until these titles and artists have been told.
	on("read", [this](const Words &words) {
		EXPECT_TRUE(waitFor([&] {
			return std::ranges::all_of(words, [this](const QString &word) {
				return std::ranges::any_of(plugin.events, [&word](const auto &event) {
					const QJsonObject &data = event.second;
					return data["title"_L1] == word || data["nextTitle"_L1] == word ||
					       data["artist"_L1] == word;
				});
			});
		}));
	});
	for (const auto &[name, where] : {std::pair("record", "OBS-Reelhouse"),
					  {"replaced", "OBS-Reelhouse-replaced"},
					  {"options", "OBS-Reelhouse-options"}})
		on(name, [key = where, this](const Words &words) {
			OBSDataAutoRelease settings = obs_source_get_private_settings(bound());
			OBSDataAutoRelease record = obs_data_create_from_json(json(words.join(u' ')).constData());
			obs_data_set_obj(settings, key, record);
			handMade = true;
		});
}

void Story::addHostSteps()
{
	// The poll looks for edits and sources once a second.
	for (const auto &[name, count] : {std::pair("poll", 1), {"look", 4}})
		on(name, [polls = count](const Words &) {
			for (int i = 0; i < polls; i++)
				HeldClock::pass(250);
		});
	// All of these before anything that they have posted.
	for (const char *name : {"atOnce", "atOnce?"})
		on(name, [this](const Words &words) {
			for (const QString &one : words.join(u' ').split(u" + "_s))
				run(one.split(u' '));
		});
	on("wait", [](const Words &words) { HeldClock::pass(words[0].toInt()); });
	on("suspend", [this](const Words &) { frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING); });
	on("resume", [this](const Words &) { frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED); });
	// A source may be away for a while, as while another collection is loaded.
	on("save", [this](const Words &words) {
		saved[words[0]] = OBSDataAutoRelease(obs_save_source(sources[words[0]])).Get();
	});
	on("leave", [this](const Words &words) {
		const OBSWeakSource weak = OBSGetWeakRef(sources[words[0]]);
		obs_source_remove(sources[words[0]]);
		sources[words[0]] = nullptr;
		obs_queue_task(OBS_TASK_DESTROY, [](void *) {}, nullptr, true);
		EXPECT_TRUE(bound() || obs_weak_source_expired(weak)) << "somebody still holds the source";
	});
	on("come", [this](const Words &words) {
		sources[words[0]] = OBSSourceAutoRelease(obs_load_source(saved[words[0]])).Get();
	});
	// Another scene collection is loaded, which has these sources.
	on("collection", [this](const Words &words) {
		for (const QString &source : sources.keys())
			if (sources[source])
				run({u"save"_s, source});
		run({u"suspend"_s});
		for (const QString &source : sources.keys())
			if (sources[source])
				run({u"leave"_s, source});
		for (const QString &source : words)
			run({u"come"_s, source});
		run({u"resume"_s});
	});
	on("restart", [this](const Words &) {
		for (const QString &source : sources.keys())
			run({u"save"_s, source});
		run({u"suspend"_s});
		for (const QString &source : sources.keys())
			run({u"leave"_s, source});
		frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CLEANUP);
		for (const QString &source : sources.keys())
			run({u"come"_s, source});
		run({u"resume"_s});
	});
}

bool Story::isElsewhere(obs_source_t *source) const
{
	return std::ranges::any_of(frontend->others, [source](const QDockWidget *frame) {
		return frame->findChild<QComboBox *>(u"sourceSelector"_s)->currentData() == uuidOf(source);
	});
}

// Of a dock: its title, the entries of its selector, the current one in [] and those that cannot be chosen in (), and its
// rows.
static QString describe(const QWidget *dock, const QString &title)
{
	const auto *selector = dock->findChild<QComboBox *>(u"sourceSelector"_s);
	QStringList entries, rows;
	for (int i = 1; i < selector->count(); i++) {
		const bool free = selector->model()->flags(selector->model()->index(i, 0)).testFlag(Qt::ItemIsEnabled);
		const QString text = free ? selector->itemText(i) : u'(' + selector->itemText(i) + u')';
		entries += i == selector->currentIndex() ? u'[' + text + u']' : text;
	}
	const auto *list = dock->findChild<QListWidget *>(u"playlist"_s);
	for (int i = 0; i < list->count(); i++)
		rows += list->item(i)->text().replace(u"▶\uFE0E "_s, u"▶"_s);
	return title + u": "_s + entries.join(u' ') + (rows.isEmpty() ? QString() : u" | "_s + rows.join(u' '));
}

void Story::addDockSteps()
{
	on("addDock",
	   [this](const Words &) { frontend->toolsMenu.findChild<QAction *>(u"addAnotherDock"_s)->trigger(); });
	on("dropDock", [this](const Words &words) {
		const qsizetype position = frontend->others.keys().indexOf(words.value(0, u"2"_s).toInt());
		if (position < 0)
			return;
		toolsEntry()->menu()->actions()[position + 1]->menu()->actions().constLast()->trigger();
		HeldClock::pass(1);
	});
	// The frontend ends it with its window.
	on("loseDock", [this](const Words &) { delete frontend->others.take(2).data(); });
	on("dropDocks", [this](const Words &) {
		for (const int number : frontend->others.keys())
			run({u"dropDock"_s, QString::number(number)});
	});
	// The same in a further dock.
	for (const char *number : {"2:", "3:", "4:"})
		on(number, [this, number](const Words &words) {
			if (QDockWidget *frame = frontend->others.value(number[0] - '0')) {
				const QPointer<QWidget> first = std::exchange(frontend->dock, frame->widget());
				run(words);
				frontend->dock = first;
			}
		});
	on("docks?", [this](const Words &) {
		for (int answers = 0; answers < 3; answers++) // of the docks to each other
			QCoreApplication::sendPostedEvents();
		QStringList docks = {describe(frontend->dock, u"1"_s)};
		for (const QDockWidget *frame : std::as_const(frontend->others)) {
			docks += describe(frame, frame->windowTitle().remove(u"Reelhouse "_s));
			EXPECT_EQ(frame->toggleViewAction()->text(), frame->windowTitle().replace(u"&"_s, u"&&"_s));
			EXPECT_TRUE(frame->isVisible() && frame->width() >= 440 && frame->height() >= 360);
			for (const QDockWidget *other : std::as_const(frontend->others))
				EXPECT_TRUE(other == frame || other->pos() != frame->pos()) << "one hides the other";
		}
		answer = docks.join(u"; "_s);
	});
	on("toolsMenu?", [this](const Words &) {
		QStringList names;
		for (const QAction *entry : toolsEntry()->menu()->actions())
			names += entry->isEnabled() ? entry->text() : u'-' + entry->text();
		answer = toolsEntry()->text() + u": "_s + names.join(u", "_s);
	});
}

void Story::addQuestions()
{
	// What the play button says, and which controls and entries of the menu are not offered.
	on("offers?", [this](const Words &) {
		QStringList names = {child<QToolButton>("playPause")->accessibleName() + u", not"_s};
		for (const char *name : {"playPause", "stop", "previous", "next", "seek", "addFiles", "endMode"}) {
			if (!child<QWidget>(name)->isEnabled())
				names += QLatin1String(name);
		}
		for (const QAction *entry : child<QMenu>("playlistMenu")->actions()) {
			if (!entry->isEnabled() && steps.contains(entry->objectName()))
				names += entry->objectName();
		}
		answer = names.join(u' ');
	});
	on("transport?", [this](const Words &) {
		const auto *time = child<QLabel>("playbackTime");
		answer = u"%1 %2 (%3)"_s.arg(child<QSlider>("seek")->value())
				 .arg(time->text(), time->accessibleDescription());
	});
	on("focus?", [this](const Words &) {
		const QWidget *widget = frontend->dock->focusWidget();
		answer = widget ? widget->objectName() : u"nobody"_s;
	});
	// How often sound that was not heard yet has been dropped.
	on("drops?", [this](const Words &) { answer = QString::number(takeDrops(bound())); });
	on("top?", [this](const Words &) { answer = named(list()->itemAt(0, 0)->data(Qt::UserRole + 1).toString()); });
	// What the list says where it shows no row, which assistive technology reads, too.
	on("empty?", [this](const Words &) { answer = list()->accessibleDescription().section(u'\n', 0, 0); });
	// Every name and text that does not change.
	on("names?", [this](const Words &) {
		QStringList names;
		for (const QWidget *widget : frontend->dock->findChildren<QWidget *>()) {
			const QString icon = widget->property("class").toString().remove(u"icon"_s);
			EXPECT_EQ(icon.isEmpty() || LIBOBS_API_VER >= MAKE_SEMANTIC_VERSION(31, 0, 0),
				  widget->property("themeID").toString().isEmpty());
			if (!widget->accessibleName().isEmpty() && widget->objectName() != u"playbackTime")
				names += (widget->objectName() + u": "_s + widget->accessibleName() + u' ' +
					  widget->accessibleDescription() + icon)
						 .trimmed();
		}
		for (const QAction *entry : child<QMenu>("playlistMenu")->actions())
			names += entry->text();
		for (int i = 0; i < 3; i++)
			names += child<QComboBox>("endMode")->itemText(i);
		names.removeAll(QString());
		answer = names.join(u", "_s);
	});
	// Whether the last picture may be held, ever since the last such question.
	on("hold?", [this](const Words &) {
		answer = frontend->mayHold.join(u' ');
		frontend->mayHold = frontend->mayHold.last(std::min<qsizetype>(frontend->mayHold.size(), 1));
	});
	on("log?", [this](const Words &) { answer = named(std::exchange(frontend->log, {}).join(u", "_s)); });
	// What the Tools menu does not offer, and what it has checked.
	on("tools?", [this](const Words &) {
		QStringList names;
		for (const QAction *entry : child<QMenu>("toolsMenu")->actions()) {
			if (!entry->isEnabled() || entry->isChecked())
				names += (entry->isEnabled() ? u'+' : u'-') + entry->objectName();
		}
		answer = names.join(u' ');
	});
	on("saves?", [this](const Words &) { answer = QString::number(std::exchange(frontend->saves, 0)); });
	on("told?", [this](const Words &) {
		QStringList lines;
		for (const auto &[name, data] : std::exchange(told, {})) {
			QString line = QString(name).remove(u"Changed"_s);
			for (const char *key : {"total", "label", "endMode", "reason", "skipFailed", "startAgain",
						"count", "durationMs", "found", "missing"})
				line += u' ' + data[QLatin1String(key)].toVariant().toString();
			if (name.startsWith(u"Media"))
				line += data["mediaState"_L1].toString().section(u'_', -1).toLower();
			lines += line.simplified();
		}
		answer = lines.isEmpty() ? u"nothing"_s : lines.join(u", "_s);
	});
	// When a file that has gone is told of in the queue depends on its disk.
	on("failures?", [this](const Words &) {
		QStringList lines;
		for (const auto &[name, data] : std::exchange(told, {})) {
			if (name == u"TrackFailed")
				lines += data["label"_L1].toString() + u' ' + data["reason"_L1].toString();
		}
		answer = lines.join(u", "_s);
	});
	// All sentences of refusals, ever since the last such question.
	on("comments?", [this](const Words &) { answer = std::exchange(comments, {}).join(u"; "_s); });
	on("title?", [this](const Words &) {
		const QJsonObject &track = lastTold[u"CurrentTrackChanged"_s];
		answer = track["artist"_L1].toString() + u" – "_s + track["title"_L1].toString();
	});
	// What a button of a deck shows, which sees the last event alone.
	on("deck?", [this](const Words &more) {
		if (last != u"StateChanged") {
			answer = u"dark"_s;
			return;
		}
		QStringList texts;
		for (const char *key : {"mediaState", "title", "position", "total", "nextTitle", "trackRemaining",
					"showRemaining", "failed"})
			texts += lastTold[last][QLatin1String(key)].toString();
		for (const QString &key : more)
			texts += lastTold[last][key].toString();
		answer = texts.join(u'|');
	});
	on("says?", [this](const Words &words) { answer = row(words[0])->data(Qt::AccessibleTextRole).toString(); });
	on("options?", [this](const Words &) {
		const QJsonDocument options(recordOf(bound(), "OBS-Reelhouse-options"));
		answer = QString::fromUtf8(options.toJson(QJsonDocument::Compact)).replace(u'"', u'\'');
	});
	// One value of the answer, or all.
	on("ask?", [this](const Words &words) {
		QJsonObject response = ask(words[1], words.mid(2));
		response.remove("revision"_L1);
		if (words[0] != u"all")
			response = {{words[0], response[words[0]]}};
		answer = named(QString::fromUtf8(QJsonDocument(response).toJson(QJsonDocument::Compact)));
		for (int i = 0; i < list()->count(); i++)
			answer.replace(ids()[i], u'#' + named(rowPaths()[i]));
		for (auto source = sources.cbegin(); source != sources.cend(); ++source)
			answer.replace(uuidOf(*source), source.key());
		answer.replace(u'"', u'\'');
	});
}
