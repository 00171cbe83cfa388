/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "dock/Reelhouse.hpp"

#include <QComboBox>
#include <QLabel>
#include <QSet>
#include <QSignalBlocker>
#include <QStandardItemModel>

#include <algorithm>
#include <vector>

#include "dock/DockGroup.hpp"
#include "dock/QueueControl.hpp"
#include "dock/scenes.hpp"
#include "picture/HoldPicture.hpp"
#include "queue/privateKeys.hpp"
#include "queue/settings.hpp"
#include "queue/sources.hpp"
#include "queue/text.hpp"

using namespace reelhouse;
using namespace Qt::StringLiterals;

namespace {

using ScenesBySource = QHash<QString, QList<QString>>;

bool isVlcSource(obs_source_t *source)
{
	const char *id = obs_source_get_unversioned_id(source);
	return id && strcmp(id, sourceTypeId) == 0;
}

using NamedScene = std::pair<QString, OBSSource>;

// Returns the scenes sorted by name; libobs counts groups as scenes. Walk them only after the enumeration: it holds
// libobs's source list, and the walk locks each scene.
std::vector<NamedScene> allScenes()
{
	std::vector<NamedScene> scenes;
	obs_enum_scenes(
		[](void *data, obs_source_t *source) {
			static_cast<std::vector<NamedScene> *>(data)->emplace_back(nameOf(source), source);
			return true;
		},
		&scenes);
	std::ranges::sort(scenes, [](const NamedScene &a, const NamedScene &b) {
		return a.first.compare(b.first, Qt::CaseInsensitive) < 0;
	});
	return scenes;
}

} // namespace

namespace reelhouse {

// Adds sceneName to every VLC source that can be reached from source. User-interface thread.
void collectSceneSources(obs_source_t *source, const QString &sceneName, ScenesBySource &scenesBySource,
			 QSet<obs_source_t *> &visited)
{
	if (!source)
		return;
	if (!isVlcSource(source)) {
		visitItems(source, visited, [&](obs_source_t *shown) {
			collectSceneSources(shown, sceneName, scenesBySource, visited);
			return true;
		});
	} else if (!visited.contains(source)) {
		visited.insert(source);
		scenesBySource[uuidOf(source)].append(sceneName);
	}
}

} // namespace reelhouse

namespace {

void labelWithScenes(QList<NamedSource> &sources)
{
	ScenesBySource scenesBySource;
	for (const auto &[name, scene] : allScenes()) {
		QSet<obs_source_t *> visited;
		collectSceneSources(scene, name, scenesBySource, visited);
	}
	for (auto &[text, uuid] : sources) {
		// These are sorted by name, because allScenes() is.
		const QList<QString> scenes = scenesBySource.value(uuid);
		if (!scenes.isEmpty())
			text = scenes.join(u" / "_s) + u" · "_s + text;
	}
}

bool isMarked(const QString &uuid, int dockNumber)
{
	OBSSourceAutoRelease source = sourceWith(uuid);
	OBSDataAutoRelease settings = source ? obs_source_get_private_settings(source) : nullptr;
	return obs_data_get_int(settings, dockKey) == dockNumber;
}

// Returns whether that is a change. The marks of other docks stay where this one has no mark.
bool setMark(const QString &uuid, int dockNumber, bool marked)
{
	if (isMarked(uuid, dockNumber) == marked)
		return false;
	OBSSourceAutoRelease source = sourceWith(uuid);
	OBSDataAutoRelease settings = source ? obs_source_get_private_settings(source) : nullptr;
	if (marked && settings)
		obs_data_set_int(settings, dockKey, dockNumber);
	else if (settings)
		obs_data_erase(settings, dockKey);
	return settings != nullptr;
}

} // namespace

void Reelhouse::refreshSources()
{
	if (!isActive())
		return;
	const Operation operation(this);
	QList<NamedSource> sources =
		namedSources([](obs_source_t *source) { return !obs_source_removed(source) && isVlcSource(source); });
	if (!sources.isEmpty())
		labelWithScenes(sources);
	if (!showsExactly(sources))
		rebuildSelector(sources);

	OBSSourceAutoRelease bound = lockSource();
	const QString boundUuid = uuidOf(bound);
	const QString chosenUuid = sourceSelector->currentData().toString();
	// The second condition: the bound source is gone, and its queue must be cleared.
	if (chosenUuid != boundUuid || (!bound && (weakSource || !tracks.isEmpty()))) {
		if (!chosenUuid.isEmpty())
			group.letLowerTake(this, chosenUuid);
		if (otherDockOf(chosenUuid))
			return refreshSources();
		bindSource(chosenUuid);
	}
	// The text of an empty list depends on the other sources, too.
	explainEmptyList();
}

Reelhouse *Reelhouse::otherDockOf(const QString &uuid) const
{
	Reelhouse *dock = group.dockOf(uuid);
	return dock == this ? nullptr : dock;
}

bool Reelhouse::showsExactly(const QList<NamedSource> &sources) const
{
	if (sourceSelector->count() != sources.size() + 1)
		return false;
	for (int i = 0; i < sources.size(); i++) {
		const auto &[text, uuid] = sources[i];
		const Reelhouse *other = otherDockOf(uuid);
		if (sourceSelector->itemData(i + 1, LabelRole).toString() != text ||
		    sourceSelector->itemData(i + 1).toString() != uuid ||
		    sourceSelector->itemData(i + 1, DockRole).toInt() != (other ? other->number() : 0))
			return false;
	}
	return true;
}

void Reelhouse::rebuildSelector(const QList<NamedSource> &sources)
{
	const QSignalBlocker blocker(sourceSelector);
	sourceSelector->clear();
	sourceSelector->addItem(ui("SelectSource"), QString());
	QSet<QString> listed;
	for (const auto &[text, uuid] : sources) {
		const Reelhouse *other = otherDockOf(uuid);
		sourceSelector->addItem(other ? u"%1 (%2)"_s.arg(text, other->name()) : text, uuid);
		const int index = sourceSelector->count() - 1;
		sourceSelector->setItemData(index, text, LabelRole);
		sourceSelector->setItemData(index, other ? other->number() : 0, DockRole);
		static_cast<QStandardItemModel *>(sourceSelector->model())->item(index)->setEnabled(!other);
		listed.insert(uuid);
	}
	views.removeIf([&listed](const auto &view) { return !listed.contains(view.key()); });
	sourceSelector->setCurrentIndex(std::max(indexOfChosen(), 0));
	// A source that was chosen before there were marks gets one, and a copy of the chosen source loses it.
	if (sourceSelector->currentIndex() > 0 && sourceSelector->currentData() == sourceUuid)
		markChosen();
}

// The settings file names one source. In another scene collection the mark tells which source was chosen there.
int Reelhouse::indexOfChosen() const
{
	const int index = sourceSelector->findData(sourceUuid);
	if (index >= 0)
		return sourceSelector->itemData(index, DockRole).toInt() > 0 ? -1 : index;
	for (int i = 1; i < sourceSelector->count(); i++) {
		if (sourceSelector->itemData(i, DockRole).toInt() == 0 &&
		    isMarked(sourceSelector->itemData(i).toString(), dockNumber))
			return i;
	}
	return -1;
}

void Reelhouse::markChosen()
{
	bool changed = false;
	for (int i = 1; i < sourceSelector->count(); i++) {
		const QString uuid = sourceSelector->itemData(i).toString();
		changed = setMark(uuid, dockNumber, uuid == sourceUuid) || changed;
	}
	// A list that is only filled again saves nothing.
	if (changed)
		requestSave();
}

// The user chose an entry. Only this choice is saved, not the binding that a refresh makes.
void Reelhouse::chooseSource()
{
	const Operation operation(this);
	// Another dock was quicker than this list.
	if (otherDockOf(sourceSelector->currentData().toString())) {
		const QSignalBlocker blocker(sourceSelector);
		sourceSelector->setCurrentIndex(std::max(indexOfChosen(), 0));
		return refreshSources();
	}
	sourceUuid = sourceSelector->currentData().toString();
	markChosen();
	bindSource(sourceUuid);
	saveSelection();
}

// The user chose the entry that was current already. While the remembered source is away, that entry is "no source", and
// choosing it forgets that source.
void Reelhouse::chooseCurrentEntry()
{
	if (isActive() && sourceSelector->currentData().toString() != sourceUuid)
		chooseSource();
}

void Reelhouse::forgetChoice()
{
	sourceUuid.clear();
	markChosen();
}

void Reelhouse::reloadSource()
{
	const Operation operation(this);
	refreshSources();
	OBSSourceAutoRelease source = lockSource();
	if (!source)
		return;
	loadQueue(source, false);
	clearError();
	postLook();
}

void Reelhouse::bindSource(const QString &uuid)
{
	const Operation operation(this);
	rememberView();
	cancelSwitch();
	disconnectSource();
	messageLabel->hide();
	playbackArmed = false;
	media.reset();
	weakSource = nullptr;
	clearQueue();
	group.tellOthers(this);

	OBSSourceAutoRelease source = sourceWith(uuid);
	if (!source || obs_source_removed(source) || !isVlcSource(source) || otherDockOf(uuid)) {
		showUnbound();
		return;
	}
	weakSource = OBSGetWeakRef(source);
	loadQueue(source, false);
	restoreView(uuid);
	signal_handler_t *signals = obs_source_get_signal_handler(source);
	mediaEnds = std::make_shared<MediaEnds>([this] { postIfStillBound([this] { restAfterEnd(); }); });
	stoppedSignal.Connect(signals, "media_stopped", mediaStopped, this);
	endedSignal.Connect(signals, "media_ended", mediaEnded, this);
	nextSignal.Connect(signals, "media_next", mediaNext, this);
	previousSignal.Connect(signals, "media_previous", mediaPrevious, this);
	clearError();
}

// Disconnect before dropping the source: a running callback may still use the dock. The new serial makes invalid what
// callbacks have posted.
void Reelhouse::disconnectSource()
{
	if (OBSSourceAutoRelease source = lockSource())
		allowHeldPicture(source, false);
	stoppedSignal.Disconnect();
	endedSignal.Disconnect();
	nextSignal.Disconnect();
	previousSignal.Disconnect();
	if (mediaEnds)
		mediaEnds->close();
	bindSerial++;
	endTimer.stop();
	finishPending = false;
	cancelSearch();
	bringBackWait.stop();
}

OBSSourceAutoRelease Reelhouse::lockSource() const
{
	OBSSourceAutoRelease source = obs_weak_source_get_source(weakSource);
	if (source && obs_source_removed(source))
		return nullptr;
	return source;
}

OBSSourceAutoRelease Reelhouse::lockActive() const
{
	return isActive() ? lockSource() : nullptr;
}
