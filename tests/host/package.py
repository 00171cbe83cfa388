"""What ./dev package made, installed as its user would, in an OBS that gets no other help."""

import glob
import os
import re
import subprocess
from pathlib import Path

from obs_config import vlc_source
from obs_host import CONTENT, HostError, press_key, wait_for
from show import expect, play, soon

PACKAGE = "obs-reelhouse"
BESIDES = {"README.md", "remote.md", "decks.md", "now-playing.html", "control.html"}


def run(*command, **options):
    subprocess.run(command, check=True, **options)


def layer_over_system():
    """Whatever is written to this system from here on is seen by this process and its children alone, and gone with
    them."""
    os.unshare(os.CLONE_NEWNS)
    # In a chroot / is no mount, and ./dev has seen to this outside.
    subprocess.run(["mount", "--make-rprivate", "/"], stderr=subprocess.DEVNULL)
    if " shared:" in Path("/proc/self/mountinfo").read_text():
        raise HostError("What is mounted here would be seen outside.")
    memory = Path("/var/cache")  # any folder below /var, whose own layer covers it
    run("mount", "-t", "tmpfs", "tmpfs", memory)
    for folder in ("usr", "var"):
        upper, work = memory / folder, memory / f"{folder}-work"
        upper.mkdir()
        work.mkdir()
        layers = f"lowerdir=/{folder},upperdir={upper},workdir={work}"
        run("mount", "-t", "overlay", "overlay", "-o", layers, f"/{folder}")


def open_dock(obs):
    docks = obs.find(lambda node: node.get_name() == "Docks", "the Docks menu")
    before = obs.windows()
    docks.click()
    wait_for("the menu opens", lambda: obs.windows() - before, 5)
    entries = [entry.name for entry in docks.children[0].children if entry.name and entry.enabled]
    press_key(*["Down"] * (1 + entries.index("Reelhouse")), "Return")
    wait_for("the dock is shown", lambda: obs.widget(CONTENT).showing, 10)


def play_a_track(show):
    clips = [show.clip("one.mp4"), show.clip("two.mp4")]
    obs = show.start(vlc_source(clips))
    open_dock(obs)
    soon("the queue", obs.labels, ["one.mp4", "two.mp4"])
    play(obs, clips[1])
    show.end()


def run_deb(show):
    """Installed over the first release, used, and removed without a trace."""
    (deb,) = glob.glob(show.arguments.package)
    run("lintian", "--fail-on", "error,warning", "--allow-root", deb)
    try:
        layer_over_system()
    except PermissionError:
        print("Skipped: to install a package takes root rights.")
        return
    first = show.folder / "first"
    run("dpkg-deb", "--raw-extract", deb, first)
    control = first / "DEBIAN/control"
    control.write_text(re.sub("(?m)^Version: .*", "Version: 1.2.0", control.read_text()))
    run("dpkg-deb", "--build", first, f"{first}.deb", stdout=subprocess.DEVNULL)
    run("dpkg", "--install", f"{first}.deb", stdout=subprocess.DEVNULL)
    run("dpkg", "--refuse-downgrade", "--install", deb, stdout=subprocess.DEVNULL)
    files = [Path(line) for line in
             subprocess.run(["dpkg", "--listfiles", PACKAGE], capture_output=True, text=True).stdout.split("\n")]
    expect("the page and the documents", {file.name for file in files} >= BESIDES, True)
    play_a_track(show)
    run("dpkg", "--purge", PACKAGE, stdout=subprocess.DEVNULL)
    expect("what is left", [str(file) for file in files if PACKAGE in str(file) and file.exists()], [])


def run_archive(show):
    plugins = show.home / ".config/obs-studio/plugins"
    plugins.mkdir(parents=True)
    run("tar", "--directory", plugins, "--extract", "--file", show.arguments.package)
    expect("the page and the documents", {file.name for file in plugins.rglob("*")} >= BESIDES, True)
    play_a_track(show)
