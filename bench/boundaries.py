# SPDX-License-Identifier: GPL-2.0-or-later
"""Counts what the audience sees and hears between two tracks, in a recording of the program by OBS.

Each clip has one colour, which is bright at its start, and one tone, which gets louder in its last second. So the
recording tells which clip it shows, where a clip starts, and how much of its sound is missing at its end.
"""

import array
import colorsys
import re
import subprocess
import time
from dataclasses import dataclass, field
from statistics import median

from obs_config import SOURCE, vlc_source
from obs_host import Client, HostError, wait_for
from show import done, edit_elsewhere, media_action, soon

BARE = "Bare"  # a source that the dock does not bind
HOLD = "Hold"  # the filter that holds the picture, which the measure turns on and off
ENDED, STARTED = "MediaInputPlaybackEnded", "MediaInputPlaybackStarted"
INPUT_AND_MEDIA_EVENTS = 1 << 3 | 1 << 8
CLIPS, PICTURES, BRIGHT = 10, 30, 0.3  # clips; pictures in a second; seconds of the bright start
QUIET, LOUD = 0.2, 0.4  # the tone's amplitude until the last second of a clip, and at its end
BLACK = None


@dataclass
class Figures:
    """One value for each boundary; lagged is the number of pictures that OBS was too slow for."""
    black: list = field(default_factory=list)
    gap: list = field(default_factory=list)
    lost: list = field(default_factory=list)
    silence: list = field(default_factory=list)
    restarts: int = 0
    lagged: int = 0

    def add(self, other):
        for name, value in vars(other).items():
            setattr(self, name, getattr(self, name) + value)


def seconds_of(number):
    """The clips have many lengths, so that their ends come at all moments between two polls."""
    return 1.8 + number / PICTURES


def colour(number, bright):
    return tuple(round(part * 255) for part in colorsys.hsv_to_rgb(number / CLIPS, 1, 1 if bright else 0.6))


SHADES = {colour(number, bright): (number, bright) for number in range(CLIPS) for bright in (True, False)}


def make_clip(show, number):
    length = seconds_of(number)
    path = show.folder / f"boundary {number}.mkv"
    parts = [f"color=0x{bytes(colour(number, bright)).hex()}:size=320x180:rate={PICTURES}:duration={seconds}[{bright}]"
             for bright, seconds in ((True, BRIGHT), (False, length - BRIGHT))]
    tone = (f"aevalsrc='({QUIET}+{LOUD - QUIET}*clip(t-{length - 1},0,1))*sin(2*PI*{500 + 50 * number}*t)'"
            f":s=48000:d={length}")
    subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-y", "-filter_complex",
                    f"{parts[0]};{parts[1]};[True][False]concat;{tone}", "-c:v", "libx264", "-g", "30",
                    "-pix_fmt", "yuv420p", "-c:a", "pcm_s16le", path], check=True)
    return path


def prepare(show):
    """Makes OBS record without loss, and a canvas that is small enough for a busy machine."""
    profile = show.home / ".config/obs-studio/basic/profiles/Reelhouse/basic.ini"
    text = profile.read_text().replace("1280", "320").replace("720", "180")
    profile.write_text(f"{text}\n[Output]\nMode=Simple\n[SimpleOutput]\nFilePath={show.folder}\nRecQuality=Lossless\n")


def decode(path, *options):
    return subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-i", path, *options, "-"], check=True,
                          capture_output=True).stdout


def pictures(path):
    """Returns (clip, whether it is bright) of each picture, or BLACK."""
    def nearest(pixel):
        if max(pixel) < 40:
            return BLACK
        return SHADES[min(SHADES, key=lambda shade: sum((a - b) ** 2 for a, b in zip(shade, pixel)))]
    data = decode(path, "-vf", f"fps={PICTURES},scale=1:1:flags=area", "-pix_fmt", "rgb24", "-f", "rawvideo")
    return [nearest(data[at:at + 3]) for at in range(0, len(data), 3)]


def loudness(path):
    """Returns the largest amplitude of each millisecond, between 0 and 1."""
    samples = array.array("h", decode(path, "-vn", "-af", "aresample=48000:async=1:first_pts=0", "-ac", "1",
                                      "-f", "s16le"))
    return [max(max(part), -min(part)) / 32768 for part in (samples[at:at + 48] for at in range(0, len(samples), 48))]


def count(seen, heard, cut_off):
    """Returns the figures of some pictures and their sound. Where tracks are cut off, their ends are not heard."""
    figures = Figures()
    # OBS's recorder may start sound and pictures at different times. They start together after a rest.
    shift = (next((at for at, level in enumerate(heard) if level > QUIET / 2), 0)
             - next((at for at, picture in enumerate(seen) if picture is not BLACK), 0) * 1000 // PICTURES)
    heard_since = 0  # the start of the sound of the track that is shown
    last = None  # the last picture that was not black
    for number, picture in enumerate(seen):
        if picture is BLACK:
            continue
        if last is not None and picture[1] and (picture[0] != seen[last][0] or not seen[last][1]):
            figures.black.append(seen[last + 1:number].count(BLACK))
            figures.restarts += picture[0] == seen[last][0]
            sound = boundary_in_sound(heard, max((last + 1) * 1000 // PICTURES + shift - 1700, heard_since + 100),
                                      number * 1000 // PICTURES + shift + 600)
            heard_since = sound[1]
            figures.silence.append(sound[1] - sound[0])
            if not cut_off:
                loudest = max(heard[max(sound[0] - 6, 0):sound[0] + 1])
                figures.lost.append(max(round((LOUD - loudest) / (LOUD - QUIET) * 1000), 0))
        last = number
    return figures


def boundary_in_sound(heard, first, final):
    """Returns where, between two milliseconds, the sound of a track ends and the next one's begins."""
    final = min(final, len(heard))
    silent = [at for at in range(first, final) if heard[at] < QUIET / 4]
    runs = []
    for at in silent:
        if runs and runs[-1][1] == at:
            runs[-1][1] = at + 1
        else:
            runs.append([at, at + 1])
    longest = max(runs, key=lambda run: run[1] - run[0], default=None)
    if longest and longest[1] - longest[0] > 1:
        return longest
    # Nothing is silent. The tone of the next track is quieter.
    drop = max(range(first + 5, final - 5),
               key=lambda at: min(heard[at - 4:at]) - max(heard[at + 1:at + 5]), default=first)
    return [drop, drop]


class Watcher(Client):
    """Receives the media events of one source, with the time of each."""

    def __init__(self, port, source):
        super().__init__(port, events=INPUT_AND_MEDIA_EVENTS)
        self.source = source

    def follow(self, ends):
        """Waits for so many ends and the start after each but the last. Returns the milliseconds between them."""
        gaps, ended = [], 0
        while ends:
            try:
                event = self.receive(5, 20)
            except TimeoutError:
                raise HostError(f"{self.source}: {ends} more ends did not come.") from None
            if event["eventData"].get("inputName") != self.source:
                continue
            if event["eventType"] == STARTED and ended:
                gaps.append((time.perf_counter() - ended) * 1000)
                ended = 0
            elif event["eventType"] == ENDED and not ended:
                ended = time.perf_counter()
                ends -= 1
        return gaps


def skipped(obs):
    stats = obs.request("GetStats")
    return stats["renderSkippedFrames"] + stats["outputSkippedFrames"]


class Recording:
    """The recording of one OBS from its start to its end. A second one in the same OBS would fail now and then: OBS's
    lossless recorder may overwrite on one thread that it has started on another."""

    def __init__(self, obs):
        self.obs, self.parts = obs, []
        obs.request("StartRecord")
        wait_for("OBS records", lambda: obs.request("GetRecordStatus")["outputActive"])

    def rest(self):
        """Waits until all that was shown is recorded, also with much sound buffered. Returns a time in the rest."""
        for source in (SOURCE, BARE):
            media_action(self.obs, "STOP", source)  # each source shows through where the other one is black
        time.sleep(2.5)
        return self.obs.request("GetRecordStatus")["outputDuration"] - 1000

    def add(self, figures, act, source, clips):
        """Lets the audience see and hear the act, whose figures are to be added to these."""
        start, lagged = self.rest(), skipped(self.obs)
        figures.gap += act(self.obs, source, clips)
        figures.lagged += skipped(self.obs) - lagged
        self.parts.append((figures, act, start, self.rest()))

    def count(self):
        path = self.obs.request("StopRecord")["outputPath"]
        wait_for("the recording ends", lambda: not self.obs.request("GetRecordStatus")["outputActive"])
        time.sleep(1)  # OBS closes the file after that
        seen, heard = pictures(path), loudness(path)
        for figures, act, start, end in self.parts:
            part = count(seen[start * PICTURES // 1000:end * PICTURES // 1000], heard[start:end], act is step)
            if act is repeat:
                part.restarts = 0  # all are wanted
            figures.add(part)


# What the audience is shown: each returns the milliseconds from an end to the next start.

def walk(obs, source, clips):
    """All clips to their ends."""
    watcher = Watcher(obs.port, source)
    if source == BARE:
        edit_elsewhere(obs, *clips, source=BARE)
    else:
        done(obs.client, "SetEndMode", endMode="next")
        done(obs.client, "PlayTrack", index=0)
    gaps = watcher.follow(len(clips))
    watcher.socket.close()
    return gaps


def repeat(obs, source, clips):
    watcher = Watcher(obs.port, source)
    done(obs.client, "SetEndMode", endMode="repeat")
    done(obs.client, "PlayTrack", index=1)
    gaps = watcher.follow(len(clips))
    done(obs.client, "Stop")
    watcher.socket.close()
    return gaps


def step(obs, source, clips):
    """Next in the middle of each clip."""
    if source == BARE:
        edit_elsewhere(obs, *clips, source=BARE)
    else:
        done(obs.client, "SetEndMode", endMode="stop")
        done(obs.client, "PlayTrack", index=0)
    for _ in clips[1:]:
        time.sleep(0.9)
        if source == BARE:
            media_action(obs, "NEXT", BARE)
        else:
            done(obs.client, "PlayNext")
    time.sleep(0.9)
    return []


def holding(source):
    """Returns the source with the filter that holds its picture."""
    return {**source, "filters": [{"id": "reelhouse_hold_picture", "name": HOLD}]}


def early_source(show):
    """Returns a source whose sound is so early that OBS buffers as much of all sound as it can."""
    silence = show.folder / "silence.wav"
    subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-y", "-f", "lavfi", "-i", "anullsrc=r=48000", "-t", "30",
                    silence], check=True)
    return {**vlc_source([silence], name="Early", loop=True, playback_behavior="always_play"), "sync": -900_000_000}


def measure(show, tell, rounds=2):
    clips = [make_clip(show, number) for number in range(CLIPS)]
    prepare(show)
    for buffered, others in (("as usual", []), ("full", [early_source(show)])):
        bare = vlc_source([], name=BARE, playback_behavior="always_play")
        obs = show.start(holding(vlc_source(clips)), bare, *others)
        soon("the queue", lambda: len(obs.labels() or []), len(clips))
        if others:
            wait_for("OBS buffers sound", lambda: re.search("total audio buffering is now [89]..", obs.log))
        recording = Recording(obs)
        results = {name: {} for name in SHOWS}
        for _ in range(rounds):
            for name, act in SHOWS.items():
                for side, (source, held) in SIDES.items():
                    if act is repeat and source == BARE:
                        continue  # VLC repeats by itself, which shows no boundary
                    obs.request("SetSourceFilterEnabled", sourceName=SOURCE, filterName=HOLD, filterEnabled=held)
                    recording.add(results[name].setdefault(side, Figures()), act, source, clips)
        recording.count()
        show.end()
        for name, figures in results.items():
            report(tell, f"{name}; sound buffered {buffered}", figures)


SIDES = {"source alone": (BARE, False), "dock": (SOURCE, False), "dock, held": (SOURCE, True)}
SHOWS = {"ends, end mode next": walk, "ends, end mode repeat": repeat, "Next in the middle": step}


def report(tell, title, results):
    """Tells the medians and, in brackets, the largest values."""
    def cell(values):
        return f"{median(values):.0f} ({max(values):.0f})" if values else "-"
    print(f"\n{title}")
    tell("median (most)", *[f"  {side}" for side in results])
    for what, values in (("boundaries", lambda one: len(one.black)), ("black pictures", lambda one: cell(one.black)),
                         ("from ended to started, ms", lambda one: cell(one.gap)),
                         ("sound lost at the end, ms", lambda one: cell(one.lost)),
                         ("silence, ms", lambda one: cell(one.silence)),
                         ("a track started again", lambda one: one.restarts),
                         ("lagged pictures", lambda one: one.lagged)):
        tell(f"  {what}", *[values(one) for one in results.values()])
