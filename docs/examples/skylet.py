#!/usr/bin/env python3
# Copyright (c) the Disk Hub developers
# SPDX-License-Identifier: MIT
"""Usage: skylet.py HUB:PORT search|get|disks PATTERN, or skylet.py HUB:PORT put FILE NAME"""
import http.client, pathlib, re, struct, sys, urllib.parse, uuid

PACKAGE = struct.Struct("<IHbBI4x")  # magic, version, result, number of objects, bytes behind
ENTRY = struct.Struct("<BB2xI16s")  # 0 a program or 1 a disk, replace, size of the block, name
DISK = struct.Struct("<IIIB19x16s4048x")  # magic, start of the image, its size, type, name
DATA = PACKAGE.size + 20 * ENTRY.size  # where the blocks begin
TYPES = {174848: 0, 175531: 0, 349696: 1, 819200: 2, 533248: 3, 1066496: 4}  # by image size
EXTENSIONS = "d64", "d71", "d81", "d80", "d82"  # by type

def petscii(text):  # the 16 bytes of a name: only letters differ from ASCII
    swap = lambda c: c - 0x20 if 0x61 <= c <= 0x7A else c + 0x80 if 0x41 <= c <= 0x5A else c
    return bytes(map(swap, text.encode("latin-1")))[:16].ljust(16, b"\xA0")

def latin(name):  # the way back, up to the padding
    swap = lambda c: c + 0x20 if 0x41 <= c <= 0x5A else c - 0x80 if 0xC1 <= c <= 0xDA else c
    return bytes(map(swap, name.split(b"\xA0")[0])).decode("latin-1")

def ask(hub, body, media_type="application/x-www-form-urlencoded"):
    connection = http.client.HTTPConnection(hub, timeout=30)
    connection.request("POST", "/", body, {"Content-Type": media_type})
    reply, start = connection.getresponse().read(), DATA
    _, _, result, count, _ = PACKAGE.unpack_from(reply)
    if result != 0:
        sys.exit(f"refused: {result}")
    for i in range(count):
        is_disk, _, size, name = ENTRY.unpack_from(reply, PACKAGE.size + i * ENTRY.size)
        yield is_disk, latin(name), reply[start:start + size]
        start += size

def show(listing):  # each line is link, number and, up to a 00, the text; the first one in reverse
    for line in re.findall(rb"\x01\x01\0\0\x12?([^\0]*)\0", listing):
        print("0", latin(line).rstrip())

def save(is_disk, name, block):
    _, start, size, kind, _ = DISK.unpack_from(block) if is_disk else (0, 0, len(block), 0, 0)
    path = pathlib.Path(name.replace("/", "_") + "." + (EXTENSIONS[kind] if is_disk else "prg"))
    print(f"{path}: {path.write_bytes(block[start:start + size])} bytes")

def put(hub, data, name):
    if is_disk := len(data) in TYPES:
        header = DISK.pack(0x715C13A6, DISK.size, len(data), TYPES[len(data)], name)
        data = header + data + bytes(-len(data) % 4096)
    head = PACKAGE.pack(0x73CA241F, 0, 0, 1, len(data)) + ENTRY.pack(is_disk, 0, len(data), name)
    mark = uuid.uuid4().hex  # which the package does not hold
    part = f"--{mark}\r\nContent-Disposition: form-data; name="
    body = f'{part}"cmd"\r\n\r\n3\r\n{part}"up"; filename="package"\r\n\r\n'.encode()
    body += head.ljust(DATA, b"\0") + data + f"\r\n--{mark}--\r\n".encode()
    list(ask(hub, body, f"multipart/form-data; boundary={mark}"))

hub, command, argument, *name = sys.argv[1:] if len(sys.argv) > 3 else sys.exit(__doc__)
if command == "put":
    sys.exit(put(hub, pathlib.Path(argument).read_bytes(), petscii(*name)))
form = {"search": "cmd=1", "get": "cmd=2&req=0", "disks": "cmd=2&req=1"}[command]
for is_disk, name, block in ask(hub, f"{form}&pat={urllib.parse.quote(argument)}"):
    save(is_disk, name, block) if is_disk or command == "get" else show(block)
