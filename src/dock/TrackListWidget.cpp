/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/TrackListWidget.hpp"

#include <utility>

namespace reelhouse {

TrackListWidget::TrackListWidget(QWidget *parent) : QListWidget(parent)
{
	connect(model(), &QAbstractItemModel::rowsMoved, this, &TrackListWidget::rowsMoved);
}

void TrackListWidget::dropEvent(QDropEvent *event)
{
	dropping = true;
	QListWidget::dropEvent(event);
	dropping = false;
	if (std::exchange(movedByDrop, false))
		Q_EMIT reordered();
}

void TrackListWidget::rowsMoved()
{
	if (dropping)
		movedByDrop = true;
	else
		Q_EMIT reordered();
}

} // namespace reelhouse
