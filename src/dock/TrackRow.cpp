/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/TrackRow.hpp"

#include "dock/paths.hpp"
#include "dock/text.hpp"

namespace reelhouse {

TrackRow::TrackRow(const Reelhouse::Track &track, bool current)
	: QListWidgetItem(labelFor(track.path, current)), shown(track)
{}

void TrackRow::mark(bool current)
{
	setText(labelFor(shown.path, current));
}

QVariant TrackRow::data(int role) const
{
	switch (role) {
	case Reelhouse::IdRole:
		return shown.id;
	case Reelhouse::PathRole:
		return shown.path;
	case Reelhouse::SizeRole:
		return shown.size;
	case Qt::AccessibleDescriptionRole:
		if (shown.size == Reelhouse::SizeMissing)
			return ui("FileMissing").arg(shown.path);
		[[fallthrough]];
	default:
		return QListWidgetItem::data(role);
	}
}

} // namespace reelhouse
