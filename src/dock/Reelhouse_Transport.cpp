/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include <QAccessible>
#include <QComboBox>
#include <QLabel>

#include <algorithm>
#include <utility>

#include "dock/QueueControl.hpp"
#include "dock/widgets/SeekSlider.hpp"
#include "dock/widgets/themeIcon.hpp"
#include "queue/text.hpp"

using namespace reelhouse;
using namespace Qt::StringLiterals;

namespace {

// Qt announces a name whenever it is set, and a screen reader would read it out at every poll.
void setNameIfChanged(QWidget *widget, const QString &name)
{
	if (widget->accessibleName() != name)
		widget->setAccessibleName(name);
}

} // namespace

void Reelhouse::updateTime(qint64 positionMs)
{
	QString text;
	if (!remainingTime)
		text = clockText(positionMs);
	else if (durationMs >= 1)
		text = u"−"_s + clockText(std::max<qint64>(durationMs - positionMs, 0));
	else
		text = u"−"_s + unknownClock.toString();
	timeLabel->setText(text);
	setNameIfChanged(timeLabel, ui(remainingTime ? "RemainingTime" : "ElapsedTime") + u' ' + text);
}

void Reelhouse::toggleTimeDisplay()
{
	remainingTime = !remainingTime;
	OBSSourceAutoRelease source = lockSource();
	qint64 positionMs = source ? obs_source_media_get_time(source) : 0;
	if (isSliderHeld())
		positionMs = timeAtSlider(seekSlider->value());
	else if (seekTargetMs >= 0)
		positionMs = seekTargetMs;
	updateTime(positionMs);
	saveSelection();
}

// While the slider is held, the poll does not move it.
bool Reelhouse::isSliderHeld() const
{
	return seekSlider->isSliderDown() || steppingSlider;
}

qint64 Reelhouse::timeAtSlider(int value) const
{
	return durationMs * value / 1000;
}

// A seek belongs to the media that played when the user took the slider. Every switch, stop, bind, reload and suspend
// raises the serial, and a slider that is released after one of them seeks nothing.
void Reelhouse::beginSeek()
{
	endStepping();
	seekSerial = switchSerial;
	seekTargetMs = -1;
	updateTime(timeAtSlider(seekSlider->value()));
}

// Keys, the wheel and assistive technology report each new value, but no release. The seek follows when they rest.
void Reelhouse::stepSeek(int value)
{
	if (seekSlider->isSliderDown())
		return;
	if (!steppingSlider)
		beginSeek();
	steppingSlider = true;
	if (!seekSlider->isKeyDown())
		seekDebounce.start();
	updateTime(timeAtSlider(value));
}

// Ends stepping without a seek.
void Reelhouse::endStepping()
{
	if (std::exchange(steppingSlider, false))
		seekSerial.reset();
	seekDebounce.stop();
}

// Assistive technology and some styles release a slider that they never pressed.
void Reelhouse::endSeek()
{
	const bool isValid = seekSerial.value_or(switchSerial) == switchSerial;
	endStepping();
	seekSerial.reset();
	if (isValid)
		seekToSlider();
}

void Reelhouse::seekToSlider()
{
	OBSSourceAutoRelease source = lockSource();
	if (!source || switchPending)
		return;
	// Read the duration again: just after a switch, the last poll's is that of the previous track.
	durationMs = std::max<qint64>(obs_source_media_get_duration(source), 0);
	if (durationMs < 1)
		return;
	seekTargetMs = timeAtSlider(seekSlider->value());
	seekClock.start();
	updateTime(seekTargetMs);
	obs_source_media_set_time(source, seekTargetMs);
}

void Reelhouse::updateButtons()
{
	OBSSourceAutoRelease source = lockActive();
	const bool active = source != nullptr;
	const obs_media_state state = active ? obs_source_media_get_state(source) : OBS_MEDIA_STATE_NONE;
	const QString selected = selectedId();

	const bool plays = active && !switchPending && (!selected.isEmpty() || !currentId.isEmpty());
	const bool seeks = active && !switchPending && durationMs >= 1;
	holdFocus(playPauseButton, plays || !active);
	holdFocus(seekSlider, seeks || !active);
	playPauseButton->setEnabled(plays);
	stopButton->setEnabled(active);
	previousButton->setEnabled(active && !tracks.isEmpty());
	nextButton->setEnabled(active && !tracks.isEmpty());
	addFilesButton->setEnabled(active);
	endModeSelector->setEnabled(active);
	seekSlider->setEnabled(seeks);
	giveFocusBack();
	updateMenuActions(active, selected);
	updatePlayPauseButton(state, selected);
	const bool bringsBack = canBringBack();
	if (std::exchange(bringBackOffered, bringsBack) != bringsBack)
		Q_EMIT control->canBringBackChanged(bringsBack);
}

// A switch disables two controls for a moment, and a poll that sees no length yet disables the slider. Qt would give
// their keyboard focus to the next control, stop or the end mode, and the user's next key would act there. So no control
// has the focus until the control works again.
void Reelhouse::holdFocus(QWidget *widget, bool enabled)
{
	if (enabled || window()->focusWidget() != widget)
		return;
	focusAfterSwitch = widget;
	widget->clearFocus();
}

void Reelhouse::giveFocusBack()
{
	if (!focusAfterSwitch || !focusAfterSwitch->isEnabled())
		return;
	QWidget *focused = std::exchange(focusAfterSwitch, nullptr);
	if (!window()->focusWidget())
		focused->setFocus(Qt::OtherFocusReason);
}

void Reelhouse::updatePlayPauseButton(obs_media_state state, const QString &selected)
{
	const char *label = "Play";
	if (!selected.isEmpty() && selected != currentId)
		label = "PlaySelected";
	else if (state == OBS_MEDIA_STATE_PLAYING)
		label = "Pause";
	else if (state == OBS_MEDIA_STATE_PAUSED)
		label = "Resume";
	setNameIfChanged(playPauseButton, ui(label));
	const bool pauses = qstrcmp(label, "Pause") == 0;
	changeIconClass(playPauseButton, pauses ? u"icon-media-pause"_s : u"icon-media-play"_s);
}

void Reelhouse::showError(const QString &message)
{
	showMessage(u"⚠ "_s + message, message);
	blog(LOG_WARNING, "[OBS-Reelhouse] %s", message.toUtf8().constData());
}

void Reelhouse::showNotice(const QString &message)
{
	showMessage(message, message);
	blog(LOG_INFO, "[OBS-Reelhouse] %s", message.toUtf8().constData());
}

void Reelhouse::showMessage(const QString &text, const QString &spoken)
{
	messageLabel->setText(text);
	messageLabel->show();
	// A screen reader does not notice a new text of the label.
	QAccessibleAnnouncementEvent announcement(messageLabel, spoken);
	QAccessible::updateAccessibility(&announcement);
}

void Reelhouse::clearError()
{
	messageLabel->clear();
	messageLabel->hide();
}
