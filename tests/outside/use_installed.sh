#!/bin/bash
# Installs a build into a scratch prefix and uses it as an application outside the repository does.
#
# use_installed.sh STEP BUILD_DIR WORK_DIR
#
# STEP: install, then find_package, pkg_config, command, moved, and after the first two hidden. Exits with
# 77 when the step cannot be tried here.
set -euo pipefail
step=$1 build=$2 work=$3
project=$(cd "$(dirname "$0")/project" && pwd)
sources=$(cd "$(dirname "$0")/../.." && pwd)
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
    ! grep -iE 'not found|libQt|libglib|libgobject|libgio|libzip|libcrypto|libdeflate|libuchardet|libpng|libturbojpeg|libmd' <<<"$libraries" ||
        fail "$1 is linked with what it must not need, or cannot be loaded."
}

# Runs a function of this script where neither the sources nor the build exist, save for the work folder,
# and nothing that somebody installed.
without_build_tree() {
    local namespace=(unshare --mount)
    ((EUID == 0)) || namespace+=(--user --map-root-user)
    if ! "${namespace[@]}" mount -t tmpfs none /mnt 2>/dev/null; then
        echo "No mounts can be made here, so the build tree cannot be hidden."
        exit 77
    fi
    export build work sources prefix kept
    kept=$(mktemp -d)
    "${namespace[@]}" bash -euc '
        mount --bind "$work" "$kept"
        mount -t tmpfs none "$sources"
        mount -t tmpfs none /usr/local
        mkdir -p "$build" && mount -t tmpfs none "$build"
        mkdir -p "$work" && mount --bind "$kept" "$work"
        cd /
        [[ ! -e $build/CMakeCache.txt && ! -e $sources/CMakeLists.txt ]]
        '"$(declare -f fail expect_found "$1"); $1" || fail "This failed: $1"
    rmdir "$kept"
}

# What programs elsewhere are to find: expect_found EXPECTED LINES PROGRAM, with as many lines on
# standard error.
expect_found() {
    local found complaints=$work/complaints
    rm -rf "$work/examples"
    found=$("$3" "$work/fox.jpg" "$work/examples" 2>"$complaints") || fail "$3 ended with $?."
    [[ $found == "$1" ]] || fail "$3 found: $found, and not: $1"
    (($(grep -c ORV_PREFIX "$complaints") == $2 && $(wc -l <"$complaints") == $2)) ||
        fail "$3 complained: $(<"$complaints")"
}

find_own_files() {
    local all="picture picture examples" nothing="placeholder placeholder no examples" complaints=0
    local folder library program
    [[ -e $prefix/libexec/orv ]] || all="placeholder placeholder examples" complaints=1
    library=$(find "$prefix" -name 'liborv.*' -print -quit)
    folder=${library%/*}
    cp "$prefix/share/orv/foxies.jpg" "$work/fox.jpg"
    for program in "$work/project/find_own_files" "$work/find_own_files"; do
        LD_LIBRARY_PATH=$folder expect_found "$all" $complaints "$program"
    done

    cp -a "$prefix" "$work/moved" && mount -t tmpfs none "$prefix"
    export LD_LIBRARY_PATH=$work/moved/${folder#"$prefix"}
    for program in "$work/project/find_own_files" "$work/find_own_files"; do
        ORV_PREFIX=$work/moved expect_found "$all" $complaints "$program"
        # A program that a static library was linked into knows where that was, and no more.
        [[ $library == *.so* ]] || expect_found "$nothing" 1 "$program"
        [[ $library == *.a ]] || expect_found "$all" $complaints "$program"
    done
    rm -rf "$work/moved"
}

case $step in
install)
    rm -rf "$work"
    mkdir -p "$work"
    cmake --install "$build" --prefix "$prefix" >"$work/install.log" ||
        fail "The build could not be installed."
    ! grep -rlF -e "$build" -e "$sources" "$prefix" ||
        fail "Installed files name the folders of the sources or the build."
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
    for program in copy_folder find_own_files; do
        "${CXX:-c++}" -std=c++20 -Wall -Wextra -Werror "$project/$program.cpp" "${flags[@]}" \
            -o "$work/$program" ||
            fail "The outside program $program could not be compiled with: ${flags[*]}"
    done
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
hidden) without_build_tree find_own_files ;;
*) fail "There is no step $step." ;;
esac
