/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include <QAction>
#include <QMenu>
#include <QMessageBox>

#include "dock/text.hpp"
#include "dock/widgets/TrackListWidget.hpp"

using namespace reelhouse;
using namespace Qt::StringLiterals;

namespace {

QAction *addEntry(QMenu *menu, const QString &name, const char *textKey)
{
	QAction *action = menu->addAction(ui(textKey));
	action->setObjectName(name);
	return action;
}

} // namespace

void Reelhouse::buildMenu()
{
	auto *menu = new QMenu(playlistWidget);
	menu->setObjectName(u"playlistMenu"_s);
	moveUpAction = addEntry(menu, u"moveUp"_s, "MoveUp");
	moveDownAction = addEntry(menu, u"moveDown"_s, "MoveDown");
	moveTopAction = addEntry(menu, u"moveTop"_s, "MoveTop");
	moveBottomAction = addEntry(menu, u"moveBottom"_s, "MoveBottom");
	menu->addSeparator();
	removeAction = addEntry(menu, u"remove"_s, "RemoveTrack");
	undoRemoveAction = addEntry(menu, u"undoRemove"_s, "UndoRemove");
	menu->addSeparator();
	locateCurrentAction = addEntry(menu, u"locateCurrent"_s, "LocateCurrent");
	openFolderAction = addEntry(menu, u"openFolder"_s, "OpenFolder");
	restorePlaylistAction = addEntry(menu, u"restorePlaylist"_s, "RestorePlaylist");
	menu->addSeparator();
	QAction *aboutAction = addEntry(menu, u"aboutPlugin"_s, "AboutMenu");

	connect(aboutAction, &QAction::triggered, this, &Reelhouse::showAbout);
	connect(playlistWidget, &QWidget::customContextMenuRequested, this,
		[this, menu](const QPoint &position) { menu->popup(prepareMenu(position)); });
	// Qt hides a menu before it triggers what was chosen, which still has to find the rows.
	connect(menu, &QMenu::aboutToHide, this, [this, menu] {
		const auto forget = [this, menu] {
			if (!menu->isVisible())
				forgetMenuRows();
		};
		QMetaObject::invokeMethod(this, forget, Qt::QueuedConnection);
	});
}

// Makes the selection what the menu will act on. Takes the requested position in viewport coordinates and returns where
// the menu goes, in global ones.
QPoint Reelhouse::prepareMenu(QPoint position)
{
	QWidget *viewport = playlistWidget->viewport();
	if (viewport->rect().contains(position)) {
		QListWidgetItem *row = playlistWidget->itemAt(position);
		const bool keepSelection = row && row->isSelected();
		playlistWidget->setCurrentItem(row, keepSelection ? QItemSelectionModel::NoUpdate
								  : QItemSelectionModel::ClearAndSelect);
	} else {
		// Asked for from the keyboard.
		position = playlistWidget->visualRect(playlistWidget->currentIndex()).center();
	}
	menuRows.reset();
	updateButtons();
	menuRows = RowSelection{playlistWidget->selectedIds(), selectedId()};
	return viewport->mapToGlobal(position);
}

// While the menu is open, a track that ends moves the selection to the next one. Returns whether there is something to
// act on: always without a menu, which leaves the selection as it is.
bool Reelhouse::selectMenuRows()
{
	return !menuRows || playlistWidget->selectRows(menuRows->selected, menuRows->current);
}

void Reelhouse::forgetMenuRows()
{
	menuRows.reset();
	updateButtons();
}

void Reelhouse::showAbout()
{
	QMessageBox::about(this, ui("AboutTitle"),
			   ui("AboutText").arg(ui("DockName"), QStringLiteral(REELHOUSE_VERSION)));
}
