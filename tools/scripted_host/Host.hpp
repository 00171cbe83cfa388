/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QAction>
#include <QComboBox>
#include <QDockWidget>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMap>
#include <QMenu>
#include <QPointer>
#include <QTemporaryDir>
#include <QTest>

#include <functional>
#include <future>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <obs-frontend-api.h>
#include <obs.hpp>

// GoogleTest prints texts with it.
inline void PrintTo(const QString &text, std::ostream *stream)
{
	*stream << '"' << text.toStdString() << '"';
}

// The calls that the scripted frontend has received, and its answers.
struct Frontend {
	bool acceptsDock = true;
	bool studioMode = false;
	uint32_t obsVersion = LIBOBS_API_VER;
	const char *qtVersion = QT_VERSION_STR;
	QPointer<QWidget> dock;
	QWidget window;                          // the main one
	QMap<int, QPointer<QDockWidget>> others; // the frames of further docks, by their numbers
	QObject toolsMenu;
	int removedDocks = 0;
	int saves = 0;
	QStringList mayHold; // what the filter that holds pictures was told, without repetitions
	QStringList log;     // the module's lines
	std::vector<std::pair<obs_frontend_event_cb, void *>> callbacks;
	std::vector<OBSSource> scenes;
	OBSSource program;
	OBSSource preview;

	void send(obs_frontend_event event) const
	{
		for (const auto &[callback, data] : callbacks)
			callback(event, data);
	}
};

// The state that a scripted VLC source reports.
struct Media {
	obs_media_state state = OBS_MEDIA_STATE_NONE;
	int64_t timeMs = 0;
	int64_t durationMs = 0;
	uint32_t width = 0; // of its picture
};

// Waits for some milliseconds while events are processed. A test may replace it.
extern void (*passTime)(int ms);

// So many pictures was libobs too slow for.
extern quint32 laggedFrames;

// True on a thread that the module must take for libobs's graphics thread.
extern thread_local bool onGraphicsThread;

// The built module in real libobs, with a frontend and a VLC source type of our making. libobs runs no video here, so
// media actions stay queued until a test has them done.
class Host : public testing::Test {
protected:
	Host();
	~Host() override { endObs(); }

	// Returns false when the module refuses to load.
	bool loadModule();
	// Shuts libobs down, which unloads the module. Runs after each test that has not called it.
	void endObs();

	OBSSource makeSource(const QString &name, const QStringList &playlist, const char *otherSettings = "{}",
			     const char *id = "vlc_source");
	static Media &media(obs_source_t *source);
	// Does what was asked of a source's media and signals it on another thread, as libobs's next video tick would.
	static void videoTick(obs_source_t *source);
	// Returns the media actions that were carried out since the last call.
	static QStringList takeDone(obs_source_t *source);
	// Ends a source's media and signals it on another thread, as VLC does.
	static void endMedia(obs_source_t *source);
	// The same, on a thread that goes on until leave() is called.
	void endMediaSlowly(obs_source_t *source);
	void leave();
	// Returns how often a source's audio was dropped since the last call.
	static int takeDrops(obs_source_t *source);
	static void setPlaylist(obs_source_t *source, const QStringList &paths);
	QString makeFile(const QString &name, const QByteArray &content = "media") const;

	// Loads the module, finishes loading and chooses the source in the selector.
	void show(obs_source_t *source);
	void choose(obs_source_t *source);
	void play(int row);

	template <typename Widget> Widget *child(const char *name) const
	{
		return frontend->dock->findChild<Widget *>(QLatin1String(name));
	}
	QListWidget *list() const { return child<QListWidget>("playlist"); }
	QAction *action(const char *name) const { return child<QAction>(name); }
	void search(const QString &text) { child<QLineEdit>("search")->setText(text); }

	static QString uuidOf(obs_source_t *source) { return QString::fromUtf8(obs_source_get_uuid(source)); }
	static QJsonObject settingsOf(obs_source_t *source);
	static QJsonObject recordOf(obs_source_t *source, const char *key = "OBS-Reelhouse");
	static QStringList valuesIn(const QJsonObject &object, const char *key, const char *field = "value");

	static bool waitFor(const std::function<bool()> &condition);

	QTemporaryDir folder;
	std::unique_ptr<Frontend> frontend;

private:
	bool ended = false;
	std::promise<void> slowLeaves;
	std::thread slowThread;
};
