#!/usr/bin/env python3
"""Refuses an include that does not run downwards through the layers, that a layer has no right to, or
that closes a circle among the files of a layer.

check-layers.py [--root FOLDER]    checks the sources
check-layers.py --self-test        checks that faults planted in a small tree are found
"""

import argparse
import re
import sys
import tempfile
from pathlib import Path

# From the bottom up. Layers on one line do not know each other.
RANKS = [
    ["utility"],
    ["files"],
    ["database", "archive", "picture", "trash"],
    ["Global"],
    ["Database"],
    ["CustomAttributes"],
    ["Misc"],
    ["Tool", "ThumbGenerator"],
    ["Operations"],
    ["Facade"],
    ["Folder"],
    ["apps", "decoder", "integrations"],
]
RANK_OF = {layer: rank for rank, layers in enumerate(RANKS) for layer in layers}

# Layers whose files still include one another in circles.
WITH_CIRCLES = {"Operations", "Folder", "ThumbGenerator", "archive", "picture", "decoder"}

# Where a layer's files lie; quoted includes are found from the first two.
SOURCE_ROOTS = ["companions", "src"]
PUBLIC_ROOT = "include/orv"

# Headers of other libraries, and the layers that may know them.
LIBRARIES = {
    r"sqlite3\.h": {"database"},
    r"unicode/.*": {"utility", "archive"},
    r"(zip|libdeflate|uchardet)\.h|openssl/.*": {"archive"},
    r"zlib\.h": {"archive", "picture"},
    r"(turbojpeg|png)\.h": {"picture"},
    r"md5\.h": {"ThumbGenerator"},
    r"(vips|gdk-pixbuf|qpdf|fontconfig|libavcodec|libavformat|libavutil|libswscale)/.*"
    r"|gmodule\.h|seccomp\.h": {"decoder"},
    r"(CLI|fmt)/.*": {"apps"},
}
STANDARD = re.compile(r"[a-z_]+")
PLATFORM = re.compile(
    r"(sys|sys/platform|linux)/\w+\.h|(dirent|dlfcn|errno|fcntl|link|malloc|poll|pthread|pwd|signal|sched|spawn|stdio|stdlib|string|"
    r"termios|time|unistd)\.h"
)
INCLUDE = re.compile(r'^\s*#\s*include\s*(<[^>]*>|"[^"]*"|\S+)')


def layer_of(path, root):
    """The layer that a source file belongs to; None when it lies in none."""
    parts = path.relative_to(root).parts
    if parts[0] == "apps":
        return "apps"
    if parts[0] in SOURCE_ROOTS:
        return parts[1]
    # What includes the whole library stands on top of it.
    return parts[2] if len(parts) > 3 else "Folder"


def check_layer(layer, target):
    if target not in RANK_OF:
        return f"there is no layer {target}"
    if layer != target and RANK_OF[target] >= RANK_OF[layer]:
        return f"{layer} must not know {target}"
    return None


def check_own(name, layer, bases, root):
    """An include of one of our own headers, looked for below `bases`."""
    if not any((root / base / name).is_file() for base in bases):
        return "there is no such header"
    names = name.split("/")
    if names[0] == "orv":
        names = names[1:]
    return check_layer(layer, names[0] if len(names) > 1 else "Folder")


def check_foreign(name, layer, is_public):
    if layer == "integrations" or STANDARD.fullmatch(name):
        return None
    if is_public:
        return "a public header needs the standard library and <orv/...> only"
    if PLATFORM.fullmatch(name):
        return None
    for pattern, layers in LIBRARIES.items():
        if re.fullmatch(pattern, name):
            return None if layer in layers else f"{layer} must not know that library"
    return "no layer may include it"


def check_include(include, path, layer, root):
    """What is wrong with `include` in the file at `path`; None when nothing is."""
    is_public = path.is_relative_to(root / PUBLIC_ROOT)
    name = include[1:-1]
    if include[0] == "<":
        if name.startswith("orv/"):
            return check_own(name, layer, ["include"], root)
        return check_foreign(name, layer, is_public)
    if include[0] != '"':
        return "an include is written out"
    if is_public:
        return "a public header includes by <orv/...> only"
    if layer == "apps" and (path.parent / name).is_file():
        return None
    return check_own(name, layer, SOURCE_ROOTS, root)


def unit_of(path, root):
    """What a header, public or not, and its source are together: their place and name in the layer."""
    parts = path.relative_to(root).with_suffix("").parts
    return "/".join(parts[2:] if parts[0] == "include" else parts[1:])


def included_unit(include, path, root):
    """The unit of our own that the file at `path` includes; None for other headers."""
    bases = ["include"] if include.startswith("<orv/") else SOURCE_ROOTS
    for base in [*(root / base for base in bases), path.parent]:
        if (base / include[1:-1]).is_file():
            return unit_of(base / include[1:-1], root)
    return None


def circles_in(units):
    """The units that include one another in a circle, or lie between circles. `units` says what each
    includes."""
    left = dict(units)
    while True:
        included = {other for unit in left for other in left[unit] if other in left}
        ends = [u for u in left if u not in included or not any(o in left for o in left[u])]
        if not ends:
            return sorted(left)
        for unit in ends:
            del left[unit]


def faults_in(root):
    """A line for every include that is refused, and how many files were looked at."""
    faults = []
    files = [
        path
        for top in [PUBLIC_ROOT, *SOURCE_ROOTS, "apps"]
        for path in sorted((root / top).rglob("*.[ch]pp"))
    ]
    units = {}
    for path in files:
        layer = layer_of(path, root)
        where = path.relative_to(root)
        if layer not in RANK_OF:
            faults.append(f"{where}: there is no layer {layer}")
            continue
        included = units.setdefault(layer, {}).setdefault(unit_of(path, root), set())
        for number, line in enumerate(path.read_text().splitlines(), 1):
            found = INCLUDE.match(line)
            fault = found and check_include(found[1], path, layer, root)
            if fault:
                faults.append(f"{where}:{number}: {found[1]}: {fault}")
            if found:
                included.add(included_unit(found[1], path, root))
        included.discard(unit_of(path, root))
    for layer in units.keys() - WITH_CIRCLES:
        if circle := circles_in(units[layer]):
            faults.append(f"include one another in a circle: {', '.join(circle)}")
    return faults, len(files)


# A file, an include in it, and whether that is refused.
PLANTED = [
    ("include/orv/utility/Url.hpp", "<string>", False),
    ("include/orv/Misc/Item.hpp", "<orv/utility/Url.hpp>", False),
    ("include/orv/Misc/Item.hpp", "<vector>", False),
    ("include/orv/Misc/Item.hpp", "<sys/stat.h>", True),
    ("include/orv/Misc/Item.hpp", '"utility/Text.hpp"', True),
    ("include/orv/Misc/Item.hpp", "<orv/Facade/Manager.hpp>", True),
    ("include/orv/integrations/qt.hpp", "<QObject>", False),
    ("include/orv/integrations/qt.hpp", "<orv/Facade/Manager.hpp>", False),
    ("include/orv/Facade/Manager.hpp", "<orv/integrations/qt.hpp>", True),
    ("include/orv/Facade/Manager.hpp", "<orv/Misc/Item.hpp>", False),
    ("include/orv/orv.hpp", "<orv/Facade/Manager.hpp>", False),
    ("companions/utility/Text.hpp", "<unicode/unistr.h>", False),
    ("companions/utility/Text.hpp", "<sqlite3.h>", True),
    ("companions/utility/Text.hpp", '"Tool/Walk.hpp"', True),
    ("src/Tool/Walk.hpp", '"utility/Text.hpp"', False),
    ("src/Tool/Walk.hpp", "<dirent.h>", False),
    ("src/Tool/Walk.hpp", '"Tool/Missing.hpp"', True),
    ("src/Tool/Walk.hpp", '"Operations/Copy.hpp"', True),
    ("src/Tool/Walk.hpp", "<orv/orv.hpp>", True),
    ("src/Tool/Walk.hpp", "<QObject>", True),
    ("src/Operations/Copy.hpp", '"Tool/Walk.hpp"', False),
    ("src/Shelf/Thing.hpp", "<vector>", True),
    ("apps/orv/main.cpp", "<CLI/CLI.hpp>", False),
    ("apps/orv/main.cpp", "<orv/orv.hpp>", False),
]


# Files with what they include, and whether that is a circle.
PLANTED_CIRCLES = [
    ([("src/Tool/A.hpp", '"Tool/B.hpp"'), ("src/Tool/B.cpp", '"Tool/A.hpp"')], True),
    ([("src/Tool/A.cpp", '"Tool/A.hpp"'), ("src/Tool/B.cpp", '"Tool/A.hpp"')], False),
    ([("src/Misc/A.cpp", "<orv/Misc/B.hpp>"), ("src/Misc/B.cpp", '"Misc/A.hpp"')], True),
    (
        [
            ("src/Tool/A.hpp", '"Tool/B.hpp"'),
            ("src/Tool/B.hpp", '"Tool/C.hpp"'),
            ("src/Tool/C.cpp", '"Tool/A.hpp"'),
        ],
        True,
    ),
]


def test_circles():
    """How many of the planted circles are judged wrongly."""
    failed = 0
    for includes, is_circle in PLANTED_CIRCLES:
        with tempfile.TemporaryDirectory() as folder:
            root = Path(folder)
            for path, include in includes:
                name = include[1:-1]
                header = root / ("include" if name.startswith("orv/") else "src") / name
                for file in [root / path, root / Path(path).with_suffix(".hpp"), header]:
                    file.parent.mkdir(parents=True, exist_ok=True)
                    file.touch()
                (root / path).write_text(f"#include {include}\n")
            if any("circle" in fault for fault in faults_in(root)[0]) != is_circle:
                failed += 1
                print(f"{includes} {'passed' if is_circle else 'is refused'}")
    return failed


def self_test():
    failed = test_circles()
    for path, include, is_refused in PLANTED:
        with tempfile.TemporaryDirectory() as folder:
            root = Path(folder)
            for other in {planted[0] for planted in PLANTED if "Shelf" not in planted[0]} | {path}:
                (root / other).parent.mkdir(parents=True, exist_ok=True)
                (root / other).write_text("")
            (root / path).write_text(f"#pragma once\n\n#include {include}\n")
            if bool(faults_in(root)[0]) != is_refused:
                failed += 1
                print(f"{path} including {include} is {'passed' if is_refused else 'refused'}")
    count = len(PLANTED) + len(PLANTED_CIRCLES)
    print(f"{count - failed} of {count} planted includes were judged right.")
    return failed == 0


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--root", type=Path, default=Path(__file__).resolve().parent.parent)
    parser.add_argument("--self-test", action="store_true")
    arguments = parser.parse_args()
    if arguments.self_test:
        return 0 if self_test() else 1
    faults, count = faults_in(arguments.root)
    print(*faults, sep="\n", end="\n" if faults else "")
    print(f"Includes of {count} files checked, {len(faults)} refused.")
    return 1 if faults or not count else 0


if __name__ == "__main__":
    sys.exit(main())
