/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QHash>
#include <QMap>
#include <QSet>
#include <QSignalSpy>

#include <functional>
#include <optional>
#include <thread>

#include "Host.hpp"
#include "WebSocketPlugin.hpp"

// What the dock's user, a remote control and everybody else can do, in words, and all that comes of it, in one line:
//
//   P ▶[Q] (R) | src Q | managed | kept S T
//
// The rows: ▶ marked as the current track, [] selected, () hidden by the search. The bound source's playlist. Whether the
// record says that the source is managed, and in brackets whose settings the source has, where these are not the ones
// that belong to it. The queue put aside, ∅ for an empty one. The rest is told only when there is something to tell: the
// end mode, a switch that waits, what the media was made to do, a wanted scene, a refused request, the message.
//
// A track is named by its file's name, which is made when it is first named; a row also by its number from 0 on.
class Story : public Host {
protected:
	struct Line {
		const char *step;
		const char *state;
	};

	Story();
	// Tells what comes of each step, beginning with the bound source S on this playlist and another source T.
	void tell(const char *what, const char *playlist, std::initializer_list<Line> lines);
	void begin(const QString &playlist);
	// Does it, delivers what was posted, and looks whether all promises are kept. A question, which ends with "?", has
	// an answer of its own in place of the state.
	QString step(const QString &words);
	QString state();

	QString path(const QString &name);
	QStringList paths(const QStringList &names);
	QString named(QString path) const;
	QStringList named(const QStringList &paths) const;
	// The row of that number, or else the first with that name; null when there is none.
	QListWidgetItem *row(const QString &name) const;
	QStringList ids() const;
	QStringList rowPaths() const;
	// Of the bound source, or null.
	obs_source_t *bound() const;
	bool waits() const;
	// With 'x' for "x", #X for the id of the row X and @X for the path of X.
	QByteArray json(QString text);
	QJsonObject request(const std::string &name, const QByteArray &data);
	QAction *tool() const { return action("bringBackReplacedQueue"); }

	WebSocketPlugin plugin;
	QMap<QString, OBSSource> sources;
	bool racing = false; // each step happens while the bound source's thread is at work

private:
	using Words = QStringList;

	// Story_Steps.cpp
	void on(const char *name, const std::function<void(const Words &)> &run);
	void addUserSteps();
	void addOthersSteps();
	void addQuestions();
	using Host::play;
	void play(QListWidgetItem *item);
	void start(QListWidgetItem *item);
	void chooseIn(const char *name, const QString &text);
	void select(const Words &names);
	void pressKey(const QString &keys);
	void slide(int value);
	void release();
	void openMenu(const QListWidgetItem *on);
	void drop(const QStringList &files);
	void drag(int from, int to);
	void burst(int length);
	void ask(const QString &name, const Words &data);
	void workOff(obs_source_t *source);
	void setMedia(const Words &words);
	void control(const QString &what);
	void tick();
	void look();
	void editElsewhere(const Words &names);
	void changeCollection();
	void putRecord(const char *key, const QString &text);
	QString offered() const;
	QString transport() const;
	QString focused() const;
	QString heard();
	QString askFor(const QString &key, const QString &name, const Words &data);

	// Story_Promises.cpp
	void remember(const Words &words);
	void keepPromises(const Words &words);
	void expectSameEverywhere();
	void expectSettledSource();
	void expectOthersUntouched();
	void expectUsersQueueKept(const Words &words);
	void expectToldTheState(bool settled);
	std::optional<QStringList> plainList(const Words &words);
	QStringList pathsOfCurrent() const;

	QHash<QString, std::function<void(const Words &)>> steps;
	QStringList edits;  // steps and requests that change the queue by the user's will
	QSet<QString> made; // files
	std::unique_ptr<QSignalSpy> sceneRequests;
	QString answer;

	// What the promises are about, as it was before the step.
	QStringList before;
	std::optional<QStringList> expected;
	QMap<QString, QByteArray> others;
	bool waited = false;
	QStringList beforeRemoval, afterRemoval;
	QHash<QString, QStringList> usersQueue; // by source: the queue that its user last made or played
	QSet<QString> everUsers;
	QString bringsBack;
	bool handMade = false, unseenEdit = false;
	QList<std::pair<QString, QJsonObject>> told;
	QHash<QString, QJsonObject> lastTold;
	int revision = 0;
};
