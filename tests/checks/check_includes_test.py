#!/usr/bin/env python3
"""Proves that check_includes.py reports each kind of fault, and nothing in a tree without one."""
import pathlib
import sys
import tempfile

sys.dont_write_bytecode = True
import check_includes  # noqa: E402

RIGHT = {
    "host/interface/c4d.h": "#include <vector>\n",
    "host/core/clock.h": '#include "c4d.h"\n#include <cstdint>\n',
    "host/core/platform_linux.cpp": "#include <dlfcn.h>\n#include <sys/inotify.h>\n",
    "host/scene/gltf/mesh.cpp": '#include "clock.h"\n#include <tiny_gltf.h>\n#include <nlohmann/json.hpp>\n',
    "host/image/text/text.cpp": "#include <ft2build.h>\n#include FT_FREETYPE_H\n",
    "host/image/codec/pixel_rows.h": '#include "clock.h"\n',
    "host/image/codec/png.cpp": '#include "pixel_rows.h"\n#include "clock.h"\n',
    "host/image/ffmpeg/encoder.cpp": '#include "pixel_rows.h"\n#include <libavcodec/avcodec.h>\n',
    "host/image/tiff/tiff.cpp": "#include <tiffio.h>\n#include <OpenEXR/ImfHeader.h>\n",
    "host/image/rows.cpp": '#include "pixel_rows.h"\n',
    "host/render/film.h": '#include "clock.h"\n',
    "host/render/film.cpp": '#include "film.h"\n#include <embree3/rtcore.h>\n',
    "source/lm_keys.h": '#include "c4d.h"\n',
    "source/main.cpp": '#include "lm_keys.h"\n#include <atomic>\n',
    "apps/batch/main.cpp": '#include "film.h"\n#include "lm_keys.h"\n#include <CLI/CLI.hpp>\n',
    "apps/batch/batch_line.h": "#include <string>\n",
    "tests/fuzz/a_fuzz.cpp": '#include "batch_line.h"\n#include "clock.h"\n',
    "tests/core/a_test.cpp": '#include "clock.h"\n#include <gtest/gtest.h>\n#include <sys/stat.h>\n',
}
WRONG = [
    ("host/core/a.cpp", '#include "film.h"\n', "must not use"),
    ("host/scene/a.cpp", '#include "film.h"\n', "must not use"),
    ("host/scene/a.cpp", '#include "../core/clock.h"\n', "goes through ../"),
    ("host/scene/a.cpp", '#include "core/clock.h"\n', "names a folder"),
    ("host/scene/a.cpp", "#include <embree3/rtcore.h>\n", "may stand in"),
    ("host/core/a.cpp", "#include <OpenImageIO/imageio.h>\n", "may stand in"),
    ("host/render/a.cpp", "#include <nlohmann/json.hpp>\n", "may stand in"),
    ("host/image/a.cpp", "#include <QImage>\n", "may stand in"),
    ("host/core/a.cpp", "#include <dlfcn.h>\n", "_linux.cpp"),
    ("host/core/a.cpp", "#include <sys/stat.h>\n", "_linux.cpp"),
    ("host/core/a.cpp", "#ifdef __linux__\n#endif\n", "Linux only"),
    ("host/core/a.cpp", 'auto file = "/proc/self/exe";\n', "Linux only"),
    ("host/core/a.cpp", '#include "nowhere.h"\n', "not a header of the project"),
    ("host/core/film.h", "", "unique over host/"),
    ("host/core/time.h", "", "standard header"),
    ("host/core/files/film.h", "", "unique over host/"),
    ("host/scene/gltf/a.cpp", '#include "film.h"\n', "must not use"),
    ("host/scene/gltf/a.cpp", "#include <embree3/rtcore.h>\n", "may stand in"),
    ("host/image/a.cpp", '#include "codec/pixel_rows.h"\n', "names a folder"),
    ("host/image/codec/rows/a.cpp", "", "too deep"),
    ("host/image/a.cpp", "#include <libavcodec/avcodec.h>\n", "may stand in"),
    ("host/image/codec/a.cpp", "#include <OpenImageIO/imageio.h>\n", "may stand in"),
    ("host/image/a.cpp", "#include <tiffio.h>\n", "may stand in"),
    ("source/a.cpp", '#include "clock.h"\n', "must not use"),
    ("source/a.cpp", "#include <unistd.h>\n", "standard library"),
    ("host/interface/a.h", '#include "clock.h"\n', "must not use"),
    ("apps/batch/a.cpp", "#include <QApplication>\n", "may stand in"),
    ("tests/core/b_test.cpp", '#include "batch_line.h"\n', "must not use"),
    ("tests/module/a_test.cpp", '#include "lm_keys.h"\n', "must not use"),
]


def faults_of(files):
    with tempfile.TemporaryDirectory() as folder:
        root = pathlib.Path(folder)
        for name, text in files.items():
            path = root / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text)
        return check_includes.check_tree(root)[0]


def main():
    bad = [f"a right tree is blamed: {fault}" for fault in faults_of(RIGHT)]
    for name, text, expected in WRONG:
        faults = faults_of({**RIGHT, name: text})
        if len(faults) != 1 or name not in faults[0] or expected not in faults[0]:
            bad.append(f"{name} with {text!r}: expected one fault with '{expected}', got {faults}")
    uses, walls = check_includes.read_rules('set(LUMENARA_USES_b a)\nlumenara_wall(x "x[.]h$|y/" host/b tests)\nlumenara_wall(t "-" host/a)\n')
    if (uses, walls) != ({"b": {"a"}}, [("x[.]h$|y/", {"host/b", "tests"})]):
        bad.append(f"the rules are misread: {uses} {walls}")
    try:
        check_includes.read_rules('set(LUMENARA_USES_b a)\n\nlumenara_wall(x\n  "x" host/b)\n')
        bad.append("a rule over two lines is passed over in silence")
    except SystemExit:
        pass
    print("\n".join(bad) or f"{len(WRONG)} faults found")
    sys.exit(1 if bad else 0)


if __name__ == "__main__":
    main()
