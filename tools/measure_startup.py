#!/usr/bin/env python3
"""Start-up figures of the program: time, processor time, peak memory and loaded libraries.

  measure_startup.py [--program build/release/bin/lumenara] [--repeat 20] [--studio build/release/bin/lumenara-studio]

Times are of the whole process, from its start to its end, in milliseconds: best, median, worst. Libraries are those that the
dynamic loader initialised, those loaded later among them.
With --studio: the time until Lumenara Studio, under Xvfb, reports its main window and answers. The first start fills the caches and does
not count.
"""
import argparse
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
DEMO = str(ROOT / "scenes" / "demo.glb")
RUNS = [("--version", ["--version"]), ("info of the demo", ["info", DEMO])]


def run(command, environment):
    """Wall time, processor time in ms, peak memory in MB."""
    start = time.perf_counter()
    child = subprocess.Popen(command, env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(child.pid, 0)
    took = time.perf_counter() - start
    child.returncode = os.waitstatus_to_exitcode(status)
    if child.returncode:
        raise SystemExit(f"{' '.join(command)} ended with code {child.returncode}")
    return took * 1e3, (usage.ru_utime + usage.ru_stime) * 1e3, usage.ru_maxrss / 1024


def libraries(command, environment):
    report = subprocess.run(command, env={**environment, "LD_DEBUG": "libs"}, stdin=subprocess.DEVNULL,
                            stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, check=True).stderr
    return sum("calling init: " in line for line in report.splitlines())


def measure_studio(program, repeat):
    sys.path.insert(0, str(ROOT / "tests" / "studio"))
    import studio_driver
    display, results = studio_driver.Display(), []
    try:
        with tempfile.TemporaryDirectory() as home:
            for _ in range(repeat + 1):
                start = time.perf_counter()
                studio = studio_driver.Studio(display, program, home=home)
                wall = time.perf_counter() - start
                used = pathlib.Path(f"/proc/{studio.process.pid}/stat").read_text(encoding="ascii").rsplit(")", 1)[1].split()[11:13]
                results.append((wall, sum(map(int, used)) / os.sysconf("SC_CLK_TCK")))
                studio.kill()
    finally:
        display.close()
    wall, processor = (sorted(column) for column in zip(*results[1:]))
    print(f"window of Studio: {wall[0]:.2f} / {statistics.median(wall):.2f} / {wall[-1]:.2f} s, "
          f"processor {statistics.median(processor):.2f} s")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--program", default=str(ROOT / "build" / "release" / "bin" / "lumenara"))
    parser.add_argument("--repeat", type=int, default=20)
    parser.add_argument("--studio")
    options = parser.parse_args()

    print(f"load of the machine: {os.getloadavg()[0]:.1f} on {os.cpu_count()} processors")
    with tempfile.TemporaryDirectory() as home:
        environment = {**os.environ, "LUMENARA_HOME": home}
        for title, arguments in RUNS:
            command = [options.program, *arguments]
            results = [run(command, environment) for _ in range(options.repeat)]
            wall, processor, memory = (sorted(column) for column in zip(*results))
            print(f"{title}: {wall[0]:.0f} / {statistics.median(wall):.0f} / {wall[-1]:.0f} ms, "
                  f"processor {statistics.median(processor):.0f} ms, {memory[-1]:.0f} MB, "
                  f"{libraries(command, environment)} libraries")
    if options.studio:
        measure_studio(options.studio, options.repeat)


if __name__ == "__main__":
    main()
