/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QObject>
#include <QWidget>

namespace reelhouse {

// Refuses the drags that neither a widget nor its children take, where Qt would offer them to the parents: OBS's main
// window makes new sources of them in the scene that is on air. Where no parent takes drags, it changes nothing.
class DropGuard : public QObject {
public:
	// widget owns the guard.
	explicit DropGuard(QWidget *widget);

	bool eventFilter(QObject *watched, QEvent *event) override;
};

} // namespace reelhouse
