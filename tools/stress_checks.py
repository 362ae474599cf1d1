"""Checks of tools/stress from outside: pictures and settings are whole, a process holds no more than before."""
import json
import os
import pathlib
import struct
import time
import zlib


class Broken(Exception):
    """An invariant that does not hold."""


def require(condition, sentence):
    if not condition:
        raise Broken(sentence)


# --- pictures, decoded independently of the programs ---

def check_png(data):
    require(data[:8] == b"\x89PNG\r\n\x1a\n", "it does not begin as a PNG")
    at, packed, size = 8, b"", None
    while True:
        require(at + 12 <= len(data), "it ends within a chunk")
        length, kind = struct.unpack_from(">I4s", data, at)
        require(at + 12 + length <= len(data), "a chunk reaches behind its end")
        body = data[at + 8:at + 8 + length]
        require(zlib.crc32(kind + body) == struct.unpack_from(">I", data, at + 8 + length)[0], "a checksum is wrong")
        if kind == b"IHDR":
            width, height, depth, colour = struct.unpack_from(">IIBB", body)
            size = height * (1 + (width * depth * {0: 1, 2: 3, 3: 1, 4: 2, 6: 4}[colour] + 7) // 8)
        if kind == b"IDAT":
            packed += body
        at += 12 + length
        if kind == b"IEND":
            break
    require(size is not None and len(zlib.decompress(packed)) == size, "its rows are not all there")


def check_tiff(data):
    """Every strip or tile lies in the file."""
    order = {b"II": "<", b"MM": ">"}.get(data[:2])
    require(order is not None and len(data) > 8, "it does not begin as a TIFF")
    sizes = {1: 1, 2: 1, 3: 2, 4: 4, 5: 8, 16: 8}
    at = struct.unpack_from(order + "I", data, 4)[0]
    require(0 < at <= len(data) - 2, "its directory is not there")
    entries = {}
    for i in range(struct.unpack_from(order + "H", data, at)[0]):
        place = at + 2 + 12 * i
        require(place + 12 <= len(data), "its directory is cut off")
        tag, kind, count = struct.unpack_from(order + "HHI", data, place)
        if kind not in (3, 4):
            continue
        length = sizes[kind] * count
        start = place + 8 if length <= 4 else struct.unpack_from(order + "I", data, place + 8)[0]
        require(start + length <= len(data), "a list reaches behind its end")
        entries[tag] = struct.unpack_from(order + str(count) + {3: "H", 4: "I"}[kind], data, start)
    offsets = entries.get(273) or entries.get(324)
    counts = entries.get(279) or entries.get(325)
    require(offsets and counts and len(offsets) == len(counts), "it names no rows")
    for offset, count in zip(offsets, counts):
        require(count > 0 and offset + count <= len(data), "rows reach behind its end")


def check_bmp(data):
    require(data[:2] == b"BM" and len(data) > 54, "it does not begin as a BMP")
    start, = struct.unpack_from("<I", data, 10)
    width, height, _, bits = struct.unpack_from("<iiHH", data, 18)
    require(len(data) >= start + (width * bits + 31) // 32 * 4 * abs(height), "its rows are not all there")


CHECKS = {".png": check_png, ".tif": check_tiff, ".bmp": check_bmp}


def check_picture(file):
    try:
        CHECKS[pathlib.Path(file).suffix](pathlib.Path(file).read_bytes())
    except (Broken, zlib.error, struct.error, KeyError) as problem:
        raise Broken(f"{file} is not whole: {problem}") from None


# --- settings ---

def stored_settings(home, plugin=1021442):
    """The plug-in's stored settings by number; empty before the first was stored."""
    file = pathlib.Path(home) / "preferences.json"
    require(not file.with_suffix(".json.damaged").exists(), f"{file} was damaged")
    if not file.exists():
        return {}
    try:
        contents = json.loads(file.read_text(encoding="utf-8"))
        entries = contents.get(f"plugins/{plugin}", [])
        return {entry[0]: entry[2] for entry in entries}
    except (ValueError, IndexError) as problem:
        raise Broken(f"{file} does not read: {problem}") from None


def leftovers(folder):
    """Unfinished files of killed programs."""
    return [str(path) for path in pathlib.Path(folder).rglob("*") if path.name.startswith(".") and ".tmp" in path.name]


# --- processes ---

def holdings(process):
    """Resources of a process: memory in kilobytes, open files, threads."""
    status = {}
    for line in pathlib.Path(f"/proc/{process}/status").read_text(encoding="utf-8").splitlines():
        name, _, value = line.partition(":")
        status[name] = value.split()
    return {"memory": int(status["VmRSS"][0]), "files": len(os.listdir(f"/proc/{process}/fd")),
            "threads": int(status["Threads"][0])}


class Flatness:
    """Samples of the resources of a process; nothing may grow after the first quarter."""

    def __init__(self, memory_slack):
        self.samples, self.memory_slack = [], memory_slack

    def sample(self, process):
        try:
            self.samples.append(holdings(process))
        except (OSError, KeyError):  # it ends just now
            pass

    def check(self):
        require(len(self.samples) >= 8, "it was too short to be measured")
        quarter = len(self.samples) // 4
        early, late = self.samples[quarter:2 * quarter], self.samples[-quarter:]
        words = []
        for what, slack in (("memory", self.memory_slack), ("files", 2), ("threads", 2)):
            before, after = max(s[what] for s in early), max(s[what] for s in late)
            words.append(f"{what} {before} -> {after}")
            require(after <= before + slack, f"{what} grew from {before} to {after}")
        return ", ".join(words)


def wait_until(condition, seconds, what, every=0.02):
    end = time.monotonic() + seconds
    while not condition():
        require(time.monotonic() < end, f"after {seconds} s still not: {what}")
        time.sleep(every)
