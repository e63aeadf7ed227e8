#!/bin/bash
# Runs the README's first example twice: it copies a folder, and the second time keeps both. Then runs
# the one that moves the folder to the trash and back, and the one that packs it, beside a pipe that
# no archive can hold.
set -euo pipefail
program=$1 trash_program=$2 progress_program=$3
HOME=$(mktemp -d)
export HOME XDG_DATA_HOME=
trap 'rm -rf "$HOME"' EXIT
cd "$HOME"

mkdir -p Photos/2024
head -c 300000 /dev/urandom >Photos/2024/beach.jpg
for copy in Backup "Backup 2"; do
    [[ ! -e $copy ]]
    "$program"
    diff -r Photos "$copy"
done

"$trash_program"
diff -r Photos Backup
[[ -d .local/share/Trash/files ]]

mkfifo Photos/pipe
"$progress_program" >shown
grep -q "^300000 of 300000 bytes$" shown
grep -q "^made .*/photos.zip$" shown
grep -q "^left out .*/Photos/pipe: " shown
