#!/bin/bash
# Refuses C++ files that clang-format would change; with --fix it changes them.
set -euo pipefail
cd "$(dirname "$0")/.."

mode=(--dry-run -Werror)
[[ ${1:-} == --fix ]] && mode=(-i)
git ls-files -z --cached --others --exclude-standard '*.cpp' '*.hpp' |
    while IFS= read -r -d '' file; do [[ -e $file ]] && printf '%s\0' "$file"; done |
    xargs -0 -r -P "$(nproc)" -n 16 clang-format-14 "${mode[@]}"
