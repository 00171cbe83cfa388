"""The dock from outside: requests and events through OBS's WebSocket plug-in, while the dock is on screen."""

import os
from concurrent.futures import ThreadPoolExecutor
from contextlib import suppress
from itertools import cycle

from websockets.exceptions import ConnectionClosed

from obs_config import SOURCE, vlc_source
from obs_host import VENDOR, VENDOR_EVENTS, Client, wait_for
from show import SlowDisk, done, expect, items, soon


def state(name):
    return f"OBS_MEDIA_STATE_{name}"


class Listener(Client):
    """Knows of the dock what its events tell, and nothing else."""

    def __init__(self, port):
        super().__init__(port, events=VENDOR_EVENTS)

    def hear(self, event):
        """What such events have told so far, in order: two at once may pass each other on their way."""
        with suppress(TimeoutError):
            self.receive(-1, timeout=0.05)
        told = [one["eventData"] for one in self.events if one["eventType"] == event]
        return sorted(told, key=lambda data: data["revision"])

    def expect(self, what, event, **wanted):
        """Waits until this is what the latest such event tells."""
        def latest():
            told = self.hear(event)[-1:]
            return {key: told[0].get(key) for key in wanted} if told else None
        soon(f"{event} when {what}", latest, wanted, 20)


def run_by_commands(obs, listener, clips):
    """A show of tagged media is run by plain commands and followed by events alone."""
    client = obs.client
    wait_for("the dock is ready", lambda: client.dock("GetQueue")["success"])
    done(client, "AddTracks", paths=items("path", clips))
    listener.expect("tracks are added", "QueueChanged", total=3)
    done(client, "SetEndMode", endMode="next")

    answer = done(client, "Play")
    expect("what Play has asked for", (answer["currentIndex"], answer["mediaState"]), (0, state("PLAYING")))
    listener.expect("the first plays, whose file has been read", "CurrentTrackChanged", index=0, path=str(clips[0]),
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
    listener.expect("it ends, and the last is no media", "TrackFailed", index=2, reason="neverPlayed")


def keep_the_frames(obs):
    """A batch that OBS runs on the thread that makes the frames is refused, since a wait would stop the picture."""
    request = {"requestType": "CallVendorRequest", "requestData": {"vendorName": VENDOR, "requestType": "GetQueue"}}
    obs.client.send(8, {"requestId": "batch", "executionType": 1, "requests": [request] * 20})
    results = obs.client.receive(9)["results"]
    expect("the answers", {one["responseData"]["responseData"]["error"] for one in results}, {"graphicsThread"})


def disk_that_hangs(obs, listener, disk, clip):
    """Pages ask for titles on a disk that does not answer. One waits for a while. Everybody else is served."""
    def ask(client, request, **data):
        client.ask("CallVendorRequest", vendorName=VENDOR, requestType=request, requestData=data)

    tracks = [disk.folder / f"{number}.mp4" for number in range(16)]
    for track in tracks:
        os.link(clip, track)
    disk.take(-1)
    done(obs.client, "AddTracks", paths=items("path", tracks), position=0)
    pages = [Client(obs.port) for _ in tracks]
    for index, page in enumerate(pages):
        ask(page, "GetQueue", offset=index, limit=1, tags=True)
    ask(obs.client, "SetEndMode", endMode="repeat")
    obs.client.receive(7, timeout=10)
    listener.expect("a disk hangs", "EndModeChanged", endMode="repeat")
    for index, page in enumerate(pages):
        expect("the page is whole", page.receive(7, timeout=10)["responseData"]["responseData"]["complete"], False)
        ask(page, "GetQueue", offset=index, limit=1, tags=True)  # on its way when OBS ends


def flood(port):
    """Keeps requests on their way over one connection until OBS ends it."""
    client = Client(port)
    requests = [("AddTracks", {"paths": items("path", ["/m/a.mp4"])}), ("GetQueue", {}), ("PlayNext", {}),
                ("SetEndMode", {"endMode": "repeat"}), ("Stop", {})]
    with suppress(ConnectionClosed):
        for i, (request, data) in enumerate(cycle(requests)):
            client.ask("CallVendorRequest", vendorName=VENDOR, requestType=request, requestData=data)
            if i >= 10:  # are on their way
                client.receive(7)


def exits(show):
    """OBS is closed again and again with requests on their way."""
    for _ in range(10):
        obs = show.start()
        done(obs.client, "SelectSource", sourceName=SOURCE)
        with ThreadPoolExecutor() as pool:
            floods = pool.map(flood, [show.port] * 5)
            show.end()
        list(floods)  # raises what a flood has raised


def run(show):
    clips = [show.clip("one.mp4", 30, title="One & <b>only</b>", artist="أغنية"), show.clip("two.mp4", 4, title="Two"),
             show.folder / "broken.mp4"]
    clips[2].write_text("This is no media.")
    disk = SlowDisk(show.folder)
    obs = show.start(vlc_source([]))
    listener = Listener(show.port)
    run_by_commands(obs, listener, clips)
    keep_the_frames(obs)
    disk_that_hangs(obs, listener, disk, clips[0])
    listener.socket.close()
    show.end()
    disk.take(0)
    exits(show)
