#!/usr/bin/env python3
"""The live link with the real program: the scene of another program in the viewer, its changes, and the end of either side."""

import os
import socket
import struct
import sys
import time

from scenario import check, main, set_auto
from studio_driver import wait_for


def client(run, studio):
    """The Python client, which finds this Studio and no other."""
    folder = str(run.options.source / "integrations" / "python")
    if folder not in sys.path:
        sys.path.insert(0, folder)
    os.environ["XDG_RUNTIME_DIR"] = str(studio.inspect_folder)
    import animate_scene
    import lumenara_link
    return lumenara_link, animate_scene


def cut_off(link):
    """A stranger that announces gigabytes, sends a few bytes and dies."""
    with socket.socket(socket.AF_UNIX) as stranger:
        stranger.connect(str(link.find_studios()[0].socket))
        stranger.sendall(struct.pack("<4sIQ", b"LMLK", 100, 8 << 30) + b'{"type":')


def live_link(run):
    studio = run.viewer()
    set_auto(studio, True)
    own = studio.settled()
    link, ring = client(run, studio)
    wait_for("the socket", link.find_studios)
    with link.connect("scenario") as sender:
        ring.send_scene(sender)
        studio.changed_from(own, 3)
        first = studio.settled()
        run.options.output.mkdir(parents=True, exist_ok=True)
        run.display.save(run.options.output / "live-link.png")
        keys = [f"cube{index}" for index in range(ring.CUBES)]
        begin = time.monotonic()
        sender.transforms(keys, [ring.placed(index, 0.3) for index in range(ring.CUBES)])
        sender.commit(wait=30)
        studio.changed_from(first)
        print(f"moved cubes are in the viewer after {time.monotonic() - begin:.2f} s")
        moved = studio.settled()
        cut_off(link)
        studio.alive()
    # The last scene stays when its program has gone, and a new one may come.
    check(studio.settled().difference(moved) == 0, "the picture stays")
    with link.connect("scenario again") as sender:
        ring.send_scene(sender)
        studio.changed_from(moved)
        studio.kill()
        try:
            sender.commit(wait=10)
            check(False, "the client notices the end of Studio")
        except link.LinkError as error:
            print(f"the client says: {error}")


if __name__ == "__main__":
    sys.exit(main((live_link,)))
