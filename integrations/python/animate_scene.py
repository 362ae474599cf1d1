"""Shows a ring of cubes in Lumenara Studio and turns it: an example of lumenara_link.

    python3 animate_scene.py [--seconds 10] [--start]

--start starts Studio where none listens.
"""
import argparse
import math
import time

import lumenara_link as link

CUBES = 12
CORNERS = [(x, y, z) for x in (-0.4, 0.4) for y in (-0.4, 0.4) for z in (-0.4, 0.4)]
FACES = [(0, 1, 3, 2), (4, 6, 7, 5), (0, 4, 5, 1), (2, 3, 7, 6), (0, 2, 6, 4), (1, 5, 7, 3)]


def placed(index, turn):
    """The matrix of a cube of the ring, turned by `turn` radians."""
    angle = turn + 2 * math.pi * index / CUBES
    c, s = math.cos(angle), math.sin(angle)
    height = 0.5 + 0.4 * math.sin(3 * turn + index)
    return [c, 0, -s, 0, 0, 1, 0, 0, s, 0, c, 0, 3 * s, height, 3 * c, 1]


def send_scene(studio):
    studio.scene_begin("Ring of cubes")
    studio.mesh("cube", CORNERS, face_sizes=[4] * 6, face_vertices=FACES)
    for index in range(CUBES):
        hue = 2 * math.pi * index / CUBES
        color = [0.5 + 0.4 * math.cos(hue - shift) for shift in (0, 2.1, 4.2)]
        studio.material(f"paint{index}", {"pbrMetallicRoughness": {"baseColorFactor": [*color, 1], "metallicFactor": 0, "roughnessFactor": 0.4}})
        studio.object(f"cube{index}", "mesh", mesh="cube", materials=[f"paint{index}"], matrix=placed(index, 0))
    studio.sky("gradient", color=[0.2, 0.4, 0.8], horizon=[0.8, 0.85, 0.9], ground=[0.2, 0.18, 0.15])
    # 7 metres back, 3 up, looking down by 0.35 radians
    c, s = math.cos(0.35), math.sin(0.35)
    studio.object("camera", "camera", matrix=[1, 0, 0, 0, 0, c, -s, 0, 0, s, c, 0, 0, 3.2, 7.5, 1], camera={"yfov": 0.8, "near": 0.1})
    studio.settings(camera="camera", width=640, height=360)
    studio.scene_end()
    studio.commit(wait=30)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--seconds", type=float, default=10)
    parser.add_argument("--start", action="store_true")
    options = parser.parse_args()
    try:
        with link.connect("animate_scene.py", start=options.start) as studio:
            send_scene(studio)
            keys = [f"cube{index}" for index in range(CUBES)]
            begin, frames, number = time.monotonic(), 0, 0
            while time.monotonic() - begin < options.seconds:
                turn = time.monotonic() - begin
                studio.transforms(keys, [placed(index, turn) for index in range(CUBES)])
                number = studio.commit()
                frames += 1
                # Studio shows the newest of several commits; waiting for this one keeps both in step.
                studio.wait_commit(number)
            print(f"{frames} frames in {options.seconds:g} seconds")
    except link.LinkError as error:
        raise SystemExit(f"error: {error}")


if __name__ == "__main__":
    main()
