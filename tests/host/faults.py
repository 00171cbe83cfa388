"""What goes wrong on air: OBS killed, collections and sources swapped, media that changes under the player.

Whatever happens, OBS ends cleanly and the queue is there when it starts again.
"""

import contextlib
import os
import random
import socket

from gi.repository import GLib

import obs_config
from obs_config import SOURCE, scene, vlc_source
from obs_host import press_key, wait_for
from show import (answer, by_id, done, edit_elsewhere, expect, play, playing, queue_of, saved_collection,
                  soon, source_in)


def menu_entry(obs, name):
    entry = by_id(obs, f".{name}", f"OBS's own {name}")
    with contextlib.suppress(GLib.Error):  # it has opened a dialog, and answers when that is closed
        entry.press()


def killed(show, clips, names):
    """OBS is killed while a track plays and while a switch waits. The next start has the queue that was saved."""
    for moment, kill_at in (("while a track plays", lambda obs: play(obs, clips[1])),
                            ("while a switch waits", lambda obs: done(obs.client, "PlayTrack", index=2))):
        obs = show.start()
        soon(f"the queue to be killed {moment}", lambda: queue_of(obs), names)
        done(obs.client, "MoveTrack", id=obs.record(SOURCE)["tracks"][0]["id"], index=len(names) - 1)
        names = [*names[1:], names[0]]
        play(obs, clips[0])
        soon("OBS saves", lambda: source_in(saved_collection(show)[1]).get("private_settings", {}).get("OBS-Reelhouse"),
             obs.record(SOURCE), 20)
        kill_at(obs)
        obs.process.kill()
        obs.kill()
        obs = show.start()
        soon(f"the queue after a kill {moment}", lambda: queue_of(obs), names)
        play(obs, clips[0])
        show.end()


def choose_source(obs):
    """OBS gives the sources of a twin new UUIDs, and the dock remembers one choice."""
    name = f"Main · {SOURCE}"
    wait_for("the source is listed", lambda: any(entry.name == name for entry in
                                                 obs.widget("sourceSelector").children[0].children), 10)
    if obs.widget("sourceSelector").name != name:
        obs.choose("sourceSelector", name)


def collections_swapped(show, clips, names):
    """The collection is switched, duplicated, renamed and removed, under a track and under a switch that waits."""
    obs = show.start()
    # Takes connections and never says a word.
    with socket.create_server(("127.0.0.1", 0)) as server:
        silent = "silent.mp4"
        edit_elsewhere(obs, *clips, f"http://127.0.0.1:{server.getsockname()[1]}/{silent}")
        whole = [*names, silent]
        for label in (names[0], silent):
            def start_under(step):
                soon(f"the queue when {step}, under {label}", lambda: queue_of(obs), whole)
                obs.double_click(label)
                if label != silent:
                    wait_for(f"{label} plays", lambda: playing(obs, clips[0]), 15)

            def collection(entry, name):
                menu_entry(obs, entry)
                by_id(obs, ".NameDialog", "OBS asks for a name", timeout=10)
                press_key("ctrl+a", *name, "Return")
                wait_for(f"the collection is {name!r}", lambda: collections().get("currentSceneCollectionName") == name,
                         20)
                choose_source(obs)

            def collections():
                return obs.try_request("GetSceneCollectionList")[1]

            start_under("it begins")
            obs.request("CreateSceneCollection", sceneCollectionName=f"Other{len(label)}")
            soon("another collection is empty", lambda: queue_of(obs), [])
            obs.request("SetCurrentSceneCollection", sceneCollectionName="Reelhouse")
            start_under("the first one is back")
            collection("actionDupSceneCollection", "twin")
            start_under("the collection has a twin")
            collection("actionRenameSceneCollection", "renamed")
            start_under("the twin is renamed")
            menu_entry(obs, "actionRemoveSceneCollection")
            answer(obs, "Yes")
            wait_for("the twin is gone", lambda: "renamed" not in collections().get("sceneCollections", ["renamed"]),
                     20)
            obs.request("SetCurrentSceneCollection", sceneCollectionName="Reelhouse")
            choose_source(obs)
            start_under("the twin is removed")
        obs.double_click(silent)
        show.end()


def source_deleted(show, clips, whole):
    """OBS's own undo of a deletion brings the queue back with the source."""
    obs = show.start()
    play(obs, clips[0])
    by_id(obs, ".sources", "OBS's own list").children[0].click()
    press_key("Delete")
    answer(obs, "Yes")
    soon("a deleted source has no queue", lambda: queue_of(obs), [])
    menu_entry(obs, "actionMainUndo")
    soon("the deletion undone", lambda: queue_of(obs), whole)
    show.end()


def media_that_changes(show, clips):
    """The file under the player is cut or deleted; another one is no media at all."""
    noise = show.folder / "noise.mp4"
    noise.write_bytes(random.Random(1).randbytes(100_000))
    obs = show.start()
    edit_elsewhere(obs, *clips, noise)
    whole = [clip.name for clip in (*clips, noise)]
    soon("the queue", lambda: queue_of(obs), whole)
    obs.choose("endMode", "Play Next")
    for clip, change in zip(clips, (lambda clip: os.truncate(clip, 20_000), os.unlink)):
        play(obs, clip)
        change(clip)
        wait_for("the show goes on, or waits for the streamer",
                 lambda: not playing(obs, clip) or obs.media(SOURCE)[0] in ("stopped", "error", "ended"), 30)
    obs.double_click(noise.name)
    soon("no media plays nothing", lambda: (obs.playlist(SOURCE), obs.media(SOURCE)[0] != "playing"),
         ([str(noise)], True))
    play(obs, clips[2])
    expect("the queue at the end", queue_of(obs), whole)
    show.end()


def run(show):
    clips = [show.clip(f"{name}.mp4", 6) for name in ("one", "two", "three", "four", "five")]
    names = [clip.name for clip in clips]
    source = vlc_source(clips)

    def begin():
        obs_config.write_collection(show.home, [scene("Main", source)], [source])
        obs_config.remember_source(show.home, source)

    begin()
    killed(show, clips, names)
    begin()
    collections_swapped(show, clips, names)
    source_deleted(show, clips, [*names, "silent.mp4"])
    media_that_changes(show, clips)
