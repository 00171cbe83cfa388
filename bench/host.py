#!/usr/bin/env python3
"""Measures the dock in the real OBS, with the real VLC source, beside what OBS and the source do by themselves."""

import ctypes
import os
import shutil
import sys
import time
from concurrent.futures import ThreadPoolExecutor
from statistics import median

import obs_config
from obs_config import SOURCE, scene, vlc_source
from obs_host import HostError, press_key, wait_for, xdotool
from show import Show, done, drag, edit_elsewhere, items, main, media_action, soon
from watch import ENDED, STARTED, Ears, Pulse, cpu_seconds

BARE = "Bare"  # a source that the dock leaves alone
FRAME_MS = 1000 / 30
CHANGED, STOPPED, UPDATED = "CurrentTrackChanged", "MediaInputActionTriggered", "InputSettingsChanged"


def tell(what, *values):
    print(f"{what:42}" + "".join(f"{value:>14}" for value in values), flush=True)


def begin(show, *sources):
    """OBS on one scene of these sources, the first of which the dock shows."""
    obs_config.write_collection(show.home, [scene("Main", *sources)], sources)
    obs_config.remember_source(show.home, sources[0])
    return show.start()


def plays(obs, source):
    """When the source says that it plays."""
    start = time.perf_counter()
    while obs.media(source)[0] != "playing":
        if time.perf_counter() - start > 20:
            raise HostError(f"{source} does not play.")
    return time.perf_counter()


def mouse():
    """A click of the library behind xdotool, which needs no program to be started first."""
    library = ctypes.CDLL("libxdo.so.3")
    library.xdo_new.restype = ctypes.c_void_p
    display = ctypes.c_void_p(library.xdo_new(None))
    return lambda: library.xdo_click_window(display, ctypes.c_ulong(0), 1)


def measure_switches(obs, clips, repeats=18):
    """From the command to the source's "playing", by turns, each from one playing track to another."""
    ears, click = {source: Ears(obs.port, source) for source in (SOURCE, BARE)}, mouse()
    ways = {"set over the WebSocket": (BARE, lambda turn: edit_elsewhere(obs, clips[turn % 2], source=BARE)),
            "PlayTrack": (SOURCE, lambda turn: done(obs.client, "PlayTrack", index=0)),
            "double-click": (SOURCE, lambda turn: click())}
    took = {way: [] for way in ways}
    for turn in range(repeats):
        for way, (source, act) in ways.items():
            time.sleep(0.5)  # longer than the two clicks of a double-click may be apart
            if way == "double-click":
                # Not with --sync, which waits in vain for a pointer that is there already.
                xdotool("mousemove", *obs.row(clips[1].name).point(0.3, 0.5))
                click()
                time.sleep(0.06)
            start = time.perf_counter()
            act(turn)
            ears[source].hear(STARTED)
            took[way].append((plays(obs, source) - start) * 1000)
    for one in ears.values():
        one.socket.close()
    floor = median(took["set over the WebSocket"])
    tell("\nfrom the command to \"playing\"", "ms", "video frames")
    for way, times in took.items():
        tell(f"  {way}", f"{median(times):.0f}", f"{(median(times) - floor) / FRAME_MS:+.1f}")


def measure_gaps(obs, clips, rounds=4):
    """From the end of one track to the source's "playing" of the next, and what the time is spent on."""
    gaps, walks = [], []
    done(obs.client, "SetEndMode", endMode="next")
    for _ in range(rounds):
        time.sleep(1)  # until nothing is to be heard of what was before
        ears = Ears(obs.port)
        done(obs.client, "PlayTrack", index=0)
        ears.hear(CHANGED, STOPPED, UPDATED, STARTED)
        for _ in clips[1:]:
            gaps.append(ears.hear(ENDED, CHANGED, STOPPED, UPDATED, STARTED) | {"playing": plays(obs, SOURCE)})
        ears.hear(ENDED)
        ears.socket.close()
        ears = Ears(obs.port, BARE)
        edit_elsewhere(obs, *clips, source=BARE)
        ears.hear(UPDATED, STARTED)
        for _ in clips[1:]:
            walks.append(ears.hear(ENDED, STARTED) | {"playing": plays(obs, BARE)})
        ears.socket.close()

    tell("\nfrom a track's end to the next, ms", "median", "longest")
    for what, times, first, last in (
            ("source's own walk", walks, ENDED, "playing"), ("end mode next", gaps, ENDED, "playing"),
            ("  poll", gaps, ENDED, CHANGED), ("  stop", gaps, CHANGED, STOPPED), ("  update", gaps, STOPPED, UPDATED),
            ("  open", gaps, UPDATED, "playing"), ("  all but the poll", gaps, CHANGED, "playing")):
        spent = [(one[last] - one[first]) * 1000 for one in times]
        tell(f"  {what}", f"{median(spent):.0f}", f"{max(spent):.0f}")


def switching(show):
    long = [show.clip(f"long {number}.mp4", 120) for number in range(2)]
    # Of many lengths, so that the ends come at all moments between two polls.
    short = [show.clip(f"short {number}.mp4", 1.5 + 0.07 * number) for number in range(8)]
    for clips, measure in ((long, measure_switches), (short, measure_gaps)):
        obs = begin(show, vlc_source(clips), vlc_source([], name=BARE, playback_behavior="always_play"))
        soon("the queue", lambda: len(obs.labels() or []), len(clips))
        measure(obs, clips)
        show.end()


def burden(show, repeats=6):
    """What OBS takes to start, at rest and while a track plays, by turns without and with the dock."""
    shows = [Show(show.arguments, with_module=False), show]
    clip = show.clip("long.mp4", 60)
    figures = {"start, s": [], "processor at rest, %": [], "processor while playing, %": []}

    def share(pid, seconds=8):
        before = cpu_seconds(pid)
        time.sleep(seconds)
        return (cpu_seconds(pid) - before) / seconds * 100

    try:
        for turn in range(repeats):
            start = time.perf_counter()
            obs = begin(shows[turn % 2], vlc_source([clip]))
            figures["start, s"].append(time.perf_counter() - start)
            media_action(obs, "STOP")
            time.sleep(2)
            figures["processor at rest, %"].append(share(obs.process.pid))
            media_action(obs, "RESTART")
            plays(obs, SOURCE)
            figures["processor while playing, %"].append(share(obs.process.pid))
            shows[turn % 2].end()
    finally:
        shows[0].remove()
    tell("\nOBS as a whole", "without", "with the dock")
    for name, values in figures.items():
        tell(f"  {name}", *[f"{median(values[side::2]):.1f}" for side in (0, 1)])


def long_queue(show, rows):
    """A source whose stored queue is that long, half of it named "live"."""
    paths = []
    for number in range(rows):
        folder = show.folder / f"{rows} files" / f"season {number // 1000}"
        path = folder / f"episode {number} {'studio' if number % 2 else 'live'}.mp4"
        if number % 1000 == 0:
            folder.mkdir(parents=True)
            shutil.copy(paths[0] if paths else show.clip(f"{rows}.mp4", 60), path)
        else:
            os.link(paths[number - number % 1000], path)
        paths.append(path)
    source = vlc_source(paths[:1])
    source["private_settings"] = {"OBS-Reelhouse": {
        "version": 1, "tracks": [{"value": str(path), "id": str(number)} for number, path in enumerate(paths)],
        "observed": [{"value": str(paths[0])}], "current": "0", "managed": True, "endMode": 0,
        "originalLoop": False, "originalShuffle": False, "originalBehavior": "always_play"}}
    return source


def longest_answer(pulse, act):
    """While act() goes on in another thread, and for a second more: what it leads to may come later."""
    pulse.longest = 0
    with ThreadPoolExecutor() as pool:
        deed = pool.submit(lambda: (act(), time.sleep(1)))
        while not deed.done():
            pulse.feel()
        deed.result()
    return pulse.longest


def answers(show, rows, repeats=3):
    """The longest answer of the window during each thing that is done to a queue this long, in milliseconds."""
    obs = begin(show, long_queue(show, rows))
    pulse, client = Pulse(obs), obs.client
    search, count = obs.widget("search"), obs.widget("trackCount")
    x, y, _, height = obs.widget("playlist").box
    half = items("id", range(1, rows, 2))

    def drag_down():
        before = done(client, "GetQueue", limit=1)["revision"]
        drag(obs, (x + 60, y + 10), (x + 60, y + height // 2))
        if done(client, "GetQueue", limit=1)["revision"] == before:
            raise HostError("The drag moved nothing.")

    def look():
        search.click()
        press_key(*"live")
        wait_for("the search shows", lambda: " of " in count.name)

    deeds = {"at rest": lambda: time.sleep(3),
             "load": lambda: done(client, "SelectSource", sourceName=SOURCE),
             "search, four keys": look,
             "end of the search": lambda: press_key("Escape"),
             "play, with the save that follows": lambda: (done(client, "PlayTrack", index=0), plays(obs, SOURCE)),
             "playing": lambda: time.sleep(3),
             "remove half": lambda: done(client, "RemoveTracks", ids=half),
             "undo": lambda: done(client, "UndoRemove"),
             "move the last to the top": lambda: done(client, "MoveTrack", id=str(rows - 1), index=0),
             "drag a row": drag_down}
    took = {name: [] for name in deeds}
    for _ in range(repeats):
        done(client, "SelectSource", sourceUuid="")
        for name, act in deeds.items():
            took[name].append(longest_answer(pulse, act))
    show.end()
    return {name: f"{median(times):.0f}" for name, times in took.items()}


def window(show):
    lengths = (10_000, 100_000)
    columns = [answers(show, rows) for rows in lengths]
    tell("\nlongest answer of OBS's window, ms", *[f"{rows:,} rows" for rows in lengths])
    for name in columns[0]:
        tell(f"  {name}", *[column[name] for column in columns])


def bench(show):
    burden(show)
    switching(show)
    window(show)


if __name__ == "__main__":
    sys.exit(main({"bench": bench}, __doc__))
