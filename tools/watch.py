"""What the long run and the benchmark do with a running OBS and see of it."""

import os
import time
from pathlib import Path

from gi.repository import Atspi

from obs_config import SOURCE
from obs_host import Client, HostError

STARTED, ENDED = "MediaInputPlaybackStarted", "MediaInputPlaybackEnded"
EVENTS = 1 << 3 | 1 << 8 | 1 << 9  # of inputs, their media and the dock


class Ears(Client):
    """Hears the dock's events and those of one source."""

    def __init__(self, port, source=SOURCE):
        super().__init__(port, events=EVENTS)
        self.source = source

    def hear(self, *names, timeout=20):
        """Waits until an event of each of these names has come, and says when each did."""
        times = {}
        while not times.keys() >= set(names):
            try:
                event = self.receive(5, timeout)
            except TimeoutError:
                raise HostError(f"Of {', '.join(names)} only {', '.join(times) or 'nothing'} was heard.") from None
            data = event["eventData"]
            if data.get("inputName", self.source) == self.source:
                times.setdefault(data.get("eventType", event["eventType"]), time.perf_counter())
        return times


class Pulse:
    """How long OBS's user-interface thread takes to say where its main window is, which it does between two events."""

    def __init__(self, obs):
        Atspi.set_timeout(60_000, 60_000)
        self.window = obs.find(lambda node: node.get_accessible_id() == "OBSApp.OBSBasic", "OBS's main window", 60)
        self.longest = 0

    def feel(self):
        """Asks once; the longest answer is kept in milliseconds."""
        start = time.perf_counter()
        self.window.box
        self.longest = max(self.longest, (time.perf_counter() - start) * 1000)


def resident(pid):
    """Resident memory in MiB."""
    lines = Path(f"/proc/{pid}/smaps_rollup").read_text().splitlines()
    return sum(int(line.split()[1]) for line in lines if line.startswith("Rss:")) / 1024


def cpu_seconds(pid):
    fields = Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")
