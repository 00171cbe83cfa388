/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/widgets/DropGuard.hpp"

#include <QDragEnterEvent>

namespace reelhouse {

namespace {

bool hasParentThatTakesDrops(const QWidget *widget)
{
	while (!widget->isWindow() && widget->parentWidget()) {
		widget = widget->parentWidget();
		if (widget->acceptDrops())
			return true;
	}
	return false;
}

} // namespace

DropGuard::DropGuard(QWidget *widget) : QObject(widget)
{
	// Qt sends drags only to widgets that accept drops.
	widget->setAcceptDrops(true);
	widget->installEventFilter(this);
}

// A drag whose DragEnter was accepted belongs to this widget, and Qt asks no parent. With IgnoreAction, and with its
// moves and its drop ignored, the pointer still shows the refusal.
bool DropGuard::eventFilter(QObject *watched, QEvent *event)
{
	if (event->type() == QEvent::DragMove || event->type() == QEvent::Drop) {
		event->ignore();
		return true;
	}
	if (event->type() != QEvent::DragEnter)
		return QObject::eventFilter(watched, event);
	auto *drag = static_cast<QDragEnterEvent *>(event);
	drag->setDropAction(Qt::IgnoreAction);
	drag->setAccepted(hasParentThatTakesDrops(static_cast<QWidget *>(watched)));
	return true;
}

} // namespace reelhouse
