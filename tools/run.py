#!/usr/bin/env python3
"""Opens OBS with our dock and a queue of the given media. Without a display it plays the queue and reports."""

import argparse
import os
import secrets
import shutil
import subprocess
import sys
from contextlib import closing
from pathlib import Path

import obs_config
from obs_config import SOURCE
from obs_host import CONTENT, Desktop, HostError, Obs, free_port, id_of, press_key, wait_for, xdotool
from page import open_page

# A track counts as playing after this many milliseconds.
PLAYED_MS = 1000
# The queue in the README's pictures: name, length in seconds and size in MiB of each track.
PICTURED = (("Countdown.mp4", 120, 31.4), ("Opening titles.mp4", 45, 22.8), ("Harbour at dawn.mp4", 260, 148.6),
            ("Interview, part 1.mp4", 640, 402.3), ("Sponsors.mp4", 30, 12.1), ("Interview, part 2.mp4", 580, 377.9),
            ("Nina Vale – Northern Lights.mp4", 245, 96.5), ("Viewers' questions.mp4", 410, 251.0),
            ("Rain on the window (loop).mp4", 90, 40.2), ("Closing credits.mp4", 75, 28.7))
# What plays in the pictures of the now-playing page: name, length in seconds, title and artist of each track.
TAGGED = (("opening.mp4", 150, "Good Evening", "The House Band"), ("break.mp4", 45, "Back in a Minute", ""),
          ("feature.mp4", 120, "A Long Way Down", "Ann Example"))
# The pictures of that page: name, options of its URL, and whether what OBS shows is behind it.
OVERLAYS = (("overlay-light.png", "&next=2&remaining", False),
            ("overlay-video.png", "&corner=top-right&accent=gold", True))


def prepare(home, layout, media, port, other_scenes=(), **options):
    obs_config.write_config(home, layout, port, **options)
    source = obs_config.vlc_source(media)
    scenes = [*map(obs_config.scene, other_scenes), obs_config.scene(obs_config.SCENE, source)]
    obs_config.write_collection(home, scenes, [source])
    obs_config.remember_source(home, source)


def make_pictured(folder):
    """Makes the media of the pictures: one slow film with the length of each track, zero-filled to its size."""
    folder.mkdir()
    for number, (name, seconds, mebibytes) in enumerate(PICTURED):
        path = folder / name
        subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-f", "lavfi", "-i",
                        f"gradients=size=640x360:rate=2:duration={seconds}:seed={number}:speed=0.02:n=3",
                        "-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p", path], check=True)
        os.truncate(path, int(mebibytes * 2**20))
        yield path


def make_tagged(folder):
    """Makes the media of the pictures of the now-playing page: a busy film with tags."""
    folder.mkdir()
    for name, seconds, title, artist in TAGGED:
        path = folder / name
        subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-f", "lavfi", "-i",
                        f"testsrc2=size=640x360:rate=10:duration={seconds}", "-metadata", f"title={title}",
                        "-metadata", f"artist={artist}", "-c:v", "libx264", "-preset", "ultrafast",
                        "-pix_fmt", "yuv420p", path], check=True)
        yield path


def open_on_display(arguments):
    # Set a password, because the network can reach the server.
    port, password = free_port(), secrets.token_urlsafe()
    prepare(arguments.home, arguments.layout, arguments.media, port, password=password)
    print(f"WebSocket server: localhost:{port}, password {password}", flush=True)
    environment = {**os.environ, "HOME": str(arguments.home), "XDG_CONFIG_HOME": str(arguments.home / ".config"),
                   "OBS_PLUGINS_PATH": str(arguments.module.parent), "OBS_PLUGINS_DATA_PATH": str(arguments.data)}
    command = ["obs", "--multi", "--disable-updater", "--disable-missing-files-check", "--disable-shutdown-check"]
    os.execvpe(command[0], command, environment)


def play_track(obs, label):
    """Double-clicks a row and waits until its file plays. Returns the state and position that the source reported."""
    obs.double_click(label)
    furthest = [0, "none"]

    def playing():
        state, position, duration = obs.media(SOURCE)
        furthest[:] = max(furthest[0], position), state
        expected = obs.row(label).name.startswith("▶") and len(obs.playlist(SOURCE)) == 1
        enough = min(PLAYED_MS, duration // 2) if duration else PLAYED_MS
        return expected and state == "playing" and position >= enough

    try:
        wait_for(f"{label} plays", playing, 20)
    except HostError:
        message = obs.widget("message")
        reason = message.name if message.showing else f"the source reports {furthest[1]} at {furthest[0]} ms"
        raise HostError(f"{label} did not play: {reason}.") from None
    return furthest[1], furthest[0]


def show_search(obs, words, label):
    """For the film: searches a track, plays it and ends the search."""
    obs.widget("search").click()
    xdotool("type", "--delay", 150, words)
    wait_for("the search shows the track", lambda: " of " in obs.widget("trackCount").name, 5)
    press_key("Return")
    wait_for(f"{label} plays", lambda: obs.row(label).name.startswith("▶") and obs.media(SOURCE)[1] > PLAYED_MS, 20)
    press_key("Escape")


def enable_preview(obs):
    """Turns OBS's preview on and waits until it shows a moving picture; gives up after a while, as one may be still."""
    above_dock = f"x{obs.widget(CONTENT).box[1]}+0+0"
    look = ["import", "-window", "root", "-crop", above_dock, "rgb:-"]
    obs.find(lambda node: node.get_accessible_id().endswith(".enablePreviewButton"), "OBS's disabled preview").press()
    seen = []

    def moves():
        seen.append(subprocess.run(look, capture_output=True, check=True).stdout)
        # The first changes are those of the window.
        return len(set(seen[-4:])) == 4 or len(seen) == 40 or obs.media(SOURCE)[0] != "playing"
    wait_for("the preview shows the track", moves, 60)


def watch(arguments, media, use, **options):
    """Opens OBS on a queue of these media, on the current desktop, and calls use(obs). Returns the exit code."""
    port = free_port()
    prepare(arguments.home, arguments.layout, media, port, **options)
    obs = None
    try:
        obs = Obs(arguments.home, arguments.module, arguments.data, port)
        obs.connect()
        wait_for("the dock is on screen", lambda: obs.widget(CONTENT).showing, 30)
        obs.fill_screen()
        wait_for("the dock lists the queue", obs.labels, 10)
        use(obs)
        obs.quit()
        if obs.complaints():
            raise HostError("OBS did not end cleanly: " + "; ".join(obs.complaints()))
    except HostError as error:
        log = obs.log_path if obs else "not written"
        print(f"error: {error}\nOBS log: {log}", file=sys.stderr)
        return 1
    finally:
        if obs:
            obs.kill()
    return 0


def play_through(arguments, desktop):
    def use(obs):
        for label in obs.labels():
            state, position = play_track(obs, label)
            print(f"{label}: {state}, {position / 1000:.1f} s", flush=True)
        enable_preview(obs)
        desktop.screenshot(arguments.screenshot)
        print(f"screenshot: {arguments.screenshot}", flush=True)
    return watch(arguments, arguments.media, use, preview=False)


def picture_overlay(obs, data, folder, path, options, on_video):
    """Takes a picture of the now-playing page in a browser, on white or on what OBS shows."""
    size = {"width": 640, "height": 360}
    with open_page(data, folder, obs.port, options, **size) as page:
        if on_video:
            frame = obs.request("GetSourceScreenshot", sourceName=obs_config.SCENE, imageFormat="png",
                                imageWidth=size["width"], imageHeight=size["height"])["imageData"]
            page.look(f"document.documentElement.style.background = `url({frame})`")
        wait_for("the page has faded in", lambda: page.look("getComputedStyle(panel).opacity == 1"))
        page.screenshot(path)


def add_music(obs, folder):
    """Plays songs in a second dock."""
    songs = []
    folder.mkdir()
    for name in ("Morning walk.mp3", "Slow train.mp3", "Lanterns.mp3", "Last call.mp3"):
        songs.append(folder / name)
        subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-f", "lavfi", "-i", "sine=frequency=220:duration=180",
                        songs[-1]], check=True)
    obs.request("CreateInput", sceneName=obs_config.SCENE, inputName="Music", inputKind="vlc_source",
                inputSettings={"playlist": [{"value": str(song)} for song in songs]})
    obs.find(lambda node: id_of(node).endswith(".addAnotherDock"), "Add Another Dock").press()
    obs.find(lambda node: "OBS-Reelhouse-2-content" in id_of(node), "the second dock")
    for request, fields in (("SelectSource", {"dock": 2}), ("PlayTrack", {"index": 1})):
        obs.client.dock(request, sourceName="Music", **fields)
    wait_for("the music plays", lambda: obs.media("Music")[1] > PLAYED_MS, 20)


def take_pictures(arguments, desktop):
    """Makes the pictures of the documentation: the dock at the bottom in a dark theme, at the side in a light one, a
    film, and the now-playing page."""
    media = list(make_pictured(arguments.home / "Show"))
    labels = [path.name for path in media]

    def below(obs):
        with desktop.film(arguments.pictures / "tour.gif"):
            for label in labels[:2]:
                play_track(obs, label)
            show_search(obs, "north", labels[6])
        play_track(obs, labels[2])
        obs.row(labels[3]).click(across=0.3)
        desktop.screenshot(arguments.pictures / "screenshot.png")
        add_music(obs, arguments.home / "Music")
        desktop.screenshot(arguments.pictures / "two-docks.png")

    def side(obs):
        play_track(obs, labels[6])
        desktop.screenshot(arguments.pictures / "screenshot-side.png")

    def on_air(obs):
        play_track(obs, TAGGED[0][0])
        for name, options, on_video in OVERLAYS:
            picture_overlay(obs, arguments.data, arguments.home / name, arguments.pictures / name, options, on_video)
    code = watch(arguments, media, below, other_scenes=["Welcome"])
    code = code or watch(arguments, media, side, other_scenes=["Welcome"], side=True,
                         theme="com.obsproject.Yami.Light")
    return code or watch(arguments, list(make_tagged(arguments.home / "Tagged")), on_air, preview=False)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--home", type=Path, required=True, help="home folder for OBS, made anew")
    parser.add_argument("--module", type=Path, required=True, help="the built module")
    parser.add_argument("--data", type=Path, required=True, help="the module's data folder")
    parser.add_argument("--layout", type=Path, required=True, help="the program that prints the dock layout")
    parser.add_argument("--screenshot", type=Path, help="where the screenshot goes, without a display")
    parser.add_argument("--pictures", type=Path, help="the folder for the documentation's pictures, made instead")
    parser.add_argument("media", nargs="*", type=Path)
    arguments = parser.parse_args()
    arguments.media = [path.absolute() for path in arguments.media]
    shutil.rmtree(arguments.home, ignore_errors=True)
    arguments.home.mkdir(parents=True)
    if not arguments.pictures and (os.environ.get("DISPLAY") or os.environ.get("WAYLAND_DISPLAY")):
        return open_on_display(arguments)
    # The accessibility library stays with the first bus that it has found, so a process has one desktop.
    with closing(Desktop("1440x900" if arguments.pictures else "1280x800")) as desktop:
        return (take_pictures if arguments.pictures else play_through)(arguments, desktop)


if __name__ == "__main__":
    sys.exit(main())
