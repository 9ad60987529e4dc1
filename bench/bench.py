#!/usr/bin/env python3
# Copyright (c) the Disk Hub developers
# SPDX-License-Identifier: MIT
"""Measures the hub against what it could be and against other programs, side by side in one run.

Prints a table of ratios with their goals; writes results.json, table.md and pictures into the
directory of the results and, when asked to, the page docs/performance.md and its pictures.
"""

import argparse
import json
import pathlib
import shutil
import tempfile

import machine
import page
import pictures
from measurements import MEASUREMENTS, Bench
from servers import Servers

MEMORY_FILES = pathlib.Path("/dev/shm")
ROOM = 2 << 30  # bytes that a run wants at most


def work_directory(build):
    """In a file system in memory if it has room: no disk makes all of them alike."""
    top = build
    if MEMORY_FILES.is_dir() and shutil.disk_usage(MEMORY_FILES).free > ROOM:
        top = MEMORY_FILES
    return pathlib.Path(tempfile.mkdtemp(prefix="disk-hub-bench-", dir=top))


def measure(build, quick, chosen):
    work = work_directory(build)
    try:
        about = machine.describe(build, work)
        for line in machine.lines(about):
            print(line)
        print(f"\n{'what':41} {'against':40} {'ratio':>7} {'quartiles':>12}  {'goal':>5}")
        with Servers(build, work) as servers:
            bench = Bench(servers, work, quick)
            for name in chosen:
                getattr(bench, name)()
        about["busy"] = max(about["busy"], machine.others_busy())
    finally:
        shutil.rmtree(work, ignore_errors=True)
    return {"machine": about, "quick": quick, "rows": bench.rows, "figures": bench.figures,
            "curves": bench.curves}


def main():
    parser = argparse.ArgumentParser(prog="bench/run", description=__doc__)
    parser.add_argument("--build", type=pathlib.Path, required=True, help=argparse.SUPPRESS)
    parser.add_argument("--quick", action="store_true", help="few rounds: shows that it works")
    parser.add_argument("--page", action="store_true",
                        help="write docs/performance.md and its pictures, too")
    parser.add_argument("--from", dest="earlier", type=pathlib.Path, metavar="RESULTS.json",
                        help="take these results instead of measuring")
    parser.add_argument("measurements", nargs="*", metavar="MEASUREMENT",
                        help=" ".join(MEASUREMENTS) + " (all, if none is given)")
    arguments = parser.parse_args()
    unknown = set(arguments.measurements) - set(MEASUREMENTS)
    if unknown:
        parser.error("unknown: " + " ".join(sorted(unknown)))
    if arguments.page and arguments.measurements:
        parser.error("the page wants all measurements")

    build = arguments.build.resolve()
    if arguments.earlier:
        results = json.loads(arguments.earlier.read_text())
    else:
        results = measure(build, arguments.quick, arguments.measurements or MEASUREMENTS)
    out = build / "results"
    out.mkdir(exist_ok=True)
    (out / "results.json").write_text(json.dumps(results, indent=1) + "\n")
    (out / "table.md").write_text(page.ratios(results))
    pictures.draw(results, out)
    print(f"\nresults.json, table.md and pictures: {out}")
    if arguments.page:
        docs = pathlib.Path(__file__).resolve().parents[1] / "docs"
        page.refresh(results, docs / "performance.md")
        pictures.draw(results, docs / "images")
        print(f"page: {docs / 'performance.md'}")


if __name__ == "__main__":
    main()
