#!/bin/bash
# Refuses C++ files that clang-format would change; with --fix it changes them.
set -euo pipefail
cd "$(dirname "$0")/.."

mode=(--dry-run -Werror)
[[ ${1:-} == --fix ]] && mode=(-i)
find include companions src apps tests examples -name '*.[ch]pp' -size +0 -print0 |
    xargs -0 -r -P "$(nproc)" -n 16 clang-format-14 "${mode[@]}"
