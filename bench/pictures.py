# Copyright (c) the Disk Hub developers
# SPDX-License-Identifier: MIT
"""The two curves that matter to a person: time against files, memory against images."""

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402: after the choice of what to draw with
from matplotlib.ticker import FuncFormatter  # noqa: E402

# Told apart without colour, too: by their markers, and by a name at the end of each line.
STYLES = {
    "hub": ("Disk Hub", "#c23b2a", "o", "-"),
    "download": ("Disk Hub, sending them", "#c23b2a", "o", "-"),
    "upload": ("Disk Hub, receiving them", "#b8860b", "s", "-"),
    "kept": ("Disk Hub, 0.3 s later", "#2b3550", "^", "-"),
    "c": ("bare C", "#555555", "D", "--"),
    "nginx": ("nginx", "#2f7d4f", "v", "--"),
    "python": ("Python's http.server", "#6a4c93", "P", "--"),
    "find": ("find", "#3b7ea1", "X", "--"),
    "sent": ("idle, and the images once", "#999999", "", ":"),
}


def start(title, x, y):
    # A fixed salt and no date: the same figures give the same file.
    plt.rcParams.update({"svg.fonttype": "none", "svg.hashsalt": "disk-hub", "font.size": 11,
                         "font.family": "sans-serif", "axes.spines.top": False,
                         "axes.spines.right": False})
    figure, axes = plt.subplots(figsize=(9, 4.6))
    axes.set_title(title, loc="left")
    axes.set_xlabel(x)
    axes.set_ylabel(y)
    axes.grid(True, color="#e4e4e4", linewidth=0.7)
    axes.set_axisbelow(True)
    return figure, axes


def plot(axes, curves, scale=1.0):
    for name, points in curves.items():
        label, colour, marker, line = STYLES[name]
        axes.plot([x for x, _ in points], [y / scale for _, y in points], label=label,
                  color=colour, marker=marker, linestyle=line, linewidth=1.8, markersize=5)


def finish(figure, axes, path):
    axes.legend(frameon=False, loc="upper left", bbox_to_anchor=(1.0, 1.0))
    figure.tight_layout()
    figure.savefig(path, metadata={"Date": None})
    plt.close(figure)


def thousands(value, _=None):
    return f"{value:,.0f}".replace(",", " ")


def plain(value, _=None):
    return f"{value:g}" if value < 1000 else thousands(value)


def draw_files(curves, path):
    figure, axes = start("Time of a listing against the files listed", "files",
                         "milliseconds")
    axes.set_xscale("log")
    axes.set_yscale("log")
    plot(axes, curves, 1000)
    axes.xaxis.set_major_formatter(FuncFormatter(thousands))
    axes.yaxis.set_major_formatter(FuncFormatter(plain))
    finish(figure, axes, path)


def draw_memory(curves, path):
    figure, axes = start("Resident memory against D82 images in one request", "images",
                         "MiB at the most")
    plot(axes, curves)
    axes.set_xticks(range(0, 20, 2))
    axes.set_ylim(bottom=0)
    finish(figure, axes, path)


def draw(results, directory):
    curves = results["curves"]
    if "files" in curves:
        draw_files(curves["files"], directory / "performance-files.svg")
    if "memory" in curves:
        draw_memory(curves["memory"], directory / "performance-memory.svg")
