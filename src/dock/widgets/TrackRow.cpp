/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/widgets/TrackRow.hpp"

#include "dock/paths.hpp"
#include "dock/text.hpp"

namespace reelhouse {

TrackRow::TrackRow(const Reelhouse::Track &track, int place_, bool current)
	: QListWidgetItem(labelFor(track.path, current)),
	  id(track.id),
	  path(track.path),
	  place(place_),
	  size(track.size)
{}

void TrackRow::mark(bool current)
{
	setText(labelFor(path, current));
}

QVariant TrackRow::data(int role) const
{
	switch (role) {
	case Reelhouse::IdRole:
		return id;
	case Reelhouse::PathRole:
		return path;
	case Reelhouse::SizeRole:
		return size;
	case Qt::AccessibleDescriptionRole:
		if (size == Reelhouse::SizeMissing)
			return ui("FileMissing").arg(path);
		[[fallthrough]];
	default:
		return QListWidgetItem::data(role);
	}
}

} // namespace reelhouse
