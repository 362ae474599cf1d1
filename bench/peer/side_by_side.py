#!/usr/bin/env python3
"""Noise and speed beside Blender's path tracer, on the same scene, camera and light.

  side_by_side.py [SCENE...] [--program build/release/bin/lumenara] [--before OLD] [--size 160x120] [--samples 16,64]
                  [--reference 1024] [--repeat 2] [--threads 2] [--work DIR] [--scenes DIR]

Prints for each scene and number of samples the processor time without loading, the error (root mean square of sRGB values against the
renderer's own reference, so that a difference in look does not count as noise), and the ratio of the other's time to equal error
over ours: 2 means that we need half of its time. The other is the peer or, with --before, an older build of ours. Time to
equal error is the time times the squared error. References stay in the work folder and are used again by the next call.

Needs Debian's blender, python3-numpy and python3-openimageio. Without them, or without a scene, it says so and leaves it out.
"""
import argparse
import json
import os
import pathlib
import resource
import shutil
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent
SCENES = ("WaterBottle", "MetalRoughSpheresNoTextures", "Interior", "ManyLights")
REFERENCE_SEED, FIRST_SEED = 1000, 1


def arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("names", nargs="*", metavar="SCENE", default=SCENES)
    parser.add_argument("--program", default=str(ROOT / "build/release/bin/lumenara"))
    parser.add_argument("--before", help="an older build of the program, in place of the peer")
    parser.add_argument("--size", default="160x120")
    parser.add_argument("--samples", default="16,64")
    parser.add_argument("--reference", type=int, default=1024, help="samples a pixel")
    parser.add_argument("--repeat", type=int, default=2, help="renders with different seeds, averaged")
    parser.add_argument("--threads", type=int, default=2)
    parser.add_argument("--work", help="folder of pictures and references; default: a temporary one")
    parser.add_argument("--scenes", default=str(ROOT.parent / "shared/scenes"))
    return parser.parse_args()


class Ours:
    """The program `lumenara`."""

    def __init__(self, name, program, scene, options):
        self.name, self.program, self.scene, self.options = name, program, scene, options

    def draw(self, samples, seed, output):
        """Processor time of one run, loading included. The reference has no cache, so that the cache's own error counts."""
        exact = ["--radiance-cache", "off"] if samples == self.options.reference and self.name == "ours" else []
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        code = subprocess.run([self.program, "render", self.scene.ours(seed), "-o", output, "--size", self.options.size,
                               "--samples", str(samples), "--threads", str(self.options.threads), "--home",
                               str(self.scene.folder / "home"), "--quiet", "--set", "LM_ERROR_BANNER=0", *exact], check=False).returncode
        if code not in (0, 5):  # 5: drawn without a missing picture
            raise SystemExit(f"{self.program} ended with code {code}")
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime

    def run(self, jobs):
        """Processor time of each (samples, seed, output), without loading and the first sample."""
        fixed = min(self.draw(1, FIRST_SEED, str(self.scene.folder / "first.exr")) for _ in range(2))
        return [(self.draw(*job) - fixed) * job[0] / (job[0] - 1) for job in jobs]


class Peer:
    """Blender's path tracer."""

    name = "peer"

    def __init__(self, scene, options):
        self.scene, self.options = scene, options

    def run(self, jobs):
        from measured_scene import SKY, SUN, SUN_ANGLE, SUN_TURN
        first = {"samples": 1, "seed": FIRST_SEED, "output": str(self.scene.folder / "first.exr")}
        job = {"scene": self.scene.peer, "size": list(map(int, self.options.size.split("x"))), "threads": self.options.threads,
               "sun": [SUN, 2 * SUN_ANGLE, SUN_TURN], "sky": SKY, "lamps": self.scene.lamps,
               "runs": [first, first] + [{"samples": n, "seed": seed, "output": output} for n, seed, output in jobs]}
        file = self.scene.folder / "job.json"
        file.write_text(json.dumps(job), encoding="utf-8")
        done = subprocess.run(["blender", "--background", "--factory-startup", "--python", str(HERE / "peer_render.py"), "--", str(file)],
                              capture_output=True, text=True, check=False)
        lines = [line[5:] for line in done.stdout.splitlines() if line.startswith("PEER ")]
        if not lines:
            raise SystemExit("The peer did not render:\n" + done.stdout[-2000:] + done.stderr[-2000:])
        runs = json.loads(lines[0])
        fixed = min(runs[0]["work"], runs[1]["work"])
        return [(run["work"] - fixed) * run["samples"] / (run["samples"] - 1) for run in runs[2:]]


def displayed(file):
    """sRGB values of a linear picture, clipped at white."""
    import numpy
    import OpenImageIO
    linear = numpy.clip(OpenImageIO.ImageBuf(str(file)).get_pixels(OpenImageIO.FLOAT)[:, :, :3], 0, 1)
    return numpy.where(linear <= 0.0031308, 12.92 * linear, 1.055 * linear ** (1 / 2.4) - 0.055)


def measure(renderer, folder, options):
    """{samples: (processor time, error)}, and the mean colour of the reference."""
    reference = folder / f"{renderer.name}-{options.size}-{options.reference}.exr"
    counts = list(map(int, options.samples.split(",")))
    jobs = [] if reference.exists() else [(options.reference, REFERENCE_SEED, str(reference))]
    jobs += [(count, FIRST_SEED + turn, str(folder / f"{renderer.name}-{count}-{turn}.exr"))
             for count in counts for turn in range(options.repeat)]
    times = renderer.run(jobs)
    wanted = displayed(reference)
    figures = {}
    for count in counts:
        chosen = [(time, float(((displayed(job[2]) - wanted) ** 2).mean())) for time, job in zip(times, jobs) if job[0] == count]
        figures[count] = (sum(time for time, _ in chosen) / len(chosen), (sum(square for _, square in chosen) / len(chosen)) ** 0.5)
    return figures, wanted.mean(axis=(0, 1))


def compare(name, options, work):
    from measured_scene import VIEWS, MeasuredScene, View
    source = pathlib.Path(options.scenes) / name / f"{name}.gltf"
    if not source.exists():
        print(f"{name}: left out, {source} is not there")
        return
    width, height = map(int, options.size.split("x"))
    scene = MeasuredScene(source, VIEWS.get(name, View()), width / height, work)
    other = Ours("before", options.before, scene, options) if options.before else Peer(scene, options)
    ours, our_mean = measure(Ours("ours", options.program, scene, options), scene.folder, options)
    theirs, their_mean = measure(other, scene.folder, options)
    print(f"{name}: mean of the references ours {our_mean.round(4)}, {other.name} {their_mean.round(4)}")
    for count, (time, error) in ours.items():
        their_time, their_error = theirs[count]
        million = count * width * height / 1e6
        print(f"{name} | {count} samples | seconds a million samples {time / million:.3f}, {other.name} {their_time / million:.3f}, "
              f"ratio {time / their_time:.2f} | error {error:.5f}, {other.name} {their_error:.5f} | "
              f"{other.name}'s time to equal error over ours {their_time * their_error ** 2 / (time * error ** 2):.2f}", flush=True)


def main():
    options = arguments()
    try:
        import numpy  # noqa: F401
        import OpenImageIO  # noqa: F401
    except ImportError as missing:
        print(f"left out: {missing}. Install python3-numpy and python3-openimageio.")
        return
    if not options.before and not shutil.which("blender"):
        print("left out: Blender is not installed. Install the package blender.")
        return
    sys.path.insert(0, str(HERE))
    with tempfile.TemporaryDirectory() as temporary:
        work = os.path.abspath(options.work) if options.work else temporary
        for name in options.names:
            compare(name, options, work)


if __name__ == "__main__":
    main()
