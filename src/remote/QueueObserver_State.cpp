/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "remote/QueueObserver.hpp"

#include <algorithm>

#include "media/QueueLength.hpp"
#include "queue/settings.hpp"
#include "queue/text.hpp"
#include "remote/RemoteControl.hpp"
#include "remote/values.hpp"

namespace reelhouse {

namespace {

// The plug-in sends from several threads: what comes sooner after another event may overtake it. In milliseconds.
constexpr int restMs = 50;
// After this time the event is sent once more, for the case that it was overtaken after all. In milliseconds.
constexpr int againMs = 1000;

// The state of the media in the words of StateChanged.
const char *mediaWord(const QueueControl &queue)
{
	if (queue.mediaState() == OBS_MEDIA_STATE_OPENING)
		return "starting";
	switch (queue.wantedState()) {
	case OBS_MEDIA_STATE_PLAYING:
		return "playing";
	case OBS_MEDIA_STATE_PAUSED:
		return "paused";
	case OBS_MEDIA_STATE_ENDED:
		return "ended";
	default:
		return "stopped";
	}
}

QString flagWord(bool on)
{
	return QString::fromLatin1(on ? "on" : "off");
}

} // namespace

// The texts that do not change by themselves as time passes.
QueueObserver::Texts QueueObserver::stateTexts() const
{
	const qsizetype index = queue->currentIndex();
	const qsizetype next = queue->upcoming(1).value(0, -1);
	const auto tagsAt = [this](qsizetype at) {
		return at < 0 ? Tags() : tagReader.cached(queue->tracks().at(at).path).value_or(Tags());
	};
	const auto titleAt = [this, &tagsAt](qsizetype at) {
		return at < 0 ? QString() : displayTitle(queue->tracks().at(at).path, tagsAt(at));
	};
	return {
		{"source", seen.sourceName},
		{"mediaState", QString::fromLatin1(mediaWord(*queue))},
		{"endMode", QString::fromLatin1(endModeName(queue->endMode()))},
		{"title", titleAt(index)},
		{"artist", tagsAt(index).artist},
		{"nextTitle", titleAt(next)},
		{"position", index < 0 ? QString() : QString::number(index + 1)},
		{"total", QString::number(queue->tracks().size())},
		{"failed", failedTitle},
		{"skipFailed", flagWord(queue->options().skipFailed)},
		{"startAgain", flagWord(queue->options().startAgain)},
		{"canUndo", flagWord(queue->canUndoRemove())},
		{"canBringBack", flagWord(queue->canBringBack())},
	};
}

// The times as of now; those that are not known are empty.
QueueObserver::Texts QueueObserver::timeTexts() const
{
	Texts texts = {{"duration", {}}, {"trackRemaining", {}}, {"showRemaining", {}}};
	OBSSourceAutoRelease source = queue->lockSource();
	// During a switch, the source still reports the times of the previous track.
	if (!source || queue->currentIndex() < 0 || queue->isSwitching())
		return texts;
	const qint64 durationMs = std::max<qint64>(obs_source_media_get_duration(source), 0);
	const qint64 cursorMs = std::clamp<qint64>(obs_source_media_get_time(source), 0, durationMs);
	const QueueLength length = QueueLength::of(
		{queue->tracks(), queue->sizesNow(), tagReader.lengths(), queue->currentIndex(), cursorMs, durationMs});
	if (length.unknownLeft == 0)
		texts["showRemaining"] = longClockText(length.leftMs);
	if (durationMs == 0)
		return texts;
	texts["duration"] = longClockText(durationMs);
	texts["trackRemaining"] = longClockText(durationMs - cursorMs);
	return texts;
}

bool QueueObserver::tellsState() const
{
	return queue->dockNumber() == 1;
}

// Compares the state with what clients were last told of it.
void QueueObserver::noticeState()
{
	if (tellsState() && !restTimer.isActive() && stateTexts() != toldTexts)
		restTimer.start(restMs);
}

void QueueObserver::stateOvertaken()
{
	if (!tellsState())
		return;
	againTimer.stop();
	restTimer.start(restMs);
}

void QueueObserver::announceState(bool again)
{
	if (!again)
		againTimer.start(againMs);
	toldTexts = stateTexts();
	Texts texts = toldTexts;
	texts.insert(timeTexts());
	OBSDataAutoRelease data = obs_data_create();
	for (auto text = texts.cbegin(); text != texts.cend(); ++text)
		setText(data, text.key(), text.value());
	remote.sendEvent(stateChanged, data);
}

} // namespace reelhouse
