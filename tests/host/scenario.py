#!/usr/bin/env python3
"""Drives the dock in the real OBS, with the real VLC source and real media, as a person at the screen would."""

import contextlib
import json
import sys
from pathlib import Path

import control
import docks
import faults
import neighbours
import obs_config
import overlay
import package
import remote
from obs_config import SOURCE, scene, vlc_source
from obs_host import HostError, press_key, wait_for, xdotool
from show import MARK, by_id, drag, edit_elsewhere, expect, main, play, playing, queue_of, soon


def queue(show):
    """A queue from the source's own playlist to a clean exit and back."""
    clips = [show.clip(name) for name in ("one.mp4", "two %1 \"😀\".mp4", "three.mp4")]
    # Still plays when the restart is looked at, however busy the machine is.
    long = show.clip("long.mp4", 120)
    names = [clip.name for clip in clips]
    source = vlc_source(clips, loop=True)
    obs_config.write_collection(show.home, [scene("Main", source)], [source])
    obs = show.start()
    obs.choose("sourceSelector", f"Main · {SOURCE}")
    soon("the playlist is the queue", obs.labels, names)

    obs.choose("endMode", "Play Next")
    play(obs, clips[1])
    wait_for("the next track follows by itself", lambda: playing(obs, clips[2]), 15)
    soon("it stops after the last", lambda: obs.playlist(SOURCE), [], 15)

    edit_elsewhere(obs, clips[2], long, loop=True, playback_behavior="stop_restart")
    soon("an edit made elsewhere is taken over", obs.labels, [names[2], long.name], 2)
    play(obs, long)
    obs.menu(names[2], "Give Playlist Back to Source", disabled=["Move Up", "Move to Top", "Undo Remove"])
    soon("the source has its queue back", lambda: obs.playlist(SOURCE), [str(clips[2]), str(long)])

    play(obs, long)
    before = obs.record(SOURCE)
    show.end()

    profile = show.home / ".config/obs-studio/basic/profiles/Reelhouse/basic.ini"
    binding = json.dumps({"bindings": [{"key": "OBS_KEY_ESCAPE"}]})
    profile.write_text(profile.read_text() + f"\n[Hotkeys]\nOBSBasic.Screenshot={binding}\n")
    obs = show.start()
    soon("the queue after a restart", obs.labels, [names[2], MARK + long.name])
    expect("the record after a restart", obs.record(SOURCE), before)
    obs.widget("search").click()
    press_key("l", "o", "Escape", "n")
    soon("Escape belongs to OBS's hotkey", lambda: obs.widget("search").text, "lon")
    show.end()


def scenes_follow(obs, names):
    """A track started from the list brings its scene."""
    def program():
        return obs.request("GetCurrentProgramScene")["currentProgramSceneName"]

    obs.request("SetStudioModeEnabled", studioModeEnabled=True)
    obs.double_click(names[1])
    soon("the source's scene comes to preview",
         lambda: obs.request("GetCurrentPreviewScene")["currentPreviewSceneName"], "Film")
    expect("the program scene in studio mode", program(), "Talk")
    obs.request("SetStudioModeEnabled", studioModeEnabled=False)
    obs.double_click(names[0])
    soon("and to program without it", program, "Film")


def undo_is_ours(obs, stored, names, extra):
    """In the list the keys of Undo and Redo never reach OBS, which has changes of its own to undo."""
    item = obs.request("GetSceneItemId", sceneName="Film", sourceName=SOURCE)["sceneItemId"]

    def transform():
        whole = obs.request("GetSceneItemTransform", sceneName="Film", sceneItemId=item)["sceneItemTransform"]
        # The size goes with the media, which may end.
        of_media = ("sourceWidth", "sourceHeight", "width", "height")
        return {key: value for key, value in whole.items() if key not in of_media}

    original = transform()
    by_id(obs, ".sources", "OBS's own list").children[0].click()
    by_id(obs, ".actionStretchToScreen", "OBS's Stretch to Screen").press()
    wait_for("OBS stretches its source", lambda: transform() != original, 5)
    stretched = transform()

    def leave_it_alone(what, wanted, *keys):
        press_key(*keys, "ctrl+f", "e", "x", "t")
        soon(f"{what}: Find goes to the search", lambda: obs.widget("trackCount").name, "Tracks: 1 of 4")
        press_key("Escape")
        soon(f"{what}: Escape clears it", lambda: obs.widget("trackCount").name, "Tracks: 4")
        expect(what, transform(), wanted)

    obs.row(extra).click(across=0.3)
    press_key("Delete")
    stored("Delete", names)
    press_key("ctrl+z")
    stored("our undo", [*names, extra])
    leave_it_alone("OBS's change after Undo with nothing of ours to undo", stretched, "ctrl+z", "ctrl+z")
    by_id(obs, ".actionMainUndo", "OBS's Undo").press()
    soon("OBS's own undo", transform, original, 5)
    leave_it_alone("what OBS has undone after Redo", original, "ctrl+shift+z", "ctrl+y")


def editing(show, obs, names):
    """Each change is seen in the list and in the stored record."""
    def stored(what, wanted):
        soon(f"{what}: the list", lambda: queue_of(obs), wanted)
        soon(f"{what}: the record", lambda: [Path(track["value"]).name for track in obs.record(SOURCE)["tracks"]],
             wanted)

    extra = show.clip("extra.mp4")
    show.drag_in(extra, show.folder, until=lambda: stored("dropping a file and a folder", [*names, extra.name]))
    undo_is_ours(obs, stored, names, extra.name)

    obs.row(names[0]).click(across=0.3)
    xdotool("keydown", "ctrl")
    obs.row(names[1]).click(across=0.3)
    xdotool("keyup", "ctrl")
    drag(obs, obs.row(names[0]).point(0.3, 0.5), obs.row(extra.name).point(0.3, 0.9))
    stored("dragging two rows to the end", [names[2], extra.name, names[0], names[1]])

    obs.choose("sourceSelector", "Select a VLC Video Source")

    def items():
        return len(obs.request("GetSceneItemList", sceneName="Film")["sceneItems"])

    before = items()
    for onto, what in (("playlist", extra), ("playbackTime", extra), ("playlist", "http://localhost/page")):
        show.drag_in(what, onto=onto)
        expect("a drag that the dock refuses makes nothing in the scene", items(), before)


def stream(show):
    """A show run from the dock with the mouse: scenes, drops, drags, and whose keys are whose."""
    clips = [show.clip("opener.mp4"), show.clip("break.mp4"), show.clip("feature.mp4", 40)]
    names = [clip.name for clip in clips]
    source = vlc_source(clips)
    obs_config.write_collection(show.home, [scene("Talk"), scene("Film", source)], [source])
    obs_config.remember_source(show.home, source)
    obs = show.start()
    soon("the queue", obs.labels, names)
    scenes_follow(obs, names)
    editing(show, obs, names)
    show.end()


def keyboard(show):
    """A show run without a mouse: Tab goes from one control to the next, and its keys work each of them."""
    clips = [show.clip("opener.mp4"), show.clip("break.mp4"), show.clip("feature.mp4", 120)]
    obs = show.start(vlc_source(clips))
    order = ["search", "playlist", "previous", "playPause", "stop", "next", "seek", "playbackTime", "endMode"]

    def focused(name):
        return obs.widget(name).has(obs.widget(name).FOCUSED)

    def go(start, target):
        for name in order[order.index(start) + 1:order.index(target) + 1]:
            press_key("Tab")
            wait_for(f"Tab goes to {name}", lambda: focused(name), 5)

    def at_the_search():
        press_key("Tab")
        with contextlib.suppress(HostError):
            return wait_for("the search", lambda: focused("search"), 0.5)

    soon("the queue", obs.labels, [clip.name for clip in clips])
    xdotool("windowactivate", "--sync", obs.main_window())
    wait_for("Tab comes to the dock", at_the_search, 120)
    go("search", "endMode")
    press_key("Down")
    soon("the end mode", lambda: obs.widget("endMode").name, "Play Next")
    press_key(*["shift+Tab"] * (len(order) - 1 - order.index("playlist")))
    wait_for("the way back to the list", lambda: focused("playlist"), 5)
    press_key("End", "Return")
    wait_for("Return plays a track", lambda: playing(obs, clips[2]), 15)
    go("playlist", "playPause")
    press_key("space")
    soon("the track pauses", lambda: obs.media(SOURCE)[0], "paused")
    go("playPause", "seek")
    wait_for("the slider is ready", lambda: obs.widget("seek").enabled, 5)
    press_key("Prior")
    wait_for("Page Up seeks", lambda: obs.media(SOURCE)[1] > 10_000, 5)
    show.end()


SCENARIOS = {"queue": queue, "stream": stream, "keyboard": keyboard, "neighbours": neighbours.run,
             "faults": faults.run, "remote": remote.run, "overlay": overlay.run, "control": control.run,
             "docks": docks.run, "package-deb": package.run_deb, "package-archive": package.run_archive}


if __name__ == "__main__":
    sys.exit(main(SCENARIOS, __doc__))
