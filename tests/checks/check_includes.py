#!/usr/bin/env python3
"""Reads every #include of the tree and enforces the folder rules.

  check_includes.py ROOT      prints one line a fault and exits 1 when there is one
"""
import pathlib
import re
import sys

RULES = pathlib.Path(__file__).parents[2] / "cmake" / "Rules.cmake"


def read_rules(text):
    """USES: folder of the host -> folders that it may include besides its own. WALLS: (pattern of an include, places) pairs."""
    uses = {name: set(folders.split()) for name, folders in re.findall(r"^set\(LUMENARA_USES_(\w+)([^)]*)\)", text, re.M)}
    walls = [(headers, set(places.split()))
             for headers, places in re.findall(r'^lumenara_wall\(\w+ "([^"]+)"((?: [\w/]+)*)\)', text, re.M) if headers != "-"]
    count = text.count("\nlumenara_wall(")
    if not uses or len(walls) + len(re.findall(r'^lumenara_wall\(\w+ "-"', text, re.M)) != count:
        raise SystemExit(f"error: {RULES} has lines that this check cannot read; keep one lumenara_wall(...) a line")
    return uses, walls


USES, WALLS = read_rules(RULES.read_text(encoding="utf-8"))
HOST = set(USES)

# The files that may use what only this platform has.
PLATFORM_FILE = re.compile(r"host/core/\w+_linux[.]cpp")

STANDARD = set("""
algorithm any array atomic barrier bit bitset cassert cctype cerrno cfenv cfloat charconv chrono cinttypes climits clocale
cmath compare complex concepts condition_variable coroutine csetjmp csignal cstdarg cstddef cstdint cstdio cstdlib cstring
ctime cuchar cwchar cwctype deque exception execution filesystem format forward_list fstream functional future
initializer_list iomanip ios iosfwd iostream istream iterator latch limits list locale map memory memory_resource mutex new
numbers numeric optional ostream queue random ranges ratio regex scoped_allocator semaphore set shared_mutex
source_location span sstream stack stdexcept stop_token streambuf string string_view strstream syncstream system_error
thread tuple type_traits typeindex typeinfo unordered_map unordered_set utility valarray variant vector version
""".split())

INCLUDE = re.compile(r'^\s*#\s*include\s*(?:"([^"]+)"|<([^>]+)>|(\w+))')
LINUX_ONLY = re.compile(r'__linux|__gnu_linux__|"/proc/|"/sys/|\b_GNU_SOURCE\b')


def area_of(path):
    """host/scene/x.cpp and host/scene/gltf/x.cpp -> host/scene, tests/core/x.cpp -> tests/core, source/x.cpp -> source."""
    parts = path.parts
    if parts[0] == "res":  # the numbers of the plug-in's resources
        return "source"
    return "/".join(parts[:2]) if parts[0] in ("host", "apps", "tests", "bench") and len(parts) > 2 else parts[0]


def sources_of(root):
    for top in ("host", "source", "res", "apps", "tests", "bench"):
        for path in sorted((root / top).rglob("*")):
            if path.suffix in (".h", ".cpp"):
                yield path.relative_to(root)


def allowed_areas(area):
    """Areas whose headers a file of this area may include with quotes."""
    top, _, folder = area.partition("/")
    if area == "source":
        return {"source", "host/interface"}
    if top == "host":
        return {area} | {f"host/{name}" for name in USES.get(folder, set())}
    host = {f"host/{name}" for name in HOST}
    if area == "apps/studio":
        return host | {"source", area, "apps/help"}
    host -= {"host/qt"} if area not in ("tests/qt", "bench/studio") else set()
    if area == "tests/module":
        return host | {area, "tests/support"}
    if area == "tests/batch_units":  # the program's units on the plug-in's fixtures
        return host | {"source", area, "apps/batch", "tests/plugin", "tests/support"}
    if area == "tests/fuzz":  # the program's command line is fuzzed as well
        return host | {"source", area, "apps/batch"}
    if area == "apps/batch":
        return host | {"source", area, "apps/help"}
    return host | {"source", area, "tests/support"} if top == "tests" else host | {"source", area}


def check_quoted(path, area, name, headers):
    if "../" in name:
        return "goes through ../; folders are include roots, name the file alone"
    owners = headers.get(pathlib.PurePath(name).name, set())
    here = {owner for owner in owners if owner in allowed_areas(area)}
    if not owners:
        return "is not a header of the project; include other headers with <>"
    if area.startswith("host/") and "/" in name:
        return "names a folder; folders are include roots, name the file alone"
    if not here:
        return f"is a header of {', '.join(sorted(owners))}, which {area} must not use"
    return None


def in_wall(path, places):
    return any(path.as_posix().startswith(place + "/") for place in places)


def check_foreign(path, area, name):
    for pattern, places in WALLS:
        if re.match(pattern, name):
            return None if in_wall(path, places) else f"may stand in {', '.join(sorted(places))} only"
    if name in STANDARD:
        return None
    if area in ("source", "host/interface"):
        return "is not of the C++ standard library, the only one that the plug-in and its interface use"
    if PLATFORM_FILE.fullmatch(path.as_posix()) or area.startswith("tests"):
        return None
    return f"is neither standard nor a known dependency; what only one platform has belongs into host/core/*_linux.cpp"


def check_file(root, path, headers):
    area = area_of(path)
    portable = not PLATFORM_FILE.fullmatch(path.as_posix()) and not area.startswith("tests")
    for number, line in enumerate((root / path).read_text(encoding="utf-8").splitlines(), 1):
        found = INCLUDE.match(line)
        if found:
            quoted, angled, macro = found.groups()
            fault = check_quoted(path, area, quoted, headers) if quoted else check_foreign(path, area, angled or macro)
            if fault:
                yield f"{path}:{number}: {quoted or angled or macro} {fault}"
        elif portable and LINUX_ONLY.search(line):
            yield f"{path}:{number}: is Linux only; that belongs into host/core/*_linux.cpp"


def check_names(headers_by_path):
    """Header names are unique over the host, and none hides a standard header."""
    seen = {}
    for path in headers_by_path:
        if path.parts[0] != "host":
            continue
        if path.name in seen:
            yield f"{path}: has the name of {seen[path.name]}; header names are unique over host/"
        seen[path.name] = path
        if path.stem in STANDARD or f"c{path.stem}" in STANDARD:
            yield f"{path}: has the name of a standard header"


def check_depth(paths):
    """A folder of the host has one level of sub-folders; the build takes no file from deeper ones."""
    for path in paths:
        if path.parts[0] == "host" and len(path.parts) > 4:
            yield f"{path}: stands too deep; a folder of the host has one level of sub-folders"


def check_tree(root):
    paths = list(sources_of(root))
    headers = {}
    for path in paths:
        if path.suffix == ".h":
            headers.setdefault(path.name, set()).add(area_of(path))
    faults = list(check_names([path for path in paths if path.suffix == ".h"])) + list(check_depth(paths))
    for path in paths:
        faults += check_file(root, path, headers)
    return faults, len(paths)


def main():
    faults, count = check_tree(pathlib.Path(sys.argv[1]))
    for fault in faults:
        print(fault)
    print(f"{count} files, {len(faults)} faults")
    sys.exit(1 if faults or not count else 0)


if __name__ == "__main__":
    main()
