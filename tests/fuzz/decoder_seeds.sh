#!/bin/bash
# Writes small pictures, pages and films of every kind for a fuzzer to begin with.
#
# decoder_seeds.sh PICTURES FILMS    two empty folders
set -euo pipefail
pictures=$1 films=$2

make_pictures() {
    local kind
    vips perlin grey.v 24 16 --cell-size 4 --seed 1 --uchar
    vips bandjoin 'grey.v grey.v grey.v' colour.v
    vips cast colour.v colour.png uchar
    for kind in jpg tiff gif heic; do
        vips copy colour.png "colour.$kind"
    done
    vips copy colour.png 'tiles.tiff[tile,compression=deflate]'
    vips copy colour.png 'woven.png[interlace,palette]'
    vips copy colour.png 'steps.jpg[interlace]'
    vips cast grey.v deep.png ushort
    vips icc_export colour.png profile.jpg --output-profile p3
    vips icc_export colour.png ink.v --output-profile cmyk
    vips copy ink.v 'ink.jpg[strip]'
    rm ./*.v
    make_page '<</Type /Catalog /Pages 2 0 R>>' \
        '<</Type /Pages /Kids [3 0 R] /Count 1 /MediaBox [0 0 80 60]>>' \
        '<</Type /Page /Parent 2 0 R /CropBox [4 4 70 50] /Contents 4 0 R /Rotate 90>>' \
        $'<</Length 50>> stream\n1 0 0 rg 0 0 40 60 re f 0 1 0 RG 5 5 m 60 50 l S  \nendstream' >page.pdf
    # Two lines of four pixels, each a run.
    printf '%b' 'BM\x4a\0\0\0\0\0\0\0\x3e\0\0\0' '\x28\0\0\0\x04\0\0\0\x02\0\0\0\x01\0\x08\0' \
        '\x01\0\0\0\x0a\0\0\0\0\0\0\0\0\0\0\0\x02\0\0\0\0\0\0\0' \
        '\xff\0\0\0\0\xff\0\0' '\x04\x01\0\0\x04\0\0\0\0\x01\0\0' >runs.bmp
}

# A PDF of the objects given, the first its root, with a table of their places.
make_page() {
    local text=$'%PDF-1.4\n' table='' object number=0
    for object; do
        printf -v table '%s%010d 00000 n \n' "$table" ${#text}
        text+="$((++number)) 0 obj $object endobj"$'\n'
    done
    printf '%sxref\n0 %d\n0000000000 65535 f \n%strailer <</Root 1 0 R /Size %d>>\nstartxref\n%d\n%%%%EOF\n' \
        "$text" $((number + 1)) "$table" $((number + 1)) ${#text}
}

make_film() {
    ffmpeg -v error -f lavfi -i testsrc=s=32x32:r=5:d=1 -pix_fmt yuv420p "${@:2}" "$1"
}

make_films() {
    make_film h264.mp4 -c:v libx264 -bf 2
    make_film pieces.mp4 -c:v libx264 -movflags frag_keyframe
    make_film old.mov -c:v mpeg4
    make_film jpegs.mov -c:v mjpeg -pix_fmt yuvj420p
    ffmpeg -v error -i old.mov -c copy -metadata:s:v rotate=90 turned.mov
    ffmpeg -v error -f lavfi -i sine=d=0.2 -i "$pictures/colour.png" -map 0 -map 1 -c:v png \
        -disposition:v attached_pic cover.m4a
}

pictures=$(cd "$pictures" && pwd) films=$(cd "$films" && pwd)
(cd "$pictures" && make_pictures 2>/dev/null)
(cd "$films" && make_films </dev/null)
# A BMP picture has a coder of its own.
ffmpeg -v error -i "$pictures/colour.png" "$pictures/colour.bmp" </dev/null
