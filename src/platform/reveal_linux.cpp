/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "platform/reveal.hpp"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QGuiApplication>
#include <QStandardPaths>
#include <QStringList>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

constexpr QLatin1String fileManager("org.freedesktop.FileManager1");
// The bus may have to start the file manager, which takes this long at most.
constexpr int patienceMs = 5000;
// The bus itself answers at once or hangs.
constexpr int busPatienceMs = 500;

// Whether the service runs or the bus can start it.
bool isOnBus(const QString &service)
{
	const QDBusConnection session = QDBusConnection::sessionBus();
	for (const QString &list : {u"ListNames"_s, u"ListActivatableNames"_s}) {
		const QDBusMessage request = QDBusMessage::createMethodCall(
			u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s, u"org.freedesktop.DBus"_s, list);
		const QDBusMessage reply = session.call(request, QDBus::Block, busPatienceMs);
		if (reply.arguments().value(0).toStringList().contains(service))
			return true;
	}
	return false;
}

} // namespace

// Send the request without waiting for the reply: a slow bus or file manager must not block OBS.
bool revealFile(const QString &path, QObject *context, std::function<void()> refused)
{
	const QDBusConnection session = QDBusConnection::sessionBus();
	if (!session.isConnected())
		return false;
	QDBusMessage request = QDBusMessage::createMethodCall(fileManager, u"/org/freedesktop/FileManager1"_s,
							      fileManager, u"ShowItems"_s);
	request << QStringList{QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded)} << QString();
	auto *reply = new QDBusPendingCallWatcher(session.asyncCall(request, patienceMs), context);
	QObject::connect(reply, &QDBusPendingCallWatcher::finished, context, [reply, refused = std::move(refused)] {
		reply->deleteLater();
		if (reply->isError())
			refused();
	});
	return true;
}

bool canOpenFolders()
{
	if (!QGuiApplication::platformName().startsWith("wayland"_L1))
		return true;
	return !QStandardPaths::findExecutable(u"xdg-open"_s).isEmpty() || isOnBus(fileManager) ||
	       isOnBus(u"org.freedesktop.portal.Desktop"_s);
}
