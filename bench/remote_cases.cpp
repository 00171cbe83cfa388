/* SPDX-License-Identifier: GPL-2.0-or-later */

// What a remote control asks for.

#include "cases.hpp"

#include "Stage.hpp"
#include "WebSocketPlugin.hpp"

namespace {

// The queue as a remote control is told it.
void fillAnswer(obs_data_t *answer, const QList<Reelhouse::Track> &tracks)
{
	OBSDataArrayAutoRelease array = obs_data_array_create();
	for (int i = 0; i < tracks.size(); i++) {
		OBSDataAutoRelease item = obs_data_create();
		const QByteArray path = tracks[i].path.toUtf8();
		obs_data_set_int(item, "index", i);
		obs_data_set_string(item, "id", tracks[i].id.toUtf8().constData());
		obs_data_set_string(item, "path", path.constData());
		obs_data_set_string(item, "label", path.constData() + path.lastIndexOf('/') + 1);
		obs_data_set_int(item, "sizeBytes", tracks[i].size);
		obs_data_array_push_back(array, item);
	}
	obs_data_set_array(answer, "tracks", array);
}

} // namespace

// Asked on this thread, which is served at once: what is timed is the answer, not the way between two threads.
void getQueue(Comparison &comparison)
{
	Stage stage(comparison.rows);
	WebSocketPlugin plugin;
	obs_post_load_modules();
	const auto request = plugin.requests.at("GetQueue");
	const QList<Reelhouse::Track> tracks = tracksOf(mediaFiles(comparison.rows));
	OBSDataAutoRelease question = obs_data_create();
	comparison.run(
		[&] {
			OBSDataAutoRelease answer = obs_data_create();
			fillAnswer(answer, tracks);
		},
		[&] {
			OBSDataAutoRelease answer = obs_data_create();
			request.callback(question, answer, request.priv_data);
		});
}
