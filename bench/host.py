#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Measures the dock in the real OBS with the real VLC source, and OBS and the source without the dock.

"bench" measures how long a user waits, and what the audience gets between two tracks; "boundaries" only the latter, and
"disk" how long a slow disk stops OBS's window.
"longrun" switches tracks thousands of times, in an OBS with the dock, which holds the picture, and in one without. It
fails when the dock loses a switch or one comes unrequested, or when an OBS leaks or ends badly.
"""

import os
import sys
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path
from statistics import median

import boundaries
from gi.repository import Atspi
from obs_config import SOURCE, vlc_source
from obs_host import Client, HostError, press_key, wait_for
from show import Show, SlowDisk, done, edit_elsewhere, expect, items, main, media_action, soon

BARE = "Bare"  # a source that the dock does not bind
ENDED, STARTED = "MediaInputPlaybackEnded", "MediaInputPlaybackStarted"
COMMAND, PLAYING = "command", "playing"
STOPPED, UPDATED = "MediaInputActionTriggered", "InputSettingsChanged"
INPUT_AND_MEDIA_EVENTS = 1 << 3 | 1 << 8
TRACKS, PLAYS = 10, 100  # in each round of the long run


def tell(what, *values):
    print(f"{what:42}" + "".join(f"{value:>14}" for value in values), flush=True)


class Listener(Client):
    """Receives the events of one source."""

    def __init__(self, port, source=SOURCE):
        super().__init__(port, events=INPUT_AND_MEDIA_EVENTS)
        self.source = source

    def times(self, *names, timeout=20):
        """Waits for an event of each of these names and returns the time of each."""
        times = {}
        while not times.keys() >= set(names):
            try:
                event = self.receive(5, timeout)
            except TimeoutError:
                raise HostError(f"Of {', '.join(names)} only {', '.join(times) or 'none'} came.") from None
            if event["eventData"].get("inputName", self.source) == self.source:
                times.setdefault(event["eventType"], time.perf_counter())
        return times


def main_window(obs):
    Atspi.set_timeout(60_000, 60_000)
    return obs.find(lambda node: node.get_accessible_id() == "OBSApp.OBSBasic", "OBS's main window", 60)


def longest_answers(windows, acts):
    """Runs the acts in other threads and meanwhile asks each window for its position, which OBS answers between two
    events. Returns the longest answer of each window in milliseconds."""
    longest = [0] * len(windows)
    with ThreadPoolExecutor() as pool:
        deeds = [pool.submit(act) for act in acts]
        while not all(deed.done() for deed in deeds):
            for number, window in enumerate(windows):
                start = time.perf_counter()
                window.box
                longest[number] = max(longest[number], (time.perf_counter() - start) * 1000)
            time.sleep(0.002)
        for deed in deeds:
            deed.result()
    return longest


def plays(obs, source=SOURCE):
    """Waits until the source plays and returns the time of that."""
    start = time.perf_counter()
    while obs.media(source)[0] != "playing":
        if time.perf_counter() - start > 20:
            raise HostError(f"{source} does not play.")
    return time.perf_counter()


def measure_switches(show, rounds=4):
    """Measures the time from a command, and from a track's end, to the source's "playing", and its parts."""
    # The clips have many lengths, so that the ends come at all moments between two polls.
    clips = [show.clip(f"short {number}.mp4", 1.5 + 0.07 * number) for number in range(8)]
    obs = show.start(vlc_source(clips), vlc_source([], name=BARE, playback_behavior="always_play"))
    soon("the queue", lambda: len(obs.labels() or []), len(clips))
    done(obs.client, "SetEndMode", endMode="next")
    commands = {SOURCE: lambda: done(obs.client, "PlayTrack", index=0),
                BARE: lambda: edit_elsewhere(obs, *clips, source=BARE)}
    events = {SOURCE: [ENDED, STOPPED, UPDATED, STARTED], BARE: [ENDED, STARTED]}
    switches = {(source, step): [] for source in commands for step in (COMMAND, ENDED)}
    for _ in range(rounds):
        for source, command in commands.items():
            listener = Listener(obs.port, source)
            start = time.perf_counter()
            command()
            times = listener.times(*events[source][1:])
            switches[source, COMMAND].append({COMMAND: start, **times, PLAYING: plays(obs, source)})
            for _ in clips[1:]:
                times = listener.times(*events[source])
                switches[source, ENDED].append({**times, PLAYING: plays(obs, source)})
            listener.times(ENDED)
            listener.socket.close()
    show.end()
    tell("\nto the source's \"playing\", ms", "median", "longest")
    for what, source, kind, first, last in (
            ("from a new playlist in the settings", BARE, COMMAND, COMMAND, PLAYING),
            ("from PlayTrack", SOURCE, COMMAND, COMMAND, PLAYING),
            ("from a track's end, the source's own walk", BARE, ENDED, ENDED, PLAYING),
            ("from a track's end, end mode next", SOURCE, ENDED, ENDED, PLAYING),
            ("  rest and stop", SOURCE, ENDED, ENDED, STOPPED), ("  update", SOURCE, ENDED, STOPPED, UPDATED),
            ("  open", SOURCE, ENDED, UPDATED, PLAYING)):
        spent = [(one[last] - one[first]) * 1000 for one in switches[source, kind]]
        tell(f"  {what}", f"{median(spent):.0f}", f"{max(spent):.0f}")


def processor_share(pid, seconds=8):
    """Returns the processor time that a process takes, in percent of one processor."""
    def used():
        fields = Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")
    before = used()
    time.sleep(seconds)
    return (used() - before) / seconds * 100


def measure_load(show, repeats=6):
    """Measures OBS's start, and its processor time at rest and during playback, by turns without and with the dock."""
    shows = [Show(show.arguments, with_module=False), show]
    clip = show.clip("long.mp4", 60)
    figures = {"start, s": [], "processor at rest, %": [], "processor while playing, %": []}
    try:
        for turn in range(repeats):
            start = time.perf_counter()
            obs = shows[turn % 2].start(vlc_source([clip]))
            figures["start, s"].append(time.perf_counter() - start)
            media_action(obs, "STOP")
            time.sleep(2)
            figures["processor at rest, %"].append(processor_share(obs.process.pid))
            media_action(obs, "RESTART")
            plays(obs)
            figures["processor while playing, %"].append(processor_share(obs.process.pid))
            shows[turn % 2].end()
    finally:
        shows[0].remove()
    tell("\nOBS as a whole", "without", "with the dock")
    for name, values in figures.items():
        tell(f"  {name}", *[f"{median(values[side::2]):.1f}" for side in (0, 1)])


def long_queue(folder, first, rows):
    """Returns a source with a stored queue of this length, and its paths. Half of the names contain "live"."""
    paths = [first]
    for number in range(1, rows):
        paths.append(folder / f"{rows}/{number // 1000}/{number} {'studio' if number % 2 else 'live'}.mp4")
        paths[number].parent.mkdir(parents=True, exist_ok=True)
        paths[number].touch()
    source = vlc_source(paths[:1])
    source["private_settings"] = {"OBS-Reelhouse": {
        "version": 1, "tracks": [{"value": str(path), "id": str(number)} for number, path in enumerate(paths)],
        "observed": [{"value": str(paths[0])}], "current": "0", "managed": True, "endMode": 0,
        "originalLoop": False, "originalShuffle": False, "originalBehavior": "always_play"}}
    return source, paths


def measure_answers(show, rows, repeats=3):
    """The longest answer of the window, in milliseconds, during each thing that is done to a queue this long."""
    obs = show.start(long_queue(show.folder, show.clip(f"{rows}.mp4", 60), rows)[0])
    window, client = main_window(obs), obs.client
    search, count = obs.widget("search"), obs.widget("trackCount")

    def type_search():
        search.click()
        press_key(*"live")
        wait_for("the search shows", lambda: " of " in count.name)

    deeds = {"at rest": lambda: time.sleep(3),
             "load": lambda: done(client, "SelectSource", sourceName=SOURCE),
             "search, four keys": type_search,
             "end of the search": lambda: press_key("Escape"),
             "play, with the save that follows": lambda: (done(client, "PlayTrack", id="0"), plays(obs)),
             "add one": lambda: done(client, "AddTracks", paths=items("path", [f"{show.folder}/{rows}.mp4"])),
             "remove half": lambda: done(client, "RemoveTracks", ids=items("id", range(1, rows, 2))),
             "undo": lambda: done(client, "UndoRemove"),
             "move the last to the top": lambda: done(client, "MoveTrack", id=str(rows - 1), index=0)}
    took = {name: [] for name in deeds}
    for _ in range(repeats):
        done(client, "SelectSource", sourceUuid="")
        for name, act in deeds.items():
            # Watch for one more second: an effect of the operation may come later.
            took[name] += longest_answers([window], [lambda: (act(), time.sleep(1))])
    show.end()
    return {name: f"{median(times):.0f}" for name, times in took.items()}


def measure_slow_answers(show, disk, rows, delay):
    """The same, during each thing that looks at files, on a disk that takes so many milliseconds for a look."""
    disk.take(delay)
    source, paths = long_queue(disk.folder, show.folder / "first.mp4", rows)
    start = time.perf_counter()
    obs = show.start(source)
    took = {"(OBS's start as a whole)": (time.perf_counter() - start) * 1000}
    window, client = main_window(obs), obs.client

    def rest():
        disk.take(0)
        wait_for("every file has been seen", lambda: not any(
            track.keys().isdisjoint(("sizeBytes", "missing")) for track in done(client, "GetQueue")["tracks"]), 60)

    added = disk.folder / "added.mp4"
    added.touch()
    rest()
    done(client, "SelectSource", sourceUuid="")
    for name, act in {"bind": lambda: done(client, "SelectSource", sourceName=SOURCE),
                      "edit elsewhere": lambda: edit_elsewhere(obs, *paths[:-1]),
                      "Bring Back": lambda: done(client, "BringBackReplacedQueue"),
                      "refresh": obs.widget("refresh").press,
                      "add one": lambda: done(client, "AddTracks", paths=items("path", [added])),
                      "play": lambda: done(client, "PlayTrack", index=1)}.items():
        disk.take(delay)
        # The poll sees an edit elsewhere within a second.
        took[name] = longest_answers([window], [lambda: (act(), time.sleep(2.5))])[0]
        rest()
    show.end()
    return {name: f"{time:.0f}" for name, time in took.items()}


def measure_slow_disk(show):
    disk = SlowDisk(show.folder)
    show.clip("first.mp4", 60)
    delays = {"quick": 0, "20 ms": 20, "200 ms": 200, "no answer": -1}
    for rows in (300, 10_000):
        columns = [measure_slow_answers(show, disk, rows, delay) for delay in delays.values()]
        tell(f"\nlongest answer of OBS's window, ms, {rows:,} rows", *delays)
        for name in columns[0]:
            tell(f"  {name}", *[column[name] for column in columns])


def measure_boundaries(show):
    boundaries.measure(show, tell)


def bench(show):
    measure_load(show)
    measure_switches(show)
    # The measure changes the canvas of its OBS, so it has one of its own.
    other = Show(show.arguments)
    try:
        measure_boundaries(other)
    finally:
        other.remove()
    lengths = (10_000, 100_000)
    columns = [measure_answers(show, rows) for rows in lengths]
    tell("\nlongest answer of OBS's window, ms", *[f"{rows:,} rows" for rows in lengths])
    for name in columns[0]:
        tell(f"  {name}", *[column[name] for column in columns])
    measure_slow_disk(show)


class Side:
    """One OBS of the long run, with or without the dock, on ten clips of a second, and its counters."""

    def __init__(self, show):
        self.show, self.dock = show, bool(show.module)
        self.name = "with the dock" if self.dock else "without"
        self.clips = [show.clip(f"{number}.mp4", 1) for number in range(TRACKS)]
        self.asked, self.seen, self.lost, self.memory = 0, 0, 0, []
        source = vlc_source(self.clips, playback_behavior="always_play")
        self.obs = show.start(boundaries.holding(source) if self.dock else source)
        if self.dock:
            soon("the queue", lambda: len(self.obs.labels() or []), TRACKS)
        # The source plays at the start by itself; do not count that as a switch.
        media_action(self.obs, "STOP")
        wait_for("the source is at rest",
                 lambda: self.obs.media(SOURCE)[0] in ("stopped", "ended", "none"))
        self.listener, self.window = Listener(show.port), main_window(self.obs)

    def play(self, index, walks=False):
        if self.dock:
            done(self.obs.client, "SetEndMode", endMode="next" if walks else "stop")
            done(self.obs.client, "PlayTrack", index=index)
        else:
            edit_elsewhere(self.obs, *(self.clips if walks else self.clips[index:index + 1]))

    def follow(self):
        """Waits for a requested switch, which is seen when the source opens its media. Returns whether it has come."""
        self.asked += 1
        try:
            self.listener.times(STARTED)
            self.seen += 1
            return True
        except HostError:
            # On a busy machine the source alone loses one now and then.
            if self.dock:
                raise HostError(f"Switch {self.asked} is lost.") from None
            self.lost += 1
            return False

    def round(self):
        """Lets the queue play to its end, checks that nothing follows, and then plays single tracks."""
        self.play(0, walks=True)
        for _ in range(TRACKS):
            self.follow()
        try:
            self.listener.times(STARTED, timeout=5)
            self.seen += 1
        except HostError:
            pass  # no further switch, as wanted
        for number in range(PLAYS):
            self.play(number % TRACKS)
            if self.follow():
                plays(self.obs)
        lines = Path(f"/proc/{self.obs.process.pid}/smaps_rollup").read_text().splitlines()
        self.memory.append(sum(int(line.split()[1]) for line in lines if line.startswith("Rss:")) / 1024)
        tell(f"{self.name}: switches, MiB", self.seen, f"{self.memory[-1]:.1f}")


def longrun(show):
    other = Show(show.arguments, with_module=False)
    try:
        sides = [Side(other), Side(show)]
        end = time.monotonic() + show.arguments.minutes * 60
        answers = []
        while time.monotonic() < end:
            answers.append(longest_answers([side.window for side in sides], [side.round for side in sides]))
        for side in sides:
            side.show.end()
        tell("", *[side.name for side in sides])
        tell("switches asked for", *[side.asked for side in sides])
        tell("switches seen", *[side.seen for side in sides])
        tell("switches lost", *[side.lost for side in sides])
        tell("MiB after a fifth of all rounds", *[f"{side.memory[len(side.memory) // 5]:.1f}" for side in sides])
        tell("MiB at the end (growth: goal 1.05 times)", *[f"{side.memory[-1]:.1f}" for side in sides])
        tell("longest answer of the window, ms", *[f"{max(times):.0f}" for times in zip(*answers)])
    finally:
        other.remove()
    expect("unrequested switches with the dock", sides[1].seen - sides[1].asked, 0)


if __name__ == "__main__":
    sys.exit(main({"bench": bench, "boundaries": measure_boundaries, "disk": measure_slow_disk, "longrun": longrun},
                  __doc__))
