#!/bin/sh
# Runs a program of this folder on a volume of its own: an ext4 file system with a journal, in a
# file. A volume that discards freed blocks one by one, or has no journal, measures little but that.
#
#     sudo bench/on-own-volume.sh build/release/bench/orv_bench --runs 7
set -eu

place=$(mktemp -d "${TMPDIR:-/tmp}/orv-bench.XXXXXX")
clean_up()
{
    umount "$place/volume" 2>/dev/null || true
    rm -rf --one-file-system "$place"
}
trap clean_up EXIT
trap 'exit 130' INT TERM

truncate -s 32G "$place/image"
mkfs.ext4 -q -E lazy_itable_init=0,lazy_journal_init=0 "$place/image"
mkdir "$place/volume"
mount -o loop "$place/image" "$place/volume"
"$@" --dir "$place/volume"
