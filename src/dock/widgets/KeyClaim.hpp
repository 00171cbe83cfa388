/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QKeySequence>
#include <QList>
#include <QObject>
#include <QWidget>

#include <functional>

class QKeyEvent;

namespace reelhouse {

// Claims keys for a widget and its children ahead of every shortcut. OBS's main window has actions on the same keys
// as ours, Undo for the whole application and Ctrl+F for its window, and Qt triggers neither of two shortcuts that
// match. A claimed key reaches the focused widget as a plain key press, which the claim then handles, once for each time
// that the key goes down.
class KeyClaim : public QObject {
public:
	// Lives as long as scope. While wanted() is false the keys are left to everybody else. A press calls run().
	KeyClaim(QWidget *scope, const QList<QKeySequence> &keys, std::function<bool()> wanted,
		 std::function<void()> run);

	bool eventFilter(QObject *watched, QEvent *event) override;

private:
	bool isRepeat(const QKeyEvent *event) const;

	const QList<QKeySequence> keys;
	const std::function<bool()> wanted;
	const std::function<void()> run;
	bool claimed = false;   // the key's last press was ours
	quint64 releasedAt = 0; // when any key was last released, in ms of the window system
};

} // namespace reelhouse
