/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "module/ToolsMenu.hpp"

#include <QAction>
#include <QActionGroup>
#include <QMap>
#include <QMenu>
#include <QPointer>

#include <utility>

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

// A menu would take an ampersand for the mark of a key.
QString menuText(const QString &text)
{
	return QString(text).replace(u'&', "&&"_L1);
}

void addChoice(QMenu *menu, TrackText *trackText, const QString &text, const QString &uuid)
{
	QAction *choice = menu->addAction(menuText(text));
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

void fillMenu(QMenu *menu, QueueControl *queue)
{
	menu->setObjectName(u"toolsMenu"_s);
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

// Shows the menus of the docks: that of the only dock, or a list of all. The entry owns it.
class DockMenus : public QObject {
public:
	DockMenus(QAction *entry, Docks *docks);
	~DockMenus() override;

private:
	void follow();
	QMenu *makeMenu(Reelhouse *dock);

	QAction *const entry;
	Docks *const docks;
	QAction *const addDock;
	QAction *const firstSeparator; // above it in the menu of the only dock
	QPointer<QMenu> list;          // of several docks
	QAction *const separator;      // below them
	// By the numbers of the docks. That of the first dock belongs to the dock. A menu may be open while the frontend
	// destroys a further dock, so these belong to the entry.
	QMap<int, QPointer<QMenu>> menus;
};

DockMenus::DockMenus(QAction *entry_, Docks *docks_)
	: QObject(entry_),
	  entry(entry_),
	  docks(docks_),
	  addDock(new QAction(ui("AddAnotherDock"), this)),
	  firstSeparator(new QAction(this)),
	  list(new QMenu),
	  separator(list->addSeparator())
{
	addDock->setObjectName(u"addAnotherDock"_s);
	firstSeparator->setSeparator(true);
	list->setObjectName(u"dockList"_s);
	// Queued: the menu that is open is filled again.
	connect(addDock, &QAction::triggered, docks, &Docks::add, Qt::QueuedConnection);
	connect(docks, &Docks::changed, this, &DockMenus::follow);
	list->addAction(addDock);
	follow();
}

DockMenus::~DockMenus()
{
	for (const QPointer<QMenu> &menu : std::as_const(menus))
		delete menu;
	delete list;
}

QMenu *DockMenus::makeMenu(Reelhouse *dock)
{
	auto *menu = new QMenu(dock->number() == 1 ? dock : nullptr);
	fillMenu(menu, &dock->queueControl());
	if (dock->number() == 1)
		return menu;
	menu->addSeparator();
	QAction *remove = addCommand(menu, u"removeThisDock"_s, "RemoveThisDock");
	connect(remove, &QAction::triggered, dock, [this, dock] { docks->remove(dock); });
	return menu;
}

void DockMenus::follow()
{
	const QList<Reelhouse *> all = docks->all();
	// As long as the entry has a menu, that menu takes the entry for its own action.
	entry->setMenu(nullptr);
	for (const QPointer<QMenu> &menu : std::as_const(menus)) {
		if (menu)
			list->removeAction(menu->menuAction());
	}
	QMap<int, QPointer<QMenu>> before = std::exchange(menus, {});
	for (Reelhouse *dock : all) {
		QPointer<QMenu> menu = before.take(dock->number());
		if (!menu)
			menu = makeMenu(dock);
		menu->setTitle(menuText(Docks::titleOf(dock)));
		menus.insert(dock->number(), menu);
		list->insertMenu(separator, menu);
	}
	// Of docks that are gone.
	for (const QPointer<QMenu> &menu : std::as_const(before)) {
		if (menu)
			menu->deleteLater();
	}
	addDock->setEnabled(docks->canAdd());
	QMenu *first = menus.value(1);
	const bool isAlone = first && all.size() == 1;
	for (QAction *action : {firstSeparator, addDock}) {
		if (isAlone)
			first->addAction(action);
		else if (first)
			first->removeAction(action);
	}
	entry->setMenu(isAlone ? first : list.data());
}

} // namespace

void addToToolsMenu(Docks *docks)
{
	toolsEntry = static_cast<QAction *>(obs_frontend_add_tools_menu_qaction(obs_module_text("DockName")));
	if (toolsEntry)
		new DockMenus(toolsEntry, docks);
}

void removeFromToolsMenu()
{
	delete toolsEntry;
}

} // namespace reelhouse
