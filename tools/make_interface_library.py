#!/usr/bin/env python3
"""Lists the plug-in interface's symbols of the host library as an assembler file.

Linked with the host library's name it gives a library that a plug-in module can be linked against: a module that uses
anything else of the host does not link. Only what the interface headers export (C4D_API) is kept: functions, variables,
and of classes all members, virtual tables and type information.
"""
import argparse
import pathlib
import re
import subprocess
import sys

PREFIXES = re.compile(r"^(?:(?:vtable|typeinfo|typeinfo name|VTT|guard variable) for |(?:non-virtual|virtual|covariant return) thunk to )+")
CODE, DATA = set("TtWwi"), set("VvDdBbRrSsGgu")


def without_comments(text):
    text = re.sub(r"/\*.*?\*/", " ", text, flags=re.S)
    text = re.sub(r"//[^\n]*", " ", text)
    return re.sub(r'"(?:\\.|[^"\\\n])*"', '""', text)


def exported_names(headers):
    """Names at namespace scope that the headers declare with C4D_API."""
    names = set()
    for header in headers:
        text = re.sub(r"^\s*#.*$", " ", without_comments(pathlib.Path(header).read_text(encoding="utf-8")), flags=re.M)
        for found in re.finditer(r"\b(?:(class|struct)\s+)?C4D_API\b([^;{]*)", text):
            if found.group(1):
                name = re.match(r"\s*(?:alignas\([^)]*\)\s*)?(\w+)", found.group(2))
            else:
                name = re.search(r"(operator\s*(?:\(\)|[^\s\w(]+)|\w+)\s*(?:[(=\[{]|$)", found.group(2))
            if name:
                names.add(name.group(1).replace(" ", ""))
    return names


def top_level(demangled):
    """The outermost name of a demangled symbol; operators keep their sign."""
    name = PREFIXES.sub("", demangled)
    operator = re.match(r"operator\s*(?:\(\)|[^\s\w(]+)", name)
    if operator:
        return operator.group(0).replace(" ", "")
    return re.match(r"\w*", name).group(0)


def symbols_of(library, nm):
    def run(*options):
        out = subprocess.run([nm, "-D", "--defined-only", "--format=posix", *options, library],
                             check=True, capture_output=True, text=True).stdout
        return out.splitlines()

    sizes = {}
    for line in run():
        fields = line.split()
        if len(fields) >= 2:
            sizes[fields[0]] = (fields[1], int(fields[3], 16) if len(fields) > 3 else 0)
    names = list(sizes)
    demangled = subprocess.run(["c++filt"], input="\n".join(names), check=True, capture_output=True, text=True).stdout
    return [(name, *sizes[name], text) for name, text in zip(names, demangled.splitlines())]


def assembler(symbols):
    lines = []
    for name, kind, size in sorted(symbols):
        section, what = (".text", "%function") if kind in CODE else (".data", "%object")
        lines += [section, f".globl {name}", f".type {name}, {what}", f"{name}:"]
        if kind in DATA:
            lines.append(f".zero {max(size, 1)}")
        lines.append(f".size {name}, {max(size, 1) if kind in DATA else 0}")
    lines.append('.section .note.GNU-stack,"",%progbits')
    return "\n".join(lines) + "\n"


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--nm", default="nm")
    parser.add_argument("--host", required=True)
    parser.add_argument("--output", required=True, type=pathlib.Path)
    parser.add_argument("headers", nargs="+")
    arguments = parser.parse_args()

    names = exported_names(arguments.headers)
    kept = [(name, kind, size) for name, kind, size, text in symbols_of(arguments.host, arguments.nm)
            if "@" not in name and top_level(text) in names and (kind in CODE or kind in DATA)]
    if not kept:
        sys.exit(f"{arguments.host} exports nothing that the interface headers declare with C4D_API")
    text = assembler(kept)
    # Left alone when equal, so that a change inside the host does not link the module again.
    if not arguments.output.exists() or arguments.output.read_text() != text:
        arguments.output.write_text(text)


if __name__ == "__main__":
    main()
