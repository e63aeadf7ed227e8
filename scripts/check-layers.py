#!/usr/bin/env python3
"""Refuses an include that does not run downwards through the layers, or that a layer has no right to.

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
    r"(sys|linux)/\w+\.h|(dirent|dlfcn|errno|fcntl|link|malloc|poll|pthread|pwd|signal|sched|spawn|stdio|stdlib|string|"
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


def faults_in(root):
    """A line for every include that is refused, and how many files were looked at."""
    faults = []
    files = [
        path
        for top in [PUBLIC_ROOT, *SOURCE_ROOTS, "apps"]
        for path in sorted((root / top).rglob("*.[ch]pp"))
    ]
    for path in files:
        layer = layer_of(path, root)
        where = path.relative_to(root)
        if layer not in RANK_OF:
            faults.append(f"{where}: there is no layer {layer}")
            continue
        for number, line in enumerate(path.read_text().splitlines(), 1):
            found = INCLUDE.match(line)
            fault = found and check_include(found[1], path, layer, root)
            if fault:
                faults.append(f"{where}:{number}: {found[1]}: {fault}")
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


def self_test():
    failed = 0
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
    print(f"{len(PLANTED) - failed} of {len(PLANTED)} planted includes were judged right.")
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
