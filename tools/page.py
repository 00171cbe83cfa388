"""The pages in a browser without a screen: as a browser source of OBS shows them, or as a phone does."""

import base64
import contextlib
import json
import subprocess
from urllib.request import urlopen

from websockets.sync.client import connect

from obs_host import HostError, wait_for

# What OBS gives every new browser source.
OBS_STYLE = "body { background-color: rgba(0, 0, 0, 0); margin: 0px auto; overflow: hidden; }"
FLAGS = ["--headless", "--no-sandbox", "--disable-gpu", "--no-first-run", "--disable-background-networking",
         "--remote-debugging-port=0"]


class Page:
    """A page in Chromium, driven over its DevTools."""

    def __init__(self, folder, url, width, height, touch=False):
        self.process = subprocess.Popen(["chromium", *FLAGS, f"--user-data-dir={folder}", url],
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        port = folder / "DevToolsActivePort"
        wait_for("Chromium starts", lambda: port.exists() and port.read_text().count("\n"), 60)
        address = f"http://127.0.0.1:{port.read_text().splitlines()[0]}/json/list"

        def pages():
            with urlopen(address) as answer:
                return [one for one in json.load(answer) if one["url"].startswith("file:")]
        self.last_id = 0
        self.socket = connect(wait_for("Chromium opens the page", pages)[0]["webSocketDebuggerUrl"], max_size=None)
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=touch)
        self.call("Emulation.setTouchEmulationEnabled", enabled=touch)

    def send(self, method, **parameters):
        self.last_id += 1
        self.socket.send(json.dumps({"id": self.last_id, "method": method, "params": parameters}))

    def call(self, method, **parameters):
        self.send(method, **parameters)
        while json.loads(answer := self.socket.recv(30)).get("id") != self.last_id:
            pass
        return json.loads(answer)["result"]

    def look(self, expression):
        """Evaluates an expression of JavaScript on the page and returns its value, or what it promises."""
        result = self.call("Runtime.evaluate", expression=expression, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in result:
            raise HostError(f"{expression}: {result['exceptionDetails']}")
        return result["result"].get("value")

    def lines(self):
        """Returns what can be read on the page, line by line."""
        return self.look("getComputedStyle(panel).opacity > 0 ? document.body.innerText.split('\\n') : []")

    def point(self, selector):
        """Returns the middle of an element."""
        return self.look(f"(({{x, y, width, height}}) => ({{x: x + width / 2, y: y + height / 2}}))"
                         f"(document.querySelector({json.dumps(selector)}).getBoundingClientRect())")

    def touch(self, kind, *points):
        # Do not wait for the page: a touch that lasts half a second is no tap.
        self.send("Input.dispatchTouchEvent", type=f"touch{kind}", touchPoints=points)

    def tap(self, selector):
        """Touches an element with a finger, once it can be used."""
        wait_for(f"{selector} can be used", lambda: self.look(
            f"!!document.querySelector({json.dumps(selector + ':not(:disabled, [inert] *)')})?.checkVisibility()"), 10)
        self.look("window.taps = 0, window.ontap ??= addEventListener('click', () => taps++, true) ?? true")
        for _ in range(3):  # on a busy machine a touch may last so long that it is no tap
            self.touch("Start", self.point(selector))
            self.touch("End")
            with contextlib.suppress(HostError):
                return wait_for(f"{selector} is tapped", lambda: self.look("taps > 0"), 2)
        raise HostError(f"{selector} cannot be tapped.")

    def screenshot(self, path):
        path.write_bytes(base64.b64decode(self.call("Page.captureScreenshot")["data"]))

    def close(self):
        self.socket.close()
        self.process.terminate()
        self.process.wait()


@contextlib.contextmanager
def open_page(data, folder, port, options="", name="now-playing", width=1280, height=720, touch=False):
    """Opens a page of this data root on the OBS at this port. The folder is Chromium's own."""
    url = (data / f"obs-reelhouse/{name}.html").absolute().as_uri()
    page = Page(folder, f"{url}?address=localhost:{port}{options}", width, height, touch)
    try:
        wait_for("the page is loaded",
                 lambda: page.look("location.protocol == 'file:' && document.readyState == 'complete'"))
        if name == "now-playing":
            page.look(f"document.head.appendChild(document.createElement('style')).textContent = `{OBS_STYLE}`")
        yield page
    finally:
        page.close()
