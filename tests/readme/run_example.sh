#!/bin/bash
# Runs the README's example twice: it copies a folder, and the second time keeps both.
set -euo pipefail
program=$1
HOME=$(mktemp -d)
export HOME
trap 'rm -rf "$HOME"' EXIT
cd "$HOME"

mkdir -p Photos/2024
head -c 300000 /dev/urandom >Photos/2024/beach.jpg
for copy in Backup "Backup 2"; do
    [[ ! -e $copy ]]
    "$program"
    diff -r Photos "$copy"
done
