/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/QueueControl.hpp"

#include <QComboBox>

#include "dock/DockGroup.hpp"
#include "dock/Reelhouse.hpp"
#include "dock/widgets/TrackListWidget.hpp"
#include "media/FileFinder.hpp"
#include "picture/HoldPicture.hpp"

namespace reelhouse {

QueueControl::QueueControl(Reelhouse *dock_) : QObject(dock_), dock(dock_) {}

int QueueControl::dockNumber() const
{
	return dock->number();
}

std::pair<int, QString> QueueControl::dockOf(const QString &uuid) const
{
	const Reelhouse *found = dock->group.dockOf(uuid);
	return found ? std::pair(found->number(), found->name()) : std::pair(0, QString());
}

bool QueueControl::isActive() const
{
	return dock->isActive();
}

OBSSourceAutoRelease QueueControl::lockSource() const
{
	return dock->lockSource();
}

QList<NamedSource> QueueControl::listSources()
{
	dock->refreshSources();
	QList<NamedSource> listed;
	for (int i = 1; i < dock->sourceSelector->count(); i++)
		listed.append({dock->sourceSelector->itemData(i, Reelhouse::LabelRole).toString(),
			       dock->sourceSelector->itemData(i).toString()});
	return listed;
}

bool QueueControl::selectSource(const QString &uuid)
{
	dock->refreshSources();
	const int index = dock->sourceSelector->findData(uuid);
	if (index < 0 || dock->otherDockOf(uuid))
		return false;
	dock->sourceSelector->setCurrentIndex(index);
	dock->chooseCurrentEntry();
	return true;
}

const QList<Track> &QueueControl::tracks() const
{
	return dock->tracks;
}

const QHash<QString, qint64> &QueueControl::sizesNow() const
{
	return dock->sizesNow;
}

const QString &QueueControl::currentId() const
{
	return dock->currentId;
}

int QueueControl::currentIndex() const
{
	return dock->currentIndex();
}

QList<qsizetype> QueueControl::upcoming(qsizetype most) const
{
	return dock->upcoming(most);
}

EndMode QueueControl::endMode() const
{
	return static_cast<EndMode>(dock->endMode);
}

void QueueControl::chooseEndMode(EndMode mode)
{
	dock->endModeSelector->setCurrentIndex(dock->endModeSelector->findData(mode));
}

const QueueOptions &QueueControl::options() const
{
	return dock->options;
}

void QueueControl::setOptions(const QueueOptions &options)
{
	dock->setOptions(options);
}

TagReader &QueueControl::tagReader() const
{
	return *dock->tagReader;
}

bool QueueControl::isSwitching() const
{
	return dock->switchPending || dock->searching;
}

obs_media_state QueueControl::mediaState() const
{
	return dock->mediaState();
}

obs_media_state QueueControl::lastMediaState() const
{
	return dock->searching ? OBS_MEDIA_STATE_OPENING : dock->media.lastState().value_or(dock->mediaState());
}

obs_media_state QueueControl::wantedState() const
{
	return dock->mediaWish.state(dock->mediaState());
}

void QueueControl::setPaused(bool paused)
{
	dock->setPaused(paused);
}

bool QueueControl::playTrack(const QString &id, bool withSceneSwitch)
{
	return dock->playTrack(id, withSceneSwitch);
}

bool QueueControl::playRelative(int delta)
{
	return dock->playRelative(delta);
}

void QueueControl::stopPlayback()
{
	dock->stop();
}

void QueueControl::followEditElsewhere()
{
	dock->followEditElsewhere();
}

QList<QString> QueueControl::insertFiles(const QList<QString> &paths, qsizetype position)
{
	return dock->insertTracks(paths, position, [this](const QString &) { dock->updateListKeepingView(); });
}

qsizetype QueueControl::removeTracks(const QSet<QString> &ids)
{
	return dock->takeTracks(ids, [this](const QString &) { dock->updateListKeepingView(); });
}

bool QueueControl::canUndoRemove() const
{
	return !dock->removed.isEmpty();
}

qsizetype QueueControl::undoRemove()
{
	return dock->putTracksBack([this](const QString &) { dock->updateListKeepingView(); });
}

void QueueControl::moveTrack(const QString &id, int index)
{
	const Reelhouse::Operation operation(dock);
	TrackListWidget *list = dock->playlistWidget;
	const QListWidgetItem *row = dock->findRow(id, false);
	if (!OBSSourceAutoRelease(dock->lockActive()) || !row || index < 0 || index >= list->count())
		return;
	const Reelhouse::ViewTop top = dock->viewTop();
	dock->reordering = true;
	const int from = list->row(row);
	list->model()->moveRow({}, from, {}, index > from ? index + 1 : index);
	dock->reordering = false;
	dock->orderChanged();
	// A search for a row number now matches another row.
	if (dock->searchText().startsWith(u'#'))
		dock->filterList();
	if (top.trackId != id)
		dock->keepViewTop(top);
}

bool QueueControl::canRestore() const
{
	return dock->canRestore();
}

void QueueControl::restoreSource()
{
	dock->restoreSource();
}

void QueueControl::shuffleQueue()
{
	dock->shuffleQueue();
}

bool QueueControl::canBringBack() const
{
	return dock->canBringBack();
}

void QueueControl::bringBackReplaced()
{
	dock->bringBackReplaced();
}

bool QueueControl::holdsPicture() const
{
	OBSSourceAutoRelease source = dock->lockActive();
	return source && reelhouse::holdsPicture(source);
}

void QueueControl::setHoldsPicture(bool holds)
{
	const Reelhouse::Operation operation(dock);
	OBSSourceAutoRelease source = dock->lockActive();
	if (!source)
		return;
	reelhouse::setHoldsPicture(source, holds);
	dock->changePending = true;
	Q_EMIT dock->configurationChanged();
}

void QueueControl::importPlaylist()
{
	dock->chooseImport();
}

void QueueControl::exportPlaylist()
{
	dock->chooseExport();
}

bool QueueControl::hasMissingFiles() const
{
	return dock->hasMissingFiles();
}

bool QueueControl::isFindingFiles() const
{
	return dock->fileFinder->isRunning();
}

void QueueControl::chooseSearchFolder()
{
	dock->chooseSearchFolder();
}

void QueueControl::findMissingFiles(const QString &folder)
{
	dock->findMissingFiles(folder, false);
}

} // namespace reelhouse
