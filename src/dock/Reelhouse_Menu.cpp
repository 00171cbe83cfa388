/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include <QAction>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QUrl>

#include "dock/widgets/TrackListWidget.hpp"
#include "dock/widgets/TrackRow.hpp"
#include "platform/reveal.hpp"
#include "queue/paths.hpp"
#include "queue/text.hpp"

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
	// Qt hides a menu before it triggers the chosen action, and that action still needs the rows.
	connect(menu, &QMenu::aboutToHide, this, [this, menu] {
		const auto forget = [this, menu] {
			if (!menu->isVisible())
				forgetMenuRows();
		};
		QMetaObject::invokeMethod(this, forget, Qt::QueuedConnection);
	});
}

void Reelhouse::connectMenu()
{
	const auto onMenuRows = [this](QAction *action, const auto &command) {
		connect(action, &QAction::triggered, this, [this, command] {
			if (selectMenuRows())
				command();
		});
	};
	const QListWidget *list = playlistWidget;
	onMenuRows(moveUpAction, [this] { moveSelected(-1); });
	onMenuRows(moveDownAction, [this] { moveSelected(1); });
	onMenuRows(moveTopAction, [this, list] { moveSelected(-list->currentRow()); });
	onMenuRows(moveBottomAction, [this, list] { moveSelected(list->count() - 1 - list->currentRow()); });
	onMenuRows(removeAction, [this] { removeSelected(); });
	connect(undoRemoveAction, &QAction::triggered, this, &Reelhouse::undoRemove);
	connect(locateCurrentAction, &QAction::triggered, this, &Reelhouse::locateCurrent);
	onMenuRows(openFolderAction, [this] { openFolder(); });
	connect(restorePlaylistAction, &QAction::triggered, this, &Reelhouse::restoreSource);
}

void Reelhouse::updateMenuActions(bool active, const QString &selected)
{
	undoRemoveAction->setEnabled(active && !removed.isEmpty());
	locateCurrentAction->setEnabled(active && currentIndex() >= 0);
	restorePlaylistAction->setEnabled(active && canRestore());
	// An open menu acts only on the rows that it was opened on. Disable its actions when these rows are gone.
	if (menuRows) {
		if (!active || playlistWidget->shownRows(menuRows->selected).isEmpty()) {
			for (QAction *action : {removeAction, openFolderAction, moveUpAction, moveDownAction,
						moveTopAction, moveBottomAction})
				action->setEnabled(false);
		}
		return;
	}

	const int selectionCount = visibleSelectionCount();
	removeAction->setEnabled(active && selectionCount >= 1);
	const QListWidgetItem *row = playlistWidget->currentItem();
	openFolderAction->setEnabled(active && !selected.isEmpty() && selectionCount == 1 && row->isSelected() &&
				     !localFilePath(row->data(PathRole).toString()).isEmpty());

	const bool movable = active && selectionCount == 1 && searchText().isEmpty();
	const int current = playlistWidget->currentRow();
	moveUpAction->setEnabled(movable && current > 0);
	moveDownAction->setEnabled(movable && current + 1 < playlistWidget->count());
	moveTopAction->setEnabled(moveUpAction->isEnabled());
	moveBottomAction->setEnabled(moveDownAction->isEnabled());
}

// Selects the rows that the menu will act on. Takes the requested position in viewport coordinates and returns the
// menu's position in global ones.
QPoint Reelhouse::prepareMenu(QPoint position)
{
	QWidget *viewport = playlistWidget->viewport();
	if (viewport->rect().contains(position)) {
		QListWidgetItem *row = playlistWidget->itemAt(position);
		const bool keepSelection = row && row->isSelected();
		playlistWidget->setCurrentItem(row, keepSelection ? QItemSelectionModel::NoUpdate
								  : QItemSelectionModel::ClearAndSelect);
	} else {
		// The keyboard opened the menu.
		position = playlistWidget->visualRect(playlistWidget->currentIndex()).center();
	}
	menuRows.reset();
	updateButtons();
	menuRows = RowSelection{playlistWidget->selectedIds(), selectedId()};
	return viewport->mapToGlobal(position);
}

// Selects the menu's rows again, since an ended track may have moved the selection. Returns false when they are gone.
// Without an open menu it changes nothing and returns true.
bool Reelhouse::selectMenuRows()
{
	return !menuRows || playlistWidget->selectRows(menuRows->selected, menuRows->current);
}

void Reelhouse::forgetMenuRows()
{
	menuRows.reset();
	updateButtons();
}

void Reelhouse::locateCurrent()
{
	if (currentIndex() < 0)
		return;
	searchEdit->clear();
	if (QListWidgetItem *row = findRow(currentId, false)) {
		playlistWidget->setCurrentItem(row, QItemSelectionModel::ClearAndSelect);
		playlistWidget->scrollToItem(row, QAbstractItemView::PositionAtCenter);
		playlistWidget->setFocus(Qt::OtherFocusReason);
	}
	clearError();
}

void Reelhouse::openFolder()
{
	OBSSourceAutoRelease source = lockActive();
	const QListWidgetItem *row = playlistWidget->currentItem();
	if (!source || selectedId().isEmpty() || !row->isSelected() || playlistWidget->selectedItems().size() != 1)
		return;
	const QString local = localFilePath(row->data(PathRole).toString());
	if (local.isEmpty())
		return;

	const QFileInfo file(local);
	const QString folder = file.absolutePath();
	const auto showFolder = [this, folder] {
		if (QDir(folder).exists() && canOpenFolders() && QDesktopServices::openUrl(QUrl::fromLocalFile(folder)))
			clearError();
		else
			showError(ui("OpenFolderError").arg(folder));
	};
	looks->beginOperation();
	const std::optional<qint64> size = looks->sizeOf(local);
	if (size && *size >= 0 && revealFile(file.absoluteFilePath(), this, showFolder))
		clearError();
	else if (size)
		showFolder();
	else
		showError(ui("OpenFolderError").arg(folder));
}

void Reelhouse::showAbout()
{
	QMessageBox::about(this, ui("AboutTitle"),
			   ui("AboutText").arg(ui("DockName"), QStringLiteral(REELHOUSE_VERSION)));
}
