#!/usr/bin/env python3
"""Compares each locale file with en-US, whose texts OBS shows for missing ones, and with OBS's own words."""

import re
import sys
from pathlib import Path

# The escapes are those that libobs resolves.
LINE = re.compile(r'(\w+)="((?:[^"\\]|\\[nrt"])+)"', re.ASCII)
# What a translator has to leave as it is; only placeholders may change their order.
PLACEHOLDER = re.compile(r"%L?\d+")
FIXED = re.compile(r"\(\*[^)]*\)|;;|…")
# What translators' tools leave: marks of direction and other invisible characters, entities, tags, outer spaces.
LEFTOVER = re.compile(r'[\u200b\u200d-\u200f\u202a-\u202e\u2060-\u206f\ufeff\ufffd]|&#?\w+;|<[^>]*>|"\s|\s"$')

# Our keys, and the keys in OBS's files of texts that are equal.
EQUAL = {"AddFiles": "Basic.PropertiesWindow.AddFiles", "MoveTop": "Basic.MainMenu.Edit.Order.MoveToTop",
         "MoveUp": "Basic.MainMenu.Edit.Order.MoveUp", "RemoveTrack": "Remove", "MissingFile": "MissingFiles.Missing",
         "MoveDown": "Basic.MainMenu.Edit.Order.MoveDown", "MoveBottom": "Basic.MainMenu.Edit.Order.MoveToBottom",
         "Previous": "PlaylistPrev", "Next": "PlaylistNext", "Refresh": "RefreshBrowser", "NoTextSource": "None"}
# The same, of texts one of which contains ours or is contained in it.
PART = {"ImportPlaylist": "Import", "ExportPlaylist": "Export",
        "Play": "PlayPause ContextBar.MediaControls.PlayMedia", "Stop": "Stop ContextBar.MediaControls.StopMedia",
        "Pause": "PlayPause ContextBar.MediaControls.PauseMedia Basic.Main.PauseRecording Hotkeys.Pause"}
# Here OBS's text means a layer of the picture or several files, is encoded otherwise, or differs between its releases.
OTHERWISE = ("zh-CN MoveTop, zh-CN MoveBottom, zh-TW MoveTop, zh-TW MoveBottom, uk-UA MissingFile, "
             "th-TH ImportPlaylist, he-IL MoveTop, he-IL MoveBottom, ja-JP MissingFile")


def read(path):
    """The texts by their keys, and the faults that the file has by itself."""
    # A byte that is no UTF-8 becomes an escape that LINE refuses.
    lines = [line for line in path.read_bytes().decode(errors="backslashreplace").split("\n") if line]
    entries = [entry.groups() for entry in map(LINE.fullmatch, lines) if entry]
    faults = [f'no plain KEY="text": {line!r}' for line in lines if not LINE.fullmatch(line) or LEFTOVER.search(line)]
    faults += [f"{key} is repeated" for key in dict(entries) if [other for other, _ in entries].count(key) > 1]
    return dict(entries), faults


def differences(texts, english):
    yield from (f"{key} is missing or unknown" for key in english.keys() ^ texts.keys())
    for key in english.keys() & texts.keys():
        kept, wanted = ([sorted(PLACEHOLDER.findall(t)), FIXED.findall(t)] for t in (texts[key], english[key]))
        if kept != wanted:
            yield f"{key} has {kept}, not {wanted}"


def strange_words(texts, language, obs):
    """The texts that OBS has in other words, where its file of the language is installed and has them."""
    files = [obs / part / "locale" / f"{language}.ini" for part in ("obs-plugins/vlc-video", "obs-studio")]
    content = "\n".join(file.read_text("utf-8-sig") for file in files if file.exists())
    # Mnemonics, ellipses, marks of direction and spaces do not count. Every key has to be one that OBS has in English.
    own = dict(re.findall(r'^([\w.]+)="(.*)"', re.sub(r"\(&\w\)|[& …\u202a-\u202e]", "", content), re.M))
    for key in texts.keys() & (EQUAL | PART).keys():
        ours = texts[key].replace(" ", "").casefold()
        theirs = [own[name].casefold() for name in (EQUAL | PART)[key].split() if name in own]
        same = any(ours == text or key in PART and (ours in text or text in ours) for text in theirs)
        if (theirs or content and language == "en-US") and not same and f"{language} {key}" not in OTHERWISE:
            yield f"{key} is {texts[key]!r}, and in OBS {theirs}"


def main(folder, obs):
    english, _ = read(folder / "en-US.ini")
    faults = []
    for path in sorted(folder.glob("*.ini")):
        texts, found = read(path)
        found += [*differences(texts, english), *strange_words(texts, path.stem, obs)]
        faults += [f"{path.name}: {fault}" for fault in found]
    return "\n".join(faults) or 0


if __name__ == "__main__":
    sys.exit(main(*map(Path, sys.argv[1:])))
