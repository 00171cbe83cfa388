/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include <QScrollBar>
#include <QSignalBlocker>

#include "dock/widgets/TrackListWidget.hpp"

void Reelhouse::rememberView()
{
	OBSSourceAutoRelease source = lockSource();
	if (!source)
		return;
	views.insert(QString::fromUtf8(obs_source_get_uuid(source)),
		     ViewState{selectedId(), needle(), playlistWidget->verticalScrollBar()->value()});
}

void Reelhouse::restoreView(const QString &uuid)
{
	const auto view = views.constFind(uuid);
	// Switching sources leaves the search text alone, and a view only fits the filter that it was remembered with.
	if (view == views.cend() || needle() != view->searchText)
		return;

	QListWidgetItem *row = nullptr;
	if (!view->selectedTrackId.isEmpty()) {
		row = findRow(view->selectedTrackId, true);
		if (!row)
			return;
	}
	const QSignalBlocker blocker(playlistWidget);
	playlistWidget->setCurrentItem(row, QItemSelectionModel::ClearAndSelect);
	// At once, so that the scroll bar's range fits the rows before its value is set.
	playlistWidget->doItemsLayout();
	playlistWidget->verticalScrollBar()->setValue(view->scrollValue);
	updateButtons();
}
