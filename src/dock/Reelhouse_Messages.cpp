/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QUrl>

#include "dock/paths.hpp"
#include "dock/text.hpp"
#include "dock/widgets/TrackListWidget.hpp"
#include "platform/reveal.hpp"

using namespace reelhouse;
using namespace Qt::StringLiterals;

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
	OBSSourceAutoRelease source = lockSource();
	const QListWidgetItem *row = playlistWidget->currentItem();
	if (!source || suspended || shutDown || selectedId().isEmpty() || !row->isSelected() ||
	    playlistWidget->selectedItems().size() != 1)
		return;
	const QString local = localFilePath(row->data(PathRole).toString());
	if (local.isEmpty())
		return;

	const QFileInfo file(local);
	const QString folder = file.absolutePath();
	const auto showFolder = [this, folder] {
		if (QDir(folder).exists() && QDesktopServices::openUrl(QUrl::fromLocalFile(folder)))
			clearError();
		else
			showError(ui("OpenFolderError").arg(folder));
	};
	if (file.isFile() && revealFile(file.absoluteFilePath(), this, showFolder))
		clearError();
	else
		showFolder();
}

void Reelhouse::showError(const QString &message)
{
	messageLabel->setText(u"⚠ "_s + message);
	messageLabel->show();
	blog(LOG_WARNING, "[OBS-Reelhouse] %s", message.toUtf8().constData());
}

void Reelhouse::clearError()
{
	messageLabel->clear();
	messageLabel->hide();
}
