# Copyright (c) the Disk Hub developers
# SPDX-License-Identifier: MIT
"""The tables of docs/performance.md, each between two markers; the words around them stay."""

import re

import machine

WHO = {"hub": "Disk Hub", "c": "bare C", "nginx": "nginx", "python": "http.server", "find": "find"}

# In the order of the page: what a figure is called in the results, and for people.
EXPECTED = [
    ("a listing of 1000 files", "a listing of 1 000 files"),
    ("a listing of 10000 files", "a listing of 10 000 files"),
    ("a listing of 100000 files", "a listing of 100 000 files"),
    ("a D64 from the hub", "a D64 from the hub"),
    ("19 D82 from the hub", "nineteen D82 from the hub (20 MB)"),
    ("19 D82 to the hub", "nineteen D82 to the hub (20 MB)"),
    ("a small request", "a small request"),
    ("a small request of 16 clients", "the same, 16 clients at once: time for each"),
    ("start-up", "from start to first answer"),
    ("resident memory, idle", "memory, idle"),
    ("private dirty memory, idle", "of that, its own and written to"),
    ("memory at its worst", "memory at its worst (nineteen D82)"),
    ("memory after that", "memory 0.3 s after that"),
]


def shown(value, unit):
    """Two or three figures that count: "84 µs", "4.2 ms", "171 ms", "48 MiB"."""
    if value is None:
        return "–"
    if unit == "us" and value < 1000:
        return f"{value:.0f} µs"
    value, name = (value / 1000, "ms") if unit == "us" else (value / 1024, "MiB")
    return f"{value:.{1 if value < 10 else 0}f} {name}"


def rows_as_markdown(header, rows):
    lines = [header, ["---"] + ["---:"] * (len(header) - 1), *rows]
    return "".join("| " + " | ".join(line) + " |\n" for line in lines)


def figures(results):
    rows = []
    for key, what in EXPECTED:
        found = results["figures"].get(key)
        if found is not None:
            rows.append([what] + [shown(found.get(who), found["unit"]) for who in WHO])
    return rows_as_markdown(["", *WHO.values()], rows)


def ratios(results):
    rows, last = [], None
    for row in results["rows"]:
        goal = "" if row["goal"] is None else f"{row['goal']:g}"
        ratio = f"{row['ratio']:.2f}"
        if row["goal"] is not None and row["ratio"] > row["goal"]:
            ratio = f"**{ratio}**"
        spread = "{:.2f}–{:.2f}".format(*row["spread"]) if row["spread"] else ""
        what = "" if row["what"] == last else row["what"].strip()
        last = row["what"]
        rows.append([what, row["against"], ratio, spread, goal])
    table = rows_as_markdown(["", "against", "ratio", "quartiles", "goal"], rows)
    return table.replace("|  | against |", "| What | against |").replace("| --- | ---: |",
                                                                        "| --- | --- |", 1)


def made(results):
    about = results["machine"]
    text = (f"Disk Hub {about['version']} with {about['toolkit']}, nginx {about['nginx']}, Python "
            f"{about['python']}; {about['processor']}, {about['memory']}, {about['system']}; files "
            f"in a {about['files']}; {about['date']}.\n")
    if results["quick"]:
        text += "\n**A short run that only shows how this page is made.**\n"
    if about["busy"] > machine.BUSY:
        text += "\n**Other programs kept the machine busy: take the figures for rough ones.**\n"
    return text


def refresh(results, path):
    """Puts the tables of `results` between the markers of the page."""
    text = path.read_text()
    for name, table in (("made", made), ("figures", figures), ("ratios", ratios)):
        pattern = re.compile(rf"(<!-- {name}: begin -->\n).*?(<!-- {name}: end -->)", re.DOTALL)
        if not pattern.search(text):
            raise RuntimeError(f"{path} has no markers for {name}")
        text = pattern.sub(lambda found: found[1] + "\n" + table(results) + "\n" + found[2], text)
    path.write_text(text)
