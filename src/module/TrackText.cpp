/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "module/TrackText.hpp"

#include <algorithm>

#include <obs-frontend-api.h>

#include "dock/Reelhouse.hpp"
#include "dock/record.hpp"

namespace reelhouse {

namespace {

// In the VLC source's private settings: the UUID of the text source.
constexpr char textSourceKey[] = "OBS-Reelhouse-text";
constexpr char textKey[] = "text";

// A kind of text source and its setting that makes it show a file instead of its text.
struct TextKind {
	const char *id; // of all its versions
	const char *fileKey;
};
constexpr TextKind textKinds[] = {{"text_ft2_source", "from_file"}, {"text_gdiplus", "read_from_file"}};

bool showsItsText(obs_source_t *source)
{
	const char *id = obs_source_get_unversioned_id(source);
	const auto *kind = std::ranges::find_if(
		textKinds, [id](const TextKind &one) { return id && strcmp(id, one.id) == 0; });
	if (kind == std::end(textKinds) || obs_source_removed(source))
		return false;
	OBSDataAutoRelease settings = obs_source_get_settings(source);
	return !obs_data_get_bool(settings, kind->fileKey);
}

// Does nothing where the text source is gone or has the text already.
void setText(const QString &uuid, const QString &text)
{
	OBSSourceAutoRelease source = obs_get_source_by_uuid(uuid.toUtf8().constData());
	if (!source || !showsItsText(source))
		return;
	OBSDataAutoRelease settings = obs_source_get_settings(source);
	if (stringIn(settings, textKey) == text)
		return;
	OBSDataAutoRelease change = obs_data_create();
	obs_data_set_string(change, textKey, text.toUtf8().constData());
	obs_source_update(source, change);
}

} // namespace

TrackText::TrackText(Reelhouse *dock_) : QObject(dock_), dock(dock_)
{
	connect(dock, &Reelhouse::stateChanged, this, &TrackText::update);
}

QList<TrackText::TextSource> TrackText::textSources()
{
	QList<TextSource> sources;
	obs_enum_sources(
		[](void *data, obs_source_t *source) {
			if (showsItsText(source))
				static_cast<QList<TextSource> *>(data)->append(
					{QString::fromUtf8(obs_source_get_name(source)),
					 QString::fromUtf8(obs_source_get_uuid(source))});
			return true;
		},
		&sources);
	std::ranges::sort(sources, [](const TextSource &a, const TextSource &b) {
		return QString::localeAwareCompare(a.name, b.name) < 0;
	});
	return sources;
}

QString TrackText::chosen() const
{
	OBSSourceAutoRelease source = dock->lockSource();
	if (!source || !dock->isActive())
		return {};
	OBSDataAutoRelease settings = obs_source_get_private_settings(source);
	return stringIn(settings, textSourceKey);
}

void TrackText::choose(const QString &uuid)
{
	OBSSourceAutoRelease source = dock->lockSource();
	if (!source || !dock->isActive())
		return;
	OBSDataAutoRelease settings = obs_source_get_private_settings(source);
	if (uuid.isEmpty())
		obs_data_erase(settings, textSourceKey);
	else
		obs_data_set_string(settings, textSourceKey, uuid.toUtf8().constData());
	update();
	obs_frontend_save();
}

// Compares with what the text source holds, since others may set that: a Properties dialog that is cancelled puts an old
// text back.
void TrackText::update()
{
	const QString target = chosen();
	if (!shownIn.isEmpty() && shownIn != target)
		setText(shownIn, QString());
	shownIn = target;
	if (!target.isEmpty())
		setText(target, text());
}

} // namespace reelhouse
