#!/usr/bin/env python3
"""Compares the Debian packages of two folders byte by byte.

  packaging/compare_packages.py A B      prints which packages differ and where; exits 1 when one does
"""
import hashlib
import pathlib
import subprocess
import sys
import tempfile


def content(package, folder):
    """Sums of the files inside, and of what dpkg knows about them, by name."""
    subprocess.run(["dpkg-deb", "-R", package, folder], check=True)
    found = {}
    for file in folder.rglob("*"):
        facts = f"{file.lstat().st_mode:o} "
        if file.is_symlink():
            facts += str(file.readlink())
        elif file.is_file():
            facts += hashlib.sha256(file.read_bytes()).hexdigest()
        found[str(file.relative_to(folder))] = facts
    return found


def differences(left, right):
    """Names of files that differ; empty when the difference is in the archive itself."""
    with tempfile.TemporaryDirectory(prefix="lumenara-compare-") as name:
        first, second = (content(package, pathlib.Path(name) / side) for package, side in ((left, "a"), (right, "b")))
    return sorted(file for file in first.keys() | second.keys() if first.get(file) != second.get(file))


def compare(left, right):
    """True when both folders hold the same packages."""
    first, second = ({file.name: file for file in folder.glob("*.deb")} for folder in (left, right))
    if not first and not second:
        print(f"{left} and {right} have no packages")
        return False
    equal = True
    for name in sorted(first.keys() | second.keys()):
        if name not in first or name not in second:
            print(f"{name} is missing in {right if name in first else left}")
        elif first[name].read_bytes() == second[name].read_bytes():
            print(f"{name}: equal")
            continue
        else:
            files = differences(first[name], second[name])
            print(f"{name}: different" + (": " + ", ".join(files) if files else " in order, times or owners of its files"))
        equal = False
    return equal


def main():
    folders = [pathlib.Path(name) for name in sys.argv[1:]]
    if len(folders) != 2 or not all(folder.is_dir() for folder in folders):
        print(__doc__, file=sys.stderr)
        return 2
    return 0 if compare(*folders) else 1


if __name__ == "__main__":
    sys.exit(main())
