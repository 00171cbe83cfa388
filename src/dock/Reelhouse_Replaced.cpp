/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include "dock/paths.hpp"
#include "dock/record.hpp"
#include "dock/text.hpp"

using namespace reelhouse;

// An edit made elsewhere wins over the queue, but whoever made it may not have meant it: OBS's Properties dialog puts
// an old playlist back when it is cancelled.
void Reelhouse::keepReplacedQueue(obs_source_t *source, obs_data_t *record)
{
	OBSDataAutoRelease privateSettings = obs_source_get_private_settings(source);
	const qsizetype count = keepReplaced(privateSettings, record, tracks);
	if (count == 0)
		return;
	blog(LOG_INFO,
	     "[OBS-Reelhouse] The playlist of \"%s\" was changed elsewhere and has replaced a queue of %lld tracks. "
	     "To have that queue back, choose \"%s\" in the Tools menu.",
	     obs_source_get_name(source), static_cast<long long>(count),
	     ui("BringBackReplacedQueue").toUtf8().constData());
}

bool Reelhouse::canBringBack() const
{
	OBSSourceAutoRelease source = lockSource();
	if (!source || suspended || shutDown)
		return false;
	OBSDataAutoRelease privateSettings = obs_source_get_private_settings(source);
	return OBSDataAutoRelease(replacedRecord(privateSettings));
}

// What the source plays goes on: its playlist stays, and is no edit made elsewhere from here on.
void Reelhouse::bringBackReplaced()
{
	cancelSwitch();
	OBSSourceAutoRelease source = lockSource();
	if (!source || suspended || shutDown)
		return;
	OBSDataAutoRelease privateSettings = obs_source_get_private_settings(source);
	OBSDataAutoRelease kept = replacedRecord(privateSettings);
	if (!kept)
		return;
	OBSDataAutoRelease replaced = obs_data_get_obj(privateSettings, recordKey);
	OBSDataAutoRelease settings = obs_source_get_settings(source);

	tracks.clear();
	readTracks(kept, tracks);
	removed.clear();
	readEndMode(kept);
	readTakeover(kept);
	observed = {pathsIn(settings, playlistKey)};
	currentId = idHeldBySource(stringIn(kept, currentKey));
	playbackArmed = false;
	showLoaded(currentId);
	// After the store, which leaves the replaced record to nobody else.
	exchangeReplaced(privateSettings, replaced);
	updateButtons();
	clearError();
}

// The track that a source with a playlist of one entry holds. The same file may be queued more than once.
QString Reelhouse::idHeldBySource(const QString &preferredId) const
{
	if (observed.paths.size() != 1)
		return {};
	QString held;
	for (const Track &track : tracks) {
		if (track.path != observed.paths.constFirst())
			continue;
		if (track.id == preferredId)
			return preferredId;
		if (held.isEmpty())
			held = track.id;
	}
	return held;
}
