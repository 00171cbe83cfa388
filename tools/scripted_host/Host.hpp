/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QComboBox>
#include <QJsonObject>
#include <QListWidget>
#include <QPointer>
#include <QTemporaryDir>
#include <QTest>

#include <functional>
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
	QPointer<QWidget> dock;
	QString dockTitle;
	QObject toolsMenu;
	int removedDocks = 0;
	int saves = 0;
	std::vector<std::pair<obs_frontend_event_cb, void *>> callbacks;
	std::vector<OBSSource> scenes;
	OBSSource program;
	OBSSource preview;

	void send(obs_frontend_event event) const;
};

// The state that a scripted VLC source reports.
struct Media {
	obs_media_state state = OBS_MEDIA_STATE_NONE;
	int64_t timeMs = 0;
	int64_t durationMs = 0;
	bool operator==(const Media &) const = default;
};

// Waits for some milliseconds while events are processed. A test may replace it.
extern void (*passTime)(int ms);

// True on a thread that the module must take for libobs's graphics thread.
extern thread_local bool onGraphicsThread;

// Runs the built module in the real libobs, with a scripted frontend and VLC source type. libobs runs no video here, so
// media actions stay queued until a test lets the source stop.
class Host : public testing::Test {
protected:
	Host();
	~Host() override;

	// Returns false when the module refuses to load.
	bool loadModule();
	// Shuts libobs down, which unloads the module. Runs after each test that has not called it.
	void endObs();

	OBSSource makeSource(const QString &name, const QStringList &playlist, const char *otherSettings = "{}");
	static Media &media(obs_source_t *source);
	// Emits media_stopped on another thread, as libobs does.
	static void sendStopped(obs_source_t *source);
	// Carries out the queued media actions of a source and emits their signals, as a tick of libobs's video thread
	// does.
	static void videoTick(obs_source_t *source);
	// Returns the media actions that were carried out since the last call.
	static QStringList takeDone(obs_source_t *source);
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
	QString idAt(int row) const { return list()->item(row)->data(Qt::UserRole).toString(); }
	QString pathAt(int row) const { return list()->item(row)->data(Qt::UserRole + 1).toString(); }
	QAction *action(const char *name) const { return child<QAction>(name); }
	void search(const QString &text);

	static QString uuidOf(obs_source_t *source);
	static QJsonObject settingsOf(obs_source_t *source);
	static QJsonObject recordOf(obs_source_t *source, const char *key = "OBS-Reelhouse");
	static QStringList valuesIn(const QJsonObject &object, const char *key);

	static bool waitFor(const std::function<bool()> &condition);

	QTemporaryDir folder;
	std::unique_ptr<Frontend> frontend;

private:
	bool ended = false;
};
