#!/usr/bin/env python3
"""Proves that check_sizes.py measures functions, files and folders, and reports each that is too large."""
import pathlib
import sys
import tempfile

sys.dont_write_bytecode = True
import check_sizes  # noqa: E402

BODY = "  int a = 0; // }\n" * 60
MEASURED = [
    ("int f() {\n  return 1;\n}\n", [("f", 1, 3)]),
    ("namespace a {\nclass B {\n  int g() const {\n    return '}';\n  }\n};\n}\n", [("g", 3, 3)]),
    ("\nB::B(int x)\n    : x_(x), y_{x} {\n  f(\"}\");\n}\nint z;\n", [("B::B", 2, 4)]),
    ("struct P {\n  int x = 0;\n};\nconst int table[] = {\n    1,\n    2};\n", []),
    ("TEST_F(Film, Merges) {\n  if (a) {\n  }\n}\n", [("Film.Merges", 1, 4)]),
    ("#define BLOCK {\nauto h() -> int {\n  auto g = [&](int x) {\n    return x;\n  };\n}\n", [("h", 2, 5)]),
]
FAULTS = [
    ({"host/a.cpp": "void f() {\n" + BODY + "}\n"}, "host/a.cpp:1: f has 62 lines"),
    ({"host/a.cpp": "int a;\n" * 501}, "host/a.cpp: 501 lines"),
    ({"tools/a.py": "def f():\n" + "    a = 0\n" * 60}, "tools/a.py:1: f has 61 lines"),
    ({f"host/core/a{i}.cpp": "" for i in range(31)}, "host/core: 31 files and no sub-folder"),
]
RIGHT = {"host/a.cpp": "void f() {\n" + BODY[: 18 * 58] + "}\n", "tests/a.cpp": "int a;\n" * 500,
         "host/core/files/b.cpp": "", **{f"host/core/a{i}.cpp": "" for i in range(31)}}


def faults_of(files, exceptions):
    with tempfile.TemporaryDirectory() as folder:
        root = pathlib.Path(folder)
        for name, text in files.items():
            path = root / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text)
        return check_sizes.check_tree(root, exceptions)[0]


def main():
    bad = []
    for text, expected in MEASURED:
        found = list(check_sizes.functions_of(text))
        if found != expected:
            bad.append(f"{text!r}: expected {expected}, got {found}")
    if faults_of(RIGHT, {}):
        bad.append(f"a right tree is blamed: {faults_of(RIGHT, {})}")
    for files, expected in FAULTS:
        faults = faults_of(files, {})
        if len(faults) != 1 or expected not in faults[0]:
            bad.append(f"expected one fault with '{expected}', got {faults}")
    if faults_of(FAULTS[1][0], {"host/a.cpp": "a table"}):
        bad.append("an exception does not count")
    if faults_of(RIGHT, {"host/a.cpp": "a table"}) != ['the exception "host/a.cpp" is not needed']:
        bad.append("an exception that nothing needs is kept")
    print("\n".join(bad) or f"{len(MEASURED) + len(FAULTS)} cases right")
    sys.exit(1 if bad else 0)


if __name__ == "__main__":
    main()
