# SPDX-License-Identifier: GPL-2.0-or-later
"""Compares the includes of src with the arrows in docs/design.md: rooms.py. Prints and counts the differences."""
import re
import sys
from graphlib import CycleError, TopologicalSorter
from pathlib import Path

checkout = Path(__file__).resolve().parent.parent


def room(path):
    """Returns the last folder of a source file's name, as the picture calls it."""
    return path.split("/")[-2]


drawn = set(re.findall(r"^    (\w+) --> (\w+)$", (checkout / "docs/design.md").read_text(encoding="utf-8"), re.M))
real = {}
for file in sorted((checkout / "src").rglob("*.?pp")):
    for include in re.findall(r'^#include "([^"]+/[^"]+)"', file.read_text(encoding="utf-8"), re.M):
        arrow = (room(str(file)), room(include))
        if arrow[0] != arrow[1]:
            real.setdefault(arrow, f"{file.relative_to(checkout)} includes {include}")

faults = [f"{real[arrow]}, which docs/design.md does not draw" for arrow in sorted(real.keys() - drawn)]
faults += [f"docs/design.md draws {a} --> {b}, but nothing includes that" for a, b in sorted(drawn - real.keys())]
below = {}
for a, b in real:
    below.setdefault(a, set()).add(b)
try:
    TopologicalSorter(below).prepare()
except CycleError as error:
    faults.append("the includes go round in a circle: " + ", ".join(error.args[1]))
for fault in faults:
    print(fault, file=sys.stderr)
sys.exit(len(faults))
