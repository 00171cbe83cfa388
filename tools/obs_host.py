"""The real OBS as a person and a machine see it: its windows, its accessibility tree and its WebSocket server.

Meant to run inside a D-Bus session of its own (dbus-run-session), which the accessibility bus needs. As a program it
makes one request to the dock of the OBS that was started on a home folder.
"""

import base64
import contextlib
import hashlib
import json
import os
import re
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
from pathlib import Path

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402
from websockets.sync.client import connect  # noqa: E402

CONTENT = "OBS-Reelhouse-content"
VENDOR = "OBS-Reelhouse"
VENDOR_EVENTS = 1 << 9
# Not with --disable-missing-files-check: OBS then leaks the list that it would have shown, and its leaks are a test.
OBS_COMMAND = ["obs", "--multi", "--disable-updater", "--disable-shutdown-check"]
# The context menu from its top. Entries below these do not matter here.
MENU = ["Move Up", "Move Down", "Move to Top", "Move to Bottom", "Remove", "Undo Remove", "Show Current Track",
        "Show in Folder", "Give Playlist Back to Source"]


class HostError(Exception):
    """What went wrong, in words for the person who started this."""


def wait_for(what, condition, timeout=30.0):
    """Returns the first true result of condition, asked again and again; raises HostError after timeout seconds."""
    deadline = time.monotonic() + timeout
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() > deadline:
            raise HostError(f"Waited {timeout:.0f} s in vain: {what}.")
        time.sleep(0.05)


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Desktop:
    """An X server without a screen, a window manager and the accessibility bus."""

    def __init__(self, size="1600x1000"):
        self.children = []
        read_end, write_end = os.pipe()
        # Not to be reset when the only client leaves, which would end whoever starts just then.
        xvfb = self._start(["Xvfb", "-displayfd", str(write_end), "-screen", "0", f"{size}x24", "-nolisten", "tcp",
                            "-noreset"], pass_fds=[write_end])
        os.close(write_end)
        with os.fdopen(read_end) as pipe:
            number = pipe.readline().strip()
        if not number:
            raise HostError(f"Xvfb did not start (exit code {xvfb.wait()}).")
        # The accessibility bus has its socket there: two desktops that shared it would see each other's windows.
        self.runtime = tempfile.mkdtemp(prefix="obs-run-")
        os.environ.update(DISPLAY=f":{number}", XDG_RUNTIME_DIR=self.runtime, LIBGL_ALWAYS_SOFTWARE="1",
                          QT_QPA_PLATFORM="xcb", QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", NO_AT_BRIDGE="1")
        os.environ.pop("WAYLAND_DISPLAY", None)
        os.environ.pop("XAUTHORITY", None)
        self._start(["openbox"])
        self._start(["/usr/libexec/at-spi-bus-launcher", "--launch-immediately"])

    def _start(self, command, **options):
        child = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                 stderr=subprocess.DEVNULL, **options)
        self.children.append(child)
        return child

    def screenshot(self, path):
        subprocess.run(["import", "-window", "root", str(path)], check=True)

    @contextlib.contextmanager
    def film(self, path):
        """Records what is on the screen meanwhile as an animated GIF, small enough for a page."""
        filters = ("fps=5,scale=800:-1:flags=lanczos,split[a][b];"
                   "[a]palettegen=max_colors=64:stats_mode=diff[p];[b][p]paletteuse=dither=none:diff_mode=rectangle")
        recorder = subprocess.Popen(["ffmpeg", "-v", "error", "-y", "-f", "x11grab", "-framerate", "10", "-i",
                                     os.environ["DISPLAY"], "-vf", filters, str(path)], stdin=subprocess.PIPE)
        try:
            yield
        finally:
            recorder.communicate(b"q")

    def close(self):
        for child in reversed(self.children):
            child.terminate()
            child.wait()
        shutil.rmtree(self.runtime, ignore_errors=True)


def id_of(node):
    """Object names joined by dots; empty for a node that has just gone."""
    return node.get_accessible_id() or ""


class Widget:
    """A node of the accessibility tree."""

    FOCUSED = Atspi.StateType.FOCUSED

    def __init__(self, node):
        self.node = node

    @property
    def name(self):
        return self.node.get_name()

    @property
    def description(self):
        return self.node.get_description()

    @property
    def children(self):
        nodes = [self.node.get_child_at_index(i) for i in range(self.node.get_child_count())]
        return [Widget(node) for node in nodes if node]

    @property
    def text(self):
        return Atspi.Text.get_text(self.node, 0, -1)

    def has(self, state):
        return self.node.get_state_set().contains(state)

    @property
    def enabled(self):
        return self.has(Atspi.StateType.ENABLED)

    @property
    def showing(self):
        return self.has(Atspi.StateType.SHOWING)

    @property
    def box(self):
        extents = self.node.get_component_iface().get_extents(Atspi.CoordType.SCREEN)
        return extents.x, extents.y, extents.width, extents.height

    def point(self, across=0.5, down=0.5):
        x, y, width, height = self.box
        return round(x + across * width), round(y + down * height)

    def press(self):
        """The widget's own accessible action, as a screen reader triggers it."""
        if not self.node.get_action_iface().do_action(0):
            raise HostError(f"Pressing {self.name!r} did nothing.")

    def click(self, across=0.5, down=0.5, button=1, times=1):
        x, y = self.point(across, down)
        xdotool("mousemove", "--sync", x, y, "click", "--repeat", times, "--delay", 60, button)

    def focus(self):
        self.node.get_component_iface().grab_focus()
        wait_for(f"{self.name!r} takes the focus", lambda: self.has(self.FOCUSED), 5)


def xdotool(*words):
    subprocess.run(["xdotool", *map(str, words)], check=True, stdout=subprocess.DEVNULL)


def press_key(*keys):
    xdotool("key", "--delay", 60, *keys)


def answer_challenge(password, challenge, salt):
    def digest(text):
        return base64.b64encode(hashlib.sha256(text.encode()).digest()).decode()
    return digest(digest(password + salt) + challenge)


class Client:
    """A connection to OBS's WebSocket server. Events that come while it waits for something else are kept."""

    def __init__(self, port, password="", events=0):
        self.events = []
        self.socket = connect(f"ws://127.0.0.1:{port}", max_size=None)
        identify = {"rpcVersion": 1, "eventSubscriptions": events}
        hello = self.receive(0)
        if "authentication" in hello:
            identify["authentication"] = answer_challenge(password, **hello["authentication"])
        self.send(1, identify)
        self.receive(2)

    def send(self, op, data):
        self.socket.send(json.dumps({"op": op, "d": data}))

    def receive(self, op, timeout=None):
        while True:
            message = json.loads(self.socket.recv(timeout))
            if message["op"] == op:
                return message["d"]
            self.events.append(message["d"]["eventData"])

    def ask(self, request, **data):
        """Sends a request whose answer is still to be received."""
        self.send(6, {"requestType": request, "requestId": "1", "requestData": data})

    def try_request(self, request, **data):
        self.ask(request, **data)
        answer = self.receive(7)
        return answer["requestStatus"]["result"], answer.get("responseData", answer["requestStatus"])

    def request(self, request, **data):
        ok, answer = self.try_request(request, **data)
        if not ok:
            raise HostError(f"OBS refused {request}: {answer.get('comment', answer['code'])}")
        return answer

    def dock(self, request, **data):
        """One of the dock's own requests."""
        return self.request("CallVendorRequest", vendorName=VENDOR, requestType=request,
                            requestData=data)["responseData"]


class Obs:
    """One run of OBS Studio on a configuration home made by obs_config, with our module where it was built, or, without
    module and data, with what is installed."""

    def __init__(self, home: Path, module: Path | None, data: Path | None, port: int):
        self.home = Path(home)
        self.port = port
        self.nodes = {}
        self.output = open(self.home / "obs-output.txt", "ab")
        environment = {**os.environ, "HOME": str(home), "XDG_CONFIG_HOME": str(home / ".config")}
        if module:
            environment.update(OBS_PLUGINS_PATH=str(module.parent), OBS_PLUGINS_DATA_PATH=str(data))
        self.process = subprocess.Popen(
            OBS_COMMAND, stdin=subprocess.DEVNULL, stdout=self.output, stderr=self.output, env=environment)
        self.client = None

    @property
    def log_path(self):
        logs = sorted((self.home / ".config/obs-studio/logs").glob("*.txt"), key=lambda path: path.stat().st_mtime)
        return logs[-1] if logs else self.home / "obs-output.txt"

    @property
    def log(self):
        return self.log_path.read_text(errors="replace")

    def _alive(self):
        if self.process.poll() is not None:
            raise HostError(f"OBS ended with code {self.process.returncode}.")

    # The host itself, through its WebSocket server

    def connect(self):
        def attempt():
            self._alive()
            try:
                return Client(self.port)
            except OSError:
                return None
        self.client = wait_for("OBS opens its WebSocket server", attempt, 60)
        # While a scene collection loads, requests are refused.
        wait_for("OBS finishes loading", lambda: self.try_request("GetSceneList")[0], 60)

    def try_request(self, request, **data):
        return self.client.try_request(request, **data)

    def request(self, request, **data):
        return self.client.request(request, **data)

    def settings(self, source):
        return self.request("GetInputSettings", inputName=source)["inputSettings"]

    def playlist(self, source):
        return [item["value"] for item in self.settings(source).get("playlist", [])]

    def record(self, source):
        """The queue as the module stores it with the source; None where it has not yet."""
        private = self.request("GetSourcePrivateSettings", sourceName=source)["sourceSettings"]
        return private.get("OBS-Reelhouse")

    def media(self, source):
        """(state without its prefix, position in ms, duration in ms); unknown times are 0."""
        status = self.request("GetMediaInputStatus", inputName=source)
        state = status["mediaState"].removeprefix("OBS_MEDIA_STATE_").lower()
        return state, max(status["mediaCursor"] or 0, 0), max(status["mediaDuration"] or 0, 0)

    # The windows, through the accessibility tree

    def application(self):
        self._alive()
        desktop = Atspi.get_desktop(0)
        for i in range(desktop.get_child_count()):
            node = desktop.get_child_at_index(i)
            if node and node.get_process_id() == self.process.pid:
                return node
        return None

    def walk(self, node, wanted, depth=12):
        try:
            if wanted(node):
                return node
            for i in range(node.get_child_count() if depth else 0):
                child = node.get_child_at_index(i)
                found = child and self.walk(child, wanted, depth - 1)
                if found:
                    return found
        except GLib.Error:
            pass  # gone while it was looked at
        return None

    def find(self, wanted, what, timeout=30):
        """The first widget for which wanted(node) holds, waited for."""
        return Widget(wait_for(f"{what} is on screen",
                               lambda: (top := self.application()) and self.walk(top, wanted), timeout))

    def widget(self, name):
        """One of the dock's own widgets, by object name."""
        if name not in self.nodes:
            suffix = f".{CONTENT}" if name == CONTENT else None
            if suffix:
                self.nodes[name] = self.find(lambda node: id_of(node).endswith(suffix), "our dock", 60)
            else:
                dock = self.widget(CONTENT)
                found = self.walk(dock.node, lambda node: id_of(node).endswith(f".{name}"))
                if not found:
                    raise HostError(f"The dock has no widget {name!r}.")
                self.nodes[name] = Widget(found)
        return self.nodes[name]

    def rows(self):
        return self.widget("playlist").children

    def labels(self):
        """The texts of the list's rows; None while they are being replaced."""
        try:
            return [row.name for row in self.rows()]
        except GLib.Error:
            return None

    def row(self, label):
        return wait_for(f"the list shows {label!r}",
                        lambda: next((row for row in self.rows() if row.name.endswith(label)), None), 10)

    def double_click(self, label):
        self.row(label).click(across=0.3, times=2)

    def choose(self, selector, text):
        """Opens one of the dock's selectors with the mouse and picks an entry with the keyboard."""
        box = self.widget(selector)
        before = self.windows()
        box.click(across=0.5)
        wait_for(f"{selector} opens", lambda: self.windows() - before, 5)
        entries = [one.name for one in box.children[0].children]
        press_key("Home", *["Down"] * entries.index(text), "Return")
        wait_for(f"{selector} shows {text!r}", lambda: box.name == text and not self.windows() - before, 5)

    def windows(self):
        found = subprocess.run(["xdotool", "search", "--onlyvisible", "--pid", str(self.process.pid)],
                               capture_output=True, text=True)
        return set(found.stdout.split())

    def menu(self, label, entry, disabled=(), meanwhile=lambda: None):
        """Opens the context menu on a row and picks an entry with the keyboard, which passes over the disabled ones:
        Qt keeps popups out of the accessibility tree."""
        before = self.windows()
        self.row(label).click(across=0.3, button=3)
        wait_for("the context menu opens", lambda: self.windows() - before, 5)
        meanwhile()
        press_key(*["Down"] * (1 + [one for one in MENU if one not in disabled].index(entry)), "Return")
        wait_for("the context menu closes", lambda: not self.windows() - before, 5)

    # The end

    def main_window(self):
        search = ["xdotool", "search", "--all", "--onlyvisible", "--pid", str(self.process.pid), "--name", "^OBS "]
        return wait_for("OBS shows its main window",
                        lambda: subprocess.run(search, capture_output=True, text=True).stdout.split(), 10)[0]

    def fill_screen(self):
        xdotool("windowmove", self.main_window(), 0, 0, "windowsize", self.main_window(), "100%", "100%")

    def quit(self, timeout=60):
        """Closes the main window as a person does and returns the exit code."""
        if self.client:
            self.client.socket.close()
        xdotool("windowactivate", "--sync", self.main_window())
        press_key("ctrl+q")
        try:
            code = self.process.wait(timeout)
        except subprocess.TimeoutExpired:
            raise HostError(f"OBS did not end within {timeout} s.") from None
        self.output.close()
        return code

    def kill(self):
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGKILL)
            self.process.wait()
        self.output.close()

    def complaints(self):
        """What OBS's log says against a clean run, line by line."""
        log = self.log
        lines = re.findall(r".*(?:Not all sources were cleared|Ambiguous shortcut).*", log)
        # Modules of OBS's own call the frontend after it has gone: one in OBS 30, two in OBS 32.
        late = re.findall(r".*no callbacks!", log)
        major = re.search(r": OBS (\d+)\.", log)
        if len(late) > (2 if major and int(major.group(1)) > 30 else 1):
            lines.extend(late)
        leaks = re.search(r"Number of memory leaks: (\d+)", log)
        if not leaks:
            lines.append("The log does not end with a leak count.")
        elif leaks.group(1) != "0":
            lines.append(leaks.group(0))
        return lines


def main():
    home, request, *data = sys.argv[1:]
    config = Path(home) / ".config/obs-studio/plugin_config/obs-websocket/config.json"
    try:
        server = json.loads(config.read_text())
        client = Client(server["server_port"], server["server_password"])
        answer = client.dock(request, **json.loads("".join(data) or "{}"))
    except OSError:
        sys.exit("No OBS answers; open one with ./dev run.")
    except (HostError, ValueError) as error:
        sys.exit(str(error))
    print(json.dumps(answer, indent=2, ensure_ascii=False))
    sys.exit(not answer["success"])


if __name__ == "__main__":
    main()
