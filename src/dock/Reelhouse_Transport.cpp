/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include <QAccessible>
#include <QComboBox>
#include <QLabel>

#include <algorithm>
#include <utility>

#include "dock/QueueControl.hpp"
#include "dock/text.hpp"
#include "dock/widgets/SeekSlider.hpp"
#include "dock/widgets/themeIcon.hpp"

using namespace reelhouse;
using namespace Qt::StringLiterals;

namespace {

// Qt announces every name that is set, and a screen reader would hear each poll's.
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

// The poll leaves the slider alone meanwhile.
bool Reelhouse::isSliderHeld() const
{
	return seekSlider->isSliderDown() || steppingSlider;
}

qint64 Reelhouse::timeAtSlider(int value) const
{
	return durationMs * value / 1000;
}

// A seek is meant for the media that the user saw when he took the slider. Every switch, stop, bind, reload and suspend
// has a serial of its own, and what is released after one seeks nothing.
void Reelhouse::beginSeek()
{
	endStepping();
	seekSerial = switchSerial;
	seekTargetMs = -1;
	updateTime(timeAtSlider(seekSlider->value()));
}

// Keys, the wheel and assistive technology say no more than the new value: the seek follows when they rest.
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
	// Read anew: just after a switch the poll's duration is still the previous track's.
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

	if (switchPending)
		holdFocus();
	playPauseButton->setEnabled(active && !switchPending && (!selected.isEmpty() || !currentId.isEmpty()));
	stopButton->setEnabled(active);
	previousButton->setEnabled(active && !tracks.isEmpty());
	nextButton->setEnabled(active && !tracks.isEmpty());
	addFilesButton->setEnabled(active);
	endModeSelector->setEnabled(active);
	seekSlider->setEnabled(active && !switchPending && durationMs >= 1);
	if (!switchPending)
		giveFocusBack();
	updateMenuActions(active, selected);
	updatePlayPauseButton(state, selected);
	const bool bringsBack = canBringBack();
	if (std::exchange(bringBackOffered, bringsBack) != bringsBack)
		Q_EMIT control->canBringBackChanged(bringsBack);
}

// A switch disables two controls for a moment. Qt would hand the keyboard focus on to the next one, stop or the end
// mode, and the user's next key would act there; so nobody has it until it comes back.
void Reelhouse::holdFocus()
{
	QWidget *focused = window()->focusWidget();
	if (focused && (focused == playPauseButton || focused == seekSlider)) {
		focusAfterSwitch = focused;
		focused->clearFocus();
	}
}

void Reelhouse::giveFocusBack()
{
	QWidget *focused = std::exchange(focusAfterSwitch, nullptr);
	if (focused && !window()->focusWidget())
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
	messageLabel->setText(u"⚠ "_s + message);
	messageLabel->show();
	// Nobody who cannot see the label would hear of it otherwise.
	QAccessibleAnnouncementEvent announcement(messageLabel, message);
	QAccessible::updateAccessibility(&announcement);
	blog(LOG_WARNING, "[OBS-Reelhouse] %s", message.toUtf8().constData());
}

void Reelhouse::clearError()
{
	messageLabel->clear();
	messageLabel->hide();
}
