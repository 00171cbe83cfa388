/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "platform/reveal.hpp"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QStringList>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

constexpr QLatin1String fileManager("org.freedesktop.FileManager1");

// Running, or started by the bus on the first message to it. Both questions go to the bus itself, which always answers.
bool isReachable(QDBusConnectionInterface *bus)
{
	return bus->isServiceRegistered(fileManager) || bus->activatableServiceNames().value().contains(fileManager);
}

} // namespace

bool revealFile(const QString &path)
{
	const QDBusConnection session = QDBusConnection::sessionBus();
	if (!session.isConnected() || !isReachable(session.interface()))
		return false;
	QDBusMessage request = QDBusMessage::createMethodCall(fileManager, u"/org/freedesktop/FileManager1"_s,
							      fileManager, u"ShowItems"_s);
	request << QStringList{QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded)} << QString();
	// Not waited for: a file manager that is slow to start, or hangs, must not hold up OBS.
	return session.send(request);
}
