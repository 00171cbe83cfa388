"""Everybody else in OBS who has a hand on the dock's source: its hotkeys, controls and dialogs."""

import os
import re
import subprocess

from gi.repository import Gio, GLib

import obs_config
from obs_config import SOURCE, scene, vlc_source
from obs_host import VENDOR, id_of, press_key, wait_for, xdotool
from show import (MARK, answer, bring_back, by_id, drag, edit_elsewhere, expect, media_action, play, playing, press_in,
                  queue_of, soon)


def hotkey(obs, name):
    obs.request("TriggerHotkeyByName", hotkeyName=f"VLCSource.{name}", contextName=SOURCE)


def plays_on(obs, clip):
    """The clip plays, and is still the one that plays a good while later: nothing stepped twice, no end was made up."""
    wait_for(f"{clip.name} plays", lambda: playing(obs, clip), 15)
    wait_for(f"{clip.name} plays on",
             lambda: obs.playlist(SOURCE) == [str(clip)] and obs.media(SOURCE)[1] > 1200, 5)


def controls_step(obs, clips):
    """The source's own Next and Previous, by each way to them, step the queue by one and wrap."""
    bar = {name: by_id(obs, f".{name}Button", f"OBS's own {name} button") for name in ("next", "previous")}
    ways = [(lambda: media_action(obs, "NEXT"), lambda: media_action(obs, "PREVIOUS")),
            (lambda: hotkey(obs, "PlaylistNext"), lambda: hotkey(obs, "PlaylistPrev")),
            (bar["next"].click, bar["previous"].click)]
    position = 0
    for end_mode, (forward, back) in zip(["Stop", "Play Next", "Repeat"], ways):
        obs.choose("endMode", end_mode)
        for control, step in ((back, -1), (forward, 1)):
            position = (position + step) % len(clips)
            control()
            plays_on(obs, clips[position])
    obs.choose("endMode", "Stop")


def other_controls(obs, clips):
    """Pausing, starting again and stopping from outside leave the dock telling the truth."""
    for action, state, button in (("PAUSE", "paused", "Resume"), ("PLAY", "playing", "Pause"),
                                  ("STOP", "stopped", "Play"), ("RESTART", "playing", "Pause")):
        media_action(obs, action)
        soon(f"after {action}", lambda: (obs.media(SOURCE)[0], obs.widget("playPause").name), (state, button))
        expect("the marked row", obs.labels()[0], MARK + clips[0].name)


def open_properties(obs):
    obs.request("OpenInputPropertiesDialog", inputName=SOURCE)
    return obs.find(lambda node: re.search(r"\.OBSBasicProperties\b.*\.buttonBox$", id_of(node)),
                    "the Properties dialog")


def cancelled_dialog(show, obs, clips):
    """A dialog that is cancelled takes the queue away. The command brings it back whole, and nothing is interrupted."""
    names = [clip.name for clip in clips]
    obs.double_click(names[0])
    plays_on(obs, clips[0])
    whole = obs.record(SOURCE)
    dialog = open_properties(obs)
    edit_elsewhere(obs, clips[2])
    soon("the edit under the dialog", obs.labels, [names[2]])
    press_in(dialog, "Cancel")
    soon("the dialog's older playlist wins", obs.labels, [names[0]])
    expect("it is logged", f'The playlist of "{SOURCE}" was changed elsewhere and has replaced a queue of 4 tracks'
           in obs.log, True)
    wait_for("the source plays", lambda: obs.media(SOURCE)[0] == "playing" and obs.media(SOURCE)[1] > 1500, 10)
    bring_back(obs).press()
    soon("the queue is back", obs.labels, [MARK + names[0], *names[1:]])
    expect("the source was not interrupted", obs.media(SOURCE)[1] > 1500, True)
    expect("the whole record is back", obs.record(SOURCE), whole)


def discarded_dialog(show, obs, clips):
    """OBS closed over a Properties dialog whose changes are discarded, while the queue has moved on."""
    obs.double_click(clips[0].name)
    plays_on(obs, clips[0])
    open_properties(obs)
    obs.widget("next").press()
    plays_on(obs, clips[1])
    xdotool("windowactivate", "--sync", obs.main_window())
    press_key("ctrl+q")
    answer(obs, "Discard")
    show.ended()
    obs = show.start()
    if len(obs.labels() or []) == 1:
        bring_back(obs).press()
    soon("the whole queue after the restart", lambda: queue_of(obs), [clip.name for clip in clips])
    return obs


def hands_in_the_list(show, obs, clips, shorts):
    """A drag and a held key act on what they were begun on, though the playing track ends meanwhile."""
    names = [clip.name for clip in clips]
    # Not from the last row: a drag that rests near an edge scrolls the list.
    picked, rest = names[1], [names[0], *names[2:]]
    short_names = [clip.name for clip in shorts]

    def queue(what, wanted):
        soon(what, lambda: queue_of(obs), wanted)

    edit_elsewhere(obs, *shorts, *clips)
    queue("the queue", [*short_names, *names])
    obs.choose("endMode", "Play Next")

    play(obs, shorts[0])
    drag(obs, obs.row(picked).point(0.3, 0.5), obs.row(short_names[0]).point(0.3, 0.1),
         meanwhile=lambda: wait_for("the track ends", lambda: playing(obs, shorts[1]), 15))
    queue("the row that was picked up is dropped", [picked, *short_names, *rest])

    obs.choose("endMode", "Stop")
    obs.double_click(names[2])
    plays_on(obs, clips[2])
    obs.row(short_names[0]).click(across=0.3)
    xdotool("keydown", "Delete", "sleep", "1.5", "keyup", "Delete")
    queue("one press removes once", [picked, short_names[1], *rest])
    press_key("ctrl+z")
    queue("and comes back whole", [picked, *short_names, *rest])


def other_keyboard(obs, label):
    """Undo and Find under a layout without Latin letters."""
    obs.row(label).click(across=0.3)
    before = obs.labels()
    press_key("Delete")
    soon("a row is removed", lambda: len(obs.labels()), len(before) - 1)
    # Russian: Qt takes the keys of its shortcuts from the layout beside it; 52 and 41 are the keys of Z and F.
    subprocess.run(["setxkbmap", "ru,us"], check=True)
    xdotool("keydown", "ctrl", "key", 52, "keyup", "ctrl")
    soon("Undo under a layout without Latin letters", obs.labels, before)
    xdotool("keydown", "ctrl", "key", 41, "keyup", "ctrl")
    soon("Find there", lambda: obs.widget("search").has(obs.widget("search").FOCUSED), True)
    subprocess.run(["setxkbmap", "us"], check=True)


def show_in_folder(show, obs, clip):
    """The file manager is asked to show the selected file. One that never answers does not hold up OBS, and in the end
    the folder is opened."""
    asked = []
    interface = Gio.DBusNodeInfo.new_for_xml(
        "<node><interface name='org.freedesktop.FileManager1'><method name='ShowItems'>"
        "<arg type='as' direction='in'/><arg type='s' direction='in'/></method></interface></node>").interfaces[0]
    bus = Gio.bus_get_sync(Gio.BusType.SESSION)
    # It keeps the call, which would otherwise be answered when it is dropped.
    bus.register_object("/org/freedesktop/FileManager1", interface, lambda *call: asked.append(call), None, None)
    Gio.bus_own_name_on_connection(bus, "org.freedesktop.FileManager1", 0, None, None)
    obs.menu(clip.name, "Show in Folder", disabled=["Undo Remove"])
    wait_for("the file manager is asked", lambda: GLib.MainContext.default().iteration(False) and asked, 5)
    expect("what it shall show", asked[0][5].unpack()[0], [clip.as_uri()])
    wait_for("OBS goes on", lambda: obs.request("GetVersion"), 1)
    opened = show.folder / "opened"
    soon("the folder is opened instead", lambda: opened.exists() and opened.read_text().strip(), show.folder.as_uri(),
         40)


def record_opening(show):
    """Has whatever OBS opens with the desktop's own opener written down instead."""
    opener = show.folder / "bin/xdg-open"
    opener.parent.mkdir()
    opener.write_text(f'#!/bin/sh\nprintf "%s\\n" "$1" >> "{show.folder}/opened"\n')
    opener.chmod(0o755)
    os.environ["PATH"] = f"{opener.parent}:{os.environ['PATH']}"


def request_on_the_graphics_thread(obs):
    """A batch that OBS runs in step with its frames is refused at once and does not keep a frame waiting."""
    def skipped():
        return obs.request("GetStats")["renderSkippedFrames"]

    before = skipped()
    queue = {"requestType": "CallVendorRequest",
             "requestData": {"vendorName": VENDOR, "requestType": "GetQueue", "requestData": {}}}
    obs.client.send(8, {"requestId": "batch", "executionType": 1, "requests": [queue] * 5})
    answers = obs.client.receive(9)["results"]
    expect("the answers", {one["responseData"]["responseData"]["error"] for one in answers}, {"graphicsThread"})
    # Each that waited would cost the three seconds that OBS's own thread is given: 90 frames.
    expect("the frames are drawn meanwhile", skipped() - before < 90, True)


def run(show):
    record_opening(show)
    clips = [show.clip(f"{name}.mp4", 20) for name in "abcd"]
    shorts = [show.clip(f"{name}.mp4", 4) for name in ("short1", "short2")]
    source = vlc_source(clips, loop=True, playback_behavior="pause_unpause")
    obs_config.write_collection(show.home, [scene("Main", source)], [source])
    obs_config.remember_source(show.home, source)
    obs = show.start()
    soon("the queue", obs.labels, [clip.name for clip in clips])
    by_id(obs, ".sources", "OBS's own list").children[0].click()
    obs.double_click(clips[0].name)
    plays_on(obs, clips[0])
    controls_step(obs, clips)
    other_controls(obs, clips)
    cancelled_dialog(show, obs, clips)
    obs = discarded_dialog(show, obs, clips)
    request_on_the_graphics_thread(obs)
    hands_in_the_list(show, obs, clips, shorts)
    show_in_folder(show, obs, clips[0])
    other_keyboard(obs, clips[0].name)
    show.end()
