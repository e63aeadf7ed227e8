#!/bin/bash
# Makes the picture of all example thumbnails that the README shows, with the orv command itself.
#
# contact-sheet.sh [ORV [SHEET]]    default: the release build's, docs/thumbnails.jpg
set -euo pipefail
top=$(realpath "$(dirname "$0")/..")
orv=$(realpath "${1:-$top/build/release/bin/orv}")
sheet=$(realpath -m "${2:-$top/docs/thumbnails.jpg}")
height=160

home=$(mktemp -d "${TMPDIR:-/tmp}/orv-sheet-XXXXXX")
trap 'rm -rf "$home"' EXIT
cd "$home"
"$orv" --home "$home" --quiet examples examples

joined=
for file in examples/Pictures/*.jpg examples/Books/*.pdf; do
    thumb=$(basename "$file").png
    "$orv" --home "$home" --quiet thumb "$file" "$thumb" --height $height
    [[ -z $joined ]] && joined=$thumb && continue
    vips join "$joined" "$thumb" "with $thumb" horizontal --shim 8 --background "255 255 255 255"
    joined="with $thumb"
done
vips flatten "$joined" flat.png --background "255 255 255"
vips jpegsave flat.png "$sheet" --Q 85 --strip
