/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

class QWidget;

namespace reelhouse {

// Shows that a widget has the keyboard focus, which OBS's themes do not for a slider or a label. For the end of its
// paintEvent().
void paintFocusFrame(QWidget *widget);

} // namespace reelhouse
