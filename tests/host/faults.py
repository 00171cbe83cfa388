"""What goes wrong on air: OBS killed, collections and sources swapped, media that changes under the player.

Whatever happens, OBS ends cleanly and the queue is there when it starts again.
"""

import contextlib
import json
import os
import socket

from gi.repository import GLib

from obs_config import SOURCE, vlc_source
from obs_host import press_key, wait_for
from show import answer, by_id, done, edit_elsewhere, expect, play, playing, queue_of, soon


def menu_entry(obs, name):
    entry = by_id(obs, f".{name}", f"OBS's own {name}")
    with contextlib.suppress(GLib.Error):  # it has opened a dialog, and answers when that is closed
        entry.press()


def killed(show, clips, names):
    """OBS is killed while a track plays and while a switch waits. The next start has the queue that was saved."""
    def saved_record():
        try:
            saved = json.loads((show.home / ".config/obs-studio/basic/scenes/Reelhouse.json").read_text())
        except FileNotFoundError:
            return None  # OBS is about to put the new file in place of the old one
        source = next(one for one in saved["sources"] if one["name"] == SOURCE)
        return source.get("private_settings", {}).get("OBS-Reelhouse")

    obs = show.start(vlc_source(clips))
    for begin in (lambda: play(obs, clips[1]), lambda: done(obs.client, "PlayTrack", index=2)):
        soon("the queue", lambda: queue_of(obs), names)
        done(obs.client, "MoveTrack", id=obs.record(SOURCE)["tracks"][0]["id"], index=len(names) - 1)
        names = [*names[1:], names[0]]
        play(obs, clips[0])
        soon("OBS saves", saved_record, obs.record(SOURCE), 20)
        begin()
        obs.kill()
        obs = show.start()
    soon("the queue after the kills", lambda: queue_of(obs), names)
    return obs


def collections_swapped(obs, clips, whole, silent):
    """The collection is switched, duplicated, renamed and removed, under a track and under a switch that waits."""
    edit_elsewhere(obs, *clips, silent)

    def start_under():
        # OBS gives the sources of a twin new UUIDs, and the dock remembers one choice.
        wait_for("the source is chosen", lambda: obs.client.dock("SelectSource", sourceName=SOURCE)["success"], 20)
        soon("the queue", lambda: queue_of(obs), whole)
        obs.double_click(label)
        if label != whole[-1]:
            wait_for(f"{label} plays", lambda: playing(obs, clips[0]), 15)

    def collections():
        return obs.try_request("GetSceneCollectionList")[1]

    def collection(entry, name):
        menu_entry(obs, entry)
        by_id(obs, ".NameDialog", "OBS asks for a name")
        press_key("ctrl+a", *name, "Return")
        wait_for(f"the collection is {name!r}", lambda: collections().get("currentSceneCollectionName") == name)

    for label in (whole[0], whole[-1]):
        start_under()
        obs.request("CreateSceneCollection", sceneCollectionName=f"Other{len(label)}")
        soon("another collection is empty", lambda: queue_of(obs), [])
        obs.request("SetCurrentSceneCollection", sceneCollectionName="Reelhouse")
        start_under()
        collection("actionDupSceneCollection", "twin")
        start_under()
        collection("actionRenameSceneCollection", "renamed")
        start_under()
        menu_entry(obs, "actionRemoveSceneCollection")
        answer(obs, "Yes")
        wait_for("the twin is gone", lambda: "renamed" not in collections().get("sceneCollections", ["renamed"]))
        obs.request("SetCurrentSceneCollection", sceneCollectionName="Reelhouse")
        start_under()


def source_deleted(obs, clips, whole):
    """OBS's own undo of a deletion brings the queue back with the source."""
    play(obs, clips[0])
    by_id(obs, ".sources", "OBS's own list").children[0].click()
    press_key("Delete")
    answer(obs, "Yes")
    soon("a deleted source has no queue", lambda: queue_of(obs), [])
    menu_entry(obs, "actionMainUndo")
    soon("the deletion undone", lambda: queue_of(obs), whole)


def media_that_changes(obs, clips, whole):
    """The file under the player is cut or deleted."""
    obs.choose("endMode", "Play Next")
    for clip, change in zip(clips, (lambda clip: os.truncate(clip, 20_000), os.unlink)):
        play(obs, clip)
        change(clip)
        wait_for("the show goes on, or waits for the streamer",
                 lambda: not playing(obs, clip) or obs.media(SOURCE)[0] in ("stopped", "error", "ended"), 30)
    play(obs, clips[2])
    expect("the queue at the end", queue_of(obs), whole)


def run(show):
    clips = [show.clip(f"{name}.mp4", 6) for name in ("one", "two", "three", "four", "five")]
    names = [clip.name for clip in clips]
    obs = killed(show, clips, names)
    # Takes connections and never says a word.
    with socket.create_server(("127.0.0.1", 0)) as server:
        whole = [*names, "silent.mp4"]
        collections_swapped(obs, clips, whole, f"http://127.0.0.1:{server.getsockname()[1]}/silent.mp4")
        show.end()
    obs = show.start()
    source_deleted(obs, clips, whole)
    media_that_changes(obs, clips, whole)
    show.end()
