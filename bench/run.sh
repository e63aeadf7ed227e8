#!/bin/sh
# Runs programs of this folder: bench/run.sh PROGRAM [OPTION]...
#
# As root, on a volume of its own: an ext4 file system with a journal, in a file, and a second one
# for what goes from one volume to another. A volume that discards freed blocks one by one, or has
# no journal, measures little but that. Else, or with --dir among the options, where the program
# does by default.
set -eu

can_mount()
{
    [ "$(id -u)" = 0 ] && [ -e /dev/loop-control ] && command -v mkfs.ext4 >/dev/null
}

case " $* " in *" --dir"*) exec "$@" ;; esac
can_mount || exec "$@"

place=$(mktemp -d "${TMPDIR:-/tmp}/orv-bench.XXXXXX")
clean_up()
{
    umount "$place/volume" "$place/other" 2>/dev/null || true
    rm -rf --one-file-system "$place"
}
trap clean_up EXIT
trap 'exit 130' INT TERM

mount_new_volume()
{
    truncate -s 32G "$1.image"
    mkfs.ext4 -q -E lazy_itable_init=0,lazy_journal_init=0 "$1.image"
    mkdir "$1"
    mount -o loop "$1.image" "$1"
}

mount_new_volume "$place/volume"
mount_new_volume "$place/other"
ORV_BENCH_OTHER_DIR="$place/other" "$@" --dir "$place/volume"
