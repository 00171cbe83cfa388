/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

#include "dock/text.hpp"

using namespace reelhouse;

namespace {

constexpr QLatin1String sourceUuidKey("sourceUuid");
constexpr QLatin1String remainingTimeKey("remainingTime");

} // namespace

void Reelhouse::loadSelection()
{
	if (settingsPath.isEmpty())
		return;
	QFile file(settingsPath);
	if (!file.open(QIODevice::ReadOnly))
		return;
	const QJsonObject settings = QJsonDocument::fromJson(file.readAll()).object();
	sourceUuid = settings.value(sourceUuidKey).toString();
	remainingTime = settings.value(remainingTimeKey).toBool();
}

void Reelhouse::saveSelection()
{
	if (settingsPath.isEmpty())
		return;
	if (!QDir().mkpath(QFileInfo(settingsPath).absolutePath())) {
		showError(ui("CreateSettingsError"));
		return;
	}
	// Written beside the file and renamed over it: a failed save leaves the previous one whole.
	QSaveFile file(settingsPath);
	if (!file.open(QIODevice::WriteOnly)) {
		showError(ui("SaveSettingsError").arg(file.errorString()));
		return;
	}
	const QJsonObject settings{{remainingTimeKey, remainingTime}, {sourceUuidKey, sourceUuid}};
	const QByteArray text = QJsonDocument(settings).toJson(QJsonDocument::Compact);
	if (file.write(text) != text.size() || !file.commit())
		showError(ui("SaveSettingsError").arg(file.errorString()));
}
