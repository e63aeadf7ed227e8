#!/bin/bash
# Makes the picture of the Qt browser that the README shows, from the running example.
#
# browser-picture.sh [BUILD [PICTURE]]    default: build/release, docs/browser.png
set -euo pipefail
top=$(realpath "$(dirname "$0")/..")
build=$(realpath "${1:-$top/build/release}")
picture=$(realpath -m "${2:-$top/docs/browser.png}")

home=$(mktemp -d "${TMPDIR:-/tmp}/orv-browser-XXXXXX")
trap 'rm -rf "$home"' EXIT
"$build/bin/orv" --home "$home" --quiet examples "$home/all"
mkdir "$home/Holiday" && cd "$home/Holiday"
mv "$home"/all/{Books,Music,Notes} .
cp "$home"/all/Pictures/* Books/The-Prince.pdf .
cp Notes/notes.txt 'Packing list.txt'
cat >Map.svg <<'END'
<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 40 30"><rect width="40" height="30" fill="#bde"/>
<path d="M3 27 C9 4 30 2 37 20 Z" fill="#7b6"/><path d="M6 24 L20 14 L33 19" stroke="#c42" fill="none"/></svg>
END
for number in 1 2 10; do
    ffmpeg -loglevel error -loop 1 -i foxies.jpg -t 1 -vf "scale=320:-2,hue=h=${number}0" "Part $number.webm"
done
days=0
for item in *; do touch -d "2026-05-$((days += 1)) 08:$((10 + days * 3))" "$item"; done
export HOME=$home XDG_CACHE_HOME=$home/cache XDG_DATA_HOME=$home/data QT_QPA_PLATFORM=offscreen
"$build/examples/example_qt_browser" "$PWD" "$picture"
