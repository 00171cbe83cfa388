/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/KeyClaim.hpp"

#include <QKeyEvent>

namespace reelhouse {

KeyClaim::KeyClaim(QWidget *scope, const QKeySequence &key_, std::function<bool()> wanted_, std::function<void()> run_)
	: QObject(scope), key(key_), wanted(std::move(wanted_)), run(std::move(run_))
{
	scope->installEventFilter(this);
}

bool KeyClaim::eventFilter(QObject *watched, QEvent *event)
{
	const QEvent::Type type = event->type();
	if (type != QEvent::ShortcutOverride && type != QEvent::KeyPress)
		return QObject::eventFilter(watched, event);
	const auto *keyEvent = static_cast<const QKeyEvent *>(event);
	// As Qt compares keys for its standard shortcuts.
	const auto modifiers = keyEvent->modifiers() & ~(Qt::KeypadModifier | Qt::GroupSwitchModifier);
	if (QKeySequence(QKeyCombination(modifiers, Qt::Key(keyEvent->key()))) != key)
		return QObject::eventFilter(watched, event);
	// What a held key repeats goes where its first press went: it must not reach OBS once there is nothing left here.
	if (!keyEvent->isAutoRepeat())
		claimed = wanted();
	if (!claimed)
		return QObject::eventFilter(watched, event);
	event->accept();
	if (type == QEvent::KeyPress && !keyEvent->isAutoRepeat())
		run();
	return true;
}

} // namespace reelhouse
