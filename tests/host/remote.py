"""The dock from outside: requests and events through OBS's WebSocket plug-in, while the dock is on screen."""

import os
from collections import Counter
from concurrent.futures import ThreadPoolExecutor
from contextlib import suppress
from itertools import cycle

from websockets.exceptions import ConnectionClosed

import obs_config
from obs_config import SOURCE, scene, vlc_source
from obs_host import CONTENT, VENDOR, VENDOR_EVENTS, Client, Obs, wait_for, xdotool
from show import done, expect, items, paths_in, playing, queue_of, soon

CONNECTIONS = 4
REQUESTS_EACH = 500
EXITS = 20
FLOODS = 5
ON_THEIR_WAY = 50 // FLOODS  # of each flood


def state(name):
    return f"OBS_MEDIA_STATE_{name}"


class Listener(Client):
    """Knows of the dock what its events tell, and nothing else."""

    def __init__(self, port):
        super().__init__(port, events=VENDOR_EVENTS)

    def hear(self, event):
        """What such events have told so far, in order: two at once may pass each other on their way."""
        try:
            self.receive(-1, timeout=0.05)
        except TimeoutError:
            pass
        told = [one["eventData"] for one in self.events if one["eventType"] == event]
        return sorted(told, key=lambda data: data["revision"])

    def expect(self, what, event, **wanted):
        """Waits until this is what the latest such event tells."""
        def latest():
            told = self.hear(event)[-1:]
            return {key: told[0].get(key) for key in wanted} if told else None
        soon(f"{event} when {what}", latest, wanted, 20)


def run_by_commands(show, obs, listener, clips):
    """A show of tagged media is run by plain commands and followed by events alone."""
    client = obs.client
    one, two, broken = clips
    expect("a request without a source", client.dock("Play")["error"], "noSource")
    done(client, "SelectSource", sourceName=SOURCE)
    listener.expect("a source is chosen", "QueueChanged", sourceName=SOURCE)
    expect("an empty queue", client.dock("Play")["error"], "emptyQueue")
    done(client, "AddTracks", paths=items("path", clips))
    listener.expect("tracks are added", "QueueChanged", total=3)
    done(client, "SetEndMode", endMode="next")
    listener.expect("the end mode is set", "EndModeChanged", endMode="next")

    answer = done(client, "Play")
    expect("what Play has asked for", (answer["currentIndex"], answer["mediaState"]), (0, state("PLAYING")))
    listener.expect("the first plays, whose file has been read", "CurrentTrackChanged", index=0, path=str(one),
                    id=answer["currentId"], title="One & <b>only</b>", artist="أغنية", mediaState=state("PLAYING"))
    listener.expect("it plays", "MediaStateChanged", mediaState=state("PLAYING"))
    # VLC loses one of two that come at once.
    before = obs.media(SOURCE)[1]
    done(client, "Pause")
    done(client, "Resume")
    wait_for("it plays on", lambda: obs.media(SOURCE)[1] > before + 3000, 15)
    listener.expect("it plays on", "MediaStateChanged", mediaState=state("PLAYING"))
    listener.events.clear()
    # Twice each, without a look in between: the second has nothing to do, and must not undo the first.
    for request, reached in (("Pause", "PAUSED"), ("Resume", "PLAYING")):
        for _ in range(2):
            expect(f"what {request} has asked for", done(client, request)["mediaState"], state(reached))
        listener.expect(request, "MediaStateChanged", mediaState=state(reached))
    done(client, "PlayNext")
    listener.expect("the next is played", "CurrentTrackChanged", index=1, title="Two", artist=None)
    answer = done(client, "GetQueue", offset=1, limit=1, tags=True)
    expect("the rest of the page", answer["remainingMs"] <= answer["tracks"][0]["durationMs"], True)
    listener.expect("it ends, and the last is no media", "TrackFailed", index=2, reason="neverPlayed")
    soon("all states", lambda: [data["mediaState"] for data in listener.hear("MediaStateChanged")],
           [state(name) for name in ("PAUSED", "PLAYING", "ENDED", "ENDED")])
    broken.unlink()
    expect("a file that went", client.dock("Play")["error"], "fileMissing")
    gone = done(client, "GetQueue", offset=2)["tracks"]
    expect("it is missing", gone[0].get("missing"), True)
    done(client, "RemoveTracks", ids=gone)

    done(client, "PlayTrack", index=0)
    wait_for("the first plays", lambda: playing(obs, one), 15)
    expect("what Stop has asked for", done(client, "Stop")["mediaState"], state("STOPPED"))
    listener.expect("it stops", "MediaStateChanged", mediaState=state("STOPPED"))
    obs.request("SetInputName", inputName=SOURCE, newInputName="Other")
    listener.expect("the source is renamed", "SourceChanged", sourceName="Other")
    before = done(client, "GetQueue")
    expect("a page for another source", client.dock("PlayNext", sourceName=SOURCE)["error"], "otherSource")
    expect("nothing is done", done(client, "GetQueue", sourceName="Other"), before)
    obs.request("SetInputName", inputName="Other", newInputName=SOURCE)
    listener.expect("it has its name back", "SourceChanged", sourceName=SOURCE)


def keep_the_frames(obs):
    """A batch that OBS runs on the thread that makes the frames is refused there, where a wait would stop the picture."""
    def lost():
        return obs.request("GetStats")["renderSkippedFrames"]
    before = lost()
    request = {"requestType": "CallVendorRequest", "requestData": {"vendorName": VENDOR, "requestType": "GetQueue"}}
    obs.client.send(8, {"requestId": "batch", "executionType": 1, "requests": [request] * 20})
    results = obs.client.receive(9)["results"]
    expect("the answers", {one["responseData"]["responseData"]["error"] for one in results}, {"graphicsThread"})
    print(f"{lost() - before} frames lost", flush=True)
    expect("fewer frames lost than a single wait costs", lost() - before < 30, True)


def work(show, number):
    """Adds, moves, looks and removes over a connection of its own; the names of the tracks that it leaves."""
    client = Client(show.port)
    kept = []
    for i in range(REQUESTS_EACH // 4):
        file = show.folder / f"{number}-{i}.mp4"
        os.link(show.clips[0], file)
        track = done(client, "AddTracks", paths=items("path", [file]))["ids"]
        done(client, "MoveTrack", id=track[0]["id"], index=i % 3)
        done(client, "GetQueue", limit=5)
        if i % 4:
            expect("the removal", done(client, "RemoveTracks", ids=track)["count"], 1)
        else:
            kept.append(file.name)
            done(client, "PlayNext")
    return kept


def many_hands(show, obs, listener):
    """Requests from four connections at once against the user's own clicks: each is done once."""
    done(obs.client, "SetEndMode", endMode="stop")
    before = paths_in(obs.record(SOURCE))
    listener.events.clear()
    # Now, because a busy OBS is slow to say where its widgets are.
    xdotool("mousemove", "--sync", *obs.widget("next").point())
    clicks = 0
    with ThreadPoolExecutor() as pool:
        workers = [pool.submit(work, show, number) for number in range(CONNECTIONS)]
        while not all(worker.done() for worker in workers):
            xdotool("click", "--repeat", 5, "--delay", 60, 1)
            clicks += 5
    kept = [name for worker in workers for name in worker.result()]
    expect("enough clicks", clicks >= 20, True)
    wanted = Counter(before + kept)
    soon("the tracks on screen", lambda: Counter(queue_of(obs)), wanted, 30)
    expect("the tracks in the record", Counter(paths_in(obs.record(SOURCE))), wanted)

    def steps():
        # An event is told again once its track's file has been read.
        ids = [data["id"] for data in listener.hear("CurrentTrackChanged")]
        return sum(after not in ("", before) for before, after in zip(["", *ids], ids, strict=False))
    soon("each step is told", steps, clicks + len(kept), 30)
    revisions = [event["eventData"]["revision"] for event in listener.events]
    expect("revisions told twice", len(revisions) - len(set(revisions)), 0)
    print(f"{CONNECTIONS * REQUESTS_EACH} requests and {clicks} clicks", flush=True)


def flood(port):
    """Keeps requests on their way over one connection until OBS ends it; counts the answers."""
    client, answers = Client(port), Counter()
    requests = [("AddTracks", {"paths": items("path", ["/m/a.mp4"])}), ("GetQueue", {}), ("PlayNext", {}),
                ("SetEndMode", {"endMode": "repeat"}), ("Stop", {})]
    with suppress(ConnectionClosed):
        for i, (request, data) in enumerate(cycle(requests)):
            client.ask("CallVendorRequest", vendorName=VENDOR, requestType=request, requestData=data)
            if i >= ON_THEIR_WAY:
                # OBS's own refusal has no answer of ours.
                answer = client.receive(7).get("responseData", {"responseData": {"error": "not ready"}})
                answers[answer["responseData"].get("error", "success")] += 1
    return answers


def exits(show):
    """OBS is closed again and again with requests on their way."""
    answers = Counter()
    for _ in range(EXITS):
        obs = show.start()
        done(obs.client, "SelectSource", sourceName=SOURCE)
        with ThreadPoolExecutor() as pool:
            floods = [pool.submit(flood, show.port) for _ in range(FLOODS)]
            show.end()
        for one in floods:
            answers += one.result()
    print(f"{EXITS} exits over requests: {dict(answers)}", flush=True)
    expect("other answers", set(answers) - {"success", "unavailable", "not ready", "fileMissing", "emptyQueue"}, set())


def without_the_plugin(show):
    """The dock where the WebSocket plug-in does not load."""
    source = vlc_source(show.clips[:2])
    obs_config.write_collection(show.home, [scene("Film", source)], [source])
    obs_config.remember_source(show.home, source)
    config = show.home / ".config/obs-studio/plugin_config/obs-websocket"
    config.rename(config.with_suffix(".aside"))
    config.touch()  # where it wants its folder
    obs = show.obs = Obs(show.home, show.arguments.module, show.arguments.data, show.port)
    wait_for("the dock is shown", lambda: obs.widget(CONTENT).showing, 60)
    wait_for("OBS finishes loading", lambda: obs.widget("stop").enabled, 30)
    expect("the note in the log", [line.split(": ", 1)[1] for line in obs.log.splitlines() if "remote control" in line],
           ["[OBS-Reelhouse] OBS's WebSocket plug-in is not there: no remote control."])
    obs.double_click(show.clips[1].name)
    wait_for("a track plays", lambda: obs.widget("playbackTime").description.startswith("Playing · 0:0"), 15)
    show.end()


def run(show):
    show.clips = [show.clip("one.mp4", 30, title="One & <b>only</b>", artist="أغنية"), show.clip("two.mp4", 4, title="Two"),
                  show.folder / "broken.mp4"]
    show.clips[2].write_text("This is no media.")
    show.source = vlc_source([])
    obs_config.write_collection(show.home, [scene("Film", show.source)], [show.source])
    obs = show.start()
    wait_for("the dock is shown", lambda: obs.widget(CONTENT).showing)
    listener = Listener(show.port)
    run_by_commands(show, obs, listener, show.clips)
    keep_the_frames(obs)
    many_hands(show, obs, listener)
    listener.socket.close()
    show.end()
    exits(show)
    without_the_plugin(show)
