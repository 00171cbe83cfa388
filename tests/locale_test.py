#!/usr/bin/env python3
"""Compares every locale file of a folder with en-US, whose texts OBS shows for keys that a language lacks."""

import re
import sys
from pathlib import Path

# The escapes are those that libobs resolves.
LINE = re.compile(r'(\w+)="((?:[^"\\]|\\[nrt"])*)"', re.ASCII)
# What a translator has to leave as it is; only placeholders may change their order.
PLACEHOLDER = re.compile(r"%L?\d+")
FILE_PATTERNS = re.compile(r"\(\*[^)]*\)|;;")


def read(path):
    """The texts by their keys, and the faults that the file has by itself."""
    texts, faults = {}, []
    # A byte that is no UTF-8 becomes an escape that LINE refuses.
    content = path.read_bytes().decode(errors="backslashreplace")
    for number, line in enumerate(content.split("\n"), 1):
        entry = LINE.fullmatch(line)
        if not entry:
            if line:
                faults.append(f'line {number} is not KEY="text": {line!r}')
            continue
        key, text = entry.groups()
        if key in texts:
            faults.append(f"line {number} repeats {key}")
        if not text.strip():
            faults.append(f"line {number} has no text")
        texts[key] = text
    return texts, faults


def differences(texts, english):
    yield from (f"{key} is missing" for key in english if key not in texts)
    yield from (f"{key} is unknown" for key in texts if key not in english)
    for key in (key for key in english if key in texts):
        wanted, text = english[key], texts[key]
        if sorted(PLACEHOLDER.findall(text)) != sorted(PLACEHOLDER.findall(wanted)):
            yield f"{key} has other placeholders"
        if FILE_PATTERNS.findall(text) != FILE_PATTERNS.findall(wanted):
            yield f"{key} has other file patterns"


def main(folder):
    english, _ = read(folder / "en-US.ini")
    failed = False
    for path in sorted(folder.glob("*.ini")):
        texts, faults = read(path)
        for fault in (*faults, *differences(texts, english)):
            print(f"{path.name}: {fault}")
            failed = True
    return failed


if __name__ == "__main__":
    sys.exit(main(Path(sys.argv[1])))
