#!/bin/bash
# Runs clang-tidy over the library and the command, and compiles every header alone.
#
# lint.sh [BUILD_DIR]    the build folder with the compile commands; default: build/debug
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/debug}

if [[ ! -e $build/compile_commands.json ]]; then
    echo "$build has no compile_commands.json: configure it first, with cmake --preset debug." >&2
    exit 1
fi

# clang-tidy counts the warnings it does not show; that line is left out.
tidy() {
    local output
    if ! output=$(clang-tidy-16 --quiet -p "$1" "$2" 2>&1); then
        grep -v '^[0-9]* warnings\? ' <<<"$output"
        return 1
    fi
}

# Where the headers are that those of the decoders include.
foreign=$(pkg-config --cflags-only-I vips-cpp gmodule-2.0 libavformat | sed 's/-I/-isystem /g')

compile_alone() {
    # shellcheck disable=SC2086 # several words
    c++ -std=c++20 -fsyntax-only -Wall -Wextra -Iinclude -Icompanions -Isrc $foreign -Werror \
        -include "$1" -x c++ /dev/null
}
export foreign
export -f tidy compile_alone

jobs=$(nproc)
failed=0
# The headers of the event loops need their packages; the examples compile those.
find include companions src -name '*.hpp' -not -path '*/integrations/*' -print0 |
    xargs -0 -P "$jobs" -I{} bash -c 'compile_alone "$1"' _ {} || failed=1
find companions src apps -name '*.cpp' -size +0 -print0 |
    xargs -0 -P "$jobs" -I{} bash -c 'tidy "$0" "$1"' "$build" {} || failed=1
exit "$failed"
