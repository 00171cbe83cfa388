/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/widgets/TrackRow.hpp"

#include "queue/paths.hpp"
#include "queue/text.hpp"

namespace reelhouse {

TrackRow::TrackRow(const Track &track, bool current)
	: QListWidgetItem(labelFor(track.path, current)), shown(track), marked(current)
{}

void TrackRow::mark(bool current)
{
	marked = current;
	setText(labelFor(shown.path, current));
}

QVariant TrackRow::data(int role) const
{
	switch (role) {
	case IdRole:
		return shown.id;
	case PathRole:
		return shown.path;
	case SizeRole:
		return shown.size;
	case Qt::AccessibleTextRole:
		return failed ? ui("TrackNotPlayable").arg(text()) : QListWidgetItem::data(role);
	case Qt::AccessibleDescriptionRole:
		if (shown.size == SizeMissing && !describedElsewhere)
			return ui("FileMissing").arg(shown.path);
		[[fallthrough]];
	default:
		return QListWidgetItem::data(role);
	}
}

void TrackRow::setData(int role, const QVariant &value)
{
	if (role == IdRole)
		shown.id = value.toString();
	else if (role == PathRole)
		shown.path = value.toString();
	else if (role == SizeRole)
		shown.size = value.toLongLong();
	else if (role == Qt::AccessibleDescriptionRole)
		describedElsewhere = true;
	// The base class notifies the views.
	QListWidgetItem::setData(role, value);
}

} // namespace reelhouse
