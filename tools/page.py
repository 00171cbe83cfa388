"""The page that shows what plays, in a browser without a screen, as a browser source of OBS shows it."""

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
    """The page in Chromium, driven over its DevTools."""

    def __init__(self, folder, url, width, height):
        self.process = subprocess.Popen(["chromium", *FLAGS, f"--user-data-dir={folder}", url],
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        port = folder / "DevToolsActivePort"
        wait_for("Chromium starts", lambda: port.exists() and port.read_text().count("\n"), 60)
        address = f"http://127.0.0.1:{port.read_text().splitlines()[0]}/json/list"

        def pages():
            with urlopen(address) as answer:
                return [one for one in json.load(answer) if one["url"].startswith("file:")]
        self.socket = connect(wait_for("Chromium opens the page", pages)[0]["webSocketDebuggerUrl"], max_size=None)
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)

    def call(self, method, **parameters):
        self.socket.send(json.dumps({"id": 1, "method": method, "params": parameters}))
        while "id" not in (answer := json.loads(self.socket.recv(30))):
            pass
        return answer["result"]

    def look(self, expression):
        """Evaluates an expression of JavaScript on the page and returns its value."""
        result = self.call("Runtime.evaluate", expression=expression, returnByValue=True)
        if "exceptionDetails" in result:
            raise HostError(f"{expression}: {result['exceptionDetails']}")
        return result["result"].get("value")

    def lines(self):
        """Returns what can be read on the page, line by line."""
        return self.look("getComputedStyle(panel).opacity > 0 ? document.body.innerText.split('\\n') : []")

    def screenshot(self, path):
        path.write_bytes(base64.b64decode(self.call("Page.captureScreenshot")["data"]))

    def close(self):
        self.socket.close()
        self.process.terminate()
        self.process.wait()


@contextlib.contextmanager
def open_page(data, folder, port, options="", width=1280, height=720):
    """Opens the page of this data root on the OBS at this port. The folder is Chromium's own; options are the URL's."""
    url = (data / "obs-reelhouse/now-playing.html").absolute().as_uri()
    page = Page(folder, f"{url}?address=localhost:{port}{options}", width, height)
    try:
        wait_for("the page is loaded", lambda: page.look("document.readyState == 'complete' && !!window.panel"))
        page.look(f"document.head.appendChild(document.createElement('style')).textContent = `{OBS_STYLE}`")
        yield page
    finally:
        page.close()
