#!/bin/bash
# Installs a build into a scratch prefix and uses it as an application outside the repository does.
#
# use_installed.sh STEP BUILD_DIR WORK_DIR    STEP: install, find_package, pkg_config, command, moved
set -euo pipefail
step=$1 build=$2 work=$3
project=$(cd "$(dirname "$0")/project" && pwd)
prefix=$work/prefix
export HOME=$work/home

fail() {
    echo "$*" >&2
    exit 1
}

# Copies a folder with the program that was built, and looks at what it is linked with.
try_program() {
    rm -rf "$work/photos" "$work/copied"
    mkdir -p "$HOME" "$work/photos/2024"
    head -c 300000 /dev/urandom >"$work/photos/2024/beach.jpg"
    "$1" "$work/photos" "$work/copied" || fail "The outside program failed."
    diff -r "$work/photos" "$work/copied" || fail "The copy differs from its source."
    check_links "$1"
}

check_links() {
    local libraries
    libraries=$(ldd "$1")
    ! grep -iE 'not found|libQt|libglib|libgobject|libgio' <<<"$libraries" ||
        fail "$1 is linked with what it must not need, or cannot be loaded."
}

case $step in
install)
    rm -rf "$work"
    mkdir -p "$work"
    cmake --install "$build" --prefix "$prefix" >"$work/install.log" ||
        fail "The build could not be installed."
    ! grep -rlF "$build" "$prefix/include" "$prefix"/lib*/cmake "$prefix"/lib*/pkgconfig ||
        fail "Installed files name the build folder."
    ;;
find_package)
    cmake -S "$project" -B "$work/project" -DCMAKE_PREFIX_PATH="$prefix" >"$work/configure.log" ||
        fail "The outside project could not be configured: see $work/configure.log."
    cmake --build "$work/project" || fail "The outside project could not be built."
    try_program "$work/project/copy_folder"
    rm -rf "$work/requests" && mkdir "$work/requests"
    "$work/project/every_request" "$work/requests" || fail "Not every request could be made."
    ;;
pkg_config)
    pc=$(find "$prefix" -name orv.pc -printf %h)
    read -ra flags < <(PKG_CONFIG_PATH=$pc pkg-config --cflags --libs orv)
    "${CXX:-c++}" -std=c++20 "$project/copy_folder.cpp" "${flags[@]}" -o "$work/copy_folder" ||
        fail "The outside program could not be compiled with: ${flags[*]}"
    export LD_LIBRARY_PATH=${pc%/pkgconfig}
    try_program "$work/copy_folder"
    ;;
command)
    "$prefix/bin/orv" --version || fail "The installed command does not start."
    check_links "$prefix/bin/orv"
    ;;
moved)
    # Out of the build folder, and told from it and from the prefix that was configured by what is
    # changed in the moved tree.
    work=$(mktemp -d) prefix=$work/moved
    trap 'rm -rf "$work"' EXIT
    cmake --install "$build" --prefix "$work/first" >/dev/null && mv "$work/first" "$prefix"
    orv=$prefix/bin/orv decoder=$prefix/libexec/orv/orv-picture-decoder
    echo moved >"$prefix/share/orv/lorem.txt"
    "$orv" --quiet examples "$work/examples" || fail "The example files could not be made."
    [[ $(<"$work/examples/Notes/notes.txt") == moved ]] || fail "The moved resources were not found."
    if [[ -e $decoder ]]; then
        mv "$decoder" "$decoder.real"
        printf '#!/bin/sh\ntouch "%s"\nexec "%s" "$@"\n' "$work/decoder_used" "$decoder.real" >"$decoder"
        chmod +x "$decoder"
    fi
    if said=$("$orv" thumb "$work/examples/Pictures/foxies.jpg" "$work/fox.png" 2>&1); then
        [[ -e $work/decoder_used && -s $work/fox.png ]] || fail "The moved decoder was not found."
    else
        [[ ! -e $decoder && $said == *"was not installed together with the library"* ]] || fail "$said"
    fi
    ;;
*) fail "There is no step $step." ;;
esac
