/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "module/Docks.hpp"

#include <QAction>
#include <QCoreApplication>
#include <QDockWidget>
#include <QFile>
#include <QTimer>

#include <algorithm>

#include <obs-frontend-api.h>
#include <obs-module.h>
#include <util/util.hpp>

#include "dock/QueueControl.hpp"
#include "module/SceneSwitch.hpp"
#include "remote/RemoteControl.hpp"

using namespace Qt::StringLiterals;

namespace reelhouse {

namespace {

constexpr int mostDocks = 4;
// A new frame is so far from that of the dock before it that both titles show. In pixels.
constexpr int frameStep = 40;
constexpr int longestSwitchMs = 1000;

QByteArray idOf(int number)
{
	return number == 1 ? "OBS-Reelhouse" : "OBS-Reelhouse-" + QByteArray::number(number);
}

QString settingsPath(int number)
{
	const QByteArray name = number == 1 ? "settings.json" : "settings-" + QByteArray::number(number) + ".json";
	const BPtr<char> path = obs_module_get_config_path(obs_current_module(), name.constData());
	return QString::fromUtf8(path.Get());
}

// Returns the frontend's widget around the dock; null when it has none.
QDockWidget *frameOf(const Reelhouse *dock)
{
	return qobject_cast<QDockWidget *>(dock->parentWidget());
}

// Shows a floating frame in the middle of its main window, beside the places of those with lower numbers.
void showAbove(QDockWidget *frame, int number)
{
	frame->resize(frame->size().expandedTo(QSize(440, 360)));
	const int aside = (number - 2) * frameStep;
	if (const QWidget *window = frame->parentWidget())
		frame->move(window->geometry().center() - frame->rect().center() + QPoint(aside, aside));
	frame->show();
	frame->activateWindow();
}

} // namespace

Reelhouse *Docks::open(int number)
{
	auto *dock = new Reelhouse(group, number, settingsPath(number));
	if (!obs_frontend_add_dock_by_id(idOf(number).constData(), dock->name().toUtf8().constData(), dock)) {
		delete dock;
		return nullptr;
	}
	docks.insert(number, dock);
	connect(dock, &Reelhouse::sceneSwitchRequested, dock, &switchScene);
	connect(dock, &Reelhouse::configurationChanged, this, [this, dock] { save(dock); });
	// Queued: a widget tells of its end while pointers to it are still set.
	connect(dock, &QObject::destroyed, this, &Docks::changed, Qt::QueuedConnection);
	return dock;
}

void Docks::openOthers()
{
	for (int number = 2; number <= mostDocks; number++) {
		if (QFile::exists(settingsPath(number)))
			openFurther(number);
	}
}

Reelhouse *Docks::openFurther(int number)
{
	Reelhouse *dock = open(number);
	if (!dock)
		return nullptr;
	const QueueControl *queue = &dock->queueControl();
	connect(queue, &QueueControl::changed, this, [this, dock] { showTitle(dock); });
	// Only a poll notices a new name of the source.
	connect(queue, &QueueControl::mediaPolled, this, [this, dock] { showTitle(dock); });
	Q_EMIT opened(dock);
	Q_EMIT changed();
	return dock;
}

QList<Reelhouse *> Docks::all() const
{
	QList<Reelhouse *> present;
	for (const QPointer<Reelhouse> &dock : docks) {
		if (dock)
			present.append(dock);
	}
	return present;
}

QString Docks::titleOf(const Reelhouse *dock)
{
	OBSSourceAutoRelease source = dock->queueControl().lockSource();
	return dock->number() == 1 || !source ? dock->name() : dock->name() + u" · "_s + nameOf(source);
}

void Docks::showTitle(Reelhouse *dock)
{
	QDockWidget *frame = frameOf(dock);
	if (!frame)
		return;
	// Qt takes an ampersand for the mark of a key where it draws the title itself: in the menu, and in a frame that
	// the desktop does not draw.
	const QString marked = titleOf(dock).replace(u'&', "&&"_L1);
	const bool isDesktops = frame->isFloating() && !frame->windowFlags().testFlag(Qt::FramelessWindowHint);
	const QString title = isDesktops ? titleOf(dock) : marked;
	if (frame->windowTitle() == title)
		return;
	frame->setWindowTitle(title);
	frame->toggleViewAction()->setText(marked);
	Q_EMIT changed();
}

void Docks::suspend()
{
	active = false;
	for (const QPointer<Reelhouse> &dock : QList(leaving))
		removeNow(dock);
	for (Reelhouse *dock : all())
		dock->suspend();
}

void Docks::resume()
{
	active = true;
	for (Reelhouse *dock : all())
		dock->resume();
}

void Docks::shutdown()
{
	for (Reelhouse *dock : all())
		dock->shutdown();
}

void Docks::close(bool frontendIsThere)
{
	disconnect();
	QList<Reelhouse *> present = all();
	std::ranges::reverse(present);
	for (const QPointer<Reelhouse> dock : present) {
		const QByteArray id = idOf(dock->number());
		dock->shutdown();
		if (frontendIsThere)
			obs_frontend_remove_dock(id.constData());
		// Null when the frontend has destroyed the dock together with its dock widget.
		delete dock;
	}
}

// One save is for the private settings of all sources.
void Docks::save(const Reelhouse *asker)
{
	for (Reelhouse *dock : all()) {
		if (dock != asker)
			dock->noteSaved();
	}
	obs_frontend_save();
}

int Docks::freeNumber() const
{
	for (int number = 2; number <= mostDocks; number++) {
		if (!docks.value(number))
			return number;
	}
	return 0;
}

void Docks::add()
{
	const int number = freeNumber();
	if (number == 0)
		return;
	QFile::remove(settingsPath(number)); // if it could not be removed earlier
	Reelhouse *dock = openFurther(number);
	if (!dock)
		return;
	dock->saveSelection();
	if (active)
		dock->resume();
	if (QDockWidget *frame = frameOf(dock))
		showAbove(frame, number);
}

void Docks::remove(Reelhouse *dock)
{
	if (leaving.contains(dock))
		return;
	leaving.append(dock);
	auto *wait = new QTimer(this);
	wait->setSingleShot(true);
	connect(wait, &QTimer::timeout, this, [this, wait, dock = QPointer(dock)] {
		wait->deleteLater();
		removeNow(dock);
	});
	const QueueControl *queue = &dock->queueControl();
	connect(queue, &QueueControl::switchFinished, wait, [wait] { wait->start(0); });
	wait->start(queue->isSwitching() ? longestSwitchMs : 0);
}

void Docks::removeNow(Reelhouse *dock)
{
	if (!dock || !leaving.removeOne(dock))
		return;
	const int number = dock->number();
	dock->forgetChoice();
	dock->shutdown();
	// What has yet to be told of it.
	QCoreApplication::sendPostedEvents(dock);
	RemoteControl::announceNow();
	if (!QFile::remove(settingsPath(number)))
		blog(LOG_WARNING, "[OBS-Reelhouse] The settings of %s cannot be removed: it will be back.",
		     dock->name().toUtf8().constData());
	obs_frontend_remove_dock(idOf(number).constData());
	// Null when the frontend has destroyed the dock together with its dock widget.
	delete docks.take(number);
	save(nullptr);
	Q_EMIT changed();
}

} // namespace reelhouse
