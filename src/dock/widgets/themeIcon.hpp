/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QToolButton>

namespace reelhouse {

// Sets the button's icon by its class in the OBS theme, for example "icon-media-play". The theme applies it when the
// button is next polished. User-interface thread.
void setIconClass(QToolButton *button, const QString &iconClass);

// Does the same for a button that may be on screen: the icon changes at once. Does nothing when the button has that
// icon.
void changeIconClass(QToolButton *button, const QString &iconClass);

} // namespace reelhouse
