#!/bin/bash
# Runs the README's example of a transfer: two folders go into one, which has a part of them.
set -euo pipefail
program=$1
HOME=$(mktemp -d)
export HOME
trap 'rm -rf "$HOME"' EXIT
cd "$HOME"

mkdir -p Photos/Lake Photos/Town Backup/Lake
echo boat >Photos/Lake/boat.jpg
echo market >Photos/Town/market.jpg
echo old >Backup/Lake/boat.jpg
mkfifo Photos/Town/pipe
ln -s market.jpg Photos/Town/link
"$program"
[[ $(cat Backup/Lake/boat.jpg) == old ]]
[[ $(cat "Backup/Lake/boat (2).jpg") == boat ]]
diff Photos/Town/market.jpg Backup/Town/market.jpg
[[ -p Backup/Town/pipe && $(readlink Backup/Town/link) == market.jpg ]]
