/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <QHash>
#include <QMap>
#include <QSet>
#include <QSignalSpy>

#include <functional>
#include <future>
#include <optional>
#include <thread>

#include "Host.hpp"
#include "WebSocketPlugin.hpp"

// What the dock's user, a remote control and everybody else can do, in words, and all that comes of it, in one line:
//
//   P ▶[Q] (R) | src Q | managed | replaced S T
//
// The rows: ▶ marked as the current track, [] selected, () hidden by the search. The bound source's playlist. Whether the
// record says that the source is managed, and in brackets whose settings the source has, where these are not the ones
// that belong to it. The replaced queue, ∅ for an empty one. The rest is told only when there is something to tell: the
// end mode, a switch that waits, what the media was made to do, a wanted scene, a refused request, the message. Without
// a bound source, only these last ones, behind the rows that there should not be.
//
// A track is named by its file's name, which is made when it is first named; a row also by its number from 0 on.
class Story : public Host {
protected:
	Story();
	// Tells what comes of each step, beginning with the bound source S on this playlist and another source T.
	void tell(const char *what, const char *playlist,
		  std::initializer_list<std::pair<const char *, const char *>> lines);
	void begin(const QString &playlist);
	// Does each, delivers what was posted, and looks whether all promises are kept. A question, which ends with "?",
	// has an answer of its own in place of the state.
	QString step(const QString &words);
	QString state();
	QStringList stateOf(obs_source_t *source) const;

	QString path(const QString &name);
	QStringList paths(const QStringList &names);
	QString named(QString paths) const;
	// The row of that number, or else the first with that name; null when there is none.
	QListWidgetItem *row(const QString &name) const;
	QStringList textsOf(int role) const;
	QStringList ids() const { return textsOf(Qt::UserRole); }
	QStringList rowPaths() const { return textsOf(Qt::UserRole + 1); }
	// Of the bound source, or null.
	obs_source_t *bound() const;
	bool waits() const;
	// With 'x' for "x", #X for the id of the row X and @X for the path of X.
	QByteArray json(QString text);
	// What it ended with; IgnoreAction where it was not taken.
	Qt::DropAction drop(const QList<QUrl> &urls, Qt::DropActions actions = Qt::CopyAction | Qt::MoveAction);
	QAction *tool() const { return action("bringBackReplacedQueue"); }
	QAction *toolsEntry() const
	{
		return frontend->toolsMenu.findChild<QAction *>(QString(), Qt::FindDirectChildrenOnly);
	}
	// Whether a further dock has the source.
	bool isElsewhere(obs_source_t *source) const;

	WebSocketPlugin plugin;
	QMap<QString, OBSSource> sources;
	QString answer;
	QStringList comments;
	bool racing = false; // each step happens while the bound source's thread is at work
	QString requested;   // an "ask" that a client sends while each step happens

	// Story_Steps.cpp
	using Words = QStringList;
	void on(const char *name, const std::function<void(const Words &)> &run);
	void run(const Words &words);

private:
	// Story_Steps.cpp
	void addPlayerSteps();
	void addQueueSteps();
	void addSourceSteps();
	void addHostSteps();
	void addDockSteps();
	void addQuestions();

	// Story_Promises.cpp
	void remember(const Words &words);
	void keepPromises(const Words &words);
	void expectSameEverywhere();
	void expectHonestControls();
	void expectWhatWorksOffered();
	QJsonObject ask(const QString &request, const Words &data);
	bool isForOther(const Words &words) const;
	void expectUsersQueueKept(const Words &words);
	void expectEditSeen(const Words &words);
	void expectToldTheState(bool settled);
	std::optional<std::pair<QStringList, qsizetype>> whatStays(const Words &words);

	QHash<QString, std::function<void(const Words &)>> steps;
	QSet<QString> made;           // files
	QMap<QString, OBSData> saved; // sources that are not there
	std::unique_ptr<QSignalSpy> sceneRequests;

	// What the promises are about, as it was before the step.
	QStringList before;
	std::optional<std::pair<QStringList, qsizetype>> stays; // the ids, and how many rows there are then
	QMap<QString, QByteArray> others;
	bool waited = false;
	QString boundBefore;
	QStringList observed, unseen; // the playlist as the dock knows it, and another that somebody has set since
	QStringList beforeRemoval, afterRemoval;
	QHash<QString, QStringList> usersQueue; // by source: the queue that its user last made or played
	QSet<QString> everUsers;
	QString bringsBack;
	bool handMade = false, unseenEdit = false;
	QList<std::pair<QString, QJsonObject>> told;
	QHash<QString, QJsonObject> lastTold;
	QString last; // the event that came last
	int revision = 0;
};
