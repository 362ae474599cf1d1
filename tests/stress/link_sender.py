"""A program at the live link that a stress test kills at any moment, or whose Studio it kills: sends scenes without end, and whole
ones anew after each connection.

    link_sender.py CLIENT_FOLDER NAME FILE

All objects of a scene bear its number, "NAME NUMBER INDEX", so a mixture of two scenes shows. FILE holds the number of the last scene that
Studio has acknowledged.
"""
import os
import pathlib
import sys

sys.path.insert(0, sys.argv[1])
import lumenara_link  # noqa: E402

OBJECTS = 8
SIDE = 120  # squares along a side of each mesh: a scene takes several reads of the socket


def grid(number):
    """A square whose height tells the scene."""
    points = [(x / SIDE, 0.001 * (number % 100), y / SIDE) for y in range(SIDE + 1) for x in range(SIDE + 1)]
    corners = [y * (SIDE + 1) + x for y in range(SIDE) for x in range(SIDE)]
    row = SIDE + 1
    return points, [triangle for c in corners for triangle in ((c, c + row, c + 1), (c + 1, c + row, c + row + 1))]


def placed(index, number):
    return [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1.2 * index, 0, 0.01 * (number % 100), 1]


def send_all(link, name, number):
    link.scene_begin(name)
    points, triangles = grid(number)
    link.mesh("grid", points, indices=triangles)
    for index in range(OBJECTS):
        link.object(f"o{index}", "mesh", name=f"{name} {number} {index}", mesh="grid", matrix=placed(index, number))
    link.scene_end()


def send_changes(link, name, number):
    for index in range(OBJECTS):
        link.send("rename", key=f"o{index}", name=f"{name} {number} {index}")
    link.transforms([f"o{index}" for index in range(OBJECTS)], [placed(index, number) for index in range(OBJECTS)])


def note(file, number):
    file.with_suffix(".new").write_text(str(number), encoding="ascii")
    os.replace(file.with_suffix(".new"), file)


def main():
    name, file, number = sys.argv[2], pathlib.Path(sys.argv[3]), 0
    while True:
        try:
            with lumenara_link.connect(name) as link:
                whole = True
                while True:
                    number += 1
                    (send_all if whole or number % 4 == 0 else send_changes)(link, name, number)
                    whole = False
                    link.commit(wait=60)
                    note(file, number)
        except lumenara_link.LinkError as error:
            print(error, flush=True)  # Studio has ended: the next one may come at any time


if __name__ == "__main__":
    main()
