/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

class QWidget;

namespace reelhouse {

// Paints a frame when the widget has the keyboard focus. Call it at the end of paintEvent(). OBS's themes show no focus
// on sliders and labels.
void paintFocusFrame(QWidget *widget);

} // namespace reelhouse
