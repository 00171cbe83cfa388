/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include <QFileInfo>
#include <QHash>
#include <QLabel>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QToolTip>

#include <memory>

#include "dock/TrackListWidget.hpp"
#include "dock/paths.hpp"
#include "dock/text.hpp"

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
	QHash<QString, qint64> sizes;
	for (const Reelhouse::Track &track : std::as_const(tracks)) {
		if (track.size != Reelhouse::SizeUnknown)
			sizes.insert(track.path, track.size);
	}
	for (Reelhouse::Track &track : tracks) {
		if (track.size != Reelhouse::SizeUnknown)
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

	bool shows(int row, const QListWidgetItem *item) const
	{
		if (byNumber)
			return row == numberedRow;
		return item->data(Reelhouse::PathRole).toString().contains(needle, Qt::CaseInsensitive);
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
	for (const Track &track : std::as_const(tracks)) {
		QListWidgetItem *row = makeRow(track);
		playlistWidget->addItem(row);
		if (track.id == selectId)
			selected = row;
	}
	playlistWidget->setCurrentItem(selected, QItemSelectionModel::ClearAndSelect);
	playlistWidget->setUpdatesEnabled(true);
	reordering = false;
	filterList();
}

// The row is complete before the list takes it: an item that is in a list already searches the list for itself
// whenever its data is set. The caller owns it until then.
QListWidgetItem *Reelhouse::makeRow(const Track &track) const
{
	auto row = std::make_unique<QListWidgetItem>(labelFor(track.path, track.id == currentId));
	row->setData(IdRole, track.id);
	row->setData(PathRole, track.path);
	row->setData(SizeRole, track.size);
	if (track.size == SizeMissing)
		row->setData(Qt::AccessibleDescriptionRole, ui("FileMissing").arg(track.path));
	return row.release();
}

void Reelhouse::filterList()
{
	QToolTip::showText(QPoint(), QString());
	const QSignalBlocker blocker(playlistWidget);
	const QString text = needle();
	const RowFilter filter(text);
	int shownCount = 0;
	QListWidgetItem *firstShown = nullptr;
	for (int i = 0; i < playlistWidget->count(); i++) {
		QListWidgetItem *row = playlistWidget->item(i);
		const bool shown = filter.shows(i, row);
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
	updateButtons();
}

QListWidgetItem *Reelhouse::findRow(const QString &id, bool shownOnly) const
{
	for (int i = 0; i < playlistWidget->count(); i++) {
		QListWidgetItem *row = playlistWidget->item(i);
		if (row->data(IdRole).toString() == id && !(shownOnly && playlistWidget->isRowHidden(i)))
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
	for (const QItemSelectionRange &range : playlistWidget->selectionModel()->selection()) {
		for (int row = range.top(); row <= range.bottom() && count < 2; row++)
			count += !playlistWidget->isRowHidden(row);
	}
	return count;
}
