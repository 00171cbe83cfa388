/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QObject>
#include <QString>

#include <functional>

// Shows a file, given by its absolute path, selected in the file manager. User-interface thread; returns at once.
// Returns true when the request was started, false when there is no file manager to ask. Calls refused, on the same
// thread, when the file manager refuses or does not answer in time; never after context is destroyed.
bool revealFile(const QString &path, QObject *context, std::function<void()> refused);

// Whether the desktop can open a folder. On Wayland Qt reports success even when no program can do it, so this looks
// for a file manager, a portal or a launcher. User-interface thread.
bool canOpenFolders();
