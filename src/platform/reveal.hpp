/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QObject>
#include <QString>

#include <functional>

// Shows a file, by its absolute path, selected in the file manager. Returns at once, on the user-interface thread: true
// when the request could be started, false when there is nobody to ask. A file manager that is asked and then refuses or
// does not answer in time leads to a call of refused, on the same thread, unless context is gone by then.
bool revealFile(const QString &path, QObject *context, std::function<void()> refused);

// Whether the desktop can be asked to open a folder. On Wayland Qt says that it did so even where there is nobody to ask, so
// file manager, portal and launcher are looked for beforehand. User-interface thread.
bool canOpenFolders();
