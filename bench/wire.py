# Copyright (c) the Disk Hub developers
# SPDX-License-Identifier: MIT
"""Requests as bytes: what a device sends, and what a web server is asked for."""

import os

D64_SIZE = 174848
D82_SIZE = 1066496
IMAGES_MAX = 19  # a reply holds no more beside its manifest

BOUNDARY = b"XyZ"
DISK_BLOCK = 4096  # an image has a header of one block and is filled up to whole ones
PACKAGE_HEADER = 496


def post(body, kind, fillers=0):
    """A request with `fillers` header lines of no meaning."""
    return (b"POST / HTTP/1.1\r\nHost: 127.0.0.1\r\n" + b"X-Filler: some words\r\n" * fillers +
            b"Content-Type: %s\r\nContent-Length: %d\r\n\r\n" % (kind, len(body)) + body)


def form(fillers=0, **fields):
    body = "&".join(f"{name}={value}" for name, value in fields.items()).encode()
    return post(body, b"application/x-www-form-urlencoded", fillers)


def pairs(count):
    """A form of so many pairs that mean nothing, each with something to decode."""
    body = b"&".join(b"field%d=value+%%41%d" % (i, i) for i in range(count))
    return post(body, b"application/x-www-form-urlencoded")


def multipart(fields, package=None):
    parts = [b'--%s\r\nContent-Disposition: form-data; name="%s"\r\n\r\n%s\r\n' %
             (BOUNDARY, name, value) for name, value in fields]
    if package is not None:
        parts.append(b'--%s\r\nContent-Disposition: form-data; name="up"; filename="package"'
                     b"\r\n\r\n%s\r\n" % (BOUNDARY, package))
    return post(b"".join(parts) + b"--%s--\r\n" % BOUNDARY,
                b"multipart/form-data; boundary=" + BOUNDARY)


def parts(count):
    """The same as pairs(), as multipart form-data."""
    return multipart([(b"field%d" % i, b"value+%%41%d" % i) for i in range(count)])


def package(images):
    """So many D82 images, with the flag that lets each replace a disk of its name."""
    filled = -(-D82_SIZE // DISK_BLOCK) * DISK_BLOCK
    entries, blocks = [], []
    for i in range(images):
        name = b"DISK%02d" % i + b"\xa0" * 10
        header = (bytes.fromhex("A6135C71") + DISK_BLOCK.to_bytes(4, "little") +
                  D82_SIZE.to_bytes(4, "little") + b"\x04").ljust(32, b"\0") + name
        image = os.urandom(D82_SIZE).ljust(filled, b"\0")
        blocks.append(header.ljust(DISK_BLOCK, b"\0") + image)
        entries.append(b"\x01\x01\0\0" + (DISK_BLOCK + filled).to_bytes(4, "little") + name)
    size = sum(len(block) for block in blocks)
    header = (bytes.fromhex("1F24CA73") + bytes([0, 0, 0, images]) + size.to_bytes(4, "little") +
              bytes(4) + b"".join(entries))
    return header.ljust(PACKAGE_HEADER, b"\0") + b"".join(blocks)


def upload(images):
    return multipart([(b"cmd", b"3")], package(images))


def get(path):
    return b"GET /%s HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n" % path.encode()


def put(path, body):
    return (b"PUT /%s HTTP/1.1\r\nHost: x\r\nConnection: close\r\nContent-Length: %d\r\n\r\n" %
            (path.encode(), len(body)) + body)
