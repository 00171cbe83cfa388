/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Host.hpp"

#include <QApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <mutex>
#include <thread>

#include <util/bmem.h>

#include <dlfcn.h>

using namespace Qt::StringLiterals;

namespace {

Frontend *active = nullptr;

struct VlcMedia {
	Media now;
	std::mutex mutex;
	// What was asked for, and the signal that tells of it. Any thread, with the mutex held.
	QList<std::pair<QString, const char *>> queued;
	QStringList done;
	int drops = 0;
	bool decoupled = false;
};

VlcMedia &vlc(void *data)
{
	return *static_cast<VlcMedia *>(data);
}

void queueAction(obs_source_t *source, const QString &what, const char *signal)
{
	VlcMedia &media = vlc(obs_obj_get_data(source));
	const std::lock_guard lock(media.mutex);
	media.queued.append({what, signal});
}

obs_source_info vlcSourceInfo()
{
	obs_source_info info = {};
	info.id = "vlc_source";
	info.type = OBS_SOURCE_TYPE_INPUT;
	info.output_flags = OBS_SOURCE_ASYNC_VIDEO | OBS_SOURCE_AUDIO | OBS_SOURCE_CONTROLLABLE_MEDIA;
	info.get_name = [](void *) {
		return "VLC";
	};
	info.create = [](obs_data_t *, obs_source_t *) -> void * {
		return new VlcMedia;
	};
	info.destroy = [](void *data) {
		delete &vlc(data);
	};
	info.get_width = [](void *data) {
		return vlc(data).now.width;
	};
	info.get_height = [](void *data) {
		return vlc(data).now.width / 2;
	};
	info.media_get_state = [](void *data) {
		return vlc(data).now.state;
	};
	info.media_get_time = [](void *data) {
		return vlc(data).now.timeMs;
	};
	info.media_get_duration = [](void *data) {
		return vlc(data).now.durationMs;
	};
	return info;
}

void addPlaylist(obs_data_t *settings, const QStringList &paths)
{
	OBSDataArrayAutoRelease array = obs_data_array_create();
	for (const QString &path : paths) {
		OBSDataAutoRelease item = obs_data_create();
		obs_data_set_string(item, "value", path.toUtf8().constData());
		obs_data_array_push_back(array, item);
	}
	obs_data_set_array(settings, "playlist", array);
}

} // namespace

void (*passTime)(int ms) = [](int ms) {
	QTest::qWait(ms);
};

thread_local bool onGraphicsThread = false;

quint32 laggedFrames = 0;

// The frontend API's functions, which the module finds in this program before it finds them in the library.

static int numberOf(const char *id)
{
	return std::max(QString::fromLatin1(id).section(u'-', 2).toInt(), 1);
}

bool obs_frontend_add_dock_by_id(const char *id, const char *title, void *widget)
{
	const int number = numberOf(id);
	if (number == 1) {
		active->dock = static_cast<QWidget *>(widget);
	} else if (active->acceptsDock) {
		active->others[number] = new QDockWidget(QString::fromUtf8(title), &active->window);
		active->others[number]->hide();
		active->others[number]->setFloating(true);
		active->others[number]->setWidget(static_cast<QWidget *>(widget));
	}
	return active->acceptsDock;
}

void *obs_frontend_add_tools_menu_qaction(const char *name)
{
	return new QAction(QString::fromUtf8(name), &active->toolsMenu);
}

void obs_frontend_remove_dock(const char *id)
{
	active->removedDocks++;
	const int number = numberOf(id);
	if (number == 1)
		delete active->dock.data();
	else
		delete active->others.take(number).data();
}

void obs_frontend_add_event_callback(obs_frontend_event_cb callback, void *data)
{
	active->callbacks.emplace_back(callback, data);
}

void obs_frontend_remove_event_callback(obs_frontend_event_cb callback, void *data)
{
	std::erase(active->callbacks, std::pair(callback, data));
}

void obs_frontend_save(void)
{
	active->saves++;
}

bool obs_frontend_preview_program_mode_active(void)
{
	return active->studioMode;
}

obs_source_t *obs_frontend_get_current_scene(void)
{
	return obs_source_get_ref(active->program);
}

void obs_frontend_set_current_scene(obs_source_t *scene)
{
	active->program = scene;
}

obs_source_t *obs_frontend_get_current_preview_scene(void)
{
	return obs_source_get_ref(active->preview);
}

void obs_frontend_set_current_preview_scene(obs_source_t *scene)
{
	active->preview = scene;
}

void obs_frontend_get_scenes(obs_frontend_source_list *list)
{
	for (const OBSSource &scene : active->scenes) {
		obs_source_t *reference = obs_source_get_ref(scene);
		da_push_back(list->sources, &reference);
	}
}

uint32_t obs_get_version(void)
{
	return active->obsVersion;
}

const char *qVersion(void) noexcept
{
	return active ? active->qtVersion : QT_VERSION_STR;
}

// These replace functions of libobs: without its video thread, libobs would never run its own queue.

bool obs_in_task_thread(enum obs_task_type type)
{
	return type == OBS_TASK_GRAPHICS && onGraphicsThread;
}

void obs_source_media_play_pause(obs_source_t *source, bool pause)
{
	queueAction(source, pause ? u"pause"_s : u"play"_s, pause ? "media_pause" : "media_play");
}

void obs_source_media_stop(obs_source_t *source)
{
	queueAction(source, u"stop"_s, "media_stopped");
}

void obs_source_media_next(obs_source_t *source)
{
	queueAction(source, u"next"_s, "media_next");
}

void obs_source_media_previous(obs_source_t *source)
{
	queueAction(source, u"previous"_s, "media_previous");
}

void obs_source_media_set_time(obs_source_t *source, int64_t ms)
{
	queueAction(source, u"seek %1"_s.arg(ms), nullptr);
}

void obs_source_set_async_decoupled(obs_source_t *source, bool decouple)
{
	VlcMedia &media = vlc(obs_obj_get_data(source));
	const std::lock_guard lock(media.mutex);
	media.drops += decouple;
	media.decoupled = decouple;
}

uint32_t obs_get_lagged_frames(void)
{
	return laggedFrames;
}

bool obs_source_async_decoupled(const obs_source_t *source)
{
	return source && vlc(obs_obj_get_data(const_cast<obs_source_t *>(source))).decoupled;
}

// Notes what the filter that holds pictures is told.
bool proc_handler_call(proc_handler_t *handler, const char *name, calldata_t *params)
{
	static const auto next = reinterpret_cast<decltype(&proc_handler_call)>(dlsym(RTLD_NEXT, "proc_handler_call"));
	QStringList &told = active->mayHold;
	const QString allowed = calldata_bool(params, "allowed") ? u"yes"_s : u"no"_s;
	if (qstrcmp(name, "allow_hold") == 0 && (told.isEmpty() || told.constLast() != allowed))
		told.append(allowed);
	return next(handler, name, params);
}

Host::Host() : frontend(std::make_unique<Frontend>())
{
	laggedFrames = 0;
	active = frontend.get();
	// Without video, libobs has something to say on every texture that a source frees.
	base_set_log_handler(
		[](int, const char *format, va_list values, void *) {
			const QString line = QString::vasprintf(format, values);
			if (line.startsWith(u"[OBS-Reelhouse] "_s))
				active->log.append(line.sliced(16));
		},
		nullptr);
	EXPECT_TRUE(obs_startup("en-US", QFile::encodeName(folder.filePath(u"config"_s)).constData(), nullptr));
	const obs_source_info info = vlcSourceInfo();
	obs_register_source(&info);
}

void Host::endObs()
{
	if (std::exchange(ended, true))
		return;
	frontend->scenes.clear();
	frontend->program = frontend->preview = nullptr;
	// Remove the scenes as OBS does: libobs 32 itself keeps a scene until it is removed.
	obs_enum_scenes(
		[](void *, obs_source_t *scene) {
			obs_source_remove(scene);
			return true;
		},
		nullptr);
	// libobs destroys sources on a thread of its own, and its shutdown does not wait for that. It queues what a
	// scene or group held only when it destroys the scene or group itself. No test nests them deeper.
	for (int depth = 0; depth < 5; depth++)
		obs_queue_task(OBS_TASK_DESTROY, [](void *) {}, nullptr, true);
	obs_shutdown();
	EXPECT_EQ(bnum_allocs(), 0) << "libobs still holds memory of the test's or the module's";
}

bool Host::loadModule()
{
	obs_module_t *module = nullptr;
	EXPECT_EQ(obs_open_module(&module, REELHOUSE_MODULE, REELHOUSE_DATA), MODULE_SUCCESS);
	if (!obs_init_module(module))
		return false;
	frontend->dock->show();
	frontend->dock->activateWindow();
	EXPECT_TRUE(QTest::qWaitForWindowActive(frontend->dock));
	return true;
}

OBSSource Host::makeSource(const QString &name, const QStringList &playlist, const char *otherSettings, const char *id)
{
	OBSDataAutoRelease settings = obs_data_create_from_json(otherSettings);
	addPlaylist(settings, playlist);
	OBSSourceAutoRelease source = obs_source_create(id, name.toUtf8().constData(), settings, nullptr);
	return source.Get();
}

void Host::setPlaylist(obs_source_t *source, const QStringList &paths)
{
	OBSDataAutoRelease settings = obs_data_create();
	addPlaylist(settings, paths);
	obs_source_update(source, settings);
}

Media &Host::media(obs_source_t *source)
{
	return vlc(obs_obj_get_data(source)).now;
}

static void sendSignal(obs_source_t *source, const char *signal)
{
	calldata_t data = {};
	calldata_set_ptr(&data, "source", source);
	signal_handler_signal(obs_source_get_signal_handler(source), signal, &data);
	calldata_free(&data);
}

void Host::videoTick(obs_source_t *source)
{
	std::thread([source, &media = vlc(obs_obj_get_data(source))] {
		std::unique_lock lock(media.mutex);
		while (!media.queued.isEmpty()) {
			const auto [what, signal] = media.queued.takeFirst();
			media.done.append(what);
			lock.unlock();
			if (signal)
				sendSignal(source, signal);
			lock.lock();
		}
	}).join();
}

void Host::endMedia(obs_source_t *source)
{
	media(source).state = OBS_MEDIA_STATE_ENDED;
	std::thread(sendSignal, source, "media_ended").join();
}

void Host::endMediaSlowly(obs_source_t *source)
{
	media(source).state = OBS_MEDIA_STATE_ENDED;
	std::promise<void> told;
	slowLeaves = {};
	slowThread = std::thread([this, source, &told] {
		sendSignal(source, "media_ended");
		told.set_value();
		slowLeaves.get_future().wait();
	});
	told.get_future().wait();
}

void Host::leave()
{
	slowLeaves.set_value();
	slowThread.join();
}

int Host::takeDrops(obs_source_t *source)
{
	return std::exchange(vlc(obs_obj_get_data(source)).drops, 0);
}

QStringList Host::takeDone(obs_source_t *source)
{
	return std::exchange(vlc(obs_obj_get_data(source)).done, {});
}

QString Host::makeFile(const QString &name, const QByteArray &content) const
{
	QFile file(folder.filePath(name));
	EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
	return file.fileName();
}

void Host::show(obs_source_t *source)
{
	ASSERT_TRUE(loadModule());
	frontend->send(OBS_FRONTEND_EVENT_FINISHED_LOADING);
	choose(source);
}

void Host::choose(obs_source_t *source)
{
	auto *selector = child<QComboBox>("sourceSelector");
	const int index = selector->findData(uuidOf(source));
	ASSERT_GE(index, 1);
	selector->setCurrentIndex(index);
}

void Host::play(int row)
{
	const QRect rect = list()->visualItemRect(list()->item(row));
	QTest::mouseClick(list()->viewport(), Qt::LeftButton, {}, rect.center());
	QTest::mouseDClick(list()->viewport(), Qt::LeftButton, {}, rect.center());
}

QJsonObject Host::settingsOf(obs_source_t *source)
{
	OBSDataAutoRelease settings = obs_source_get_settings(source);
	return QJsonDocument::fromJson(obs_data_get_json(settings)).object();
}

QJsonObject Host::recordOf(obs_source_t *source, const char *key)
{
	OBSDataAutoRelease settings = obs_source_get_private_settings(source);
	return QJsonDocument::fromJson(obs_data_get_json(settings)).object()[QLatin1String(key)].toObject();
}

QStringList Host::valuesIn(const QJsonObject &object, const char *key, const char *field)
{
	QStringList values;
	for (const QJsonValue item : object[QLatin1String(key)].toArray())
		values.append(item[QLatin1String(field)].toString());
	return values;
}

bool Host::waitFor(const std::function<bool()> &condition)
{
	const auto look = [&condition] {
		passTime(10);
		return condition();
	};
	return QTest::qWaitFor(look, 10'000);
}
