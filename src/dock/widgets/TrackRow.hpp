/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QListWidgetItem>

#include "queue/Track.hpp"

namespace reelhouse {

// Data roles of a row.
enum TrackRole { IdRole = Qt::UserRole, PathRole, SizeRole };

// A row of the list, which owns it. It makes the data of each role on demand: with stored data, a long queue takes 1.5
// times as long to show.
class TrackRow : public QListWidgetItem {
public:
	TrackRow(const Track &track, bool current);

	const Track &track() const { return shown; }
	const QString &id() const { return shown.id; }
	const QString &path() const { return shown.path; }

	// Does not repaint the row: Qt would search the whole list for it.
	void setSize(qint64 size) { shown.size = size; }

	// Shows or removes the mark of the current track in the text.
	void mark(bool current);
	bool isMarked() const { return marked; }

	// A screen reader hears of a failed track. Nothing else shows it.
	void setFailed(bool nowFailed) { failed = nowFailed; }

	QVariant data(int role) const override;
	void setData(int role, const QVariant &value) override;

private:
	Track shown;
	bool marked;
	bool failed = false;
	bool describedElsewhere = false; // setData() has set an accessible description
};

} // namespace reelhouse
