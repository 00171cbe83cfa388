/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "module/ToolsMenu.hpp"

#include <QAction>
#include <QActionGroup>
#include <QMenu>
#include <QPointer>

#include <obs-frontend-api.h>
#include <obs-module.h>

#include "dock/QueueControl.hpp"
#include "module/TrackText.hpp"
#include "queue/text.hpp"

using namespace Qt::StringLiterals;

namespace reelhouse {

namespace {

// The Tools menu owns the toolsEntry and may be destroyed before the module unloads.
QPointer<QAction> toolsEntry;

QAction *addCommand(QMenu *menu, const QString &name, const char *textKey)
{
	QAction *action = menu->addAction(ui(textKey));
	action->setObjectName(name);
	return action;
}

// A check mark for an option of the bound source.
void addOption(QMenu *menu, QueueControl *queue, const QString &name, const char *textKey, bool QueueOptions::*option)
{
	QAction *action = addCommand(menu, name, textKey);
	action->setCheckable(true);
	QObject::connect(action, &QAction::triggered, queue, [queue, option](bool checked) {
		QueueOptions options = queue->options();
		options.*option = checked;
		queue->setOptions(options);
	});
	const auto show = [action, queue, option] {
		action->setEnabled(OBSSourceAutoRelease(queue->lockSource()) != nullptr);
		action->setChecked(queue->options().*option);
	};
	QObject::connect(queue, &QueueControl::changed, action, show);
	show();
}

void addFileCommands(QMenu *menu, QueueControl *queue)
{
	QAction *importAction = addCommand(menu, u"importPlaylist"_s, "ImportPlaylist");
	QAction *exportAction = addCommand(menu, u"exportPlaylist"_s, "ExportPlaylist");
	QAction *findAction = addCommand(menu, u"findMissingFiles"_s, "FindMissingFiles");
	QObject::connect(importAction, &QAction::triggered, queue, &QueueControl::importPlaylist);
	QObject::connect(exportAction, &QAction::triggered, queue, &QueueControl::exportPlaylist);
	QObject::connect(findAction, &QAction::triggered, queue, &QueueControl::chooseSearchFolder);
	const auto offer = [queue, importAction, exportAction, findAction] {
		importAction->setEnabled(OBSSourceAutoRelease(queue->lockSource()) != nullptr);
		exportAction->setEnabled(!queue->tracks().isEmpty());
		findAction->setEnabled(queue->hasMissingFiles() && !queue->isFindingFiles());
	};
	QObject::connect(queue, &QueueControl::changed, menu, offer);
	QObject::connect(menu, &QMenu::aboutToShow, queue, offer);
	offer();
}

void addQueueCommands(QMenu *menu, QueueControl *queue)
{
	QAction *shuffleAction = addCommand(menu, u"shuffleQueue"_s, "ShuffleQueue");
	shuffleAction->setStatusTip(ui("ShuffleQueueTip"));
	QAction *bringBackAction = addCommand(menu, u"bringBackReplacedQueue"_s, "BringBackReplacedQueue");
	QObject::connect(shuffleAction, &QAction::triggered, queue, &QueueControl::shuffleQueue);
	QObject::connect(bringBackAction, &QAction::triggered, queue, &QueueControl::bringBackReplaced);
	QObject::connect(queue, &QueueControl::canBringBackChanged, bringBackAction, &QAction::setEnabled);
	const auto offer = [queue, shuffleAction] {
		shuffleAction->setEnabled(queue->tracks().size() > 1);
	};
	QObject::connect(queue, &QueueControl::changed, menu, offer);
	offer();
	bringBackAction->setEnabled(queue->canBringBack());
}

void addChoice(QMenu *menu, TrackText *trackText, const QString &text, const QString &uuid)
{
	QAction *choice = menu->addAction(QString(text).replace(u'&', "&&"_L1));
	choice->setCheckable(true);
	choice->setData(uuid);
	QObject::connect(choice, &QAction::triggered, trackText, [trackText, uuid] { trackText->choose(uuid); });
}

// Fills the menu again each time: sources come, go and are renamed.
void listTextSources(QMenu *menu, QActionGroup *group, TrackText *trackText)
{
	menu->clear();
	addChoice(menu, trackText, ui("NoTextSource"), QString());
	for (const auto &[name, uuid] : TrackText::textSources())
		addChoice(menu, trackText, name, uuid);
	QAction *checked = menu->actions().constFirst();
	const QString chosen = trackText->chosen();
	for (QAction *choice : menu->actions()) {
		group->addAction(choice);
		if (choice->data().toString() == chosen)
			checked = choice;
	}
	checked->setChecked(true);
}

void addTextSourceMenu(QMenu *menu, TrackText *trackText)
{
	QMenu *choices = menu->addMenu(ui("ShowCurrentTrackIn"));
	choices->setObjectName(u"showCurrentTrackIn"_s);
	auto *group = new QActionGroup(choices);
	const auto list = [choices, group, trackText] {
		listTextSources(choices, group, trackText);
	};
	// Fill the submenu when its parent opens: some desktops hide a submenu that is empty at that moment.
	QObject::connect(menu, &QMenu::aboutToShow, trackText, list);
	list();
}

// Looks at the source each time: the user can remove the filter in OBS's Filters dialog.
void addHoldPicture(QMenu *menu, QueueControl *queue)
{
	QAction *action = addCommand(menu, u"holdPicture"_s, "HoldPicture");
	action->setCheckable(true);
	const auto show = [action, queue] {
		action->setEnabled(OBSSourceAutoRelease(queue->lockSource()) != nullptr);
		action->setChecked(queue->holdsPicture());
	};
	QObject::connect(action, &QAction::triggered, queue, &QueueControl::setHoldsPicture);
	QObject::connect(queue, &QueueControl::changed, action, show);
	QObject::connect(menu, &QMenu::aboutToShow, action, show);
	show();
}

} // namespace

void addToToolsMenu(Reelhouse *newDock)
{
	toolsEntry = static_cast<QAction *>(obs_frontend_add_tools_menu_qaction(obs_module_text("DockName")));
	if (!toolsEntry)
		return;
	QueueControl *queue = &newDock->queueControl();
	auto *menu = new QMenu(newDock);
	menu->setObjectName(u"toolsMenu"_s);
	toolsEntry->setMenu(menu);

	addFileCommands(menu, queue);
	menu->addSeparator();
	addQueueCommands(menu, queue);
	menu->addSeparator();
	addHoldPicture(menu, queue);
	addOption(menu, queue, u"skipFailed"_s, "SkipFailed", &QueueOptions::skipFailed);
	addOption(menu, queue, u"startAgain"_s, "StartAgain", &QueueOptions::startAgain);
	menu->addSeparator();
	addTextSourceMenu(menu, new TrackText(queue));
}

void removeFromToolsMenu()
{
	delete toolsEntry;
}

} // namespace reelhouse
