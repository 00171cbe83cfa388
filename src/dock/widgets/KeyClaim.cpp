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
	// Qt ignores these modifiers, too, when it compares keys with its standard shortcuts.
	const auto modifiers = keyEvent->modifiers() & ~(Qt::KeypadModifier | Qt::GroupSwitchModifier);
	if (type == QEvent::KeyRelease ||
	    !keys.contains(QKeySequence(QKeyCombination(modifiers, Qt::Key(keyEvent->key())))))
		return QObject::eventFilter(watched, event);

	// The repeats of a held key belong to the receiver of its first press: they must not reach OBS when nothing is
	// left to do here.
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

// X11 repeats a held key as a release and a press at the same moment. Qt recognises a repeat only if both are in its
// queue.
bool KeyClaim::isRepeat(const QKeyEvent *event) const
{
	return event->isAutoRepeat() || (event->timestamp() != 0 && event->timestamp() == releasedAt);
}

} // namespace reelhouse
