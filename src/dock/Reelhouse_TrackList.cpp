/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include <QComboBox>
#include <QFileInfo>
#include <QHash>
#include <QLabel>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QToolTip>

#include <algorithm>
#include <utility>

#include "dock/paths.hpp"
#include "dock/text.hpp"
#include "dock/widgets/TrackListWidget.hpp"
#include "dock/widgets/TrackRow.hpp"

using namespace reelhouse;

namespace {

qint64 measure(const QString &path)
{
	const QString local = localFilePath(path);
	if (local.isEmpty())
		return Reelhouse::SizeNotLocal;
	const QFileInfo file(local);
	return file.isFile() ? file.size() : Reelhouse::SizeMissing;
}

// Measures the tracks that have no size yet, each path once.
void measureTracks(QList<Reelhouse::Track> &tracks)
{
	const auto isUnknown = [](const Reelhouse::Track &track) {
		return track.size == Reelhouse::SizeUnknown;
	};
	if (std::ranges::none_of(std::as_const(tracks), isUnknown))
		return;
	QHash<QString, qint64> sizes;
	for (const Reelhouse::Track &track : std::as_const(tracks)) {
		if (!isUnknown(track))
			sizes.insert(track.path, track.size);
	}
	for (Reelhouse::Track &track : tracks) {
		if (!isUnknown(track))
			continue;
		auto size = sizes.constFind(track.path);
		if (size == sizes.cend())
			size = sizes.insert(track.path, measure(track.path));
		track.size = *size;
	}
}

// Which rows a search text shows: the row of a number after "#", else every row whose path contains the text.
class RowFilter {
public:
	explicit RowFilter(const QString &needle_) : needle(needle_), byNumber(needle.startsWith(u'#'))
	{
		// What is no number reads 0, which is no row's.
		if (byNumber)
			numberedRow = qint64(QStringView(needle).mid(1).toInt()) - 1;
	}

	bool shows(int row, const QString &path) const
	{
		return byNumber ? row == numberedRow : path.contains(needle, Qt::CaseInsensitive);
	}

private:
	const QString needle;
	const bool byNumber;
	qint64 numberedRow = -1;
};

} // namespace

void Reelhouse::rebuildList(const QString &selectId)
{
	reordering = true;
	const QSignalBlocker blocker(playlistWidget);
	playlistWidget->setUpdatesEnabled(false);
	playlistWidget->clear();
	measureTracks(tracks);
	QListWidgetItem *selected = nullptr;
	for (int i = 0; i < tracks.size(); i++) {
		const Track &track = tracks.at(i);
		auto *row = new TrackRow(track, i, track.id == currentId);
		playlistWidget->addItem(row);
		if (track.id == selectId)
			selected = row;
	}
	playlistWidget->setCurrentItem(selected, QItemSelectionModel::ClearAndSelect);
	playlistWidget->setUpdatesEnabled(true);
	reordering = false;
	filterList();
}

void Reelhouse::filterList()
{
	QToolTip::showText(QPoint(), QString());
	const QSignalBlocker blocker(playlistWidget);
	const QString text = needle();
	const RowFilter filter(text);
	shownCount = 0;
	QListWidgetItem *firstShown = nullptr;
	for (int i = 0; i < playlistWidget->count(); i++) {
		TrackRow *row = playlistWidget->trackRow(i);
		const bool shown = filter.shows(i, row->path);
		// Qt puts off a layout and a repaint for each row that it is told about, changed or not.
		if (playlistWidget->isRowHidden(i) == shown)
			playlistWidget->setRowHidden(i, !shown);
		shownCount += shown;
		if (shown && !firstShown)
			firstShown = row;
	}

	// Without a filter the user's own row stays.
	if (!text.isEmpty() || !playlistWidget->currentItem()) {
		playlistWidget->setCurrentItem(firstShown, QItemSelectionModel::ClearAndSelect);
		if (firstShown)
			playlistWidget->scrollToItem(firstShown, QAbstractItemView::EnsureVisible);
	}
	playlistWidget->setDragEnabled(text.isEmpty());
	trackCountLabel->setText(text.isEmpty() ? ui("TrackCount").arg(tracks.size())
						: ui("FilteredCount").arg(shownCount).arg(tracks.size()));
	explainEmptyList();
	updateButtons();
}

// While no scene collection is there to work on, there is nothing to say.
void Reelhouse::explainEmptyList()
{
	const char *key = nullptr;
	if (suspended || shownCount > 0)
		key = nullptr;
	else if (sourceSelector->count() == 1)
		key = "ListNoSources";
	else if (!weakSource)
		key = "ListNoSourceChosen";
	else
		key = tracks.isEmpty() ? "ListEmptyQueue" : "ListNothingFound";
	playlistWidget->setEmptyText(key ? ui(key) : QString());
	// For the ear, in words that a look at the list tells.
	playlistWidget->setAccessibleDescription(ui(key ? key : "PlaylistDescription"));
}

QListWidgetItem *Reelhouse::findRow(const QString &id, bool shownOnly) const
{
	for (int i = 0; i < playlistWidget->count(); i++) {
		TrackRow *row = playlistWidget->trackRow(i);
		if (row->id == id && !(shownOnly && playlistWidget->isRowHidden(i)))
			return row;
	}
	return nullptr;
}

QString Reelhouse::needle() const
{
	return searchEdit->text().trimmed();
}

// Goes through the selection's ranges rather than its items: this runs on every poll, and a list may be selected whole.
int Reelhouse::visibleSelectionCount() const
{
	int count = 0;
	if (shownCount == 0)
		return count;
	for (const QItemSelectionRange &range : playlistWidget->selectionModel()->selection()) {
		for (int row = range.top(); row <= range.bottom() && count < 2; row++)
			count += !playlistWidget->isRowHidden(row);
	}
	return count;
}
