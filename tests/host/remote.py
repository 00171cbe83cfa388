"""The dock from outside: requests and events through OBS's WebSocket plug-in, while the dock is on screen."""

import os
import threading
from collections import Counter

from websockets.exceptions import ConnectionClosed

import obs_config
from obs_config import SOURCE, scene, vlc_source
from obs_host import CONTENT, VENDOR, VENDOR_EVENTS, Client, Obs, wait_for, xdotool
from show import MARK, done, expect, items, paths_in, playing, program, queue_of, soon

CONNECTIONS = 4
REQUESTS_EACH = 500
EXITS = 20
FLOODS = 5
ON_THEIR_WAY = 50 // FLOODS  # of each flood


class Listener(Client):
    """Hears the dock's events alone."""

    def __init__(self, port):
        super().__init__(port, events=VENDOR_EVENTS)

    def hear(self):
        """All events so far, in the order of what they tell of: two at once may pass each other on their way."""
        try:
            self.receive(-1, timeout=0.05)
        except TimeoutError:
            pass
        return sorted(self.events, key=lambda event: event["eventData"]["revision"])

    def expect(self, what, *wanted):
        """Waits for exactly these events, each a name and some of its data, and forgets them."""
        wait_for(f"{what} is told", lambda: len(self.hear()) >= len(wanted), 20)
        heard = [(event["eventType"], {key: event["eventData"][key] for key in data}) for event, (_, data)
                 in zip(self.hear(), wanted, strict=False)]
        expect(f"the events when {what}", heard, list(wanted))
        expect(f"more events when {what}", self.hear()[len(wanted):], [])
        self.events.clear()


def queue_changed(total):
    return "QueueChanged", {"total": total, "sourceName": SOURCE}


def current_changed(index, path):
    return "CurrentTrackChanged", {"index": index, "label": path.name, "path": str(path)}


def show_by_requests(show, obs, listener, clips):
    """A queue of three is built, edited and run to its end by requests, and the dock shows the same."""
    client = obs.client

    def queue(what, *wanted):
        names = [clip.name for clip in wanted]
        soon(f"{what}: the list", lambda: queue_of(obs), names)
        expect(f"{what}: the record", paths_in(obs.record(SOURCE)), names)
        expect(f"{what}: the queue", [track["label"] for track in done(client, "GetQueue")["tracks"]], names)

    one, two, three = clips
    expect("the sources", done(client, "GetSources")["sources"],
           [{"sourceName": SOURCE, "sourceUuid": show.source["uuid"], "label": f"Film · {SOURCE}", "selected": False}])
    expect("without a source", client.dock("GetQueue")["error"], "noSource")
    done(client, "SelectSource", sourceName=SOURCE)
    soon("the source is chosen on screen", lambda: obs.widget("sourceSelector").name, f"Film · {SOURCE}")
    listener.expect("a source is chosen", queue_changed(0))

    for clip in (one, three):
        ids = done(client, "AddTracks", paths=items("path", [clip]))["ids"]
    queue("adding", one, three)
    listener.expect("two tracks are added at once", queue_changed(2))
    done(client, "AddTracks", paths=items("path", [two]), position=0)
    queue("adding at the top", two, one, three)
    listener.expect("a track is added", queue_changed(3))

    done(client, "SetEndMode", endMode="next")
    soon("the end mode on screen", lambda: obs.widget("endMode").name, "Play Next")
    listener.expect("the end mode changes", ("EndModeChanged", {"endMode": "next", "sourceName": SOURCE}))
    expect("the program scene", program(obs), "Talk")
    done(client, "PlayTrack", index=1, switchScene=True)
    wait_for("a track plays", lambda: playing(obs, one), 15)
    soon("it brings its scene", lambda: program(obs), "Film")
    expect("the marked row", obs.labels(), [two.name, MARK + one.name, three.name])
    listener.expect("it plays", current_changed(1, one))
    done(client, "TogglePlay")
    soon("it pauses", lambda: done(client, "GetQueue")["mediaState"], "OBS_MEDIA_STATE_PAUSED")

    done(client, "MoveTrack", id=ids[0]["id"], index=0)
    queue("moving", three, two, one)
    listener.expect("a track is moved", queue_changed(3))
    expect("the removal", done(client, "RemoveTracks", ids=ids)["count"], 1)
    queue("removing", two, one)
    listener.expect("a track is removed", queue_changed(2))
    expect("the undo", done(client, "UndoRemove")["count"], 1)
    queue("undoing", three, two, one)
    listener.expect("the removal is undone", queue_changed(3))
    expect("the source throughout", done(client, "GetQueue")["mediaState"], "OBS_MEDIA_STATE_PAUSED")

    done(client, "PlayNext")
    listener.expect("next wraps", current_changed(0, three))
    wait_for("the first plays", lambda: playing(obs, three), 15)
    listener.expect("it ends", current_changed(1, two))
    listener.expect("the next ends", current_changed(2, one))
    soon("it stops after the last", lambda: obs.playlist(SOURCE), [], 15)
    answer = done(client, "GetQueue", offset=2, limit=1)
    labels = [track["label"] for track in answer["tracks"]]
    expect("the queue at its end", (answer["total"], answer["currentIndex"], labels), (3, 2, [one.name]))
    done(client, "GivePlaylistBack")
    expect("the source's playlist", obs.playlist(SOURCE), [str(clip) for clip in (three, two, one)])
    listener.expect("the playlist is given back", ("CurrentTrackChanged", {"index": -1, "label": "", "id": ""}))


def refusals(obs, listener):
    """What is refused is refused in words, and nothing is done."""
    before = obs.record(SOURCE)
    for request, data, error in (
            ("AddTracks", {"paths": ["/m/a.mp4"]}, "emptyList"),  # which is all that arrives of a list of bare texts
            ("PlayTrack", {"index": "1"}, "wrongType"),
            ("MoveTrack", {"id": before["tracks"][0]["id"], "index": -1}, "indexOutOfRange")):
        answer = obs.client.dock(request, **data)
        expect(f"{request} {data}", (answer["success"], answer["error"], bool(answer["comment"])), (False, error, True))
    expect("the record after the refusals", obs.record(SOURCE), before)
    listener.expect("nothing is done")


class Worker(threading.Thread):
    """Adds, moves, looks and removes tracks of its own over a connection of its own."""

    def __init__(self, show, number):
        super().__init__()
        self.client = Client(show.port)
        self.files = [show.folder / f"{number}-{i}.mp4" for i in range(REQUESTS_EACH // 4)]
        for file in self.files:
            os.link(show.clips[0], file)
        self.kept = []
        self.error = None

    def run(self):
        try:
            for i, file in enumerate(self.files):
                track = done(self.client, "AddTracks", paths=items("path", [file]))["ids"]
                done(self.client, "MoveTrack", id=track[0]["id"], index=i % 3)
                done(self.client, "GetQueue", limit=5)
                if i % 4:
                    expect("the removal", done(self.client, "RemoveTracks", ids=track)["count"], 1)
                else:
                    self.kept.append(file.name)
                    done(self.client, "PlayNext")
        except Exception as error:
            self.error = error


def many_hands(show, obs, listener):
    """Requests from four connections at once against the user's own clicks: each is done once."""
    done(obs.client, "SetEndMode", endMode="stop")
    before = paths_in(obs.record(SOURCE))
    workers = [Worker(show, number) for number in range(CONNECTIONS)]
    # Now, because a busy OBS is slow to say where its widgets are.
    xdotool("mousemove", "--sync", *obs.widget("next").point())
    for worker in workers:
        worker.start()
    clicks = 0
    while any(worker.is_alive() for worker in workers):
        xdotool("click", "--repeat", 5, "--delay", 60, 1)
        clicks += 5
    for worker in workers:
        worker.join()
        if worker.error:
            raise worker.error
    expect("enough clicks", clicks >= 20, True)
    wanted = Counter(before + [name for worker in workers for name in worker.kept])
    soon("the tracks on screen", lambda: Counter(queue_of(obs)), wanted, 30)
    expect("the tracks in the record", Counter(paths_in(obs.record(SOURCE))), wanted)

    steps = clicks + sum(len(worker.kept) for worker in workers)
    soon("each step is told once", lambda: sum(
        event["eventType"] == "CurrentTrackChanged" and event["eventData"]["index"] >= 0 for event in listener.hear()),
        steps, 30)
    wait_for("the last state is told", lambda: listener.hear()[-1]["eventData"]["revision"] ==
             done(obs.client, "GetQueue")["revision"], 5)
    revisions = [event["eventData"]["revision"] for event in listener.hear()]
    expect("revisions told twice", len(revisions) - len(set(revisions)), 0)
    listener.events.clear()
    print(f"{CONNECTIONS * REQUESTS_EACH} requests and {clicks} clicks", flush=True)


class Flood(threading.Thread):
    """Keeps requests on their way over one connection until OBS ends it."""

    def __init__(self, port, answers):
        super().__init__()
        self.client = Client(port)
        self.answers = answers

    def run(self):
        requests = [("AddTracks", {"paths": items("path", ["/m/a.mp4"])}), ("GetQueue", {}), ("PlayNext", {}),
                    ("SetEndMode", {"endMode": "repeat"}), ("Stop", {})]
        try:
            for i in range(10 ** 6):
                request, data = requests[i % len(requests)]
                self.client.ask("CallVendorRequest", vendorName=VENDOR, requestType=request, requestData=data)
                if i >= ON_THEIR_WAY:
                    answer = self.client.receive(7)
                    # OBS's own refusal has no answer of ours.
                    ours = answer.get("responseData", {"responseData": {"error": "not ready"}})["responseData"]
                    self.answers[ours.get("error", "success")] += 1
        except ConnectionClosed:
            pass


def exits(show):
    """OBS is closed again and again with requests on their way."""
    answers = Counter()
    for _ in range(EXITS):
        obs = show.start()
        done(obs.client, "SelectSource", sourceName=SOURCE)
        floods = [Flood(show.port, answers) for _ in range(FLOODS)]
        for flood in floods:
            flood.start()
        show.end()
        for flood in floods:
            flood.join()
    print(f"{EXITS} exits over requests: {dict(answers)}", flush=True)
    expect("other answers", set(answers) - {"success", "unavailable", "not ready", "fileMissing", "emptyQueue"}, set())


def without_the_plugin(show):
    """The dock where the WebSocket plug-in does not load."""
    source = vlc_source(show.clips)
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
    show.clips = [show.clip(f"{name}.mp4", 4) for name in ("one", "two", "three")]
    show.source = vlc_source([])
    obs_config.write_collection(show.home, [scene("Talk"), scene("Film", show.source)], [show.source])
    obs = show.start()
    wait_for("the dock is shown", lambda: obs.widget(CONTENT).showing)
    listener = Listener(show.port)
    show_by_requests(show, obs, listener, show.clips)
    refusals(obs, listener)
    many_hands(show, obs, listener)
    listener.socket.close()
    show.end()
    exits(show)
    without_the_plugin(show)
