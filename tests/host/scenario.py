#!/usr/bin/env python3
"""Drives the dock in the real OBS, with the real VLC source and real media, as a person at the screen would."""

import json
import sys

from gi.repository import Gio, GLib

import faults
import neighbours
import obs_config
import overlay
import package
import remote
from obs_config import SOURCE, scene, vlc_source
from obs_host import CONTENT, press_key, wait_for, xdotool
from show import MARK, drag, edit_elsewhere, expect, main, paths_in, play, playing, program, queue_of, soon


def queue(show):
    """A queue from the source's own playlist to a clean exit and back."""
    clips = [show.clip(name) for name in ("one.mp4", "two %1 \"😀\".mp4", "three.mp4")]
    # Still plays when the restart is looked at, however busy the machine is.
    long = show.clip("long.mp4", 120)
    names = [clip.name for clip in clips]
    source = vlc_source(clips, loop=True, network_caching=400)
    obs_config.write_collection(show.home, [scene("Main", source)], [source])
    obs = show.start()

    wait_for("the dock is shown", lambda: obs.widget(CONTENT).showing)
    obs.choose("sourceSelector", f"Main · {SOURCE}")
    soon("the playlist is the queue", obs.labels, names)

    obs.choose("endMode", "Play Next")
    play(obs, clips[1])
    settings = obs.settings(SOURCE)
    expect("the settings while managed", {key: settings.get(key) for key in
                                          ("playlist", "loop", "shuffle", "playback_behavior", "network_caching")},
           {"playlist": [{"value": str(clips[1])}], "loop": False, "shuffle": False,
            "playback_behavior": "always_play", "network_caching": 400})
    expect("the queue while playing", obs.labels(), [names[0], MARK + names[1], names[2]])
    wait_for("the next track follows by itself", lambda: playing(obs, clips[2]), 15)
    soon("it stops after the last", lambda: obs.playlist(SOURCE), [], 15)
    soon("the source is at rest", lambda: obs.media(SOURCE)[0] in ("stopped", "none", "ended"), True)

    edit_elsewhere(obs, clips[2], long, loop=True, playback_behavior="stop_restart")
    soon("an edit made elsewhere is taken over", obs.labels, [names[2], long.name], 2)

    obs.menu(long.name, "Move to Top", disabled=["Move Down", "Move to Bottom"])
    play(obs, long)
    obs.menu(names[2], "Give Playlist Back to Source",
             disabled=["Move Down", "Move to Bottom", "Undo Remove"])
    soon("the source has its queue back", lambda: obs.playlist(SOURCE), [str(long), str(clips[2])])
    expect("the source's own loop", obs.settings(SOURCE)["loop"], True)
    expect("its own behaviour", obs.settings(SOURCE)["playback_behavior"], "stop_restart")
    expect("the takeover", obs.record(SOURCE)["managed"], False)

    play(obs, long)
    before = obs.record(SOURCE)
    show.end()

    obs = show.start()
    soon("the queue after a restart", obs.labels, [MARK + long.name, names[2]])
    expect("the chosen source after a restart", obs.widget("sourceSelector").name, f"Main · {SOURCE}")
    expect("the record after a restart", obs.record(SOURCE), before)
    show.end()


def scenes_follow(show, obs, names, clips):
    """A track started from the list brings its scene; the buttons and the end of a track leave scenes alone."""
    expect("the program scene", program(obs), "Talk")
    obs.double_click(names[0])
    soon("the source's scene comes to program", lambda: program(obs), "Film")
    obs.request("SetCurrentProgramScene", sceneName="Talk")
    obs.choose("endMode", "Play Next")
    obs.widget("next").press()
    wait_for("the next track plays", lambda: playing(obs, clips[1]), 15)
    wait_for("its end brings the one after", lambda: playing(obs, clips[2]), 15)
    expect("the program scene after buttons and ends", program(obs), "Talk")
    obs.choose("endMode", "Stop")

    obs.request("SetStudioModeEnabled", studioModeEnabled=True)
    obs.double_click(names[1])
    soon("the source's scene comes to preview",
         lambda: obs.request("GetCurrentPreviewScene")["currentPreviewSceneName"], "Film")
    expect("the program scene in studio mode", program(obs), "Talk")
    obs.request("SetStudioModeEnabled", studioModeEnabled=False)


def times_and_seeks(show, obs, names, clips):
    play(obs, clips[2])
    wait_for("the slider is ready", lambda: obs.widget("seek").enabled, 5)
    _, _, duration = obs.media(SOURCE)
    obs.widget("seek").click(across=0.6)
    wait_for("a click on the slider seeks there",
             lambda: abs(obs.media(SOURCE)[1] - 0.6 * duration) < 1000, 5)
    time_label = obs.widget("playbackTime")
    time_label.click()
    wait_for("remaining time shows", lambda: time_label.name.startswith("Remaining time −0:"), 5)
    first = time_label.name
    wait_for("remaining time counts down", lambda: time_label.name < first, 5)
    wait_for("the time is described", lambda: time_label.description.startswith("Playing · 0:"), 5)
    obs.widget("playPause").press()
    soon("the button pauses", lambda: obs.media(SOURCE)[0], "paused")
    soon("and then offers to go on", lambda: obs.widget("playPause").name, "Resume")
    obs.widget("playPause").press()
    soon("the button resumes", lambda: obs.media(SOURCE)[0], "playing")


def select_in_obs(obs):
    """Chooses the source in OBS's own list."""
    row = obs.find(lambda node: node.get_name() == SOURCE and node.get_accessible_id().endswith(".sources"),
                   "the source in OBS's own list")
    toolbar = obs.find(lambda node: node.get_accessible_id().endswith(".contextSourceLabel"), "OBS's source toolbar")
    row.click(down=3)  # below all rows, which takes the mark away
    row.click()
    soon("OBS's selected source", lambda: toolbar.name, SOURCE)


def editing(show, obs, names, clips):
    """Each change is seen in the list and in the stored record."""
    def stored(what, wanted):
        soon(f"{what}: the list", lambda: queue_of(obs), wanted)
        soon(f"{what}: the record", lambda: paths_in(obs.record(SOURCE)), wanted)

    extra = show.clip("extra.mp4")
    show.drag_in(extra, show.folder, until=lambda: stored("dropping a file and a folder", [*names, extra.name]))

    # Something of OBS's own to undo, under the same key.
    item = obs.request("GetSceneItemId", sceneName="Film", sourceName=SOURCE)["sceneItemId"]

    def transform():
        return obs.request("GetSceneItemTransform", sceneName="Film", sceneItemId=item)["sceneItemTransform"]

    original = transform()
    expect("the program scene", program(obs), "Film")
    select_in_obs(obs)
    press_key("ctrl+s")
    wait_for("OBS stretches its source", lambda: transform() != original, 5)
    stretched = transform()

    obs.row(extra.name).click(across=0.3)
    press_key("Delete")
    stored("Delete", names)
    press_key("ctrl+z")
    stored("our undo", [*names, extra.name])
    expect("our undo leaves OBS's change alone", transform(), stretched)
    press_key("ctrl+z")
    soon("with nothing of ours to undo, OBS's undo works", transform, original, 5)
    press_key("ctrl+f")
    press_key("e", "x", "t")
    soon("Find goes to the search", lambda: obs.widget("trackCount").name, "Tracks: 1 of 4")
    expect("Find is not OBS's Fit to Screen", transform(), original)
    press_key("Escape")
    soon("Escape clears the search", lambda: obs.widget("trackCount").name, "Tracks: 4")

    obs.menu(extra.name, "Move to Top", disabled=["Move Down", "Move to Bottom", "Undo Remove"])
    stored("moving to the top", [extra.name, *names])

    def drag_two(first, second, target, down):
        obs.row(first).click(across=0.3)
        xdotool("keydown", "ctrl")
        obs.row(second).click(across=0.3)
        xdotool("keyup", "ctrl")
        drag(obs, obs.row(first).point(0.3, 0.5), obs.row(target).point(0.3, down))

    drag_two(extra.name, names[1], names[2], 0.9)
    stored("dragging two rows to the end", [names[0], names[2], extra.name, names[1]])
    drag_two(names[2], names[1], names[0], 0.1)
    stored("dragging two rows to the top", [names[2], names[1], names[0], extra.name])

    obs.choose("sourceSelector", "Select a VLC Video Source")
    inputs = len(obs.request("GetInputList")["inputs"])
    show.drag_in(extra, until=lambda: soon("a drop that the dock refuses goes on to OBS",
                                           lambda: len(obs.request("GetInputList")["inputs"]), inputs + 1))
    obs.choose("sourceSelector", f"Film · {SOURCE}")


def missing_files(show, obs, names, clips):
    clips[0].unlink()
    obs.widget("refresh").press()
    problem = f"File not found: {clips[0]}"
    soon("a deleted file is described", lambda: obs.row(names[0]).description, problem)
    obs.double_click(names[0])
    soon("playing it is refused", lambda: obs.widget("message").name, f"⚠ {problem}")
    soon("and logged", lambda: f"[OBS-Reelhouse] {problem}" in obs.log, True)
    expect("the queue stays", MARK + names[0] in obs.labels(), False)


def revealing(show, obs, names):
    """The file manager is asked to show the selected file."""
    asked = []
    interface = Gio.DBusNodeInfo.new_for_xml(
        "<node><interface name='org.freedesktop.FileManager1'><method name='ShowItems'>"
        "<arg type='as' direction='in'/><arg type='s' direction='in'/></method></interface></node>").interfaces[0]
    bus = Gio.bus_get_sync(Gio.BusType.SESSION)

    def call(*words):
        asked.extend(words[5].unpack()[0])
        words[6].return_value(None)

    bus.register_object("/org/freedesktop/FileManager1", interface, call, None, None)
    Gio.bus_own_name_on_connection(bus, "org.freedesktop.FileManager1", 0, None, None)
    obs.menu(names[1], "Show in Folder", disabled=["Undo Remove"])
    wait_for("the file manager is asked", lambda: GLib.MainContext.default().iteration(False) and asked, 5)
    expect("what it shows", asked, [GLib.filename_to_uri(str(show.folder / names[1]))])


def stream(show):
    """A show run from the dock: scenes, times, editing, keys, drops, and what comes back after a restart."""
    clips = [show.clip("opener.mp4"), show.clip("break.mp4"), show.clip("feature.mp4", 40)]
    names = [clip.name for clip in clips]
    source = vlc_source(clips)
    obs_config.write_collection(show.home, [scene("Talk"), scene("Film", source)], [source])
    obs = show.start()
    obs.choose("sourceSelector", f"Film · {SOURCE}")
    soon("the queue", obs.labels, names)
    scenes_follow(show, obs, names, clips)
    times_and_seeks(show, obs, names, clips)
    editing(show, obs, names, clips)
    show.end()

    profile = show.home / ".config/obs-studio/basic/profiles/Reelhouse/basic.ini"
    binding = json.dumps({"bindings": [{"key": "OBS_KEY_ESCAPE"}]})
    profile.write_text(profile.read_text() + f"\n[Hotkeys]\nOBSBasic.Screenshot={binding}\n")
    obs = show.start()
    soon("the chosen source after a restart", lambda: obs.widget("sourceSelector").name, f"Film · {SOURCE}")
    soon("the time mode after a restart", lambda: obs.widget("playbackTime").name.split(" −")[0], "Remaining time")
    obs.widget("search").click()
    press_key("b", "r")
    soon("a search", lambda: obs.widget("trackCount").name, "Tracks: 1 of 4")
    press_key("Escape")
    press_key("e")
    soon("Escape belongs to OBS's hotkey", lambda: obs.widget("search").text, "bre")
    press_key("ctrl+a", "BackSpace")
    revealing(show, obs, names)
    missing_files(show, obs, names, clips)
    show.end()


def refusal(show):
    """A build for another host leaves OBS alone and says why."""
    show.start()
    line = "[OBS-Reelhouse] This build requires OBS 32.0.4."
    expect("the log's refusal", line in show.obs.log, True)
    expect("a dock of ours", "dock registered" in show.obs.log, False)
    show.end()


SCENARIOS = {"queue": queue, "stream": stream, "refusal": refusal, "neighbours": neighbours.run,
             "faults": faults.run, "package-deb": package.run_deb, "package-archive": package.run_archive,
             "remote": remote.run, "overlay": overlay.run}


if __name__ == "__main__":
    sys.exit(main(SCENARIOS, __doc__))
