#!/usr/bin/env python3
"""Two builds of the same sources in different folders give equal files: the package of the manual, the icons of Studio, and a library of some of
the host's sources, stripped and settled as cpack does it. packaging/reproduce compares all packages, and takes as long as a build.

  reproduce_test.py --compiler CXX
"""
import argparse
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
COPIED = ("apps", "cmake", "docs", "host", "integrations", "packaging", "res", "scenes", "source", "tools", "CHANGELOG.md", "CMakeLists.txt",
          "CMakePresets.json")
OBJECTS = [f"host/core/CMakeFiles/host_core.dir/{name}.cpp.o" for name in ("utf8", "number_text", "markup_text")]
ICONS = "host/qt/qrc_studio.cpp"
SETTLE = ROOT / "packaging/settle_build_ids.py"
COMPARE = ROOT / "packaging/compare_packages.py"
COMPILER = "c++"


def output(*command, **more):
    ended = subprocess.run(list(map(str, command)), capture_output=True, text=True, check=False, **more)
    if ended.returncode != 0:
        raise AssertionError(f"{' '.join(map(str, command))} ended with {ended.returncode}: {ended.stdout}{ended.stderr}")
    return ended.stdout


def build(folder, zone, age):
    """Makes folder/packages and folder/library.so."""
    sources = folder / "sources"
    sources.mkdir(parents=True)
    for name in COPIED:
        (shutil.copytree if (ROOT / name).is_dir() else shutil.copy)(ROOT / name, sources / name)
    for picture in (sources / "host/qt").rglob("*.svg"):
        os.utime(picture, (age, age))  # each checkout has times of its own
    environment = os.environ | {"SOURCE_DATE_EPOCH": "1700000000", "TZ": zone}

    def run(*command, **more):
        output(*command, cwd=sources, env=environment | more, umask=0o022)
    run("cmake", "--preset", "release", "-B", folder / "build", "-DLUMENARA_CCACHE=", "-DLUMENARA_TESTS=OFF", "-DLUMENARA_BENCH=OFF",
        f"-DCMAKE_CXX_COMPILER={COMPILER}")
    run("cmake", "--build", folder / "build", "--target", "debian_changelog", *OBJECTS)
    run("cmake", "--build", folder / "build", "--target", ICONS, SOURCE_DATE_EPOCH="")  # as in a build by hand
    run("cpack", "--config", folder / "build/CPackConfig.cmake", "-B", folder / "packages", "-D", "CPACK_COMPONENTS_ALL=doc")
    library = folder / "library.so"
    run(COMPILER, "-shared", "-o", folder / "unstripped.so", *[folder / "build" / name for name in OBJECTS])
    run("strip", "-o", library, folder / "unstripped.so")


def icons(folder):
    """The bytes of the pictures in Studio; the comments name the folder."""
    return [line for line in (folder / "build" / ICONS).read_text(encoding="utf-8").splitlines() if not line.lstrip().startswith("//")]


class Reproduce(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory(prefix="lumenara-reproduce-")
        self.addCleanup(temporary.cleanup)
        self.folder = pathlib.Path(temporary.name).resolve()

    def test_builds_in_two_folders_are_equal(self):
        first, second = self.folder / "one", self.folder / "another/folder/further/down"
        build(first, "UTC", 1_000_000_000)
        build(second, "Asia/Tokyo", 1_200_000_000)
        told = output(COMPARE, first / "packages", second / "packages")
        self.assertEqual(told.count(": equal"), 1, told)
        self.assertEqual(icons(first), icons(second))
        left, right = first / "library.so", second / "library.so"
        # Without this step the build IDs tell the folders apart.
        self.assertNotEqual(left.read_bytes(), right.read_bytes())
        for library in (left, right):
            self.assertEqual(output(SETTLE, self.alone(library)), "1 build IDs were settled\n")
        self.assertEqual(left.read_bytes(), right.read_bytes())

    def alone(self, library):
        """The folder that holds the library as its only program."""
        place = library.parent / "installed"
        place.mkdir()
        library.rename(place / "library.so")
        library.symlink_to(place / "library.so")
        return place

    def package(self, folder, text):
        root = self.folder / "root" / folder
        (root / "DEBIAN").mkdir(parents=True)
        (root / "DEBIAN/control").write_text("Package: a\nVersion: 1\nArchitecture: all\nMaintainer: a <a@b>\nDescription: a\n", encoding="utf-8")
        (root / "content").write_text(text, encoding="utf-8")
        (self.folder / folder).mkdir()
        output("dpkg-deb", "--build", "--root-owner-group", root, self.folder / folder / "a_1_all.deb")
        return self.folder / folder

    def test_a_difference_is_named(self):
        first, second = self.package("first", "one\n"), self.package("second", "two\n")
        ended = subprocess.run([COMPARE, first, second], capture_output=True, text=True, check=False)
        self.assertEqual((ended.returncode, ended.stdout), (1, "a_1_all.deb: different: content\n"))
        (second / "a_1_all.deb").rename(second / "b_1_all.deb")
        ended = subprocess.run([COMPARE, first, second], capture_output=True, text=True, check=False)
        self.assertEqual(ended.returncode, 1)
        self.assertIn("a_1_all.deb is missing in", ended.stdout)
        self.assertIn("b_1_all.deb is missing in", ended.stdout)

    def test_other_files_are_left_alone(self):
        place = self.folder / "files"
        place.mkdir()
        (place / "text").write_bytes(b"\x7fELF is not one" * 9)
        (place / "empty").touch()
        self.assertEqual(output(SETTLE, place), "0 build IDs were settled\n")
        self.assertEqual((place / "text").read_bytes(), b"\x7fELF is not one" * 9)


if __name__ == "__main__":
    parser = argparse.ArgumentParser(add_help=False)
    parser.add_argument("--compiler", default=COMPILER)
    known, rest = parser.parse_known_args()
    COMPILER = known.compiler
    if any(not shutil.which(tool) for tool in ("cpack", "dpkg-deb", "strip")):
        print("skipped: not installed: cpack, dpkg-deb or strip")
        sys.exit(77)
    unittest.main(argv=[sys.argv[0], *rest])
