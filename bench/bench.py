#!/usr/bin/env python3
# Copyright (c) the Disk Hub developers
# SPDX-License-Identifier: MIT
"""Measures the hub against floors, side by side in one run.

Every figure is a ratio of medians: the hub and its rival take turns, so that both feel the same
weather. Prints a table, writes results.json and draws growth.svg beside it.
"""

import argparse
import contextlib
import json
import math
import os
import pathlib
import shutil
import socket
import statistics
import subprocess
import sys
import time

IMAGE_SIZE = 1066496  # a D82
IMAGES = 19


def free_port():
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def wait_for(port, process):
    for _ in range(2000):
        with contextlib.suppress(OSError):
            socket.create_connection(("127.0.0.1", port)).close()
            return
        if process.poll() is not None:
            raise RuntimeError(f"{process.args} ended with {process.returncode}")
        time.sleep(0.005)
    raise RuntimeError(f"{process.args} does not listen")


class Server:
    """A process that listens at a port of its own."""

    def __init__(self, command, port, environment=None):
        self.port = port
        begin = time.monotonic()
        self.process = subprocess.Popen(
            command, env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        wait_for(port, self.process)
        self.startup = time.monotonic() - begin

    def memory(self, key):
        """A value of /proc/PID/status in KiB."""
        for line in open(f"/proc/{self.process.pid}/status"):
            if line.startswith(key + ":"):
                return int(line.split()[1])
        raise KeyError(key)

    def reset_peak(self):
        with open(f"/proc/{self.process.pid}/clear_refs", "w") as f:
            f.write("5")

    def stop(self):
        self.process.kill()
        self.process.wait()


class Bench:
    def __init__(self, build, floors, work, quick):
        self.build = build
        self.floors = floors
        self.work = work
        self.quick = quick
        self.rows = []
        self.curves = {}

    def rounds(self, full, quick):
        return quick if self.quick else full

    # -- servers -----------------------------------------------------------------------------

    def hub(self, disks="", programs="", binary=None, prefix=()):
        port = free_port()
        config = self.work / f"config-{port}"
        (config / "Tesseline LLC").mkdir(parents=True)
        (config / "Tesseline LLC" / "Disk Hub.conf").write_text(
            f"[media]\ndisk_path={disks}\nprogram_path={programs}\n"
            f"[server]\nport={port}\nactive_ifc_name=lo\nactive_ifc_addr=127.0.0.1\n")
        environment = dict(os.environ, XDG_CONFIG_HOME=str(config), QT_QPA_PLATFORM="offscreen")
        return Server([*prefix, str(binary or self.build / "disk-hub")], port, environment)

    def floor(self, name, *arguments):
        port = free_port()
        environment = dict(os.environ, QT_QPA_PLATFORM="offscreen")
        return Server([str(self.floors / name), str(port), *map(str, arguments)], port, environment)

    def nginx(self, root):
        port = free_port()
        conf = self.work / f"nginx-{port}.conf"
        conf.write_text(
            "daemon off; worker_processes 1; master_process off;\n"
            f"error_log /dev/null; pid {self.work}/nginx-{port}.pid;\n"
            "events { worker_connections 1024; }\n"
            f"http {{ access_log off; client_body_temp_path {root}; client_max_body_size 100m;\n"
            f" keepalive_timeout 0; server {{ listen 127.0.0.1:{port} backlog=4096; root {root};\n"
            " location / { dav_methods PUT; create_full_put_path on; } } }\n")
        return Server(["nginx", "-c", str(conf), "-p", str(self.work)], port)

    def http_server(self, root):
        port = free_port()
        return Server([sys.executable, "-m", "http.server", str(port), "--bind", "127.0.0.1",
                       "--directory", str(root)], port)

    # -- requests ----------------------------------------------------------------------------

    def file(self, name, content):
        path = self.work / name
        path.write_bytes(content)
        return path

    def form(self, **fields):
        body = "&".join(f"{k}={v}" for k, v in fields.items()).encode()
        return self.request(body, "application/x-www-form-urlencoded")

    def request(self, body, kind):
        return (f"POST / HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: {kind}\r\n"
                f"Content-Length: {len(body)}\r\n\r\n").encode() + body

    def multipart(self, fields, package=None):
        parts = [f'--XyZ\r\nContent-Disposition: form-data; name="{k}"\r\n\r\n{v}\r\n'.encode()
                 for k, v in fields]
        if package is not None:
            parts.append(b'--XyZ\r\nContent-Disposition: form-data; name="up"; '
                         b'filename="package"\r\n\r\n' + package + b"\r\n")
        return self.request(b"".join(parts) + b"--XyZ--\r\n", "multipart/form-data; boundary=XyZ")

    def load(self, port, request, count=1, clients=1, pace=0):
        out = subprocess.run(
            [self.floors / "client", str(port), str(request), str(count), str(clients), str(pace)],
            check=True, capture_output=True, text=True).stdout.split()
        rate, median, p99, worst, first, last, failures = map(float, out)
        if failures:
            raise RuntimeError(f"{failures:.0f} requests had no answer")
        return {"rate": rate, "median": median, "p99": p99, "max": worst, "first": first,
                "last": last}

    # -- measuring ---------------------------------------------------------------------------

    def compare(self, rounds, **timed):
        """Calls each in turn, a warm-up first; returns the median of each."""
        results = {name: [] for name in timed}
        for turn in range(rounds + 1):
            for name, call in timed.items():
                value = call()
                if turn > 0:
                    results[name].append(value)
        return {name: statistics.median(values) for name, values in results.items()}

    def row(self, what, against, ratio, goal=None):
        self.rows.append({"what": what, "against": against, "ratio": round(ratio, 3), "goal": goal})
        missed = "  MISSED" if goal is not None and ratio > goal else ""
        print(f"{what:44} {against:46} {ratio:7.2f}  {goal if goal is not None else '':>5}{missed}",
              flush=True)

    def process_time(self, *command, **options):
        begin = time.monotonic()
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL, **options)
        return (time.monotonic() - begin) * 1e6

    # -- the measurements --------------------------------------------------------------------

    def tree(self, name, files, folders):
        """Files of which half are D64 images (sparse) and half are programs."""
        top = self.work / name
        for f in range(folders):
            (top / f"folder{f:03}").mkdir(parents=True)
        for i in range(files):
            path = top / f"folder{i % folders:03}" / f"file{i:06}.{'prg' if i % 2 else 'd64'}"
            with open(path, "wb") as out:
                if i % 2 == 0:
                    out.truncate(174848)
        return top

    def search(self):
        top = self.tree("tree", 10000 if self.quick else 100000, 300)
        everything = self.file("search-all", self.form(cmd=1, pat="*"))
        rare = self.file("search-rare", self.form(cmd=1, pat="file000777"))
        hub = self.hub(top, top)
        walk = str(self.floors / "walk")
        walk_qt = str(self.floors / "WalkQt")
        shell = f"find '{top}' '{top}' -type f -printf '%f\\t%s\\n' | awk -F'\\t' " \
                "'{ printf \"0   \\\"%-17s %s\\n\", substr($1, 1, 16) \"\\\"\", $2 }'"
        m = self.compare(
            self.rounds(7, 2),
            all=lambda: self.load(hub.port, everything)["median"],
            rare=lambda: self.load(hub.port, rare)["median"],
            c=lambda: self.process_time(walk, str(top), str(top)),
            qt=lambda: self.process_time(walk_qt, str(top), str(top)),
            find=lambda: self.process_time("sh", "-c", shell))
        hub.stop()
        self.row("SEARCH of everything", "C with readdir and fstatat", m["all"] / m["c"], 2.2)
        self.row("", "find -printf piped into a formatter", m["all"] / m["find"], 1.8)
        self.row("", "QDirIterator, base name and size of each", m["all"] / m["qt"])
        self.row("SEARCH of a rare name", "QDirIterator, base name and size of each",
                 m["rare"] / m["qt"], 0.6)
        self.row("", "C with readdir and fstatat", m["rare"] / m["c"], 2.6)

    def images(self):
        top = self.work / "images"
        top.mkdir()
        for i in range(IMAGES):
            (top / f"disk{i:02}.d82").write_bytes(os.urandom(IMAGE_SIZE))
        return top

    def memory(self, server, request, payload, what):
        """Peak and rest above idle for one request, as shares of the payload."""
        self.load(server.port, self.file("warm", self.form(cmd=1, pat="none")))
        idle = server.memory("VmRSS")
        server.reset_peak()
        self.load(server.port, request)
        time.sleep(0.3)
        peak, held = server.memory("VmHWM") - idle, server.memory("VmRSS") - idle
        self.row(f"{what}: peak memory above idle", "size of what is sent", peak * 1024 / payload, 2.1)
        self.row(f"{what}: still held 0.3 s later", "size of what is sent", held * 1024 / payload, 0.25)

    def download(self):
        images = self.images()
        payload = IMAGES * IMAGE_SIZE
        disks = self.file("download", self.form(cmd=2, req=1, pat="*"))
        ready = self.work / "ready"
        ready.mkdir()
        (ready / "all").write_bytes(b"".join(p.read_bytes() for p in sorted(images.iterdir())))
        get = self.file("get", b"GET /all HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n")
        hub = self.hub(images, self.work / "none")
        self.memory(hub, disks, payload, "DOWNLOAD, 20 MB")
        rivals = {"C: read the files, write the socket": (self.floor("serve", "files", images), disks, 2.0),
                  "C: the same, memory given back": (self.floor("serve", "fresh", images), disks, None),
                  "bare QTcpServer, ready bytes": (self.floor("ServeQt", "canned", ready / "all"), disks, None),
                  "nginx, ready file": (self.nginx(ready), get, None),
                  "python's http.server, ready file": (self.http_server(ready), get, None)}
        self.race("DOWNLOAD, 20 MB", hub, disks, rivals, self.rounds(15, 3))

        programs = self.work / "programs"
        programs.mkdir()
        (programs / "game.prg").write_bytes(os.urandom(20480))
        program = self.file("program", self.form(cmd=2, req=0, pat="game"))
        hub = self.hub(images, programs)
        get = self.file("get-program", b"GET /game.prg HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n")
        rivals = {"C: read the file, write the socket": (self.floor("serve", "files", programs), program, 2.2),
                  "bare QTcpServer, ready bytes": (self.floor("ServeQt", "canned", programs / "game.prg"), program, None),
                  "nginx, ready file": (self.nginx(programs), get, None),
                  "python's http.server, ready file": (self.http_server(programs), get, None)}
        self.race("DOWNLOAD, a 20 KB program", hub, program, rivals, self.rounds(15, 3), 50)

    def race(self, what, hub, request, rivals, rounds, count=1):
        timed = {"hub": lambda: self.load(hub.port, request, count)["median"]}
        for name, (server, rival_request, _) in rivals.items():
            timed[name] = lambda s=server, r=rival_request: self.load(s.port, r, count)["median"]
        m = self.compare(rounds, **timed)
        hub.stop()
        for name, (server, _, goal) in rivals.items():
            server.stop()
            self.row(what, name, m["hub"] / m[name], goal)
            what = ""

    def package(self, images=IMAGES):
        """An upload of D82 images with the replace flag set."""
        entries, blocks = b"", b""
        padded = -(-IMAGE_SIZE // 4096) * 4096
        for i in range(images):
            name = f"DISK{i:02}".encode().ljust(16, b"\xa0")
            header = ((0x715C13A6).to_bytes(4, "little") + (4096).to_bytes(4, "little") +
                      IMAGE_SIZE.to_bytes(4, "little") + b"\x04").ljust(32, b"\0") + name
            block = header.ljust(4096, b"\0") + os.urandom(IMAGE_SIZE)
            blocks += block.ljust(4096 + padded, b"\0")
            entries += b"\x01\x01\0\0" + (4096 + padded).to_bytes(4, "little") + name
        head = (0x73CA241F).to_bytes(4, "little") + bytes([0, 0, 0, images]) + \
            len(blocks).to_bytes(4, "little") + bytes(4) + entries
        return head.ljust(496, b"\0") + blocks

    def upload(self):
        package = self.package()
        request = self.multipart([("cmd", 3)], package)
        disks = self.work / "uploaded"
        for name in ("uploaded", "stored-c", "stored-qt", "stored-nginx"):
            (self.work / name).mkdir()
        upload = self.file("upload", request)
        put = self.file("put", (f"PUT /all HTTP/1.1\r\nHost: x\r\nConnection: close\r\n"
                                f"Content-Length: {len(package)}\r\n\r\n").encode() + package)
        hub = self.hub(disks, disks)
        self.memory(hub, upload, len(package), "UPLOAD, 20 MB")
        rivals = {"C: receive, write the files": (self.floor("serve", "store", self.work / "stored-c"), upload, 2.0),
                  "nginx PUT": (self.nginx(self.work / "stored-nginx"), put, 1.5),
                  "bare QTcpServer, writes the files": (self.floor("ServeQt", "store", self.work / "stored-qt"), upload, None)}
        self.race("UPLOAD, 20 MB", hub, upload, rivals, self.rounds(15, 3))

    def small(self):
        request = self.file("small", self.form(cmd=0, udid=42))
        logged = self.file("small-logged", self.form(cmd=2, udid=42))
        canned = self.file("canned", bytes(496))
        get = self.file("get-canned", b"GET /canned HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n")
        (self.work / "small-root").mkdir()
        shutil.copy(canned, self.work / "small-root")
        servers = {"hub": (self.hub(), request), "logged": (self.hub(), logged),
                   "C": (self.floor("serve", "canned", canned), request),
                   "bare QTcpServer": (self.floor("ServeQt", "canned", canned), request),
                   "window": (self.floor("ServeQt", "window", canned), request),
                   "nginx": (self.nginx(self.work / "small-root"), get),
                   "http.server": (self.http_server(self.work / "small-root"), get)}

        def all_of(key, count, clients, pace=0, names=servers):
            return self.compare(self.rounds(7, 2), **{
                name: (lambda s=servers[name]: self.load(s[0].port, s[1], count, clients, pace)[key])
                for name in names})

        paced = all_of("median", self.rounds(100, 20), 1, 3000)
        back = all_of("median", self.rounds(1000, 100), 1)
        self.row("small request, one client, paced", "C accept loop", paced["hub"] / paced["C"], 2.6)
        self.row("", "a window that logs a line", paced["logged"] / paced["window"], 1.0)
        self.row("small request, one client, back to back", "C accept loop", back["hub"] / back["C"], 2.8)
        self.row("", "a window that logs a line", back["logged"] / back["window"], 0.8)
        for name in ("bare QTcpServer", "nginx", "http.server"):
            self.row("", name, back["hub"] / back[name])
        # http.server takes five waiting connections and lets the others wait for a second.
        many = [name for name in servers if name != "http.server"]
        for clients in (16, 64):
            rate = all_of("rate", self.rounds(2000, 200), clients, names=many)
            for name in ("C", "bare QTcpServer", "nginx"):
                self.row(f"small requests, {clients} clients: rate" if name == "C" else "", name,
                         rate[name] / rate["hub"], 2.2 if name == "C" else None)
            worst = all_of("max", self.rounds(2000, 200), clients, names=many)
            self.row("  worst latency", "C", worst["hub"] / worst["C"], 5)
        for server, _ in servers.values():
            server.stop()

        hub = self.hub()
        m = self.load(hub.port, logged, self.rounds(20000, 1000))
        self.row("the 20 000th request", "the first", m["last"] / m["first"], 1.3)
        hub.stop()

    def startup(self):
        def start(make, read):
            server = make()
            value = read(server)
            server.stop()
            return value
        empty = lambda: self.floor("ServeQt", "empty")
        m = self.compare(self.rounds(15, 3), hub=lambda: start(self.hub, lambda s: s.startup),
                         empty=lambda: start(empty, lambda s: s.startup))
        self.row("start-up to listening", "an empty widgets program that listens", m["hub"] / m["empty"], 1.5)
        m = self.compare(3, hub=lambda: start(self.hub, lambda s: s.memory("VmRSS")),
                         empty=lambda: start(empty, lambda s: s.memory("VmRSS")))
        self.row("resident memory, idle", "the same", m["hub"] / m["empty"], 1.3)
        stripped = []
        for binary in (self.build / "disk-hub", self.floors / "ServeQt"):
            copy = self.work / ("stripped-" + binary.name)
            subprocess.run(["strip", "-o", copy, binary], check=True)
            stripped.append(copy.stat().st_size)
        self.row("size of the binary, stripped", "the same", stripped[0] / stripped[1])

    def growth(self):
        self.grow("search against files", 1.1, [1000, 3000, 10000, 30000, 100000], self.grow_files)
        self.grow("download against images", 1.2, [1, 2, 4, 8, 19], self.grow_images)
        counts = [100, 1000, 10000, 100000]
        self.grow("URL-encoded fields", 1.5, counts, lambda n: self.grow_request(
            self.request(b"&".join(b"x%d=v" % i for i in range(n)), "application/x-www-form-urlencoded")))
        self.grow("multipart fields", 1.5, counts, lambda n: self.grow_request(
            self.multipart([(f"x{i}", "v") for i in range(n)])))
        self.grow("header lines", 1.5, [100, 1000, 10000, 30000], lambda n: self.grow_request(
            b"POST / HTTP/1.1\r\n" + b"X-Filler: some words\r\n" * n + self.form(cmd=0)[17:]))

    def grow(self, name, goal, sizes, prepare):
        if self.quick:
            sizes = sizes[:3]
        # The smallest case is taken off: what a request costs by itself is no growth.
        points = []
        base = self.grow_request(self.form(cmd=0))
        for size in sizes:
            calls = prepare(size)
            points.append((size, self.compare(self.rounds(7, 2), own=calls, base=base)))
        curve = [(size, max(m["own"] - m["base"], 1.0)) for size, m in points]
        self.curves[name] = curve
        top = curve[-3:]
        slope = math.log(top[-1][1] / top[0][1]) / math.log(top[-1][0] / top[0][0])
        self.row("growth: " + name, "log-log slope", slope, goal)

    def grow_request(self, request):
        path = self.file(f"grow-{len(request)}-{hash(request)}", request)
        return lambda: self.load(self.growing.port, path)["median"]

    def grow_files(self, count):
        top = self.tree(f"tree-{count}", count, max(1, count // 333))
        self.growing.stop()
        self.growing = self.hub(top, top)
        return self.grow_request(self.form(cmd=1, pat="*"))

    def grow_images(self, count):
        top = self.work / f"images-{count}"
        top.mkdir()
        for i, image in enumerate(sorted((self.work / "images").iterdir())[:count]):
            os.link(image, top / f"{i}.d82")
        self.growing.stop()
        self.growing = self.hub(top, self.work / "none")
        return self.grow_request(self.form(cmd=2, req=1, pat="*"))

    def parsing(self):
        for line in subprocess.run([self.floors / "Parsing"], check=True, capture_output=True,
                                   text=True).stdout.splitlines():
            what, ratio, goal = line.split("\t")
            self.row(what, "the toolkit's split and decode", float(ratio), float(goal))

    def run(self, chosen):
        print(f"{'what':44} {'against':46} {'ratio':>7}  {'goal':>5}")
        self.growing = self.hub()
        for name in chosen:
            getattr(self, name)()
        self.growing.stop()


MEASUREMENTS = ["search", "download", "upload", "small", "startup", "parsing", "growth"]


def draw(curves, path):
    """Growth curves on log-log axes, one colour each, time relative to the smallest size."""
    width, height, margin = 720, 480, 60
    colours = ["#d2493a", "#2b3550", "#f2b134", "#3a8f5c", "#7a4fa0"]
    xs = [math.log10(x) for c in curves.values() for x, _ in c]
    ys = [math.log10(y) for c in curves.values() for _, y in c]
    left, right, low, high = min(xs), max(xs), math.floor(min(ys)), math.ceil(max(ys))
    px = lambda v: margin + (math.log10(v) - left) / (right - left) * (width - 2 * margin - 140)
    py = lambda v: height - margin - (math.log10(v) - low) / (high - low) * (height - 2 * margin)
    out = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" '
           'font-family="sans-serif" font-size="12">',
           f'<rect width="{width}" height="{height}" fill="white"/>',
           f'<text x="{margin}" y="24" font-size="15">Time of one request against its size</text>']
    for decade in range(low, high + 1):
        y = py(10 ** decade)
        out.append(f'<path d="M{margin} {y:.1f}H{width - margin - 140}" stroke="#ddd"/>'
                   f'<text x="{margin - 8}" y="{y + 4:.1f}" text-anchor="end">{10 ** decade / 1000:g} ms</text>')
    for decade in range(math.ceil(left), math.floor(right) + 1):
        x = px(10 ** decade)
        out.append(f'<path d="M{x:.1f} {margin}V{height - margin}" stroke="#ddd"/>'
                   f'<text x="{x:.1f}" y="{height - margin + 18}" text-anchor="middle">{10 ** decade:g}</text>')
    for colour, (name, curve) in zip(colours, curves.items()):
        points = " ".join(f"{px(x):.1f},{py(y):.1f}" for x, y in curve)
        x, y = px(curve[-1][0]), py(curve[-1][1])
        out.append(f'<polyline points="{points}" fill="none" stroke="{colour}" stroke-width="2"/>')
        out += [f'<circle cx="{px(a):.1f}" cy="{py(b):.1f}" r="3" fill="{colour}"/>' for a, b in curve]
        out.append(f'<text x="{x + 8:.1f}" y="{y + 4:.1f}" fill="{colour}">{name}</text>')
    path.write_text("\n".join(out) + "\n</svg>\n")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", type=pathlib.Path, required=True, help="the hub's build directory")
    parser.add_argument("--floors", type=pathlib.Path, required=True, help="where the floors were built")
    parser.add_argument("--work", type=pathlib.Path, required=True, help="directory for trees and files")
    parser.add_argument("--out", type=pathlib.Path, required=True, help="directory for the results")
    parser.add_argument("--quick", action="store_true", help="few rounds: shows that it works, no more")
    parser.add_argument("measurements", nargs="*", default=MEASUREMENTS, help=" ".join(MEASUREMENTS))
    arguments = parser.parse_args()

    for name in ("build", "floors", "work", "out"):
        setattr(arguments, name, getattr(arguments, name).resolve())
    shutil.rmtree(arguments.work, ignore_errors=True)
    arguments.work.mkdir(parents=True)
    arguments.out.mkdir(parents=True, exist_ok=True)
    bench = Bench(arguments.build, arguments.floors, arguments.work, arguments.quick)
    try:
        bench.run(arguments.measurements)
    finally:
        shutil.rmtree(arguments.work, ignore_errors=True)
    (arguments.out / "results.json").write_text(
        json.dumps({"rows": bench.rows, "curves": bench.curves}, indent=1) + "\n")
    if bench.curves:
        draw(bench.curves, arguments.out / "growth.svg")


if __name__ == "__main__":
    main()
