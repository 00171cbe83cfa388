"""Everybody else in OBS who has a hand on the dock's source: its hotkeys, controls and dialogs."""

import re
import subprocess

from gi.repository import Gio, GLib

from obs_config import SOURCE, vlc_source
from obs_host import id_of, press_key, wait_for, xdotool
from show import MARK, by_id, done, drag, edit_elsewhere, expect, media_action, play, playing, press_in, queue_of, soon


def plays_on(obs, clip):
    """The clip plays, and is still the one that plays a good while later: nothing stepped twice, no end was made up."""
    wait_for(f"{clip.name} plays", lambda: playing(obs, clip), 15)
    wait_for(f"{clip.name} plays on",
             lambda: obs.playlist(SOURCE) == [str(clip)] and obs.media(SOURCE)[1] > 1200, 5)


def controls_step(obs, clips):
    """The source's own Next and Previous, by each way to them, step the queue by one and wrap."""
    def press_hotkey(word):
        obs.request("TriggerHotkeyByName", hotkeyName=f"VLCSource.Playlist{word[:4]}", contextName=SOURCE)

    def click_button(word):
        by_id(obs, f".{word.lower()}Button", f"OBS's own {word} button").click()

    position = 0
    ways = (lambda word: media_action(obs, word.upper()), press_hotkey, click_button)
    for end_mode, control in zip(["Repeat", "Play Next", "Stop"], ways):
        obs.choose("endMode", end_mode)
        for word, step in (("Previous", -1), ("Next", 1)):
            position = (position + step) % len(clips)
            control(word)
            plays_on(obs, clips[position])


def other_controls(obs, clips):
    """Pausing, starting again and stopping from outside leave the dock telling the truth."""
    for action, state, button in (("PAUSE", "paused", "Resume"), ("PLAY", "playing", "Pause"),
                                  ("STOP", "stopped", "Play"), ("RESTART", "playing", "Pause")):
        media_action(obs, action)
        soon(f"after {action}", lambda: (obs.media(SOURCE)[0], obs.widget("playPause").name), (state, button))
        expect("the marked row", obs.labels()[0], MARK + clips[0].name)


def cancelled_dialog(obs, clips):
    """A dialog that is cancelled takes the queue away. The command brings it back whole, and nothing is interrupted."""
    names = [clip.name for clip in clips]
    play(obs, clips[0])
    whole = obs.record(SOURCE)
    obs.request("OpenInputPropertiesDialog", inputName=SOURCE)
    dialog = obs.find(lambda node: re.search(r"\.OBSBasicProperties\b.*\.buttonBox$", id_of(node)),
                      "the Properties dialog")
    edit_elsewhere(obs, clips[2])
    soon("the edit under the dialog", obs.labels, [names[2]])
    press_in(dialog, "Cancel")
    soon("the dialog's older playlist wins", obs.labels, [names[0]])
    expect("it is logged", f'The playlist of "{SOURCE}" was changed elsewhere and has replaced a queue of 4 tracks'
           in obs.log, True)
    wait_for("the source plays", lambda: obs.media(SOURCE)[0] == "playing" and obs.media(SOURCE)[1] > 1500, 10)
    by_id(obs, ".bringBackReplacedQueue", "our command in the Tools menu").press()
    soon("the queue is back", obs.labels, [MARK + names[0], *names[1:]])
    expect("the source was not interrupted", obs.media(SOURCE)[1] > 1500, True)
    expect("the whole record is back", obs.record(SOURCE), whole)


def orders_at_once(obs, clips):
    """Orders that come before a poll has seen an edit, while a switch waits, and by a wheel that scrolls past."""
    names = [clip.name for clip in clips]
    whole = queue_of(obs)
    edit_elsewhere(obs, *clips[1:3])
    done(obs.client, "PlayNext")
    plays_on(obs, clips[1])
    expect("the playlist that nobody had seen", queue_of(obs), names[1:3])
    done(obs.client, "PlayTrack", index=1)
    done(obs.client, "BringBackReplacedQueue")
    soon("the queue is back", lambda: queue_of(obs), whole)
    plays_on(obs, clips[2])
    for name in ("endMode", "sourceSelector"):
        before = obs.widget(name).name
        obs.widget(name).click(button=5)
        obs.widget(name).click(button=4)
        obs.widget(name).click(button=5)
        expect("what the wheel leaves alone", obs.widget(name).name, before)


def drag_over_an_end(obs, clips, shorts):
    """A drag moves the row that was picked up, though the playing track ends meanwhile."""
    names = [clip.name for clip in (*shorts, *clips)]
    edit_elsewhere(obs, *shorts, *clips)
    soon("the queue", lambda: queue_of(obs), names)
    obs.choose("endMode", "Play Next")
    play(obs, shorts[0])
    # Not from the last row: a drag that rests near an edge scrolls the list.
    drag(obs, obs.row(names[3]).point(0.3, 0.5), obs.row(names[0]).point(0.3, 0.1),
         meanwhile=lambda: wait_for("the track ends", lambda: playing(obs, shorts[1]), 15))
    soon("the row is dropped", lambda: queue_of(obs), [names[3], *names[:3], *names[4:]])
    obs.choose("endMode", "Stop")


def other_keyboard(obs, label):
    """Undo and Find under a layout without Latin letters."""
    obs.row(label).click(across=0.3)
    before = queue_of(obs)
    press_key("Delete")
    soon("a row is removed", lambda: len(queue_of(obs) or []), len(before) - 1)
    # Russian: Qt takes the keys of its shortcuts from the layout beside it; 52 and 41 are the keys of Z and F.
    subprocess.run(["setxkbmap", "ru,us"], check=True)
    xdotool("keydown", "ctrl", "key", 52, "keyup", "ctrl")
    soon("Undo under a layout without Latin letters", lambda: queue_of(obs), before)
    xdotool("keydown", "ctrl", "key", 41, "keyup", "ctrl")
    soon("Find there", lambda: obs.widget("search").has(obs.widget("search").FOCUSED), True)
    subprocess.run(["setxkbmap", "us"], check=True)


def show_in_folder(obs, clip):
    """The file manager is asked to show the selected file. A slow one does not hold up OBS."""
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
    asked[0][6].return_value(None)  # or the folder is opened instead


def run(show):
    clips = [show.clip(f"{name}.mp4", 20) for name in "abcd"]
    shorts = [show.clip(f"{name}.mp4", 4) for name in ("short1", "short2")]
    obs = show.start(vlc_source(clips, loop=True, playback_behavior="pause_unpause"))
    soon("the queue", obs.labels, [clip.name for clip in clips])
    by_id(obs, ".sources", "OBS's own list").children[0].click()
    play(obs, clips[0])
    controls_step(obs, clips)
    other_controls(obs, clips)
    cancelled_dialog(obs, clips)
    orders_at_once(obs, clips)
    drag_over_an_end(obs, clips, shorts)
    show_in_folder(obs, clips[0])
    other_keyboard(obs, clips[0].name)
    show.end()
