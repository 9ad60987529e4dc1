# Copyright (c) the Disk Hub developers
# SPDX-License-Identifier: MIT
"""What is measured. Each measurement adds ratios (rows), absolute figures and curves to a Bench.

Every ratio is one of medians: the hub and its rivals take turns, so that all feel the same weather.
"""

import contextlib
import math
import os
import shutil
import statistics
import subprocess
import time

import wire

REPLY = 20_331_056  # bytes: nineteen D82 and their manifest, about
SETTLE_SECONDS = 0.3  # how long after a request one looks at what is kept of its memory


class Timings:
    """What each of several rivals took, round by round."""

    def __init__(self, names):
        self.values = {name: [] for name in names}

    def median(self, name):
        return statistics.median(self.values[name])

    def ratio(self, name, rival):
        return self.median(name) / self.median(rival)

    def spread(self, name, rival):
        """The quartiles of the ratio, taken round by round."""
        ratios = [a / b for a, b in zip(self.values[name], self.values[rival])]
        if len(ratios) < 2:
            return ratios[0], ratios[0]
        low, _, high = statistics.quantiles(ratios, n=4, method="inclusive")
        return low, high


class Bench:
    def __init__(self, servers, work, quick):
        self.servers = servers
        self.work = work
        self.quick = quick
        self.rows = []  # ratios, with their goals
        self.figures = {}  # what -> who -> value
        self.curves = {}  # name -> who -> points

    def rounds(self, full, quick):
        return quick if self.quick else full

    # -- files -------------------------------------------------------------------------------

    def file(self, name, content):
        path = self.work / name
        path.write_bytes(content)
        return path

    def directory(self, name):
        path = self.work / name
        path.mkdir()
        return path

    def tree(self, files, folders):
        """So many files: half of them D64 images (sparse), half programs. Made once."""
        top = self.work / f"tree-{files}-{folders}"
        if top.exists():
            return top
        for i in range(folders):
            (top / f"folder{i:03}").mkdir(parents=True)
        for i in range(files):
            image = i % 2 == 0
            name = f"file{i:06}.{'d64' if image else 'prg'}"
            with open(top / f"folder{i % folders:03}" / name, "wb") as out:
                if image:
                    out.truncate(wire.D64_SIZE)
        return top

    def images(self, count=wire.IMAGES_MAX):
        """A directory with so many D82. Made once."""
        top = self.work / f"images-{count}"
        if top.exists():
            return top
        top.mkdir()
        everything = top if count == wire.IMAGES_MAX else self.images()
        for i in range(count):
            image = everything / f"disk{i:02}.d82"
            if everything is top:
                image.write_bytes(os.urandom(wire.D82_SIZE))
            else:
                os.link(image, top / image.name)
        return top

    @staticmethod
    def clear(directory):
        for path in directory.iterdir():
            path.unlink()

    # -- measuring ---------------------------------------------------------------------------

    def load(self, server, request, count=1, clients=1, pace=0):
        """Sends `request`, a file, so often; returns what the client tells, in microseconds."""
        client = self.servers.floors / "client"
        out = subprocess.run([client, str(server.port), request, str(count), str(clients),
                              str(pace)], check=True, capture_output=True, text=True).stdout.split()
        rate, median, p99, worst, first, last, failures = map(float, out)
        if failures:
            raise RuntimeError(f"{failures:.0f} requests had no answer")
        return {"rate": rate, "time": 1e6 / rate, "median": median, "p99": p99, "max": worst,
                "first": first, "last": last}

    def median_of(self, server, request, **options):
        return lambda: self.load(server, request, **options)["median"]

    @staticmethod
    def process_time(*command):
        begin = time.monotonic()
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
        return (time.monotonic() - begin) * 1e6

    @staticmethod
    def compare(rounds, timed):
        """Calls each in turn, with a warm-up first."""
        timings = Timings(timed)
        for turn in range(rounds + 1):
            for name, call in timed.items():
                value = call()
                if turn > 0:
                    timings.values[name].append(value)
        return timings

    @contextlib.contextmanager
    def running(self, *servers):
        try:
            yield
        finally:
            for server in servers:
                server.stop()

    # -- reporting ---------------------------------------------------------------------------

    def row(self, what, against, ratio, goal=None, spread=None):
        self.rows.append({"what": what, "against": against, "ratio": ratio, "goal": goal,
                          "spread": spread})
        between = f"{spread[0]:.2f}-{spread[1]:.2f}" if spread else ""
        missed = "  MISSED" if goal is not None and ratio > goal else ""
        print(f"{what:41} {against:40} {ratio:7.2f} {between:>12}  "
              f"{goal if goal is not None else '':>5}{missed}", flush=True)

    def ratios(self, what, timings, rivals, hub="hub"):
        """A row for each of `rivals`: name -> goal or None."""
        for rival, goal in rivals.items():
            self.row(what, rival, timings.ratio(hub, rival), goal, timings.spread(hub, rival))

    def figure(self, what, unit, **values):
        self.figures.setdefault(what, {"unit": unit}).update(values)

    def figures_of(self, what, timings, unit="us", **names):
        self.figure(what, unit, **{who: timings.median(name) for who, name in names.items()})

    # -- searching ---------------------------------------------------------------------------

    def search(self):
        top = self.tree(10000 if self.quick else 100000, 300)
        everything = self.file("search-all", wire.form(cmd=1, pat="*"))
        rare = self.file("search-rare", wire.form(cmd=1, pat="file000777"))
        hub = self.servers.hub(top, top)
        c = self.servers.c("search", top, top)
        qt = self.servers.qt("search", top, top)
        python = self.servers.scandir(top, top)
        shell = f"find '{top}' '{top}' -type f -printf '%f\\t%s\\n' | awk -F'\\t' " \
                "'{ printf \"0   \\\"%-17s %s\\n\", substr($1, 1, 16) \"\\\"\", $2 }'"
        with self.running(hub, c, qt, python):
            timings = self.compare(self.rounds(11, 2), {
                "hub": self.median_of(hub, everything),
                "rare": self.median_of(hub, rare),
                "bare Qt server that walks and answers": self.median_of(qt, everything),
                "C with readdir and fstatat": self.median_of(c, everything),
                "Python with os.scandir": self.median_of(python, everything),
                "find -printf piped into a formatter":
                    lambda: self.process_time("sh", "-c", shell)})
        files = "10 000" if self.quick else "100 000"
        self.ratios(f"SEARCH of {files} files", timings, {
            "bare Qt server that walks and answers": 1.0, "C with readdir and fstatat": 2.4,
            "Python with os.scandir": 1.1, "find -printf piped into a formatter": 1.8})
        self.ratios("SEARCH of a rare name", timings, {
            "bare Qt server that walks and answers": None, "C with readdir and fstatat": None},
            hub="rare")

    # -- downloading -------------------------------------------------------------------------

    def memory_of(self, server, requests, before=lambda: None):
        """KiB that are resident: idle, at the most, and at the most between the requests.

        Several requests, because the allocator changes its mind after the first about what it
        gives back.
        """
        self.load(server, self.file("warm", wire.form(cmd=0)))
        idle = server.resident()
        peaks, kept = [], []
        for request in requests:
            before()
            server.reset_peak()
            self.load(server, request)
            peaks.append(server.peak())
            time.sleep(SETTLE_SECONDS)
            kept.append(server.resident())
        return idle, max(peaks), max(kept)

    def memory_rows(self, what, make, requests, payload, goal, before=lambda: None):
        """Of several hubs, too: how their memory is laid out is a matter of chance."""
        peaks, kept = [], []
        for _ in range(self.rounds(3, 1)):
            with self.running(hub := make()):
                idle, peak, after = self.memory_of(hub, requests, before)
            peaks.append((peak - idle) * 1024 / payload)
            kept.append((after - idle) * 1024 / payload)
        self.row(f"{what}, peak memory", "size of what is sent", max(peaks), goal)
        self.row(f"{what}, memory kept", "size of what is sent", max(kept), 0.25)

    def download(self):
        images = self.images()
        disks = self.file("download", wire.form(cmd=2, req=1, pat="*"))
        self.memory_rows("DOWNLOAD of 19 D82", lambda: self.servers.hub(images, self.work / "none"),
                         [disks] * 8, REPLY, 1.1)
        everything = b"".join(path.read_bytes() for path in sorted(images.iterdir()))
        timings = self.race_downloads(images, disks, everything, 1)
        self.ratios("DOWNLOAD of 19 D82", timings, {
            "C, reads the files": 1.7, "C, reads the files, gives memory back": None,
            "bare QTcpServer, ready bytes": 1.25,
            "bare QTcpServer, ready bytes, two writes": None, "nginx, ready file": 2.2,
            "http.server, ready file": 1.4})
        self.download_figures("19 D82 from the hub", timings)

        single = self.directory("single")
        image = os.urandom(wire.D64_SIZE)
        (single / "game.d64").write_bytes(image)
        timings = self.race_downloads(single, disks, image, 20)
        self.ratios("DOWNLOAD of a D64", timings, {
            "C, reads the files": None, "bare QTcpServer, ready bytes": None,
            "nginx, ready file": None, "http.server, ready file": None})
        self.download_figures("a D64 from the hub", timings)

    def download_figures(self, what, timings):
        self.figures_of(what, timings, hub="hub", c="C, reads the files",
                        nginx="nginx, ready file", python="http.server, ready file")

    def race_downloads(self, images, request, ready, count):
        root = self.directory(f"ready-{len(ready)}")
        (root / "all").write_bytes(ready)
        get = self.file("get", wire.get("all"))
        rivals = {"hub": (self.servers.hub(images, self.work / "none"), request),
                  "C, reads the files": (self.servers.c("files", images), request),
                  "C, reads the files, gives memory back":
                      (self.servers.c("fresh", images), request),
                  "bare QTcpServer, ready bytes":
                      (self.servers.qt("joined", root / "all"), request),
                  "bare QTcpServer, ready bytes, two writes":
                      (self.servers.qt("canned", root / "all"), request),
                  "nginx, ready file": (self.servers.nginx(root), get),
                  "http.server, ready file": (self.servers.http_server(root), get)}
        with self.running(*(server for server, _ in rivals.values())):
            return self.compare(self.rounds(21, 3), {
                name: self.median_of(*pair, count=count) for name, pair in rivals.items()})

    # -- uploading ---------------------------------------------------------------------------

    def upload(self):
        """Into new files each time, which is when the hub's own work shows most: on a disk, to
        write over a file costs every rival the same, and hides it."""
        names = {"hub": "uploaded", "C, writes the files": "stored-c",
                 "C, writes the files, gives memory back": "stored-c-fresh",
                 "bare QTcpServer, writes the files": "stored-qt", "nginx PUT": "stored-nginx"}
        places = {name: self.directory(place) for name, place in names.items()}
        package = wire.package(wire.IMAGES_MAX)
        request = self.file("upload", wire.multipart([(b"cmd", b"3")], package))
        put = self.file("put", wire.put("all", package))
        servers = {"hub": self.servers.hub(places["hub"], places["hub"]),
                   "C, writes the files": self.servers.c("store", places["C, writes the files"]),
                   "C, writes the files, gives memory back":
                       self.servers.c("store-fresh",
                                      places["C, writes the files, gives memory back"]),
                   "bare QTcpServer, writes the files":
                       self.servers.qt("store", places["bare QTcpServer, writes the files"]),
                   "nginx PUT": self.servers.nginx(places["nginx PUT"])}

        def timed(name):
            self.clear(places[name])
            return self.load(servers[name], put if name == "nginx PUT" else request)["median"]

        self.upload_memory(places["hub"], request, len(package))
        with self.running(*servers.values()):
            timings = self.compare(self.rounds(21, 3), {
                name: lambda name=name: timed(name) for name in servers})
        self.ratios("UPLOAD of 19 D82", timings, {
            "C, writes the files": 1.3, "C, writes the files, gives memory back": None,
            "bare QTcpServer, writes the files": 1.3, "nginx PUT": 1.0})
        self.figures_of("19 D82 to the hub", timings, hub="hub", c="C, writes the files",
                        nginx="nginx PUT")

    def upload_memory(self, place, large, payload):
        """Of one size and of several, and with DOWNLOADs between them."""
        small = self.file("upload-small", wire.upload(10))
        down = self.file("download", wire.form(cmd=2, req=1, pat="*"))
        make = lambda: self.servers.hub(place, place)
        self.memory_rows("UPLOAD of 19 D82", make, [large] * 5 + [small, large] * 2, payload, 1.2,
                         lambda: self.clear(place))
        self.memory_rows("UPLOAD and DOWNLOAD in turn", make, [large, down, down] * 3, payload,
                         None)

    # -- small requests ----------------------------------------------------------------------

    def small(self):
        silent = self.file("small-silent", wire.form(cmd=0, udid=42))
        logged = self.file("small", wire.form(cmd=2, udid=42))  # with a line in the console
        root = self.directory("small-root")
        (root / "canned").write_bytes(bytes(wire.PACKAGE_HEADER))
        get = self.file("get-canned", wire.get("canned"))
        hub = self.servers.hub()
        servers = {"hub": (hub, logged), "silent": (hub, silent),
                   "C accept loop": (self.servers.c("canned", root / "canned"), logged),
                   "bare QTcpServer": (self.servers.qt("canned", root / "canned"), logged),
                   "Qt window that logs a line":
                       (self.servers.qt("window", root / "canned"), logged),
                   "nginx": (self.servers.nginx(root), get),
                   "http.server": (self.servers.http_server(root), get)}
        with self.running(*(server for server, _ in servers.values())):
            self.small_alone(servers)
            self.small_together(servers)
        with self.running(hub := self.servers.hub()):
            many = self.load(hub, logged, self.rounds(20000, 1000))
            self.row("the 20 000th request", "the first", many["last"] / many["first"], 1.3)

    def race_small(self, servers, key, count, clients=1, pace=0):
        return self.compare(self.rounds(15, 3), {
            name: lambda server=server, request=request:
                self.load(server, request, count, clients, pace)[key]
            for name, (server, request) in servers.items()})

    def small_alone(self, servers):
        timings = self.race_small(servers, "median", self.rounds(500, 100))
        self.ratios("small request, one client", timings, {
            "C accept loop": 1.6, "nginx": None, "bare QTcpServer": None,
            "Qt window that logs a line": 0.8, "http.server": None})
        self.ratios("  the same, without a console line", timings, {"C accept loop": None},
                    hub="silent")
        self.figures_of("a small request", timings, hub="hub", c="C accept loop", nginx="nginx",
                        python="http.server")
        timings = self.race_small(servers, "median", self.rounds(50, 10), pace=3000)
        self.ratios("  the same, 3 ms between them", timings, {
            "C accept loop": None, "Qt window that logs a line": 1.0})

    def small_together(self, servers):
        # http.server takes five waiting connections and lets the others wait for a second.
        many = {name: pair for name, pair in servers.items() if name != "http.server"}
        for clients in (16, 64):
            timings = self.race_small(many, "time", self.rounds(2000, 200), clients)
            self.ratios(f"small requests, {clients} clients", timings, {
                "C accept loop": 2.0, "nginx": 1.8, "bare QTcpServer": None})
            self.figures_of(f"a small request of {clients} clients", timings, hub="hub",
                            c="C accept loop", nginx="nginx")
            timings = self.race_small(many, "max", self.rounds(2000, 200), clients)
            self.ratios("  the slowest of them", timings, {"C accept loop": 5})

    # -- starting ----------------------------------------------------------------------------

    def startup(self):
        empty = self.directory("empty")
        makers = {"hub": self.servers.hub,
                  "Qt window with a console": lambda: self.servers.qt("window"),
                  "C": lambda: self.servers.c("files", empty),
                  "nginx": lambda: self.servers.nginx(empty),
                  "http.server": lambda: self.servers.http_server(empty)}
        names = dict(hub="hub", c="C", nginx="nginx", python="http.server")

        def measured(read):
            def one(make):
                with self.running(server := make()):
                    return read(server)
            return {name: lambda make=make: one(make) for name, make in makers.items()}

        for what, read, rounds, goal in (
                ("start-up", lambda server: server.startup * 1e6, self.rounds(21, 3), 1.1),
                ("resident memory, idle", lambda server: server.resident(), 3, 1.1),
                ("private dirty memory, idle", lambda server: server.private_dirty(), 3, 1.3)):
            timings = self.compare(rounds, measured(read))
            self.ratios(what, timings, {"Qt window with a console": goal})
            self.figures_of(what, timings, "us" if what == "start-up" else "KiB", **names)

    # -- parsing -----------------------------------------------------------------------------

    def fields(self):
        requests = {"10 000 URL-encoded pairs": (self.file("pairs", wire.pairs(10000)), 1.5),
                    "10 000 multipart fields": (self.file("parts", wire.parts(10000)), 1.3),
                    "10 000 header lines": (self.file("lines", wire.form(10000, cmd=0)), 1.4)}
        hub, qt = self.servers.hub(), self.servers.qt("split")
        with self.running(hub, qt):
            for what, (request, goal) in requests.items():
                timings = self.compare(self.rounds(41, 5), {
                    "hub": self.median_of(hub, request, count=3),
                    "bare QTcpServer, split and decode": self.median_of(qt, request, count=3)})
                self.ratios(what + ", round trip", timings,
                            {"bare QTcpServer, split and decode": goal})

    def parsing(self):
        out = subprocess.run([self.servers.floors / "Parsing"], check=True, capture_output=True,
                             text=True).stdout
        for line in out.splitlines():
            what, ratio, goal = line.split("\t")
            self.row(what, "the toolkit's split and decode", float(ratio), float(goal))

    # -- growth ------------------------------------------------------------------------------

    def growth(self):
        counts = [100, 1000, 10000, 100000]
        self.grow("search against files", 1.1, [1000, 3000, 10000, 30000, 100000], self.grow_files)
        self.grow("download against images", 1.2, [1, 2, 4, 8, 19], self.grow_images)
        for name, goal, sizes, request in (
                ("URL-encoded fields", 1.5, counts, wire.pairs),
                ("multipart fields", 1.5, counts, wire.parts),
                ("header lines", 1.5, [100, 1000, 10000, 30000],
                 lambda count: wire.form(count, cmd=0))):
            self.grow(name, goal, sizes,
                      lambda count, make=request: (self.servers.hub(), make(count)))

    def grow(self, name, goal, sizes, prepare):
        """The slope of time against size on logarithmic axes: 1 is proportional."""
        base = self.file("grow-base", wire.form(cmd=0))
        points = []
        for size in sizes[:3] if self.quick else sizes:
            hub, request = prepare(size)
            with self.running(hub):
                timings = self.compare(self.rounds(7, 2), {
                    "own": self.median_of(hub, self.file("grow", request)),
                    "base": self.median_of(hub, base)})
            # What a request costs by itself is no growth.
            points.append((size, max(timings.median("own") - timings.median("base"), 1.0)))
        first, last = points[-3], points[-1]
        slope = math.log(last[1] / first[1]) / math.log(last[0] / first[0])
        self.row("growth: " + name, "log-log slope", slope, goal)

    def grow_files(self, count):
        top = self.tree(count, max(1, count // 333))
        return self.servers.hub(top, top), wire.form(cmd=1, pat="*")

    def grow_images(self, count):
        hub = self.servers.hub(self.images(count), self.work / "none")
        return hub, wire.form(cmd=2, req=1, pat="*")

    # -- curves ------------------------------------------------------------------------------

    def files(self):
        """Time against files: a listing of all that lie in two directories."""
        for count in (100, 1000) if self.quick else (1000, 3000, 10000, 30000, 100000):
            timings = self.race_listings(count)
            names = dict(hub="hub", c="c", nginx="nginx", python="python", find="find")
            self.figures_of(f"a listing of {count} files", timings, **names)
            for name in names:
                points = self.curves.setdefault("files", {}).setdefault(name, [])
                points.append((count, timings.median(name)))

    def race_listings(self, count):
        top = self.tree(count, 2)
        disks, programs = (top / "folder000", top / "folder001")
        request = self.file("listing", wire.form(cmd=1, pat="*"))
        pages = [self.file(f"page-{folder.name}", wire.get(folder.name + "/"))
                 for folder in (disks, programs)]
        hub, c = self.servers.hub(disks, programs), self.servers.c("search", disks, programs)
        nginx, python = self.servers.nginx(top), self.servers.http_server(top)
        find = ["find", disks, programs, "-type", "f", "-printf", "%f %s\\n"]
        with self.running(hub, c, nginx, python):
            return self.compare(self.rounds(9, 2), {
                "hub": self.median_of(hub, request),
                "c": self.median_of(c, request),
                "nginx": lambda: sum(self.load(nginx, page)["median"] for page in pages),
                "python": lambda: sum(self.load(python, page)["median"] for page in pages),
                "find": lambda: self.process_time(*find)})

    def memory(self):
        """Memory against images, 0 to 19 of them in one request: MiB that are resident at most."""
        curves = self.curves.setdefault("memory", {
            name: [] for name in ("download", "upload", "kept", "c", "nginx", "python", "sent")})
        for count in (0, 8, wire.IMAGES_MAX) if self.quick else range(wire.IMAGES_MAX + 1):
            for name, kibibytes in self.memory_at(count).items():
                curves[name].append((count, kibibytes / 1024))
        hub = {name: curves[name][-1][1] * 1024 for name in ("download", "upload", "kept")}
        self.figure("memory at its worst", "KiB", hub=max(hub.values()),
                    **{name: curves[name][-1][1] * 1024 for name in ("c", "nginx", "python")})
        self.figure("memory after that", "KiB", hub=hub["kept"])

    def memory_at(self, count):
        images = self.images(count)
        root = self.work / f"memory-{count}"
        target = self.work / f"memory-target-{count}"
        root.mkdir()
        target.mkdir()
        ready = b"".join(path.read_bytes() for path in images.iterdir())
        (root / "all").write_bytes(ready)
        down = self.file("memory-down", wire.form(cmd=2, req=1, pat="*"))
        up = self.file("memory-up", wire.upload(count))
        get = self.file("memory-get", wire.get("all"))
        tries = self.rounds(5, 2)

        def resident(server, request, before=lambda: None):
            with self.running(server):
                return self.memory_of(server, [request] * tries, before)

        idle, download, kept_down = resident(self.servers.hub(images, self.work / "none"), down)
        _, upload, kept_up = resident(self.servers.hub(target, target), up,
                                      lambda: self.clear(target))
        values = {"download": download, "upload": upload, "kept": max(kept_down, kept_up),
                  "c": resident(self.servers.c("files", images), down)[1],
                  "nginx": resident(self.servers.nginx(root), get)[1],
                  "python": resident(self.servers.http_server(root), get)[1],
                  "sent": idle + len(ready) / 1024}
        shutil.rmtree(root)
        shutil.rmtree(target)
        return values


MEASUREMENTS = ["search", "download", "upload", "small", "startup", "fields", "parsing", "growth",
                "files", "memory"]
