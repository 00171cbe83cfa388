/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QToolButton>

namespace reelhouse {

// Names the button's icon in the OBS theme, for example "icon-media-play". The theme applies it when the button is
// polished next. User-interface thread.
void setIconClass(QToolButton *button, const QString &iconClass);

// The same for a button that may be on screen: applied at once, and nothing is done when it has that icon already.
void changeIconClass(QToolButton *button, const QString &iconClass);

} // namespace reelhouse
