#!/bin/bash
# Runs clang-tidy over the library and the command, and compiles every header alone.
#
# lint.sh [BUILD_DIR]    the build folder with the compile commands; default: build/lint, where the
#                        files of a layer are joined, so that what all of them include is read once
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/lint}

if [[ ! -e $build/compile_commands.json ]]; then
    echo "$build has no compile_commands.json: configure it first, with cmake --preset lint." >&2
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

# Where the headers of other libraries are that ours include.
foreign=$(pkg-config --cflags-only-I vips-cpp gmodule-2.0 libavformat uchardet | sed 's/-I/-isystem /g')

compile_alone() {
    # shellcheck disable=SC2086 # several words
    c++ -std=c++20 -fsyntax-only -Wall -Wextra -Iinclude -Icompanions -Isrc $foreign -Werror \
        -include "$1" -x c++ /dev/null
}
export foreign
export -f tidy compile_alone

jobs=$(nproc)
failed=0
# What a source file includes first is compiled alone with that file, in every build that joins none.
first_of_sources() {
    find companions src apps -name '*.cpp' -exec grep -hm1 '^#include ' {} + | sed 's/.*["<]\(.*\)[">].*/\1/'
}
# The headers of the event loops need their packages; the examples compile those.
find include companions src -name '*.hpp' -not -path '*/integrations/*' |
    awk 'NR == FNR { first[$0]; next }
         { name = $0; sub(/^(include|companions|src)\//, "", name) }
         !(name in first)' <(first_of_sources) - |
    xargs -P "$jobs" -I{} bash -c 'compile_alone "$1"' _ {} || failed=1
# The largest first, so that no thread is left with it at the end.
sed -n 's/^ *"file": "\(.*\)",\?$/\1/p' "$build/compile_commands.json" |
    grep -v "^$PWD/\(tests\|examples\|bench\)/" | xargs -d '\n' ls -S |
    xargs -P "$jobs" -I{} bash -c 'tidy "$0" "$1"' "$build" {} || failed=1
exit "$failed"
