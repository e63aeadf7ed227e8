#!/bin/bash
# Installs the Debian packages that are missing; prints nothing when none is.
#
# install-packages.sh GROUP...    build: what the library and the command need
#                                 test:  what the tests need besides
#                                 bench: what the benchmarks need besides
#                                 prove: what the faults are also tried on
#                                 fuzz:  what feeding made-up input needs besides
#                                 check: what the format and lint checks need besides
#                                 resources: what making the shipped resources anew needs
set -euo pipefail

packages_of() {
    case $1 in
    build) echo g++ cmake ninja-build pkg-config libsqlite3-dev libicu-dev libzip-dev libssl-dev libdeflate-dev zlib1g-dev libuchardet-dev libturbojpeg0-dev libpng-dev libmd-dev \
        libvips-dev libqpdf-dev libavformat-dev libavcodec-dev libswscale-dev libgdk-pixbuf-2.0-dev libseccomp-dev libfontconfig-dev libcli11-dev libfmt-dev ;;
    test) echo libgtest-dev python3 zip unzip p7zip-full libarchive-tools qt6-base-dev libglib2.0-dev libgtk-4-dev xvfb xauth libx11-dev libasio-dev libboost-dev ffmpeg libvips-tools \
        libfuse3-dev fuse3 exfat-fuse exfatprogs ntfs-3g sshfs openssh-server rclone mergerfs bindfs gocryptfs archivemount squashfuse squashfs-tools e2fsprogs xfsprogs samba iproute2 \
        libglib2.0-bin trash-cli ;;
    bench) echo libbenchmark-dev fd-find ripgrep zip unzip p7zip-full libarchive-tools libvips-tools poppler-utils ffmpeg ffmpegthumbnailer ;;
    prove) echo rsync ;;
    fuzz) echo clang-14 libclang-rt-14-dev ;;
    check) echo clang-format-14 clang-tidy-16 ;;
    resources) echo python3-cairo python3-gi-cairo gir1.2-pango-1.0 python3-numpy python3-pil fonts-ebgaramond ffmpeg ;;
    *) echo "There is no group of packages called $1." >&2 && exit 2 ;;
    esac
}

is_installed() {
    dpkg-query -W -f '${db:Status-Status}\n' "$1" 2>/dev/null | grep -qx installed
}

missing_packages() {
    local group package
    for group; do
        for package in $(packages_of "$group"); do
            is_installed "$package" || echo "$package"
        done
    done
}

if ! command -v apt-get >/dev/null; then
    echo "This is no Debian system: install what scripts/install-packages.sh lists by hand." >&2
    exit 0
fi

mapfile -t missing < <(missing_packages "$@")
((${#missing[@]})) || exit 0

as_root=()
if ((EUID != 0)); then
    as_root=(sudo)
    if ! command -v sudo >/dev/null || ! sudo -v; then
        echo "These packages are missing, and only root or sudo may install them:" >&2
        echo "    apt-get install ${missing[*]}" >&2
        exit 1
    fi
fi

echo "Installing ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
apt() {
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -y \
        -o Acquire::Retries=3 -o DPkg::Lock::Timeout=120 "$@" >>"$log" 2>&1
}
if ! { apt update && apt install --no-install-recommends "${missing[@]}"; }; then
    tail -n 20 "$log" >&2
    echo "The packages could not be installed; the lines above are apt-get's." >&2
    exit 1
fi
