"""Shared by tests and measurements in the real OBS: media, runs of OBS, waiting and comparing."""

import argparse
import os
import shutil
import subprocess
import sys
import tempfile
import time
from pathlib import Path

import obs_config
from obs_config import SOURCE, scene
from obs_host import Desktop, HostError, Obs, free_port, id_of, wait_for, xdotool

MARK = "▶\uFE0E "


def expect(what, actual, wanted):
    if actual != wanted:
        raise HostError(f"{what}: expected {wanted!r}, got {actual!r}.")


def soon(what, look, wanted, timeout=10):
    """Waits until look() returns the wanted value."""
    try:
        wait_for(what, lambda: look() == wanted, timeout)
    except HostError:
        expect(f"{what}, after {timeout} s", look(), wanted)
        raise


class Show:
    """The media, the configuration and the runs of OBS of one scenario."""

    def __init__(self, arguments, with_module=True):
        self.arguments = arguments
        self.module = arguments.module if with_module else None
        self.folder = Path(tempfile.mkdtemp(prefix="reelhouse-"))
        self.home = self.folder / "home"
        self.home.mkdir()
        self.port = free_port()
        obs_config.write_config(self.home, arguments.layout, self.port, preview=False)
        self.obs = None

    def clip(self, name, seconds=3, **tags):
        path = self.folder / name
        metadata = [word for tag in tags.items() for word in ("-metadata", "=".join(tag))]
        subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-f", "lavfi", "-i",
                        f"testsrc=size=320x180:rate=15:duration={seconds}", "-f", "lavfi", "-i",
                        f"sine=frequency=330:duration={seconds}", "-c:v", "libx264", "-g", "15", "-pix_fmt", "yuv420p",
                        "-c:a", "aac", *metadata, "-f", "mp4", path], check=True)
        return path

    def start(self, *sources):
        """Starts OBS, on a new collection if there are sources: one scene shows them, and the dock has the first."""
        if sources:
            obs_config.write_collection(self.home, [scene("Main", *sources)], sources)
            obs_config.remember_source(self.home, sources[0])
        self.obs = Obs(self.home, self.module, self.arguments.data, self.port)
        self.obs.connect()
        return self.obs

    def end(self):
        expect("exit code", self.obs.quit(), 0)
        expect("complaints in the log", self.obs.complaints(), [])

    def remove(self):
        if self.obs:
            self.obs.kill()
        shutil.rmtree(self.folder, ignore_errors=True)

    def drag_in(self, *what, onto="playlist", until=None):
        """Drags files from another program's window onto the list. That program runs until the drop shows.

        Without until, nobody may take the drag."""
        source = subprocess.Popen([self.arguments.drag_source, *map(str, what)], stdout=subprocess.PIPE, text=True)

        def hear(word):
            while (said := source.stdout.readline().strip()) != word:
                if not said:
                    raise HostError(f"The drag ended before it was {word}.")
        try:
            hear("shown")
            drag(self.obs, (20, 20), self.obs.widget(onto).point(), meanwhile=lambda: hear("dragging"),
                 before_drop=lambda: until and hear("taken"))
            if until:
                until()
        finally:
            source.kill()
            source.wait()
        if not until:
            expect(f"somebody takes the drag onto {onto}", "taken" in source.stdout.read(), False)


class SlowDisk:
    """A folder whose files take long to look at, for every program that starts from now on."""

    def __init__(self, folder):
        library, self.control = folder / "slow_disk.so", folder / "slow_disk"
        subprocess.run(["gcc", "-shared", "-fPIC", "-o", library, Path(__file__).with_name("slow_disk.c")], check=True)
        self.folder = folder / "slow"
        self.folder.mkdir()
        self.control.write_bytes(bytes(4))
        os.environ.update(LD_PRELOAD=str(library), SLOW_DISK=str(self.control))

    def take(self, milliseconds):
        """How long each look takes from now on. With -1 they wait until this is called again."""
        with self.control.open("r+b") as file:  # never empty: OBS has it mapped
            file.write(milliseconds.to_bytes(4, sys.byteorder, signed=True))


def drag(obs, start, target, meanwhile=lambda: None, before_drop=lambda: None):
    """Drags with the mouse and waits until OBS has ended the drag."""
    before = obs.windows()
    xdotool("mousemove", "--sync", *start, "mousedown", 1)
    xdotool("mousemove_relative", "--sync", 8, 8)
    meanwhile()
    for offset in (-12, -4, 0):
        xdotool("mousemove", "--sync", target[0], target[1] + offset)
        time.sleep(0.1)  # a drag follows the pointer with a timer
    before_drop()
    xdotool("mouseup", 1)
    # The dragged item has a window until the drag ends, and this window swallows every click.
    wait_for("the drag ends", lambda: not obs.windows() - before, 5)


def playing(obs, path):
    """Whether the source holds exactly this entry and plays it."""
    return obs.playlist(SOURCE) == [str(path)] and obs.media(SOURCE)[0] == "playing"


def play(obs, clip):
    """Plays a track from the list."""
    obs.double_click(clip.name)
    wait_for(f"{clip.name} plays", lambda: playing(obs, clip), 15)


def queue_of(obs):
    """Returns the names in the list without the mark of the current one; None while the dock replaces them."""
    labels = obs.labels()
    return labels and [label.removeprefix(MARK) for label in labels]


def edit_elsewhere(obs, *paths, source=SOURCE, **settings):
    obs.request("SetInputSettings", inputName=source,
                inputSettings={"playlist": [{"value": str(path)} for path in paths], **settings})


def media_action(obs, name, source=SOURCE):
    obs.request("TriggerMediaInputAction", inputName=source, mediaAction=f"OBS_WEBSOCKET_MEDIA_INPUT_ACTION_{name}")


def by_id(obs, suffix, what, **options):
    return obs.find(lambda node: id_of(node).endswith(suffix), what, **options)


def press_in(box, button):
    next(child for child in box.children if button in child.name).press()


def answer(obs, button):
    """Presses a button of a question that OBS asks."""
    press_in(by_id(obs, ".QMessageBox.qt_msgbox_buttonbox", "OBS asks"), button)


def items(key, values):
    return [{key: str(value)} for value in values]


def done(client, request, **data):
    """Sends a request and returns its response; fails when it is refused."""
    answer = client.dock(request, **data)
    if not answer["success"]:
        raise HostError(f"{request} {data} was refused: {answer['error']}, {answer['comment']}.")
    return answer


def main(scenarios, description):
    """Runs the scenario that the command line names and returns the exit code."""
    parser = argparse.ArgumentParser(description=description)
    parser.add_argument("scenario", choices=scenarios)
    for option in ("--module", "--data", "--layout", "--drag-source"):
        parser.add_argument(option, type=Path)
    parser.add_argument("--package", help="what ./dev package has made; may be a pattern")
    parser.add_argument("--minutes", type=float, default=60, help="how long the long run goes on")
    arguments = parser.parse_args()
    desktop = Desktop()
    show = Show(arguments)
    try:
        scenarios[arguments.scenario](show)
    except HostError as error:
        picture = Path(f"{arguments.scenario}-failure.png").absolute()
        desktop.screenshot(picture)
        log = shutil.copy(show.obs.log_path, picture.with_suffix(".log")) if show.obs else "none"
        print(f"FAILED: {error}\nscreenshot: {picture}\nOBS log: {log}")
        return 1
    finally:
        show.remove()
        desktop.close()
    return 0
