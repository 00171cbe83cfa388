"""The page that shows what plays, in a browser without a screen, as a browser source of OBS shows it."""

import contextlib
import json
import subprocess
from pathlib import Path
from urllib.request import urlopen

from websockets.sync.client import connect

from obs_config import vlc_source
from obs_host import wait_for
from show import done, expect, items, soon

PAGE = Path(__file__).parents[2] / "data/now-playing.html"
# What OBS gives every new browser source.
OBS_STYLE = "body { background-color: rgba(0, 0, 0, 0); margin: 0px auto; overflow: hidden; }"
FLAGS = ["--headless", "--no-sandbox", "--disable-gpu", "--no-first-run", "--disable-background-networking",
         "--remote-debugging-port=0", "--window-size=1280,720"]


class Browser:
    """A page in Chromium, driven over its DevTools."""

    def __init__(self, folder, url):
        self.process = subprocess.Popen(["chromium", *FLAGS, f"--user-data-dir={folder}", url],
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        port = folder / "DevToolsActivePort"
        wait_for("Chromium starts", lambda: port.exists() and port.read_text().count("\n"), 60)
        address = f"http://127.0.0.1:{port.read_text().splitlines()[0]}/json/list"

        def pages():
            with urlopen(address) as answer:
                return [one for one in json.load(answer) if one["url"].startswith("file:")]
        self.socket = connect(wait_for("Chromium opens the page", pages)[0]["webSocketDebuggerUrl"], max_size=None)

    def look(self, expression):
        self.socket.send(json.dumps({"id": 1, "method": "Runtime.evaluate",
                                     "params": {"expression": expression, "returnByValue": True}}))
        while "id" not in (answer := json.loads(self.socket.recv(30))):
            pass
        expect(f"what stops {expression}", answer["result"].get("exceptionDetails"), None)
        return answer["result"]["result"].get("value")

    def lines(self):
        """What can be read on the page, line by line."""
        return self.look("getComputedStyle(panel).opacity > 0 ? document.body.innerText.split('\\n') : []")


@contextlib.contextmanager
def open_page(show):
    browser = Browser(show.folder / "browser", f"{PAGE.as_uri()}?address=localhost:{show.port}")
    try:
        wait_for("the page is loaded", lambda: browser.look("document.readyState == 'complete' && !!window.panel"))
        browser.look(f"document.head.appendChild(document.createElement('style')).textContent = `{OBS_STYLE}`")
        yield browser
    finally:
        browser.socket.close()
        browser.process.terminate()
        browser.process.wait()


def run(show):
    """The page shows what plays and what follows, and nothing else on air."""
    tagged = show.clip("one.mp4", 30, title="One & <b>only</b>", artist="Ann")
    hebrew = show.clip(f"שיר <img src=x onerror='title.textContent=1'> {'ארוך ' * 15}סוף.mp4", 30)
    client = show.start(vlc_source([])).client
    with open_page(show) as page:
        done(client, "AddTracks", paths=items("path", [tagged, hebrew]))
        expect("a queue that does not play", page.lines(), [])
        done(client, "Play")
        soon("a tagged track", page.lines, ["Ann", "One & <b>only</b>", "NEXT", hebrew.stem])
        wait_for("it is paused", lambda: client.dock("Pause")["success"], 10)
        soon("the pause", page.lines, ["Ann", "One & <b>only</b>"])
        expect("it is quiet", page.look("panel.matches('.paused')"), True)
        done(client, "PlayNext")
        soon("an untagged track, its name as it is", page.lines, [hebrew.stem])
        expect("its direction", page.look("getComputedStyle(title).direction"), "rtl")
        expect("its one line is cut", page.look("title.scrollWidth > title.clientWidth"), True)
        expect("it is whole on the page", page.look(
            "(({left, right, top, bottom}) => left >= 0 && right <= innerWidth && top >= 0 && bottom <= innerHeight)"
            "(panel.getBoundingClientRect())"), True)
        show.end()
        soon("OBS is gone", page.lines, [])
        client = show.start().client
        wait_for("the dock is ready", lambda: client.dock("GetQueue")["success"], 30)
        done(client, "PlayTrack", index=1)
        soon("OBS is back", page.lines, [hebrew.stem], 20)
        done(client, "Stop")
        soon("the stop", page.lines, [])
    show.end()
