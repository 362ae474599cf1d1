#!/usr/bin/env python3
"""Keeps files, functions and folders of a size that can be read.

  check_sizes.py ROOT      prints one line per fault and exits 1 when there is one
"""
import ast
import pathlib
import re
import sys

FILE_LINES, FUNCTION_LINES, FOLDER_FILES = 500, 60, 30
TOPS = ("host", "source", "apps", "tests", "bench", "tools", "integrations")

# Path, or path and function -> why it may be larger.
EXCEPTIONS = {
    "integrations/python/lumenara_link.py": "one file, so that it can be copied into other programs",
    "source": "one unit a family, flat",
    "source/dlg_lumenara.cpp DlgLumenara::Command": "a switch with a line or two for each command",
    "tests/plugin/region/region_shapes_test.cpp RegionShapesTest.TheRegionShowsWhatTheBoxFramesAtEveryShape": "one experiment, read in order",
    "tests/session/edits_test.cpp EditsTest.AHundredRandomEditsAreUndoneToTheFirstDocument": "a table of edits",
    "tests/studio/compare_tests.py compare_capture": "the steps of one user, in order",
    "tests/studio/compare_tests.py history_trouble": "the steps of one user, in order",
    "tests/studio/dialog_tests.py options_by_keys": "the steps of one user, in order",
    "tests/studio/dialog_tests.py animation_by_keys": "the steps of one user, in order",
}

# Comments and literals, whose braces and quotes do not count.
NOT_CODE = re.compile(r'//[^\n]*|/\*.*?\*/|R"(\w*)\(.*?\)\1"|"(?:\\.|[^"\\\n])*"|(?<![0-9a-fA-F])\'(?:\\.|[^\'\\\n])+\'', re.S)
# A function's name and its opening parenthesis, and what may stand between the closing one and the body.
NAME = re.compile(r"(operator\W{1,3}|[\w~:]+)\s*\(")
QUALIFIERS = re.compile(r"(?:\s|const\b|noexcept\b|override\b|final\b|mutable\b|&)*(?:->[^;]*|:[^:;][^;]*)?$")
# A value in braces, as members' initialisers have them: y_{x}.
BRACED_VALUE = re.compile(r"(?<=[\w>])\{[^{};]*\}")
NOT_FUNCTION = re.compile(r"^\s*(namespace|class|struct|union|enum|extern)\b")


def blank(match):
    return re.sub(r"[^\n]", " ", match.group())


def function_name(head):
    """The name of the function that the text before an opening brace declares, or None."""
    named = NAME.search(head)
    if NOT_FUNCTION.match(head) or not named:
        return None
    depth, end = 1, named.end()
    while depth and end < len(head):
        depth += {"(": 1, ")": -1}.get(head[end], 0)
        end += 1
    if depth or not QUALIFIERS.match(head, end):
        return None
    case = re.match(r"\s*(\w+)\s*,\s*(\w+)\s*\)", head[named.end():]) if named.group(1).startswith("TEST") else None
    return f"{case.group(1)}.{case.group(2)}" if case else named.group(1)


def functions_of(text):
    """(Name, line, lines) of each outermost function of C++ source."""
    code = re.sub(r"^\s*#[^\n]*(?:\\\n[^\n]*)*", blank, NOT_CODE.sub(blank, text), flags=re.M)
    while BRACED_VALUE.search(code):
        code = BRACED_VALUE.sub(blank, code)
    start, inside, depth = 0, None, 0
    for at, mark in ((m.start(), m.group()) for m in re.finditer(r"[{};]", code)):
        if inside is None:
            head = code[start:at]
            name = function_name(head) if mark == "{" else None
            if name:
                inside, depth = (name, start + len(head) - len(head.lstrip())), 1
            start = at + 1
        elif mark != ";":
            depth += 1 if mark == "{" else -1
            if depth == 0:
                name, first = inside
                line = text.count("\n", 0, first) + 1
                yield name, line, text.count("\n", 0, at) + 2 - line
                inside, start = None, at + 1


def functions_of_python(text):
    for node in ast.walk(ast.parse(text)):
        if isinstance(node, (ast.FunctionDef, ast.AsyncFunctionDef)):
            yield node.name, node.lineno, node.end_lineno - node.lineno + 1


def check_file(path, text):
    name = path.as_posix()
    lines = text.count("\n")
    if lines > FILE_LINES:
        yield name, f"{name}: {lines} lines, at most {FILE_LINES}"
    for function, line, count in (functions_of_python if path.suffix == ".py" else functions_of)(text):
        if count > FUNCTION_LINES:
            yield f"{name} {function}", f"{name}:{line}: {function} has {count} lines, at most {FUNCTION_LINES}"


def check_tree(root, exceptions):
    """Faults of the tree, and exceptions that nothing needs."""
    folders, found, count = {}, [], 0
    for path in sorted(path for top in TOPS for path in (root / top).rglob("*") if path.suffix in (".h", ".cpp", ".py")):
        count += 1
        folders.setdefault(path.parent.relative_to(root).as_posix(), []).append(path)
        found += check_file(path.relative_to(root), path.read_text(encoding="utf-8"))
    found += [(name, f"{name}: {len(files)} files and no sub-folder, at most {FOLDER_FILES}") for name, files in folders.items()
              if len(files) > FOLDER_FILES and not any(other.startswith(name + "/") for other in folders)]
    faults = [text for key, text in found if key not in exceptions]
    unused = set(exceptions) - {key for key, _ in found}
    return faults + [f"the exception \"{key}\" is not needed" for key in sorted(unused)], count


def main():
    faults, count = check_tree(pathlib.Path(sys.argv[1]), EXCEPTIONS)
    print("\n".join(faults + [f"{count} files, {len(faults)} faults"]))
    sys.exit(1 if faults or not count else 0)


if __name__ == "__main__":
    main()
