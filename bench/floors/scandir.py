#!/usr/bin/env python3
# Copyright (c) the Disk Hub developers
# SPDX-License-Identifier: MIT
"""What a search would be in Python: a line for each D64 below the first directory and for each
program below the second, found with os.scandir(). One request at a time: scandir.py PORT DIR DIR
"""

import os
import socket
import sys

D64_SIZE = 174848


def is_d64(entry):
    return entry.stat().st_size == D64_SIZE


def is_program(entry):
    return entry.name.lower().endswith(".prg")


def search(directory, is_listed, kind, listing):
    with os.scandir(directory) as entries:
        for entry in entries:
            if entry.name.startswith("."):
                continue
            if entry.is_dir(follow_symlinks=False):
                search(entry.path, is_listed, kind, listing)
            elif is_listed(entry):
                name = '"' + entry.name.split(".", 1)[0][:16] + '"'
                listing.append(f"0   {name:18}{kind}\n")


def main():
    port, disks, programs = sys.argv[1:]
    server = socket.create_server(("127.0.0.1", int(port)), backlog=512)
    while True:
        connection, _ = server.accept()
        with connection:
            if not connection.recv(65536):
                continue
            listing = []
            search(disks, is_d64, "d64", listing)
            search(programs, is_program, "prg", listing)
            body = "".join(listing).encode("latin-1", "replace")
            connection.sendall(b"HTTP/1.1 200 Ok\r\nContent-Length: %d\r\n\r\n" % len(body) + body)


if __name__ == "__main__":
    main()
