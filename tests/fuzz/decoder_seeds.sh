#!/bin/bash
# Writes small pictures, pages and films of every kind for a fuzzer to begin with.
#
# decoder_seeds.sh PICTURES FILMS    two empty folders
set -euo pipefail
pictures=$1 films=$2

make_pictures() {
    local kind
    vips gaussnoise grey.v 24 16 --sigma 60 --mean 128
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
    cat >page.pdf <<'PDF'
%PDF-1.4
1 0 obj <</Type /Catalog /Pages 2 0 R>> endobj
2 0 obj <</Type /Pages /Kids [3 0 R] /Count 1>> endobj
3 0 obj <</Type /Page /Parent 2 0 R /MediaBox [0 0 80 60] /Contents 4 0 R /Rotate 90>> endobj
4 0 obj <</Length 50>> stream
1 0 0 rg 0 0 40 60 re f 0 1 0 RG 5 5 m 60 50 l S
endstream endobj
trailer <</Root 1 0 R>>
PDF
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
