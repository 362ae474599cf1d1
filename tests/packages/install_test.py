#!/usr/bin/env python3
"""`cmake --install` into a prefix that is moved afterwards: everything works from there, and nothing names the build folder.

  install_test.py --build FOLDER --source FOLDER --version V --library lib/lumenara
"""
import argparse
import pathlib
import shutil
import subprocess
import sys
import tempfile

from installed import Failed, Installed, check

sys.path.insert(0, str(pathlib.Path(__file__).parents[1] / "studio"))
import studio_driver  # noqa: E402


def studio_opens(installed, library, build):
    """The window comes up, with the plug-in, and no library comes from the build folder."""
    missing = [tool for tool in studio_driver.TOOLS if not shutil.which(tool)]
    if missing:
        print("not tested, because not installed: " + ", ".join(missing) + "; lumenara-studio was not started")
        return
    display = studio_driver.Display()
    try:
        studio = studio_driver.Studio(display, installed.prefix / "bin" / "lumenara-studio", home=installed.folder / "studio-home")
        maps = pathlib.Path(f"/proc/{studio.process.pid}/maps").read_text(encoding="utf-8")
        for name in ("liblumenara_host.so", "plugins/Lumenara/lumenara.so"):
            check(f"{installed.prefix}/{library}/{name}" in maps, f"lumenara-studio did not load its {name}")
        check(str(build) not in maps, "lumenara-studio loads files of the build folder")
        check(studio.find(name="dialog-1021442-0") or "Lumenara v" in studio.output(), "the plug-in did not start")
        studio.close()
    finally:
        display.close()


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=pathlib.Path, required=True)
    parser.add_argument("--source", type=pathlib.Path, required=True)
    parser.add_argument("--version", required=True)
    parser.add_argument("--library", required=True)
    options = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="lumenara-install-") as name:
        folder = pathlib.Path(name).resolve()
        first, moved = folder / "first", folder / "a place" / "moved"
        subprocess.run(["cmake", "--install", options.build, "--prefix", first, "--strip"], check=True, stdout=subprocess.DEVNULL)
        moved.parent.mkdir()
        first.rename(moved)
        work = folder / "work"
        work.mkdir()
        installed = Installed(moved, work)
        installed.names_nothing_of(options.build, first)
        installed.versions(options.version)
        installed.parts(installed.textures())
        studio_opens(installed, options.library, options.build)
    print("passed")
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except Failed as failure:
        print(f"failed: {failure}")
        sys.exit(1)
