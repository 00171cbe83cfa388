/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/widgets/KeyClaim.hpp"

#include <QKeyEvent>

namespace reelhouse {

KeyClaim::KeyClaim(QWidget *scope, const QList<QKeySequence> &keys_, std::function<bool()> wanted_,
		   std::function<void()> run_)
	: QObject(scope), keys(keys_), wanted(std::move(wanted_)), run(std::move(run_))
{
	scope->installEventFilter(this);
}

bool KeyClaim::eventFilter(QObject *watched, QEvent *event)
{
	const QEvent::Type type = event->type();
	if (type != QEvent::ShortcutOverride && type != QEvent::KeyPress && type != QEvent::KeyRelease)
		return QObject::eventFilter(watched, event);
	const auto *keyEvent = static_cast<const QKeyEvent *>(event);
	if (type == QEvent::KeyRelease)
		releasedAt = keyEvent->timestamp();
	// As Qt compares keys for its standard shortcuts.
	const auto modifiers = keyEvent->modifiers() & ~(Qt::KeypadModifier | Qt::GroupSwitchModifier);
	if (type == QEvent::KeyRelease ||
	    !keys.contains(QKeySequence(QKeyCombination(modifiers, Qt::Key(keyEvent->key())))))
		return QObject::eventFilter(watched, event);

	// What a held key repeats goes where its first press went: it must not reach OBS once there is nothing left here.
	const bool repeats = isRepeat(keyEvent);
	if (!repeats)
		claimed = wanted();
	if (!claimed)
		return QObject::eventFilter(watched, event);
	event->accept();
	if (type == QEvent::KeyPress && !repeats)
		run();
	return true;
}

// X11 repeats a held key by releasing and pressing it at the same moment, which Qt tells from a new press only if it
// finds both in its queue.
bool KeyClaim::isRepeat(const QKeyEvent *event) const
{
	return event->isAutoRepeat() || (event->timestamp() != 0 && event->timestamp() == releasedAt);
}

} // namespace reelhouse
