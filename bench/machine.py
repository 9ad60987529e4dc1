# Copyright (c) the Disk Hub developers
# SPDX-License-Identifier: MIT
"""On what, when and with which versions the figures were made."""

import datetime
import os
import pathlib
import platform
import re
import subprocess
import time

BUSY = 0.1  # processors that others may take before the figures are called noisy


def output(*command):
    return subprocess.run(command, capture_output=True, text=True).stdout.strip()


def first(pattern, text):
    found = re.search(pattern, text, re.MULTILINE)
    return found.group(1).strip() if found else "unknown"


def busy_ticks():
    """Clock ticks that the processors were not idle, since the machine started."""
    fields = [int(n) for n in pathlib.Path("/proc/stat").read_text().splitlines()[0].split()[1:]]
    idle = fields[3] + fields[4]
    return sum(fields[:8]) - idle


def others_busy(seconds=2.0):
    """How many processors are busy while this program does nothing."""
    before = busy_ticks()
    time.sleep(seconds)
    return (busy_ticks() - before) / os.sysconf("SC_CLK_TCK") / seconds


def toolkit(program):
    library = first(r"libQt\dCore\.so\S* => (\S+)", output("ldd", str(program)))
    return "Qt " + first(r"\.so\.([\d.]+)$", os.path.realpath(library))


def describe(build, work):
    """A dictionary of texts, and `busy`, a number."""
    source = pathlib.Path(__file__).resolve().parent
    revision = output("git", "-C", str(source), "describe", "--always", "--dirty")
    version = first(r"^CMAKE_PROJECT_VERSION:\w+=(.*)$", (build / "CMakeCache.txt").read_text())
    memory = int(first(r"^MemTotal:\s+(\d+)", pathlib.Path("/proc/meminfo").read_text()))
    processor = first(r"^model name\s*:\s*(.*)$", pathlib.Path("/proc/cpuinfo").read_text())
    return {
        "date": datetime.date.today().isoformat(),
        "version": f"{version} ({revision})" if revision else version,
        "processor": f"{len(os.sched_getaffinity(0))} × {processor}",
        "memory": f"{memory / (1 << 20):.0f} GiB",
        "system": first(r'^PRETTY_NAME="(.*)"$', pathlib.Path("/etc/os-release").read_text()) +
                  f", Linux {platform.release().split('-')[0]}",
        "files": output("stat", "-f", "-c", "%T", str(work)),
        "toolkit": toolkit(build / "disk-hub"),
        "nginx": subprocess.run(["nginx", "-v"], capture_output=True,
                                text=True).stderr.strip().split("/")[-1],
        "python": platform.python_version(),
        "busy": others_busy(),
    }


def lines(about):
    """What describe() found, for people."""
    yield f"Disk Hub {about['version']}, {about['toolkit']}, {about['date']}"
    yield f"{about['processor']}, {about['memory']}, {about['system']}, files in {about['files']}"
    yield f"nginx {about['nginx']}, Python {about['python']}"
    if about["busy"] > BUSY:
        yield f"NOISY: other programs keep {about['busy']:.1f} processors busy"
