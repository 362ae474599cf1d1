#!/usr/bin/env python3
"""Makes the build IDs of programs and libraries depend on what is in them, and on nothing else.

  settle_build_ids.py FOLDER

The linker computes the ID from the debug information as well, which holds the name of the build folder. It is stripped from the packages,
but the ID stays: this writes the SHA-1 of each stripped ELF file, with an ID of zeros, in its place.
"""
import hashlib
import pathlib
import struct
import sys

NOTE_SEGMENT, BUILD_ID = 4, 3


def notes(data):
    """(Type, owner, offset, size) of each note of a 64-bit little-endian ELF file."""
    table, = struct.unpack_from("<Q", data, 32)
    size, count = struct.unpack_from("<HH", data, 54)
    for entry in range(table, table + size * count, size):
        kind, _, offset = struct.unpack_from("<IIQ", data, entry)
        length, = struct.unpack_from("<Q", data, entry + 32)
        align, = struct.unpack_from("<Q", data, entry + 48)
        at, end = offset, offset + length
        while kind == NOTE_SEGMENT and at + 12 <= end:
            name_size, content_size, note = struct.unpack_from("<III", data, at)
            name = at + 12
            content = name + -(-name_size // max(align, 4)) * max(align, 4)
            yield note, bytes(data[name:name + name_size]), content, content_size
            at = content + -(-content_size // max(align, 4)) * max(align, 4)


def settle(file):
    """True when the file has a build ID, which is then settled."""
    data = bytearray(file.read_bytes())
    if data[:6] != b"\x7fELF\x02\x01":
        return False
    places = [(at, size) for kind, name, at, size in notes(data) if kind == BUILD_ID and name == b"GNU\0"]
    for at, size in places:
        data[at:at + size] = bytes(size)
    sum_of_all = hashlib.sha1(data).digest()
    for at, size in places:
        data[at:at + size] = sum_of_all[:size].ljust(size, b"\0")
    if places:
        file.write_bytes(data)
    return bool(places)


def main():
    if len(sys.argv) != 2:
        print(__doc__, file=sys.stderr)
        return 2
    files = sorted(file for file in pathlib.Path(sys.argv[1]).rglob("*") if file.is_file() and not file.is_symlink())
    settled = sum(settle(file) for file in files if file.stat().st_size >= 64)
    print(f"{settled} build IDs were settled")
    return 0


if __name__ == "__main__":
    sys.exit(main())
