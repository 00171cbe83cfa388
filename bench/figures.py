#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Compares what the benchmark has printed with the committed figures, or makes it the figures to commit.

Only the ratios are kept: they mean the same on every machine, which times do not.
"""

import argparse
import pathlib
import re
import subprocess

FIGURES = pathlib.Path(__file__).with_name("figures.md")
SIZES = [100, 1000, 10000, 100000]
WORSE = 1.2  # times the committed ratio
TIME = r"\S+ (?:us|ms|B)"
MEASURED = re.compile(rf"(?P<case>\S.*?) +(?P<rows>\d+) +{TIME} +{TIME} +(?P<ratio>\S+) +(?P<goal>\S+)")


def measured(log):
    """{case: (goal, {rows: ratio})} of the benchmark's table."""
    cases = {}
    for line in log.read_text(errors="replace").splitlines():
        if found := MEASURED.match(line):
            _, ratios = cases.setdefault(found["case"], (float(found["goal"]), {}))
            ratios[int(found["rows"])] = float(found["ratio"])
    return cases


def committed():
    """{(case, rows): ratio} of the committed table."""
    rows = [line.strip("| \n").split("|") for line in FIGURES.read_text().splitlines() if line.startswith("| ")]
    return {
        (cells[0].strip(), size): float(cell)
        for cells in rows[2:]
        for size, cell in zip(SIZES, cells[2:])
        if cell.strip()
    }


def compare(cases):
    before = committed()
    for case, (_, ratios) in cases.items():
        for rows, ratio in ratios.items():
            was = before.get((case, rows))
            if was and ratio > was * WORSE:
                print(f"worse than the committed figures: {case}, {rows} rows: {ratio:.2f} instead of {was:.2f}")


def first_line(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout.splitlines()[0].strip()


def write(cases):
    model = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    libraries = [f"{name} {first_line('pkg-config', '--modversion', name)}" for name in ("Qt6Widgets", "libobs")]
    lines = [
        "# What the dock takes, as a multiple of the bare calls",
        "",
        "Written by `./dev bench --record`; `./dev bench` says which of its ratios are worse by more than a fifth.",
        "Columns with numbers are for that many rows. What each case sets beside the dock stands in its source.",
        "",
        f"{model[1] if model else 'unknown processor'}; {', '.join(libraries)}; {first_line('c++', '--version')}",
        "",
        "| case | goal | " + " | ".join(f"{size:,}" for size in SIZES) + " |",
        "| --- |" + " ---: |" * (len(SIZES) + 1),
    ]
    for case, (goal, ratios) in cases.items():
        cells = [f"{ratios[size]:.2f}" if size in ratios else "" for size in SIZES]
        lines.append(f"| {case} | {goal:.2f} | " + " | ".join(cells) + " |")
    FIGURES.write_text("\n".join(lines) + "\n")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("log", type=pathlib.Path)
    parser.add_argument("--record", action="store_true", help="write the figures instead of comparing with them")
    options = parser.parse_args()
    cases = measured(options.log)
    if options.record:
        write(cases)
    else:
        compare(cases)


if __name__ == "__main__":
    main()
