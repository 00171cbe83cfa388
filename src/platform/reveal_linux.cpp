/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "platform/reveal.hpp"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QStringList>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

constexpr QLatin1String fileManager("org.freedesktop.FileManager1");
// A file manager that the bus has to start first may take this long.
constexpr int patienceMs = 5000;

} // namespace

// Not waited for: a bus or a file manager that is slow to start, or hangs, must not hold up OBS.
bool revealFile(const QString &path, QObject *context, std::function<void()> refused)
{
	const QDBusConnection session = QDBusConnection::sessionBus();
	if (!session.isConnected())
		return false;
	QDBusMessage request = QDBusMessage::createMethodCall(fileManager, u"/org/freedesktop/FileManager1"_s,
							      fileManager, u"ShowItems"_s);
	request << QStringList{QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded)} << QString();
	auto *answer = new QDBusPendingCallWatcher(session.asyncCall(request, patienceMs), context);
	QObject::connect(answer, &QDBusPendingCallWatcher::finished, context, [answer, refused = std::move(refused)] {
		answer->deleteLater();
		if (answer->isError())
			refused();
	});
	return true;
}
