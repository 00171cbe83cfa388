#!/usr/bin/env python3
"""Thousands of track switches in the real OBS, beside an OBS without the dock whose source makes as many by itself.

Judges that no switch is lost or made up and that both end cleanly, and prints what they took of memory and time.
"""

import statistics
import sys
import time
from concurrent.futures import ThreadPoolExecutor

import obs_config
from obs_config import SOURCE, scene, vlc_source
from obs_host import HostError, wait_for
from show import Show, done, edit_elsewhere, expect, main, media_action, playing, soon
from watch import ENDED, STARTED, Ears, Pulse, resident

TRACKS = 10
PLAYS = 100  # asked for in each round
AT_REST = ("stopped", "ended", "none")


class Side:
    """One OBS on ten clips of a second, and what is counted of it."""

    def __init__(self, show):
        self.show = show
        self.clips = [show.clip(f"{number}.mp4", 1) for number in range(TRACKS)]
        source = vlc_source(self.clips, playback_behavior="always_play")
        obs_config.write_collection(show.home, [scene("Main", source)], [source])
        obs_config.remember_source(show.home, source)
        self.asked, self.seen, self.memory, self.ending = 0, 0, [], "not seen"
        self.obs = show.start()
        self.pulse = Pulse(self.obs)
        # What the source plays by itself at the start is no switch.
        media_action(self.obs, "STOP")
        soon("the source is at rest", lambda: self.obs.media(SOURCE)[0] in AT_REST, True)
        self.ears = Ears(show.port)

    def end(self):
        self.ears.socket.close()
        self.show.end()
        self.ending = "0, 0"

    def follow(self, switches=1):
        """Each switch that was asked for is seen when the source opens its media."""
        for _ in range(switches):
            self.asked += 1
            try:
                self.ears.hear(STARTED)
            except HostError:
                raise HostError(f"{self.name}: switch {self.asked} is lost.") from None
            self.seen += 1

    def rest(self, repeated=False):
        """The last track ends, and nothing follows that was not asked for."""
        wait_for(f"{self.name}: the last track ends", self.at_rest)
        while True:
            try:
                heard = self.ears.hear(STARTED, timeout=1)
            except HostError:
                return
            self.seen += 1
            # A busy machine lets a track end before it is told to repeat no more.
            self.asked += repeated and ENDED in heard

    def round(self):
        """A walk through the queue, one track again and again, and tracks that are asked for."""
        self.begin("next")
        self.follow(TRACKS)
        self.rest()
        self.begin("repeat")
        self.follow(TRACKS)
        self.repeat_no_more()
        self.rest(repeated=True)
        for number in range(PLAYS):
            index = number % TRACKS
            self.play(index)
            self.follow()
            wait_for(f"{self.name}: a track plays", lambda: playing(self.obs, self.clips[index]), 20)
        self.memory.append(resident(self.obs.process.pid))

    def ends(self):
        """Resident memory at both ends of what follows a warm-up of a fifth of all rounds."""
        steady = self.memory[len(self.memory) // 5:]
        some = max(len(steady) // 5, 1)
        return statistics.median(steady[:some]), statistics.median(steady[-some:])


class Dock(Side):
    name = "the dock"

    def begin(self, end_mode):
        done(self.obs.client, "SetEndMode", endMode=end_mode)
        self.play(0)

    def at_rest(self):
        return not self.obs.playlist(SOURCE)

    def repeat_no_more(self):
        done(self.obs.client, "SetEndMode", endMode="stop")

    def play(self, index):
        done(self.obs.client, "PlayTrack", index=index)


class Bare(Side):
    name = "the bare source"

    def begin(self, end_mode):
        if end_mode == "next":
            edit_elsewhere(self.obs, *self.clips, loop=False)
        else:
            edit_elsewhere(self.obs, self.clips[0], loop=True)

    def at_rest(self):
        return self.obs.media(SOURCE)[0] in AT_REST

    def repeat_no_more(self):
        edit_elsewhere(self.obs, loop=False)

    def play(self, index):
        edit_elsewhere(self.obs, self.clips[index])


def report(sides, minutes):
    rows = [(f"{minutes:.0f} minutes", "{}", [side.name for side in sides]),
            ("switches asked for", "{}", [side.asked for side in sides]),
            ("switches seen", "{}", [side.seen for side in sides]),
            ("longest answer of the window, ms", "{:.0f}", [side.pulse.longest for side in sides]),
            ("exit code, leaks", "{}", [side.ending for side in sides])]
    if all(side.memory for side in sides):
        first, last = zip(*[side.ends() for side in sides])
        grown = [after - before for before, after in zip(first, last)]
        rows[3:3] = [("resident after the warm-up, MiB", "{:.1f}", first), ("resident at the end, MiB", "{:.1f}", last),
                     (f"growth, MiB (times {grown[1] / (grown[0] or 1):.2f}; goal 1.05)", "{:+.1f}", grown)]
    for what, form, (bare, dock) in rows:
        print(f"{what:36} {form.format(bare):>16} {form.format(dock):>10}", flush=True)


def switch(sides, seconds):
    """Both make the same rounds at the same time, with a hand on the pulse of both windows."""
    end = time.monotonic() + seconds
    with ThreadPoolExecutor() as pool:
        while time.monotonic() < end:
            rounds = [pool.submit(side.round) for side in sides]
            while not all(one.done() for one in rounds):
                for side in sides:
                    side.pulse.feel()
                time.sleep(0.01)
            for one in rounds:
                one.result()
            print(*[f"{side.seen} switches, {side.memory[-1]:.1f} MiB" for side in sides], sep="; ", flush=True)


def run(show):
    other = Show(show.arguments, with_module=False)
    try:
        bare, dock = sides = Bare(other), Dock(show)
        soon("the queue", lambda: len(dock.obs.labels() or []), TRACKS)
        begin = time.monotonic()
        try:
            switch(sides, show.arguments.minutes * 60)
            for side in sides:
                side.end()
        finally:
            report(sides, (time.monotonic() - begin) / 60)
    finally:
        other.remove()
    expect("switches that nobody had asked for", dock.seen - dock.asked, 0)


if __name__ == "__main__":
    sys.exit(main({"longrun": run}, __doc__))
