# Copyright (c) the Disk Hub developers
# SPDX-License-Identifier: MIT
"""The hub and what it is measured against, each a process at a port of its own."""

import contextlib
import os
import pathlib
import socket
import subprocess
import sys
import time

POLL_SECONDS = 0.0005  # how finely a start is timed
LISTEN_SECONDS = 60  # a busy machine may need many of them


def free_port():
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


class Server:
    """A process that listens at a port; `startup` is the seconds from `begin` until it did."""

    def __init__(self, process, port, begin):
        self.port = port
        self.process = process
        self._wait()
        self.startup = time.monotonic() - begin

    def _wait(self):
        deadline = time.monotonic() + LISTEN_SECONDS
        while time.monotonic() < deadline:
            with contextlib.suppress(OSError):
                socket.create_connection(("127.0.0.1", self.port)).close()
                return
            if self.process.poll() is not None:
                raise RuntimeError(f"{self.process.args} ended with {self.process.returncode}")
            time.sleep(POLL_SECONDS)
        raise RuntimeError(f"{self.process.args} does not listen")

    def _kibibytes(self, file, key):
        for line in pathlib.Path(f"/proc/{self.process.pid}/{file}").read_text().splitlines():
            if line.startswith(key + ":"):
                return int(line.split()[1])
        raise KeyError(key)

    def resident(self):
        """KiB, as are all of these."""
        return self._kibibytes("status", "VmRSS")

    def private_dirty(self):
        return self._kibibytes("smaps_rollup", "Private_Dirty")

    def peak(self):
        """The most that was resident since reset_peak()."""
        return self._kibibytes("status", "VmHWM")

    def reset_peak(self):
        pathlib.Path(f"/proc/{self.process.pid}/clear_refs").write_text("5")

    def stop(self):
        """May be called again."""
        self.process.kill()
        self.process.wait()


class Servers:
    """Starts them and, when it ends, stops what is left; each one's files are below `work`."""

    def __init__(self, build, work):
        self.program = build / "disk-hub"
        self.floors = build / "bench"
        self.work = work
        self.offscreen = dict(os.environ, QT_QPA_PLATFORM="offscreen")
        self.started = []

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for process in self.started:
            process.kill()

    def start(self, command, port, environment=None):
        begin = time.monotonic()
        process = subprocess.Popen([str(word) for word in command], env=environment,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.started.append(process)
        return Server(process, port, begin)

    def hub(self, disks="", programs=""):
        port = free_port()
        config = self.work / f"config-{port}"
        (config / "Tesseline LLC").mkdir(parents=True, exist_ok=True)
        (config / "Tesseline LLC" / "Disk Hub.conf").write_text(
            f"[media]\ndisk_path={disks}\nprogram_path={programs}\n"
            f"[server]\nport={port}\nactive_ifc_name=lo\nactive_ifc_addr=127.0.0.1\n")
        return self.start([self.program], port, dict(self.offscreen, XDG_CONFIG_HOME=str(config)))

    def floor(self, name, *arguments):
        port = free_port()
        return self.start([self.floors / name, port, *arguments], port, self.offscreen)

    def c(self, *arguments):
        return self.floor("serve", *arguments)

    def qt(self, *arguments):
        return self.floor("ServeQt", *arguments)

    def nginx(self, root):
        """As Debian sets it up where that matters for speed, with uploads and directories."""
        port = free_port()
        conf = self.work / f"nginx-{port}.conf"
        conf.write_text(
            "daemon off; worker_processes 1; master_process off;\n"
            f"error_log /dev/null; pid {self.work}/nginx-{port}.pid;\n"
            "events { worker_connections 1024; }\n"
            "http { access_log off; sendfile on; tcp_nopush on; keepalive_timeout 0;\n"
            f" client_body_temp_path {root}; client_max_body_size 100m;\n"
            f" server {{ listen 127.0.0.1:{port} backlog=4096; root {root}; autoindex on;\n"
            " location / { dav_methods PUT; create_full_put_path on; } } }\n")
        return self.start(["nginx", "-c", conf, "-p", self.work], port)

    def http_server(self, root):
        port = free_port()
        return self.start([sys.executable, "-m", "http.server", port, "--bind", "127.0.0.1",
                       "--directory", root], port)

    def scandir(self, disks, programs):
        port = free_port()
        script = pathlib.Path(__file__).parent / "floors" / "scandir.py"
        return self.start([sys.executable, script, port, disks, programs], port)
