#!/usr/bin/env python3
"""The Debian packages: made by cpack, without a complaint of lintian, and the interface's package builds a plug-in that is loaded.

  debian_test.py --build FOLDER --source FOLDER --version V --compiler CXX --library lib/lumenara
"""
import argparse
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

from installed import SKIP, Failed, Installed, check

PACKAGES = ("lumenara", "lumenara-movie", "lumenara-studio", "lumenara-doc", "lumenara-dev")
# File that a package must have, as the archive lists it.
CONTENT = {
    "lumenara": ["usr/bin/lumenara", "usr/bin/lumenara-thumbnailer", "LIBRARY/liblumenara_host.so", "LIBRARY/lumenara_onednn.so",
                 "usr/share/man/man1/lumenara.1.gz", "usr/share/bash-completion/completions/lumenara", "usr/share/lumenara/denoise/rt_hdr.tza",
                 "usr/share/lumenara/denoise/LICENSE.txt", "usr/share/lumenara/defaults.json",
                 "usr/share/thumbnailers/lumenara.thumbnailer"],
    "lumenara-movie": ["LIBRARY/lumenara_ffmpeg.so"],
    "lumenara-studio": ["usr/bin/lumenara-studio", "LIBRARY/plugins/Lumenara/lumenara.so", "usr/share/applications/lumenara-studio.desktop",
                        "usr/share/icons/hicolor/48x48/apps/lumenara-studio.png", "usr/share/metainfo/org.lumenara.Studio.metainfo.xml",
                        "usr/share/man/man1/lumenara-studio.1.gz", "usr/share/lumenara/scenes/demo.glb"],
    "lumenara-doc": ["usr/share/lumenara/docs/lm_manual.pdf", "usr/share/lumenara/docs/lumenara.html"],
    "lumenara-dev": ["usr/include/lumenara/c4d.h", "LIBRARY/../cmake/Lumenara/LumenaraConfig.cmake", "LIBRARY/interface/liblumenara_host.so"],
}
# Libraries that are needed only by parts that are loaded later, and their packages.
NEEDED = {"lumenara": ["libopencolorio", "libdnnl", "libassimp", "libembree"], "lumenara-movie": ["libavcodec", "lumenara ("], "lumenara-studio": ["libqt6widgets6", "lumenara ("]}
# Too large for every farm: the packages that bring them are recommended.
UNWANTED = {"lumenara": ["libav", "libswscale", "qt6"]}
PLUGIN = """#include "c4d.h"
#include "c4d_plugin.h"
Bool PluginMessage(LONG id, void*) { return id == C4DPL_INIT_SYS; }
Bool PluginStart() { GePrint("Hello of the installed interface"); return TRUE; }
void PluginEnd() {}
"""
PROJECT = """cmake_minimum_required(VERSION 3.25)
project(Hello LANGUAGES CXX)
find_package(Lumenara 1 REQUIRED)
lumenara_add_plugin(Hello hello.cpp)
install(TARGETS Hello LIBRARY DESTINATION "${Lumenara_PLUGINS_DIR}/Hello")
"""


def output(*command, **more):
    ended = subprocess.run(list(map(str, command)), capture_output=True, text=True, check=False, **more)
    check(ended.returncode == 0, f"{' '.join(map(str, command))} ended with {ended.returncode}: {ended.stdout}{ended.stderr}")
    return ended.stdout


def make(build, folder):
    """The packages by name."""
    output("cpack", "--config", build / "CPackConfig.cmake", "-B", folder, cwd=build)
    found = {output("dpkg-deb", "-f", file, "Package").strip(): file for file in folder.glob("*.deb")}
    check(sorted(found) == sorted(PACKAGES), f"cpack made {sorted(found)}")
    return found


def check_package(name, file, version, library):
    check(output("dpkg-deb", "-f", file, "Version").strip() == version, f"{name} has another version")
    inside = {line.split()[5].removeprefix("./") for line in output("dpkg-deb", "-c", file).splitlines()}
    papers = [f"usr/share/doc/{name}/copyright", f"usr/share/doc/{name}/changelog.gz"]
    for wanted in CONTENT[name] + papers:
        wanted = os.path.normpath(wanted.replace("LIBRARY", "usr/" + library))
        check(wanted in inside, f"{name} has no {wanted}")
    depends = output("dpkg-deb", "-f", file, "Depends")
    for wanted in NEEDED.get(name, []):
        check(wanted in depends, f"{name} does not depend on {wanted}: {depends}")
    for unwanted in UNWANTED.get(name, []):
        check(unwanted not in depends, f"{name} depends on {unwanted}: {depends}")


def check_interface(root, folder, compiler, library):
    """A plug-in of its own, built against the unpacked packages, is loaded by the unpacked program."""
    source = folder / "hello"
    source.mkdir()
    (source / "hello.cpp").write_text(PLUGIN, encoding="utf-8")
    (source / "CMakeLists.txt").write_text(PROJECT, encoding="utf-8")
    output("cmake", "-S", source, "-B", source / "build", "-G", "Ninja", f"-DCMAKE_PREFIX_PATH={root}/usr", f"-DCMAKE_CXX_COMPILER={compiler}")
    output("cmake", "--build", source / "build")
    output("cmake", "--install", source / "build")
    check((root / "usr" / library / "plugins/Hello/hello.so").exists(), "the plug-in was not installed beside the program's own")
    scene = folder / "empty.gltf"
    scene.write_text('{"asset": {"version": "2.0"}}', encoding="utf-8")
    render = ["render", scene, "-o", folder / "picture.png", "--size", "8x8", "--samples", "1"]
    ended = subprocess.run([root / "usr/bin/lumenara", *render], env=Installed(root / "usr", folder).environment,
                           capture_output=True, text=True, check=False)
    check(ended.returncode == 0 and "Hello of the installed interface" in ended.stdout + ended.stderr,
          f"lumenara does not load the plug-in: {ended.stderr}")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=pathlib.Path, required=True)
    parser.add_argument("--source", type=pathlib.Path, required=True)
    parser.add_argument("--version", required=True)
    parser.add_argument("--compiler", required=True)
    parser.add_argument("--library", required=True)
    options = parser.parse_args()
    missing = [tool for tool in ("cpack", "dpkg-deb", "dpkg-shlibdeps", "file") if not shutil.which(tool)]
    if missing:
        print("skipped: not installed: " + ", ".join(missing))
        return SKIP
    with tempfile.TemporaryDirectory(prefix="lumenara-packages-") as name:
        folder = pathlib.Path(name).resolve()
        made = make(options.build, folder / "made")
        for package, file in made.items():
            check_package(package, file, options.version, options.library)
            output("dpkg-deb", "-x", file, folder / "root")
        if shutil.which("lintian"):
            told = output("lintian", "--fail-on", "error,warning", "--allow-root", "--no-cfg", *made.values())
            check(not told.strip(), told)
        else:
            print("not tested, because not installed: lintian")
        work = folder / "work"
        work.mkdir()
        check_interface(folder / "root", work, options.compiler, options.library)
    print("passed")
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except Failed as failure:
        print(f"failed: {failure}")
        sys.exit(1)
