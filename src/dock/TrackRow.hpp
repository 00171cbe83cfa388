/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QListWidgetItem>

#include "dock/Reelhouse.hpp"

namespace reelhouse {

// A row of the list. It holds its track as it is and makes the data of each role of it when asked: copied into the
// item's own data, a long queue takes twice as long to show, and to read back.
class TrackRow : public QListWidgetItem {
public:
	TrackRow(const Reelhouse::Track &track, bool current);

	const Reelhouse::Track &track() const { return shown; }
	// Whether the text has the mark of the current track.
	void mark(bool current);

	QVariant data(int role) const override;

private:
	const Reelhouse::Track shown;
};

} // namespace reelhouse
