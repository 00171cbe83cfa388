/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QListWidgetItem>

#include "dock/Reelhouse.hpp"

namespace reelhouse {

// A row of the list. It makes the data of each role when asked: kept as the item's own data, a long queue takes half as
// long again to show.
class TrackRow : public QListWidgetItem {
public:
	TrackRow(const Reelhouse::Track &track, int place, bool current);

	// Whether the text has the mark of the current track.
	void mark(bool current);

	QVariant data(int role) const override;

	const QString id;
	const QString path;
	int place; // of the track in the queue, until the queue takes over the order of the rows

private:
	const qint64 size;
};

} // namespace reelhouse
