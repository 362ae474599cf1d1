#!/usr/bin/env python3
"""Checks the built module: what it exports, what it loads, and what it takes from the host."""
import argparse
import re
import subprocess
import sys

ENTRY_POINTS = {"PluginStart", "PluginMessage", "PluginEnd"}
# Libraries of the language and the system; a sanitizer build adds its own.
LOADS = re.compile(r"liblumenara_host\.so|lib(stdc\+\+|gcc_s|c|m|asan|ubsan|tsan)\.so\.\d+|ld-linux.*")


def lines(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout.splitlines()


def symbols(nm, library, which):
    return {line.split()[0].split("@")[0] for line in lines(nm, "-D", which, "--format=posix", library)}


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    for name in ("--nm", "--readelf", "--module", "--interface"):
        parser.add_argument(name, required=True)
    arguments = parser.parse_args()
    faults = []

    exported = symbols(arguments.nm, arguments.module, "--defined-only")
    if exported != ENTRY_POINTS:
        faults.append(f"the module exports {sorted(exported)}, expected {sorted(ENTRY_POINTS)}")

    for line in lines(arguments.readelf, "-d", arguments.module):
        needed = re.search(r"\(NEEDED\).*\[(.+)\]", line)
        if needed and not LOADS.fullmatch(needed.group(1)):
            faults.append(f"the module loads {needed.group(1)}")

    interface = symbols(arguments.nm, arguments.interface, "--defined-only")
    used = symbols(arguments.nm, arguments.module, "--undefined-only")
    if not used & interface:
        faults.append("the module uses nothing of the interface")
    # _ZN4host..., _ZNK4host..., _ZTV4host...: the host's own namespace.
    faults += [f"the link library has {name}" for name in interface if re.match(r"_ZT?[A-Z]*N?K?4host", name)]
    faults += [f"the module uses {name}" for name in used if re.match(r"_ZT?[A-Z]*N?K?4host", name)]

    print("\n".join(faults) or f"{len(used & interface)} of {len(interface)} interface symbols are used")
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
