/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include <QFileDialog>
#include <QLabel>
#include <QProgressDialog>

#include <algorithm>

#include "dock/QueueControl.hpp"
#include "media/FileFinder.hpp"
#include "queue/paths.hpp"
#include "queue/settings.hpp"
#include "queue/text.hpp"

using namespace reelhouse;
using namespace Qt::StringLiterals;

namespace {

// A search that is shorter than this shows no dialog.
constexpr int progressIntervalMs = 300;
// The log names this many of the found files.
constexpr qsizetype mostNamed = 20;
// The width of the folder's name in the dialog, in pixels.
constexpr int folderWidth = 400;

} // namespace

bool Reelhouse::hasMissingFiles() const
{
	return std::ranges::any_of(tracks, [this](const Track &track) { return isMissing(track); });
}

void Reelhouse::chooseSearchFolder()
{
	if (!hasMissingFiles() || fileFinder->isRunning())
		return;
	auto *dialog = new QFileDialog(this, ui("FindMissingFilesTitle"));
	dialog->setAttribute(Qt::WA_DeleteOnClose);
	dialog->setFileMode(QFileDialog::Directory);
	dialog->setOption(QFileDialog::ShowDirsOnly);
	// During the dialog, the dock may have been bound to another source.
	connect(dialog, &QFileDialog::fileSelected, this, [this, serial = bindSerial.load()](const QString &folder) {
		if (serial == bindSerial)
			findMissingFiles(folder, true);
	});
	dialog->open();
}

void Reelhouse::findMissingFiles(const QString &folder, bool byUser)
{
	const Operation operation(this);
	OBSSourceAutoRelease source = lockActive();
	if (!source || fileFinder->isRunning())
		return;
	searchByUser = byUser;
	searchFolder = folder;
	fileFinder->start(folder, pathsToFind(source));
	showSearch();
	changePending = true;
}

// All local files, also those that were there when they were last measured: they may have been moved since.
QSet<QString> Reelhouse::pathsToFind(obs_source_t *source) const
{
	QSet<QString> paths;
	const auto add = [&paths](const Track &track) {
		if (const QString local = localFilePath(track.path); !local.isEmpty())
			paths.insert(local);
	};
	std::ranges::for_each(tracks, add);
	std::ranges::for_each(removed, add, &RemovedTrack::track);
	OBSDataAutoRelease privateSettings = obs_source_get_private_settings(source);
	if (const ReplacedQueue replaced = ReplacedQueue::read(privateSettings); replaced.record)
		std::ranges::for_each(readRecord(replaced.record).tracks, add);
	return paths;
}

void Reelhouse::showSearch()
{
	searchDialog = new QProgressDialog(QString(), ui("Cancel"), 0, 0, this);
	searchDialog->setObjectName(u"findMissingFilesProgress"_s);
	searchDialog->setWindowTitle(ui("FindMissingFilesTitle"));
	auto *label = new QLabel(searchDialog);
	label->setTextFormat(Qt::PlainText);
	searchDialog->setLabel(label);
	// A remote request must not take the keyboard from the user.
	searchDialog->setAttribute(Qt::WA_ShowWithoutActivating, !searchByUser);
	connect(searchDialog, &QProgressDialog::canceled, this, &Reelhouse::cancelSearch);

	const QString shownFolder = label->fontMetrics().elidedText(searchFolder, Qt::ElideMiddle, folderWidth);
	const auto showProgress = [this, label, shownFolder] {
		label->setText(ui("FindingMissingFiles").arg(shownFolder, QString::number(fileFinder->filesSeen())));
		searchDialog->show();
	};
	auto *timer = new QTimer(searchDialog);
	connect(timer, &QTimer::timeout, searchDialog, showProgress);
	timer->start(progressIntervalMs);
}

void Reelhouse::cancelSearch()
{
	if (!fileFinder->isRunning())
		return;
	fileFinder->cancel();
	endSearch();
	// Later: the dock may be between two sources.
	const auto tell = [this] {
		Q_EMIT control->searchEnded(QueueControl::SearchEnd::Cancelled, 0, 0);
	};
	QMetaObject::invokeMethod(this, tell, Qt::QueuedConnection);
}

void Reelhouse::endSearch()
{
	const Operation operation(this);
	// Not at once: this may be one of the dialog's own signals.
	searchDialog->hide();
	searchDialog->deleteLater();
	searchDialog->disconnect(this);
	for (QTimer *timer : searchDialog->findChildren<QTimer *>())
		timer->stop();
	searchDialog = nullptr;
	changePending = true;
}

// The result names paths, not tracks, so it fits whatever was edited during the search.
void Reelhouse::takePlaces(const QHash<QString, QString> &places, bool isFolder)
{
	const Operation operation(this);
	endSearch();
	OBSSourceAutoRelease source = lockActive();
	if (!source)
		return;
	if (!isFolder) {
		showError(ui("FolderReadError").arg(searchFolder));
		Q_EMIT control->searchEnded(QueueControl::SearchEnd::NoFolder, 0, 0);
		return;
	}
	// While a switch is pending, the source still has the old playlist, which is not an edit elsewhere.
	followEditElsewhere();
	if (!switchPending)
		movePlaylistEntries(source, places);
	const auto [found, missing] = moveTracks(places);
	changePending = true;
	OBSDataAutoRelease privateSettings = obs_source_get_private_settings(source);
	ReplacedQueue::read(privateSettings).moveTracks(places);
	updateListKeepingView();
	storeQueue();
	tellSearch(found, missing);
	Q_EMIT control->searchEnded(QueueControl::SearchEnd::Done, found, missing);
}

// Only the settings change: an update would make the source open its media again. The next start of OBS uses them, and
// then OBS does not ask for the missing file itself.
void Reelhouse::movePlaylistEntries(obs_source_t *source, const QHash<QString, QString> &places)
{
	OBSDataAutoRelease settings = obs_source_get_settings(source);
	OBSDataArrayAutoRelease playlist = obs_data_get_array(settings, playlistKey);
	OBSDataArrayAutoRelease moved = movedItems(playlist, places);
	if (!moved)
		return;
	obs_data_set_array(settings, playlistKey, moved);
	observed = pathsIn(settings, playlistKey);
}

// Returns how many of the queue's files were found and how many are still missing.
std::pair<qsizetype, qsizetype> Reelhouse::moveTracks(const QHash<QString, QString> &places)
{
	qsizetype found = 0, missing = 0;
	for (Track &track : tracks) {
		const QString local = localFilePath(track.path);
		const auto place = places.constFind(local);
		if (local.isEmpty() || place == places.cend())
			continue;
		if (place->isEmpty()) {
			track.size = SizeMissing;
			missing++;
		} else if (*place != local || isMissing(track)) {
			if (found++ < mostNamed)
				blog(LOG_INFO, "[OBS-Reelhouse] Found %s: %s", track.path.toUtf8().constData(),
				     place->toUtf8().constData());
			sizesNow.remove(track.path);
			track.path = movedPath(track.path, places);
			track.size = SizeUnknown;
		}
	}
	for (auto &[track, index] : removed) {
		if (const QString path = movedPath(track.path, places); path != track.path)
			track = {track.id, path};
	}
	return {found, missing};
}

void Reelhouse::tellSearch(qsizetype found, qsizetype missing)
{
	const QString message = ui("MissingFilesSearched").arg(QString::number(found), QString::number(missing));
	if (missing > 0)
		showError(message);
	else
		showNotice(message);
	if (searchByUser)
		showBoxIfHidden(message, missing > 0);
}
