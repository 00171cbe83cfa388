"""What goes wrong on air: OBS killed, collections and sources swapped, media that changes under the player.

Whatever happens, OBS ends cleanly and the queue is there when it starts again.
"""

import os
import random
import socket
import threading

from gi.repository import GLib

import obs_config
from obs_config import SOURCE, scene, vlc_source
from obs_host import press_key, wait_for
from show import (answer, bring_back, by_id, edit_elsewhere, expect, paths_in, play, playing, queue_of,
                  saved_collection, soon, source_in)

KILLS = 10


def menu_entry(obs, name):
    entry = by_id(obs, f".{name}", f"OBS's own {name}")
    try:
        entry.press()
    except GLib.Error:
        pass  # it has opened a dialog, and answers when that is closed


class SilentServer:
    """Takes connections and never says a word."""

    def __enter__(self):
        self.socket = socket.create_server(("127.0.0.1", 0))
        self.url = f"http://127.0.0.1:{self.socket.getsockname()[1]}/silent.mp4"
        return self

    def __exit__(self, *_):
        self.socket.close()


def killed_at_any_moment(show, clips):
    """Each start after a kill shows the queue that was last saved, or offers it where the playlist is another one."""
    seed = int(os.environ.get("REELHOUSE_SEED", random.randrange(1 << 32)))
    print(f"kills: REELHOUSE_SEED={seed}", flush=True)
    chance = random.Random(seed)
    history = []
    obs = show.start()
    for number in range(KILLS):
        soon("the queue is shown", lambda: bool(queue_of(obs)), True)
        history.append(paths_in(obs.record(SOURCE)))
        killer = threading.Timer(chance.uniform(0.5, 6), obs.process.kill)
        killer.start()
        while obs.process.poll() is None:
            try:
                busy(obs, chance, clips)
                history.append(paths_in(obs.record(SOURCE)))
            except Exception:  # in the middle of whatever the kill has cut off
                wait_for(f"OBS ends at kill {number + 1}", lambda: obs.process.poll() is not None, 10)
        killer.join()
        obs.kill()
        saved = source_in(saved_collection(show)[1])
        playlist = [{"value": one["value"]} for one in saved["settings"]["playlist"]]
        # Until OBS has saved for the first time there are no private settings, and the queue is the playlist.
        unsaved = {"OBS-Reelhouse": {"tracks": playlist, "observed": playlist}}
        record = saved.get("private_settings", unsaved)["OBS-Reelhouse"]
        if paths_in(record) not in history:
            # The edit that the kill came into the middle of: no other queue differs from one of these by one step.
            expect("the number of tracks saved", abs(len(record["tracks"]) - len(history[-1])) <= 1, True)
        obs = show.start()
        if record["observed"] != playlist and record["tracks"]:
            soon("the playlist wins", lambda: len(queue_of(obs) or []), len(playlist))
            if bring_back(obs).enabled:
                bring_back(obs).press()
        soon("the queue that was saved", lambda: queue_of(obs), paths_in(record))
    show.end()


def busy(obs, chance, clips):
    """One thing that a streamer may do."""
    rows = obs.rows()
    choice = chance.randrange(6)
    if choice == 0 and rows:
        chance.choice(rows).click(across=0.3, times=2)
    elif choice == 1:
        obs.widget(chance.choice(["next", "previous", "stop", "playPause"])).press()
    elif choice == 2 and len(rows) > 3:
        chance.choice(rows[:4]).click(across=0.3)
        press_key("Delete")
    elif choice == 3:
        press_key("ctrl+z")
    elif choice == 4:
        obs.widget("endMode").press()
        press_key(chance.choice(["Up", "Down"]), "Return")
    else:
        obs.request("GetSourcePrivateSettings", sourceName=SOURCE)


def current_collection(obs, name):
    wait_for(f"the collection is {name!r}", lambda: obs.try_request("GetSceneCollectionList")[1].get(
        "currentSceneCollectionName") == name, 20)


def choose_source(obs):
    """OBS gives the sources of a twin new UUIDs, and the dock remembers one choice."""
    name = f"Main · {SOURCE}"
    wait_for("the source is listed", lambda: any(entry.name == name for entry in
                                                 obs.widget("sourceSelector").children[0].children), 10)
    if obs.widget("sourceSelector").name != name:
        obs.choose("sourceSelector", name)


def collections_swapped(show, obs, clips, names):
    """The collection is switched, duplicated, renamed and removed, under a track and under a switch that waits."""
    with SilentServer() as server:
        edit_elsewhere(obs, *clips, server.url)
        whole = [*names, "silent.mp4"]
        soon("the queue with a silent stream", lambda: queue_of(obs), whole)
        for label, under in ((names[0], "a track"), ("silent.mp4", "a waiting switch")):
            def start():
                if label == "silent.mp4":
                    obs.double_click(label)
                else:
                    play(obs, clips[0])

            def named(entry, name):
                menu_entry(obs, entry)
                by_id(obs, ".NameDialog", "OBS asks for a name", timeout=10)
                press_key("ctrl+a", *name, "Return")

            start()
            obs.request("CreateSceneCollection", sceneCollectionName=f"Other{len(label)}")
            soon(f"another collection, switched to under {under}", lambda: queue_of(obs), [])
            obs.request("SetCurrentSceneCollection", sceneCollectionName="Reelhouse")
            soon("and back", lambda: queue_of(obs), whole)
            start()
            named("actionDupSceneCollection", "twin")
            current_collection(obs, "twin")
            choose_source(obs)
            soon(f"the twin that was made under {under}", lambda: queue_of(obs), whole)
            start()
            named("actionRenameSceneCollection", "renamed")
            current_collection(obs, "renamed")
            soon(f"the twin renamed under {under}", lambda: queue_of(obs), whole)
            start()
            menu_entry(obs, "actionRemoveSceneCollection")
            answer(obs, "Yes")
            wait_for(f"the twin is gone, removed under {under}",
                     lambda: "renamed" not in obs.try_request("GetSceneCollectionList")[1].get("sceneCollections",
                                                                                               ["renamed"]), 20)
            obs.request("SetCurrentSceneCollection", sceneCollectionName="Reelhouse")
            current_collection(obs, "Reelhouse")
            choose_source(obs)
            soon("the first one is as it was", lambda: queue_of(obs), whole)
        obs.double_click("silent.mp4")
        show.end()


def source_comes_and_goes(show, obs, names, clips):
    play(obs, clips[0])
    whole = queue_of(obs)
    obs.request("SetInputName", inputName=SOURCE, newInputName="Renamed")
    soon("the renamed source", lambda: obs.widget("sourceSelector").name, "Main · Renamed")
    expect("its queue", queue_of(obs), whole)
    obs.request("SetInputName", inputName="Renamed", newInputName=SOURCE)

    by_id(obs, ".sources", "OBS's own list").children[0].click()
    press_key("Delete")
    answer(obs, "Yes")
    soon("a deleted source has no queue", lambda: queue_of(obs), [])
    menu_entry(obs, "actionMainUndo")
    soon("the deletion undone", lambda: queue_of(obs), whole)

    obs.request("SetCurrentProgramScene", sceneName="Empty")
    item = obs.request("GetSceneItemId", sceneName="Main", sourceName=SOURCE)["sceneItemId"]
    obs.request("SetSceneItemEnabled", sceneName="Main", sceneItemId=item, sceneItemEnabled=False)
    obs.widget("next").press()
    wait_for("a source that nobody sees plays on", lambda: playing(obs, clips[1]), 15)
    show.end()


def media_that_changes(show, obs, names, clips):
    """The file under the player is deleted, replaced and cut; another one is no media at all."""
    noise = show.folder / "noise.mp4"
    noise.write_bytes(random.Random(1).randbytes(100_000))
    edit_elsewhere(obs, *clips, noise)
    soon("the queue", lambda: queue_of(obs), [*names, noise.name])
    obs.choose("endMode", "Play Next")

    whole = clips[0].read_bytes()

    def replace(clip):
        clip.unlink()
        clip.write_bytes(clips[2].read_bytes())

    for change in (lambda clip: os.truncate(clip, 20_000), replace, lambda clip: clip.unlink()):
        clips[0].unlink()
        clips[0].write_bytes(whole)
        play(obs, clips[0])
        change(clips[0])
        wait_for("the show goes on, or waits for the streamer",
                 lambda: playing(obs, clips[1]) or obs.media(SOURCE)[0] in ("stopped", "error", "ended"), 30)
        expect("the queue", queue_of(obs), [*names, noise.name])
    obs.double_click(noise.name)
    soon("no media plays nothing", lambda: (obs.playlist(SOURCE), obs.media(SOURCE)[0] != "playing"),
         ([str(noise)], True))
    play(obs, clips[1])
    expect("the queue at the end", queue_of(obs), [*names, noise.name])
    show.end()


def run(show):
    clips = [show.clip(f"{name}.mp4", 6) for name in ("one", "two", "three", "four", "five")]
    names = [clip.name for clip in clips]
    source = vlc_source(clips)
    obs_config.write_collection(show.home, [scene("Main", source), scene("Empty")], [source])
    obs_config.remember_source(show.home, source)
    killed_at_any_moment(show, clips)
    # From here on with a queue that is known.
    obs_config.write_collection(show.home, [scene("Main", source), scene("Empty")], [source])
    obs = show.start()
    collections_swapped(show, obs, clips, names)
    source_comes_and_goes(show, show.start(), [*names, "silent.mp4"], clips)
    media_that_changes(show, show.start(), names, clips)
