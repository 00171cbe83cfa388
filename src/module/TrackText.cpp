/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "module/TrackText.hpp"

#include <QHash>

#include <algorithm>
#include <utility>

#include <obs-frontend-api.h>

#include "dock/MediaFollower.hpp"
#include "dock/QueueControl.hpp"
#include "media/tags.hpp"
#include "queue/privateKeys.hpp"
#include "queue/settings.hpp"
#include "queue/sources.hpp"

namespace reelhouse {

namespace {

constexpr char textKey[] = "text";

// A kind of text source, and the setting that makes it show a file.
struct TextKind {
	const char *id; // the type id without its version
	const char *fileKey;
};
constexpr TextKind textKinds[] = {{"text_ft2_source", "from_file"}, {"text_gdiplus", "read_from_file"}};

bool showsItsText(obs_source_t *source)
{
	const char *id = obs_source_get_unversioned_id(source);
	const auto *kind =
		std::ranges::find_if(textKinds, [id](const TextKind &one) { return id && strcmp(id, one.id) == 0; });
	if (kind == std::end(textKinds) || obs_source_removed(source))
		return false;
	OBSDataAutoRelease settings = obs_source_get_settings(source);
	return !obs_data_get_bool(settings, kind->fileKey);
}

// Does nothing when the text source is gone or already has the text.
void showText(const QString &uuid, const QString &text)
{
	OBSSourceAutoRelease source = sourceWith(uuid);
	if (!source || !showsItsText(source))
		return;
	OBSDataAutoRelease settings = obs_source_get_settings(source);
	if (textIn(settings, textKey) == text)
		return;
	OBSDataAutoRelease change = obs_data_create();
	obs_data_set_string(change, textKey, text.toUtf8().constData());
	obs_source_update(source, change);
}

// By the UUID of a text source: whose text it shows. Several docks may have chosen the same one.
QHash<QString, const TrackText *> writers;

} // namespace

TrackText::TrackText(QueueControl *queue_) : QObject(queue_), queue(queue_)
{
	connect(queue, &QueueControl::changed, this, &TrackText::follow);
	connect(queue, &QueueControl::switchFinished, this, &TrackText::update);
	connect(queue, &QueueControl::mediaPolled, this, &TrackText::update);
	connect(&queue->tagReader(), &TagReader::tagsRead, this, &TrackText::update);
}

TrackText::~TrackText()
{
	writers.removeIf([this](const auto &writer) { return writer.value() == this; });
}

QList<NamedSource> TrackText::textSources()
{
	return namedSources(&showsItsText);
}

QString TrackText::chosen() const
{
	OBSSourceAutoRelease source = queue->lockSource();
	if (!source || !queue->isActive())
		return {};
	OBSDataAutoRelease settings = obs_source_get_private_settings(source);
	const QString uuid = textIn(settings, textSourceKey);
	OBSSourceAutoRelease byUuid = sourceWith(uuid);
	if (uuid.isEmpty() || byUuid)
		return uuid;
	OBSSourceAutoRelease byName = obs_get_source_by_name(obs_data_get_string(settings, textSourceNameKey));
	return byName && showsItsText(byName) ? uuidOf(byName) : uuid;
}

void TrackText::choose(const QString &uuid)
{
	OBSSourceAutoRelease source = queue->lockSource();
	if (!source || !queue->isActive())
		return;
	OBSDataAutoRelease settings = obs_source_get_private_settings(source);
	OBSSourceAutoRelease text = sourceWith(uuid);
	obs_data_erase(settings, textSourceKey);
	obs_data_erase(settings, textSourceNameKey);
	if (text) {
		obs_data_set_string(settings, textSourceKey, obs_source_get_uuid(text));
		obs_data_set_string(settings, textSourceNameKey, obs_source_get_name(text));
	}
	update();
	obs_frontend_save();
}

void TrackText::follow()
{
	const int index = queue->currentIndex();
	path = index < 0 ? QString() : queue->tracks().at(index).path;
	update();
}

// Compare with the text in the source, since others may change it: a cancelled Properties dialog restores an old text.
void TrackText::update()
{
	const QString target = chosen();
	if (!shownIn.isEmpty() && shownIn != target && writers.value(shownIn, this) == this) {
		showText(shownIn, QString());
		writers.remove(shownIn);
	}
	shownIn = target;
	// During a switch, the previous track is still to be seen.
	if (target.isEmpty() || queue->isSwitching())
		return;
	const QString now = text();
	const bool isNew = now != std::exchange(shownText, now);
	// The track that started last is shown.
	if (writers.value(target, this) != this && (now.isEmpty() || !isNew))
		return;
	showText(target, now);
	if (now.isEmpty())
		writers.remove(target);
	else
		writers.insert(target, this);
}

QString TrackText::text() const
{
	const obs_media_state state = queue->lastMediaState();
	if (path.isEmpty() || (!isPlaying(state) && !isLoading(state)))
		return {};
	return artistAndTitle(path, queue->tagReader().cached(path).value_or(Tags()));
}

} // namespace reelhouse
