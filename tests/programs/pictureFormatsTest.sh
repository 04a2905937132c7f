#!/usr/bin/env bash
# OmImageReaderWriter and other programs read each other's pictures. pictureFormatsTest.sh CONVERT_PICTURE
set -uo pipefail

for program in convert exiftool; do
  type -P $program >/dev/null && continue
  echo "skipped: it takes the packages imagemagick and libimage-exiftool-perl"
  exit 77
done

convertPicture=$1
fixtures=$(realpath "$(dirname "$0")/../fixtures")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
failures=0

wrong() {
  echo "FAILED: $*" >&2
  failures=$((failures + 1))
}

# same A B TOLERANCE: both have the same size, and no sample differs by more than TOLERANCE of 255. Each is an argument
# of convert.
same() {
  local error
  [[ $(identify -format %wx%h "$1") == $(identify -format %wx%h "$2") ]] || { wrong "$1 and $2: sizes"; return; }
  error=$(convert "$1" "$2" -compose difference -composite -depth 8 -format '%[fx:maxima*255]' info:)
  awk "BEGIN { exit !($error <= $3 + 0.5) }" || wrong "$1 and $2 differ by $error of 255"
}

# Photos on their side, in every orientation and by either byte order.
upright=('' '' -flop '-rotate 180' -flip -transpose '-rotate 90' -transverse '-rotate 270')
convert -size 37x23 gradient:red-blue \( -size 37x23 gradient:lime-black -rotate 90 -resize '37x23!' \) \
  -compose screen -composite -strip plain.png
convert plain.png -quality 95 plain.jpg
for orientation in 1 2 3 4 5 6 7 8; do
  order=$( ((orientation % 3)) && echo II || echo MM)
  for suffix in png jpg; do
    exiftool -q -n "-Orientation=$orientation" "-ExifByteOrder=$order" -o "$orientation.$suffix" plain.$suffix
    # shellcheck disable=SC2086
    convert plain.$suffix ${upright[orientation]} +repage expected.ppm
    "$convertPicture" "$orientation.$suffix" read.pam || wrong "$orientation.$suffix"
    same read.pam expected.ppm 0
  done
done

[[ $failures == 0 ]]
