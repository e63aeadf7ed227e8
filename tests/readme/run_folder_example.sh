#!/bin/bash
# Runs the README's example of a living folder: it shows what is there and what comes, and ends with
# the folder.
set -euo pipefail
program=$1
HOME=$(mktemp -d)
export HOME
trap 'rm -rf "$HOME"' EXIT
cd "$HOME"

wait_for() {
    for _ in {1..600}; do
        grep -qx "$1" shown && return
        sleep 0.05
    done
    cat shown
    return 1
}

mkdir -p Photos/Lake
touch Photos/beach10.jpg Photos/beach2.jpg
# stdbuf comes before the address sanitizer among the libraries, which that refuses otherwise.
ASAN_OPTIONS="${ASAN_OPTIONS:-}:verify_asan_link_order=0" stdbuf -oL "$program" >shown &
wait_for "row 2: beach10.jpg"
touch Photos/beach3.jpg
wait_for "row 2: beach3.jpg"
rm -r Photos
wait
[[ $(head -n 1 shown) == "row 0: Lake" ]]
