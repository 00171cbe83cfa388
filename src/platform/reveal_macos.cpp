/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "platform/reveal.hpp"

#include <QProcess>

using namespace Qt::StringLiterals;

bool revealFile(const QString &path, QObject *, std::function<void()>)
{
	return QProcess::startDetached(u"/usr/bin/open"_s, {u"-R"_s, path});
}

bool canOpenFolders()
{
	return true;
}
