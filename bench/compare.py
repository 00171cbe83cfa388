#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Reports the ratios of a run of dock_bench that miss their goal or are over a fifth worse than in figures.md.

With --record it writes that file again. The file holds only ratios: times differ between machines, ratios hardly do.
"""

import json
import pathlib
import re
import sys

FIGURES = pathlib.Path(__file__).with_name("figures.md")
LENGTHS = [100, 1000, 10000, 100000]
WORSE = 1.2  # a ratio above this many times the committed one is worse


def committed():
    """Returns the committed ratios as {(case, rows): ratio}."""
    table = [line.strip("| \n").split("|") for line in FIGURES.read_text().splitlines() if line.startswith("| ")]
    return {(case.strip(), rows): float(ratio) for case, _, *ratios in table[2:]
            for rows, ratio in zip(LENGTHS, ratios) if ratio.strip()}


def main(file, record=None):
    run = json.loads(pathlib.Path(file).read_text())
    cases = {}
    for one in run["benchmarks"]:
        case, rows = re.match(r"(.*?)/(\d+)/", one["name"]).groups()
        cases.setdefault((case, one["goal"]), {})[int(rows)] = one["times"]
    if record:
        lines = ["# What the dock takes, as a multiple of its floor", "",
                 "Written by `./dev bench --record`; the columns are numbers of rows.", "",
                 "| case | goal | " + " | ".join(f"{rows:,}" for rows in LENGTHS) + " |",
                 "| --- |" + " ---: |" * (len(LENGTHS) + 1)]
        for (case, goal), ratios in cases.items():
            cells = [f"{ratios[rows]:.2f}" if rows in ratios else "" for rows in LENGTHS]
            lines.append(f"| {case} | {goal:.2f} | " + " | ".join(cells) + " |")
        FIGURES.write_text("\n".join(lines) + "\n")
    before = committed()
    for (case, goal), ratios in cases.items():
        for rows, ratio in ratios.items():
            was = before.get((case, rows), ratio)
            if ratio > goal:
                print(f"above its goal: {case}, {rows:,} rows: {ratio:.2f} times its floor, goal {goal:.2f}")
            if ratio > was * WORSE:
                print(f"slower than before: {case}, {rows:,} rows: {ratio:.2f} times its floor instead of {was:.2f}")


if __name__ == "__main__":
    main(*sys.argv[1:])
