#!/usr/bin/env python3
"""Compiles the plug-in and each interface header on its own with another compiler or for another processor.

  check_compile.py ROOT COMPILER [OPTION...]      exits 1 when a file does not compile
"""
import concurrent.futures
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile


def compile_one(root, command, path, folder):
    if path.suffix == ".h":
        unit = folder / f"{path.stem}_alone.cpp"
        unit.write_text(f'#include "{path.name}"\n')
    else:
        unit = path
    result = subprocess.run([*command, "-c", str(unit), "-o", str(folder / f"{path.name}.o")],
                            cwd=root, capture_output=True, text=True, stdin=subprocess.DEVNULL)
    return path, result.returncode, result.stdout + result.stderr


def main():
    root, compiler, options = pathlib.Path(sys.argv[1]).resolve(), sys.argv[2], sys.argv[3:]
    files = sorted((root / "host/interface").glob("*.h")) + sorted((root / "source").glob("*.cpp"))
    if not files:
        sys.exit("there is nothing to compile")
    cache = [shutil.which("ccache")] if shutil.which("ccache") else []
    command = [*cache, compiler, "-std=c++20", "-O1", "-fPIC", "-fvisibility=hidden", *options, "-Ihost/interface", "-Isource", "-Ires"]
    failed = 0
    with tempfile.TemporaryDirectory() as folder, \
            concurrent.futures.ThreadPoolExecutor(len(os.sched_getaffinity(0))) as pool:
        for path, code, text in pool.map(lambda file: compile_one(root, command, file, pathlib.Path(folder)), files):
            if code:
                failed += 1
                print(f"{path.relative_to(root)} does not compile with {compiler} {' '.join(options[:1])}\n{text}")
    print(f"{len(files)} files, {failed} failed")
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
