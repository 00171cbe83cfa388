"""Two docks, each with a source of its own, as a show with music under its clips has them."""

from obs_config import remember_source, scene, vlc_source, write_collection
from obs_host import id_of, press_key, wait_for
from page import open_page
from show import MARK, by_id, done, edit_elsewhere, expect, media_action, soon

CLIPS, MUSIC = "Clips", "Music"


def widget(obs, name):
    return obs.find(lambda node: "OBS-Reelhouse-2-content" in id_of(node) and id_of(node).endswith(f".{name}"),
                    f"the second dock's {name}")


def rows(obs):
    return [row.name for row in widget(obs, "playlist").children]


def sources(obs):
    return {one["sourceName"]: one["dock"] for one in done(obs.client, "GetSources")["sources"]}


def start(obs, source, place):
    done(obs.client, "PlayTrack", sourceName=source, index=place)


def plays(obs, source, clip):
    soon(f"{source} plays {clip.name}", lambda: (obs.playlist(source), obs.media(source)[0]),
         ([str(clip)], "playing"), 15)


def choose_in_second(obs, entry):
    box = widget(obs, "sourceSelector")
    before = obs.windows()
    box.click(across=0.5)
    wait_for("its selector opens", lambda: obs.windows() - before, 5)
    press_key("End", "Return")
    soon("the choice in the second dock", lambda: widget(obs, "sourceSelector").name, entry)


def together(obs, clips, songs):
    """Ends, hotkeys and edits of one source do nothing to the other."""
    for source in (CLIPS, MUSIC):
        done(obs.client, "SetEndMode", sourceName=source, endMode="next")
        start(obs, source, 0)
    done(obs.client, "SetStartAgain", sourceName=MUSIC, enabled=True)
    plays(obs, CLIPS, clips[0])
    plays(obs, MUSIC, songs[0])
    media_action(obs, "NEXT", source=MUSIC)
    plays(obs, MUSIC, songs[1])
    plays(obs, CLIPS, clips[1])
    edit_elsewhere(obs, *reversed(clips), source=CLIPS)
    start(obs, CLIPS, 0)
    plays(obs, CLIPS, clips[1])
    done(obs.client, "Stop", sourceName=CLIPS)
    plays(obs, MUSIC, songs[0])
    soon("the clips stand still", lambda: obs.media(CLIPS)[0], "stopped")
    expect("the other queue", [name.removeprefix(MARK) for name in rows(obs)], [song.name for song in songs])


def run(show):
    clips = [show.clip(f"clip {number}.mp4", 3) for number in range(2)]
    songs = [show.clip(f"song {number}.mp4", 4) for number in range(2)]
    names = [vlc_source(clips, name=CLIPS), vlc_source(songs, name=MUSIC)]
    write_collection(show.home, [scene("Main", *names)], names)
    remember_source(show.home, names[0])
    obs = show.start()
    by_id(obs, ".addAnotherDock", "Add Another Dock in the Tools menu").press()
    choose_in_second(obs, "Main · Music")
    expect("which dock has which source", sources(obs), {CLIPS: 1, MUSIC: 2})
    expect("a source that is taken", obs.client.dock("SelectSource", sourceName=MUSIC)["error"], "sourceTaken")
    with open_page(show.arguments.data, show.folder / "browser", show.port, "&source=Music") as page:
        together(obs, clips, songs)
        soon("the page of the music", page.lines, ["song 0", "NEXT", "song 1"])
    show.end()

    obs = show.start()
    expect("the docks after a restart", sources(obs), {CLIPS: 1, MUSIC: 2})
    start(obs, MUSIC, 1)
    by_id(obs, ".removeThisDock", "Remove This Dock").press()
    soon("the second dock has gone", lambda: sources(obs), {CLIPS: 1, MUSIC: 0})
    plays(obs, MUSIC, songs[1])
    obs.choose("sourceSelector", "Main · Music")
    expect("its queue", [row["label"] for row in done(obs.client, "GetQueue")["tracks"]], [song.name for song in songs])
    show.end()
    obs = show.start()
    expect("the docks after another restart", sources(obs), {CLIPS: 0, MUSIC: 1})
    show.end()
