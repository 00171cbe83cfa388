/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include <QComboBox>
#include <QLabel>
#include <QSignalBlocker>

#include "dock/paths.hpp"
#include "dock/text.hpp"
#include "dock/widgets/SeekSlider.hpp"
#include "media/tags.hpp"

using namespace reelhouse;
using namespace Qt::StringLiterals;

namespace {

constexpr int pollIntervalMs = 250;
constexpr int saveDelayMs = 500;
// How long keys and wheel have to rest on the seek slider.
constexpr int seekRestMs = 300;

} // namespace

Reelhouse::Reelhouse(const QString &settingsPath_, QWidget *parent)
	: QWidget(parent), settingsPath(settingsPath_), tags(new TagReader(this))
{
	setObjectName(u"OBS-Reelhouse-content"_s);
	buildUi();
	loadSelection();
	updateTime(0);

	pollTimer.setInterval(pollIntervalMs);
	connect(&pollTimer, &QTimer::timeout, this, &Reelhouse::tick);
	pollTimer.start();

	saveTimer.setSingleShot(true);
	saveTimer.setInterval(saveDelayMs);
	connect(&saveTimer, &QTimer::timeout, this, &Reelhouse::configurationChanged);

	seekRest.setSingleShot(true);
	seekRest.setInterval(seekRestMs);

	updateButtons();
}

// After a shutdown every handle to libobs is already null, so a dock that outlives libobs makes no call into it.
Reelhouse::~Reelhouse()
{
	shutdown();
}

void Reelhouse::resume()
{
	if (shutDown)
		return;
	suspended = false;
	refreshSources();
}

void Reelhouse::suspend()
{
	rememberView();
	suspended = true;
	cancelSwitch();
	disconnectSource();
	saveTimer.stop();
	messageLabel->hide();
	playbackArmed = false;
	weakSource = nullptr;
	clearQueue();

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

void Reelhouse::clearQueue()
{
	tracks.clear();
	removed.clear();
	observed = {};
	currentId.clear();
	managed = false;
	durationMs = 0;
}

void Reelhouse::showUnbound()
{
	rebuildList(QString());
	updateTime(0);
	const QSignalBlocker blocker(seekSlider);
	seekSlider->setValue(0);
	timeLabel->setAccessibleDescription(QString());
	Q_EMIT stateChanged();
}

// Final once it returns: either the libobs thread applied the settings before, and its continuation finds a newer
// serial, or it finds no settings at all.
void Reelhouse::cancelSwitch()
{
	seekTargetMs = -1;
	seekRest.stop();
	const bool wasPending = switchPending;
	{
		const std::lock_guard lock(switchMutex);
		switchSerial++;
		pendingSettings = nullptr;
	}
	switchPending = false;
	sceneSwitchWanted = false;
	if (!wasPending)
		return;

	OBSSourceAutoRelease source = lockSource();
	if (!source)
		return;
	// The settings may or may not have reached the source; what it holds now decides which track is current.
	OBSDataAutoRelease settings = obs_source_get_settings(source);
	const QList<QString> paths = pathsIn(settings, playlistKey);
	if (paths != observed.paths)
		currentId.clear();
	observed = {paths};
	storeQueue();
}
