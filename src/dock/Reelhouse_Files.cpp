/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include <QHelpEvent>
#include <QLabel>
#include <QToolTip>
#include <QUrl>

#include <algorithm>
#include <utility>

#include "dock/widgets/TrackListWidget.hpp"
#include "dock/widgets/TrackRow.hpp"
#include "media/tags.hpp"
#include "queue/paths.hpp"
#include "queue/text.hpp"

using namespace reelhouse;
using namespace Qt::StringLiterals;

namespace {

QList<QString> idsOf(const QList<Track> &tracks)
{
	QList<QString> ids;
	ids.reserve(tracks.size());
	for (const Track &track : tracks)
		ids.append(track.id);
	return ids;
}

// Whether the track's file has not answered yet.
bool isOwed(const Track &track)
{
	return track.size == SizeNotLocal && !localFilePath(track.path).isEmpty();
}

void appendTracks(QList<Track> &tracks, const QList<QString> &files)
{
	for (const QString &file : files)
		tracks.append(Track::fromPath(file));
}

} // namespace

// Makes the queue of a playlist, and replaces each folder by its media files. An entry that is a URL stays as it is.
// A folder that does not answer in time stays one entry for now.
void Reelhouse::makeTracks(const QList<QString> &paths)
{
	QList<QString> plain;
	std::ranges::copy_if(paths, std::back_inserter(plain),
			     [](const QString &path) { return !path.contains("://"_L1); });
	const auto seen = looks->look(plain, true);
	auto next = seen.cbegin();
	tracks.clear();
	bool late = false;
	for (const QString &path : paths) {
		const bool isUrl = path.contains("://"_L1);
		const std::optional<FileLooks::Seen> found = isUrl ? std::nullopt : *next++;
		if (found && found->files) {
			appendTracks(tracks, *found->files);
			continue;
		}
		tracks.append(Track::fromPath(path));
		if (isUrl)
			continue;
		late = late || !found;
		tracks.last().size = found ? found->size : SizeNotLocal;
	}
	unlistedQueue = late ? idsOf(tracks) : QList<QString>();
}

// Measures the tracks that have no size yet. All tracks of one path share its size, so each path is measured once.
void Reelhouse::measureTracks()
{
	const auto unknown = std::ranges::count(tracks, SizeUnknown, &Track::size);
	if (unknown == 0)
		return;
	// A new queue has no sizes to share.
	QHash<QString, qint64> sizes;
	for (const Track &track : std::as_const(tracks)) {
		if (unknown < tracks.size() && track.size == SizeUnknown)
			sizes.insert(track.path, SizeUnknown);
	}
	for (const Track &track : std::as_const(tracks)) {
		const auto size = sizes.isEmpty() || track.size == SizeUnknown ? sizes.end() : sizes.find(track.path);
		if (size != sizes.end())
			*size = track.size;
	}
	QList<QString> paths;
	for (Track &track : tracks) {
		if (track.size != SizeUnknown)
			continue;
		track.size = localFilePath(track.path).isEmpty() ? SizeNotLocal : sizes.value(track.path, SizeUnknown);
		if (track.size == SizeUnknown)
			paths.append(track.path);
	}
	const auto seen = looks->look(paths);
	auto next = seen.cbegin();
	for (Track &track : tracks) {
		if (track.size != SizeUnknown)
			continue;
		if (*next)
			sizesNow.remove(track.path);
		track.size = *next ? (*next)->size : SizeNotLocal;
		++next;
	}
}

// Leaves out what is known to be no plain file.
QList<QString> Reelhouse::droppedFiles(const QList<QUrl> &urls)
{
	QList<QString> files;
	for (const QUrl &url : urls) {
		if (url.isLocalFile())
			files.append(url.toLocalFile());
	}
	const auto seen = looks->look(files);
	QList<QString> kept;
	for (qsizetype i = 0; i < files.size(); i++) {
		if (!seen[i] || seen[i]->size != SizeMissing)
			kept.append(files.at(i));
	}
	return kept;
}

// Looks whether the track's file is there. What a play finds differs from the row, which keeps what was measured. A file
// whose disk does not answer in time is not missing: VLC tells whether it plays.
bool Reelhouse::lookForFile(const Track &track)
{
	if (localFilePath(track.path).isEmpty())
		return true;
	const std::optional<qint64> size = looks->sizeOf(track.path);
	if (size)
		noteSizes({{track.path, *size}});
	return size != SizeMissing;
}

bool Reelhouse::isMissing(const Track &track) const
{
	return sizesNow.value(track.path, track.size) == SizeMissing;
}

// Keeps what later looks have seen, where it differs from the rows.
void Reelhouse::noteSizes(const QHash<QString, qint64> &sizes)
{
	const Operation operation(this);
	QHash<QString, qint64> left = sizes;
	for (auto track = tracks.cbegin(); track != tracks.cend() && !left.isEmpty(); ++track) {
		const auto size = left.constFind(track->path);
		if (size == left.cend())
			continue;
		if (*size != sizesNow.value(track->path, track->size)) {
			changePending = true;
			if (*size == track->size)
				sizesNow.remove(track->path);
			else
				sizesNow.insert(track->path, *size);
		}
		left.erase(size);
	}
}

// Reads the lengths of the whole queue in the background, from the current track on.
void Reelhouse::readLengths()
{
	QList<std::pair<QString, qint64>> files;
	const qsizetype first = std::max(currentIndex(), 0);
	for (qsizetype i = 0; i < tracks.size(); i++) {
		const Track &track = tracks.at((first + i) % tracks.size());
		const qint64 size = sizesNow.value(track.path, track.size);
		if (size != SizeMissing)
			files.append({track.path, size});
	}
	tagReader->readLengths(files);
}

// Returns an empty text while no length is known. The sum of a long queue takes a while, so it is kept.
QString Reelhouse::lengthText()
{
	// During a switch, the source still reports the times of the previous track.
	OBSSourceAutoRelease source = switchPending ? OBSSourceAutoRelease() : lockSource();
	const qint64 mediaMs = source ? obs_source_media_get_duration(source) : 0;
	const QHash<QString, qint64> lengths = tagReader->lengths();
	if (!queueLength || changePending || mediaMs != summedMediaMs || !lengths.isSharedWith(summedLengths)) {
		queueLength = QueueLength::of({tracks, sizesNow, lengths, currentIndex(), 0, mediaMs});
		summedLengths = lengths;
		summedMediaMs = mediaMs;
	}
	if (queueLength->unknown == tracks.size())
		return {};
	const qint64 positionMs = source ? obs_source_media_get_time(source) : 0;
	const qint64 leftMs = queueLength->leftMs - std::clamp<qint64>(positionMs, 0, queueLength->currentMs);
	const QString text = ui("QueueLength").arg(longClockText(queueLength->wholeMs), longClockText(leftMs));
	return queueLength->unknown == 0 ? text : text + u" · "_s + ui("UnknownLengths").arg(queueLength->unknown);
}

void Reelhouse::showLengthTip(const QHelpEvent *event)
{
	QToolTip::showText(event->globalPos(), lengthText(), trackCountLabel, trackCountLabel->rect());
}

// Only assistive technology shows this text.
void Reelhouse::describeLength()
{
	const QString text = lengthText();
	// Qt announces each description that is set, even an equal one.
	if (trackCountLabel->accessibleDescription() != text)
		trackCountLabel->setAccessibleDescription(text);
}

// Takes answers of disks that came after the dock had stopped waiting. Nothing moves, and nothing is stored.
void Reelhouse::takeLateAnswers(const FileLooks::SeenByPath &seen)
{
	const Operation operation(this);
	changePending = true;
	bool hasFolder = false;
	for (qsizetype i = 0; i < tracks.size(); i++) {
		const auto answer = seen.constFind(tracks.at(i).path);
		if (answer == seen.cend() || !isOwed(tracks.at(i)))
			continue;
		hasFolder = hasFolder || answer->files;
		tracks[i].size = answer->size;
		sizesNow.remove(tracks.at(i).path);
		if (TrackRow *row = playlistWidget->trackRow(static_cast<int>(i)); row && row->id() == tracks.at(i).id)
			row->setSize(answer->size);
	}
	for (RemovedTrack &gone : removed) {
		const auto answer = seen.constFind(gone.track.path);
		if (answer != seen.cend() && isOwed(gone.track))
			gone.track.size = answer->size;
	}
	playlistWidget->viewport()->update();
	if (hasFolder)
		expandLate(seen);
}

// Replaces folders whose listing came late, unless somebody has changed the queue or plays the folder.
void Reelhouse::expandLate(const FileLooks::SeenByPath &seen)
{
	const Operation operation(this);
	if (unlistedQueue.isEmpty() || unlistedQueue != idsOf(tracks))
		return;
	QList<Track> expanded;
	for (const Track &track : std::as_const(tracks)) {
		const auto answer = seen.constFind(track.path);
		if (answer != seen.cend() && answer->files && track.id != currentId)
			appendTracks(expanded, *answer->files);
		else
			expanded.append(track);
	}
	tracks = std::move(expanded);
	unlistedQueue = idsOf(tracks);
	updateListKeepingView();
	storeQueue();
}
