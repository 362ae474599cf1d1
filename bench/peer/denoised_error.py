#!/usr/bin/env python3
"""Error of a denoised picture beside the noisy one.

  denoised_error.py [SCENE] [--program build/release/bin/lumenara] [--size 320x240] [--samples 16] [--reference 256] [--seeds 3]
                    [--work DIR] [--scenes DIR]

Errors are root mean squares of sRGB values. Two references with different seeds, rendered without the radiance cache, take the
references' own noise out: the mean of (picture - first) x (picture - second) is the picture's squared error, because the noise of
the two is independent. References stay in the work folder and are used again by the next call.

Needs Debian's python3-numpy and python3-openimageio.
"""
import argparse
import pathlib
import subprocess
import tempfile

import numpy

from measured_scene import VIEWS, MeasuredScene, View
from side_by_side import displayed

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
REFERENCE_SEEDS = (1000, 1001)


def arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("name", nargs="?", metavar="SCENE", default="Interior")
    parser.add_argument("--program", default=str(ROOT / "build/release/bin/lumenara"))
    parser.add_argument("--size", default="320x240")
    parser.add_argument("--samples", type=int, default=16)
    parser.add_argument("--reference", type=int, default=256, help="samples a pixel of each reference")
    parser.add_argument("--seeds", type=int, default=3, help="renders to average")
    parser.add_argument("--work", help="folder of pictures and references; default: a temporary one")
    parser.add_argument("--scenes", default=str(ROOT.parent / "shared/scenes"))
    return parser.parse_args()


def main():
    given = arguments()
    work = pathlib.Path(given.work or tempfile.mkdtemp(prefix="denoised-"))
    work.mkdir(parents=True, exist_ok=True)
    source = next((pathlib.Path(given.scenes) / given.name).glob(f"{given.name}.gl*"), None)
    if not source:
        return print(f"{given.name} is left out: no glTF file in {pathlib.Path(given.scenes) / given.name}")
    width, height = map(int, given.size.split("x"))
    scene = MeasuredScene(source, VIEWS.get(given.name, View()), width / height, work)

    def render(name, samples, seed, *options):
        file = work / f"{given.name}-{given.size}-{name}-{samples}-{seed}.exr"
        if "reference" not in name or not file.exists():
            subprocess.run([given.program, "render", scene.ours(seed), "-o", file, "--size", given.size, "--samples", str(samples),
                            "--home", work / "home", "--quiet", *options], check=True)
        return displayed(file)

    first, second = (render("reference", given.reference, seed, "--radiance-cache=off") for seed in REFERENCE_SEEDS)
    print(f"{given.name}, {given.size}, {given.samples} samples: error noisy, denoised, ratio")
    for cache in ("on", "off"):
        squares = []
        for seed in range(1, given.seeds + 1):
            noisy = render(f"{cache}-noisy", given.samples, seed, f"--radiance-cache={cache}", "--denoise=off")
            clean = render(f"{cache}-denoised", given.samples, seed, f"--radiance-cache={cache}", "--denoise=end")
            squares.append([((picture - first) * (picture - second)).mean() for picture in (noisy, clean)])
        noisy, clean = numpy.sqrt(numpy.maximum(0, numpy.mean(squares, axis=0)))
        print(f"radiance cache {cache}: {noisy:.4f}, {clean:.4f}, {noisy / max(clean, 1e-9):.1f}", flush=True)


if __name__ == "__main__":
    main()
