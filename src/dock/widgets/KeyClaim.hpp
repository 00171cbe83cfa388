/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QKeySequence>
#include <QList>
#include <QObject>
#include <QWidget>

#include <functional>

class QKeyEvent;

namespace reelhouse {

// Claims keys for a widget and its children ahead of every shortcut. OBS's main window has actions on some of these
// keys, such as Undo and Ctrl+F, and Qt triggers neither of two shortcuts that match. A claimed key reaches the focused
// widget as a plain key press, and the claim handles that press once each time the key goes down.
class KeyClaim : public QObject {
public:
	// scope owns the claim. wanted() decides whether a press is claimed; run() handles a claimed press.
	KeyClaim(QWidget *scope, const QList<QKeySequence> &keys, std::function<bool()> wanted,
		 std::function<void()> run);

	bool eventFilter(QObject *watched, QEvent *event) override;

private:
	bool isRepeat(const QKeyEvent *event) const;

	const QList<QKeySequence> keys;
	const std::function<bool()> wanted;
	const std::function<void()> run;
	bool claimed = false;   // the last press that was no repeat was claimed
	quint64 releasedAt = 0; // time stamp of the last release of any key, in ms of the window system
};

} // namespace reelhouse
