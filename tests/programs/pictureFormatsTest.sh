#!/usr/bin/env bash
# OmImageReaderWriter and other programs read each other's pictures. pictureFormatsTest.sh CONVERT_PICTURE
set -uo pipefail

for program in convert exiftool cwebp python3; do
  type -P $program >/dev/null && continue
  echo "skipped: it takes the packages imagemagick, libimage-exiftool-perl and webp"
  exit 77
done

convertPicture=$1
fixtures=$(realpath "$(dirname "$0")/../fixtures")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
failures=0
for built in lossy.webp strips.tif; do
  [[ $("$convertPicture" "$fixtures/$built" read.pam 2>&1) == *"was built without"* ]] || continue
  echo "skipped: $built is of a format that was left out"
  exit 77
done

wrong() {
  echo "FAILED: $*" >&2
  failures=$((failures + 1))
}

# same FILE EXPECTED TOLERANCE: FILE is read as EXPECTED, of PPM or PAM, with no sample more than TOLERANCE apart.
same() {
  local largest mean
  read -r largest mean < <("$convertPicture" --compare "$1" "$2") || { wrong "$1 is not like $2"; return; }
  ((largest <= $3)) || wrong "$1 is read with differences of $largest, a mean of $mean"
}

# Photos on their side, in every orientation and by either byte order.
upright=('' '' -flop '-rotate 180' -flip -transpose '-rotate 90' -transverse '-rotate 270')
convert -size 37x23 gradient:red-blue \( -size 37x23 gradient:lime-black -rotate 90 -resize '37x23!' \) \
  -compose screen -composite -depth 8 -strip plain.png
convert plain.png -quality 95 plain.jpg
cwebp -quiet -lossless plain.png -o plain.webp
for orientation in 1 2 3 4 5 6 7 8; do
  # shellcheck disable=SC2086
  convert plain.png ${upright[orientation]} +repage "$orientation.ppm"
  order=$( ((orientation % 3)) && echo II || echo MM)
  for suffix in png jpg webp; do
    cp plain.$suffix "$orientation.$suffix"
    exiftool -q -n -overwrite_original "-Orientation=$orientation" "-ExifByteOrder=$order" "$orientation.$suffix"
    same "$orientation.$suffix" "$orientation.ppm" "$([[ $suffix == jpg ]] && echo 12 || echo 0)"
  done
done

# Pictures of other programs. Multiplying by alpha and back costs a unit or two.
convert -size 70x45 plasma:red-blue -depth 8 -strip "PNG24:rgb.png"
convert rgb.png \( -size 45x70 gradient: -rotate 90 \) -alpha off -compose copy_opacity -composite "PNG32:rgba.png"
while read -r name tolerance options; do
  # shellcheck disable=SC2086
  convert $options "$name"
  convert "${name}[0]" -colorspace srgb -depth 8 "PAM:expected.pam"
  same "$name" expected.pam "$tolerance"
done <<'END'
strips.tif 0 rgb.png -define tiff:rows-per-strip=7
lzw.tif 0 rgb.png -compress lzw -endian msb
tiles.tif 0 rgb.png -compress zip -define tiff:tile-geometry=32x16
deep.tif 0 rgb.png -depth 16
deepTiles.tif 1 rgba.png -depth 16 -define tiff:tile-geometry=16x16
planes.tif 0 rgb.png -interlace plane -define tiff:rows-per-strip=8
deepPlanes.tif 1 rgba.png -depth 16 -interlace plane
alpha.tif 1 rgba.png
associated.tif 2 rgba.png -define tiff:alpha=associated
grey.tif 0 rgb.png -colorspace gray -depth 4
white.tif 0 rgb.png -colorspace gray -define quantum:polarity=min-is-white
greyAlpha.tif 1 rgba.png -colorspace gray
fax.tif 0 rgb.png -monochrome -compress group4
palette.tif 1 rgb.png -colors 9 -type palette
ink.tif 0 rgb.png -colorspace cmyk -depth 8
jpeg.tif 1 rgb.png -compress jpeg
pages.tif 0 rgb.png rgba.png -compress zip
END
# A picture that would only be like it is refused.
convert rgb.png -colorspace lab lab.tif
"$convertPicture" lab.tif lab.pam 2>stderr && wrong "lab.tif is read"
grep -q 'its colours are neither' stderr || wrong "lab.tif: $(cat stderr)"
# Without the tag that says what samples mean, which is made into another here, three are RGB and 0 is black.
for name in strips grey; do
  python3 -c 'import sys
data = open(sys.argv[1], "rb").read()
open("untold.tif", "wb").write(data.replace(b"\x06\x01\x03\x00\x01\x00", b"\x07\x01\x03\x00\x01\x00", 1))' $name.tif
  convert $name.tif -colorspace srgb -depth 8 PAM:expected.pam
  same untold.tif expected.pam 0
done
convert rgb.png -orient left-bottom -compress zip turned.tif
convert rgb.png -rotate 270 +repage expected.ppm
same turned.tif expected.ppm 0
for options in '-q 60' '-lossless -exact'; do
  for name in rgb rgba; do
    # shellcheck disable=SC2086
    cwebp -quiet $options $name.png -o read.webp
    dwebp -quiet -pam read.webp -o expected.pam
    same read.webp expected.pam 0
  done
done

# What others read of ours: without loss, or nearer the higher the quality. JPEG lies over white.
convert rgb.png rgb.jpg.pam
convert rgb.png rgb.webp.pam
convert rgba.png rgba.webp.pam
convert rgba.png -background white -alpha remove -alpha off rgba.jpg.pam
for name in rgb rgba; do
  "$convertPicture" $name.png written.webp
  dwebp -quiet -pam written.webp -o read.pam
  same read.pam $name.webp.pam 0
  for suffix in webp jpg; do
    previous=-1
    for quality in 100 90 60 10; do
      "$convertPicture" $name.png $quality.$suffix $quality
      if [[ $suffix == webp ]]; then dwebp -quiet -pam $quality.webp -o read.pam; else convert $quality.jpg read.pam; fi
      read -r _ mean < <("$convertPicture" --compare read.pam $name.$suffix.pam)
      ((mean > previous && mean < 800000)) || wrong "$name.png as $suffix, quality $quality: $mean"
      previous=$mean
    done
  done
done
[[ $(identify -format %Q 60.jpg) == 60 ]] || wrong "JPEG has another quality"
convert rgb.png -colorspace gray -depth 8 grey.png
"$convertPicture" grey.png grey.jpg
samplings=$(exiftool -s3 -YCbCrSubSampling 90.jpg 60.jpg; exiftool -s3 -ColorComponents grey.jpg)
[[ $(grep -o 'YCbCr.*\|^1$' <<<"$samplings" | tr '\n' ' ') == 'YCbCr4:4:4 (1 1) YCbCr4:2:0 (2 2) 1 ' ]] ||
  wrong "JPEG's components: $samplings"

# What belongs to a picture stays with it: the profile byte for byte, also in parts of 64 KiB, unless its colours are of
# another kind; the resolution; and what PNG says of its colours.
profile() { # FILE COLOURS SIZE
  python3 -c 'import sys
data = bytearray(i * 7 % 251 for i in range(int(sys.argv[3])))
data[0:4], data[12:24], data[36:40] = len(data).to_bytes(4, "big"), b"mntr" + sys.argv[2].encode() + b"XYZ ", b"acsp"
data[128:132] = bytes(4) # no tags
open(sys.argv[1], "wb").write(data)' "$@"
}
profile rgb.icc 'RGB ' 150000
profile grey.icc GRAY 500
profile ink.icc CMYK 500
convert rgb.png -units PixelsPerInch -density 300x150 -compress zip rgb.tif
for kind in rgb grey; do
  convert $kind.png -units PixelsPerInch -density 300x150 -quality 95 $kind.jpg
  exiftool -q -overwrite_original "-icc_profile<=$kind.icc" $kind.jpg $kind.png
done
exiftool -q -overwrite_original "-icc_profile<=rgb.icc" rgb.tif
convert rgb.png -strip plain.png
cwebp -quiet -metadata all rgb.jpg -o rgb.webp
convert rgb.png -colorspace cmyk -strip ink.jpg && exiftool -q -overwrite_original "-icc_profile<=ink.icc" ink.jpg
while read -r from to expected; do
  "$convertPicture" "$from" "kept.$to"
  exiftool -b -icc_profile "kept.$to" >kept.icc
  cmp -s kept.icc "$expected" || wrong "the profile of $from as $to"
done <<'END'
rgb.jpg png rgb.icc
rgb.jpg jpg rgb.icc
rgb.jpg webp rgb.icc
rgb.png jpg rgb.icc
rgb.png png rgb.icc
rgb.tif png rgb.icc
rgb.webp jpg rgb.icc
rgb.webp webp rgb.icc
grey.jpg png grey.icc
grey.png jpg grey.icc
grey.png webp /dev/null
ink.jpg png /dev/null
END
exiftool -q -overwrite_original "-icc_profile<=rgb.icc" rgba.png
for quality in 0 90; do # with alpha and a profile
  "$convertPicture" rgba.png kept.webp $quality
  dwebp -quiet -pam kept.webp -o read.pam
  same kept.webp read.pam 0
  [[ $(exiftool -s3 -WebP_Flags kept.webp) == *Alpha* ]] || wrong "WebP's flags"
  read -r largest _ < <("$convertPicture" --compare read.pam rgba.webp.pam)
  ((largest <= quality)) || wrong "WebP with a profile and quality $quality: $largest"
done
for from in rgb.jpg rgb.tif kept.png; do # kept.png has that of rgb.jpg
  [[ $from == kept.png ]] && "$convertPicture" rgb.jpg kept.png
  "$convertPicture" $from resolution.jpg && "$convertPicture" $from resolution.png
  [[ $(exiftool -s3 -n -XResolution -YResolution -ResolutionUnit resolution.jpg | tr '\n' ' ') == '300 150 1 ' &&
    $(exiftool -s3 -n -PixelsPerUnitX -PixelsPerUnitY -PixelUnits resolution.png | tr '\n' ' ') == '11811 5906 1 ' ]] ||
    wrong "the resolution of $from"
done
exiftool -q -n -overwrite_original -Orientation=6 rgb.jpg && "$convertPicture" rgb.jpg turned.jpg
[[ $(exiftool -s3 -n -XResolution -YResolution -Orientation turned.jpg | tr '\n' ' ') == '150 300 ' ]] ||
  wrong "the resolution of a turned picture"
python3 - <<'END'
import struct, zlib
data = open("plain.png", "rb").read()
def chunk(kind, body):
    return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))
said = (chunk(b"cICP", bytes((9, 16, 0, 1))) + chunk(b"sRGB", b"\2") + chunk(b"gAMA", struct.pack(">I", 50000))
        + chunk(b"cHRM", struct.pack(">8I", *range(10000, 10008))) + chunk(b"pHYs", struct.pack(">IIB", 3, 4, 0)))
open("said.chunks", "wb").write(said)
open("said.png", "wb").write(data[:33] + said + data[33:])
damaged = bytearray(said)
for at in (10, 24, 38, 60, 105):
    damaged[at] ^= 1
open("damaged.png", "wb").write(data[:33] + damaged + data[33:])
END
"$convertPicture" said.png kept.png
head -c $((33 + $(stat -c %s said.chunks))) kept.png | tail -c +34 | cmp - said.chunks || wrong "the chunks of PNG"
"$convertPicture" damaged.png kept.png && [[ $(head -c 41 kept.png | tail -c 4) == IDAT ]] || wrong "damaged chunks"

[[ $failures == 0 ]]
