/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QString>

// Shows a file, by its absolute path, selected in the file manager. Returns at once, on the user-interface thread: true
// when the request could be started, false when there is nobody to ask.
bool revealFile(const QString &path);
