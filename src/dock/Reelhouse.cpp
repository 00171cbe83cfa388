/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QSaveFile>
#include <QSignalBlocker>

#include <utility>

#include "dock/DockGroup.hpp"
#include "dock/QueueControl.hpp"
#include "dock/widgets/SeekSlider.hpp"
#include "media/FileFinder.hpp"
#include "media/tags.hpp"
#include "queue/settings.hpp"
#include "queue/text.hpp"

using namespace reelhouse;
using namespace Qt::StringLiterals;

namespace {

constexpr int pollIntervalMs = 250;
// How soon after its start a track gets the order that waited for it.
constexpr int wishIntervalMs = 40;
constexpr int saveDelayMs = 500;
// The longest that a change waits for the save while more changes follow.
constexpr int saveDeadlineMs = 5000;
// Bring Back waits this long for a switch to end.
constexpr int bringBackWaitMs = 1000;
// Lengths are read when the queue has rested for this long.
constexpr int lengthsDelayMs = 2000;
// The seek follows when keys and wheel have rested for this long.
constexpr int seekDebounceMs = 300;

constexpr QLatin1String sourceUuidKey("sourceUuid");
constexpr QLatin1String remainingTimeKey("remainingTime");

} // namespace

Reelhouse::Reelhouse(DockGroup &group_, int number, const QString &settingsPath_, QWidget *parent)
	: QWidget(parent),
	  group(group_),
	  dockNumber(number),
	  settingsPath(settingsPath_),
	  control(new QueueControl(this)),
	  tagReader(new TagReader(this)),
	  fileFinder(new FileFinder(this)),
	  looks(new FileLooks(this))
{
	setObjectName(number == 1 ? u"OBS-Reelhouse-content"_s : u"OBS-Reelhouse-%1-content"_s.arg(number));
	group.enter(this);
	buildUi();
	loadSelection();
	updateTime(0);

	for (QTimer *timer : {&pollTimer, &endTimer, &wishTimer})
		timer->setTimerType(Qt::PreciseTimer);
	pollTimer.setInterval(pollIntervalMs);
	connect(&pollTimer, &QTimer::timeout, this, &Reelhouse::tick);
	pollTimer.start();
	endTimer.setSingleShot(true);
	connect(&endTimer, &QTimer::timeout, this, &Reelhouse::lookAtEnd);
	wishTimer.setInterval(wishIntervalMs);
	connect(&wishTimer, &QTimer::timeout, this, [this] { carryOut(mediaWish.takeWaiting(mediaState())); });

	saveTimer.setSingleShot(true);
	saveTimer.setInterval(saveDelayMs);
	saveDeadline.setSingleShot(true);
	saveDeadline.setInterval(saveDeadlineMs);
	for (QTimer *timer : {&saveTimer, &saveDeadline}) {
		connect(timer, &QTimer::timeout, this, [this] {
			noteSaved();
			Q_EMIT configurationChanged();
		});
	}

	connect(fileFinder, &FileFinder::finished, this, &Reelhouse::takePlaces);

	bringBackWait.setSingleShot(true);
	bringBackWait.setInterval(bringBackWaitMs);
	connect(&bringBackWait, &QTimer::timeout, this, &Reelhouse::exchangeQueues);

	lengthsTimer.setSingleShot(true);
	lengthsTimer.setInterval(lengthsDelayMs);
	connect(control, &QueueControl::changed, &lengthsTimer, qOverload<>(&QTimer::start));
	connect(&lengthsTimer, &QTimer::timeout, this, &Reelhouse::readLengths);
	connect(control, &QueueControl::changed, this, [this] { queueLength.reset(); });

	seekDebounce.setSingleShot(true);
	seekDebounce.setInterval(seekDebounceMs);

	connect(looks, &FileLooks::answeredLate, this, &Reelhouse::takeLateAnswers);
	connect(tagReader, &TagReader::filesChanged, this, &Reelhouse::noteSizes);
	updateButtons();
}

// A dock may outlive libobs. It then makes no call into libobs, because shutdown() has set every handle to null.
Reelhouse::~Reelhouse()
{
	shutdown();
	group.leave(this);
}

QString Reelhouse::name() const
{
	return dockNumber == 1 ? ui("DockName") : ui("DockName") + u" %1"_s.arg(dockNumber);
}

void Reelhouse::resume()
{
	if (shutDown)
		return;
	suspended = false;
	Q_EMIT control->resuming();
	refreshSources();
}

void Reelhouse::suspend()
{
	const Operation operation(this);
	rememberView();
	suspended = true;
	cancelSwitch();
	disconnectSource();
	group.tellOthers(this);
	noteSaved();
	messageLabel->hide();
	playbackArmed = false;
	media.reset();
	weakSource = nullptr;
	clearQueue();
	recordWriter = {};

	// Emptying the selector must not look like the user's choice of no source, which would be saved.
	const QSignalBlocker blocker(sourceSelector);
	sourceSelector->clear();
	sourceSelector->addItem(ui("SelectSource"), QString());
	showUnbound();
}

void Reelhouse::shutdown()
{
	if (shutDown)
		return;
	pollTimer.stop();
	suspend();
	shutDown = true;
}

void Reelhouse::noteSaved()
{
	saveTimer.stop();
	saveDeadline.stop();
}

void Reelhouse::clearQueue()
{
	tracks.clear();
	removed.clear();
	sizesNow.clear();
	failedIds.clear();
	passed = {};
	running = false;
	observed.clear();
	currentId.clear();
	managed = false;
	options = {};
	durationMs = 0;
}

void Reelhouse::showUnbound()
{
	rebuildList(QString());
	updateTime(0);
	const QSignalBlocker blocker(seekSlider);
	seekSlider->setValue(0);
	timeLabel->setAccessibleDescription(QString());
	changePending = true;
}

Reelhouse::Operation::Operation(Reelhouse *dock_) : dock(dock_)
{
	if (dock->operations++ > 0)
		return;
	// The poll's operation comes four times a second.
	dock->tagReader->tellMeasured();
	dock->looks->beginOperation();
}

Reelhouse::Operation::~Operation()
{
	if (--dock->operations > 0)
		return;
	if (std::exchange(dock->finishPending, false)) {
		dock->running = true;
		dock->hasPlayed = false;
		Q_EMIT dock->control->switchFinished();
	}
	if (std::exchange(dock->changePending, false))
		Q_EMIT dock->control->changed();
}

// A cancel is final once it returns: either the libobs thread has applied the settings and its continuation finds a
// newer serial, or it finds no settings.
void Reelhouse::cancelSwitch()
{
	const Operation operation(this);
	seekTargetMs = -1;
	endStepping();
	mediaWish.drop();
	const bool wasPending = switchPending;
	bool wasGiven = false;
	{
		const std::lock_guard lock(switchMutex);
		wasGiven = wasPending && !pendingSettings;
		switchSerial++;
		pendingSettings = nullptr;
	}
	switchPending = stopDelayed = false;
	sceneSwitchWanted = false;
	if (!wasPending)
		return;
	if (wasGiven) {
		// The source has started the new track, wanted or not.
		media.trackGiven();
		finishPending = true;
	} else {
		media.settle();
	}

	OBSSourceAutoRelease source = lockSource();
	if (!source)
		return;
	// The settings may have reached the source or not, so the source's own playlist decides which track is current.
	OBSDataAutoRelease settings = obs_source_get_settings(source);
	const QList<QString> paths = pathsIn(settings, playlistKey);
	if (paths != observed)
		currentId.clear();
	changePending = true;
	observed = paths;
	storeQueue();
}

void Reelhouse::loadSelection()
{
	if (settingsPath.isEmpty())
		return;
	QFile file(settingsPath);
	if (!file.open(QIODevice::ReadOnly))
		return;
	const QJsonObject settings = QJsonDocument::fromJson(file.readAll()).object();
	sourceUuid = settings.value(sourceUuidKey).toString();
	remainingTime = settings.value(remainingTimeKey).toBool();
}

void Reelhouse::saveSelection()
{
	if (settingsPath.isEmpty())
		return;
	if (!QDir().mkpath(QFileInfo(settingsPath).absolutePath())) {
		showError(ui("CreateSettingsError"));
		return;
	}
	// QSaveFile renames over the old file, so a failed save leaves that file whole.
	QSaveFile file(settingsPath);
	if (!file.open(QIODevice::WriteOnly)) {
		showError(ui("SaveSettingsError").arg(file.errorString()));
		return;
	}
	const QJsonObject settings{{remainingTimeKey, remainingTime}, {sourceUuidKey, sourceUuid}};
	const QByteArray text = QJsonDocument(settings).toJson(QJsonDocument::Compact);
	if (file.write(text) != text.size() || !file.commit())
		showError(ui("SaveSettingsError").arg(file.errorString()));
}
