#!/usr/bin/env bash
# omrenderTest.sh OMRENDER OMDEMO: runs the program as a user does, on the display in DISPLAY.
# shellcheck source=tests/support/programTest.sh
source "$(dirname "${BASH_SOURCE[0]}")/support/programTest.sh"
cd "$work" || exit 1

# shows PICTURE BLOCK: what the window shows, or the block of it, is the picture. An empty block is the whole window.
shows() {
  rm -f out.png
  "$omrender" show "$1" --seconds 0 --capture out.png ${2:+--block "$2"} >stdout 2>stderr || wrong "show $1 $2: $(cat stderr)"
  [[ ! -s stderr ]] || wrong "show $1 $2 wrote: $(cat stderr)"
  "$omdemo" compare "$1" out.png ${2:+"$2"} >stdout || wrong "show $1 $2: $(cat stdout)"
}

# A grey PNG with an 8-bit zero for every pixel: blank FILE WIDTH HEIGHT
blank() {
  python3 - "$@" <<'PYTHON'
import struct, sys, zlib
name, width, height = sys.argv[1], int(sys.argv[2]), int(sys.argv[3])
def chunk(kind, data):
    return struct.pack('>I', len(data)) + kind + data + struct.pack('>I', zlib.crc32(kind + data))
with open(name, 'wb') as png:
    png.write(b'\x89PNG\r\n\x1a\n' + chunk(b'IHDR', struct.pack('>IIBBBBB', width, height, 8, 0, 0, 0, 0)) +
              chunk(b'IDAT', zlib.compress(bytes((width + 1) * height))) + chunk(b'IEND', b''))
PYTHON
}

# Sizes, formats and parts of the window; then the same on cards that lack textures of any size.
"$omdemo" chart chart.png || wrong "chart"
for size in 1,1 2,3 5,1 64,32 257,129; do
  "$omrender" show chart.png --seconds 0 --capture "$size.png" --block "300,60,$size" || wrong "block of $size"
done
for lacking in "" "-GL_ARB_texture_non_power_of_two" \
  "-GL_ARB_texture_non_power_of_two -GL_ARB_texture_rectangle -GL_NV_texture_rectangle"; do
  export MESA_EXTENSION_OVERRIDE=$lacking
  for picture in chart.png [1-9]*,*.png; do
    shows "$picture" ""
  done
  shows chart.png 0,0,1,1
  shows chart.png 40,110,97,203
  shows chart.png 640,478,1,1
done
unset MESA_EXTENSION_OVERRIDE
for picture in rgb.png rgba16.png grey.jpg grey1.png greyAlpha.png palette.png rgbInterlaced.png cmyk.jpg progressive.jpg; do
  shows "$fixtures/$picture" ""
done
"$omrender" show chart.png --seconds 0 --capture cut.png --block 600,400,999,999 | grep -q '41 x 79' || wrong "cut block"
"$omdemo" compare chart.png cut.png 600,400,41,79 >stdout || wrong "cut block: $(cat stdout)"
"$omrender" show chart.png "$fixtures/rgb.png" chart.png --seconds 0.01 --position 20,30 --title two || wrong "three pictures"

"$omrender" info --json >info.json || wrong "info --json"
side=$(python3 -c 'import json; print(json.load(open("info.json"))["limits"]["textureSize"])') || wrong "JSON"
[[ $("$omrender" --version) == 3.0.0 ]] || wrong "--version"

blank large.png $((side + 1)) 1
blank wide.png 40000 1
head -c 2000 chart.png >short.png
echo text >text.png
touch file
c=(--seconds 0 --capture out.png)
refuses 1 "largest.png" show largest.png "${c[@]}"
refuses 1 "$((side + 1)) x 1" show large.png "${c[@]}"
refuses 1 "40000 x 1" show wide.png "${c[@]}"
refuses 1 "wide.png" show chart.png wide.png --seconds 60
refuses 1 "large.png" show chart.png large.png --seconds 60
refuses 1 "text.png" show chart.png text.png --seconds 60
refuses 1 "short.png" show short.png "${c[@]}"
refuses 1 "no??lines.png" show $'no\r\nlines.png' "${c[@]}"
refuses 1 "outside the window" show chart.png "${c[@]}" --block 641,0,1,1
refuses 1 "outside the window" show chart.png "${c[@]}" --block 0,479,1,1
refuses 1 "nowhere" show chart.png --seconds 60 --capture nowhere/out.png
refuses 1 "file/out.png" show chart.png --seconds 60 --capture file/out.png
refuses 1 "regular file" show chart.png --seconds 60 --capture .
refuses 1 "over the picture" show chart.png --seconds 60 --capture ./chart.png
refuses 2 "one picture" show chart.png chart.png "${c[@]}"
refuses 2 "--capture" show chart.png --seconds 60 --block 0,0,1,1
for block in 0,0,0,1 0,0,1,0 0,0,1 0,0,1,1,1 -1,0,1,1 0,0,4294967296,1 0,0,1x,1 "" nan,0,1,1; do
  refuses 2 "--block" show chart.png "${c[@]}" --block "$block"
done
for position in 32768,0 0,32768 -1,0 1 1,2,3 1.5,0 x,y 99999999999,0; do
  refuses 2 "--position" show chart.png "${c[@]}" --position "$position"
done
for seconds in -1 nan inf 1e7 1e999 2x "" " 1"; do
  refuses 2 "--seconds" show chart.png --seconds "$seconds"
done
refuses 2 "--unknown" show --unknown
refuses 2 "FILE" show
refuses 2 "unknown" unknown
refuses 2 "subcommand"
DISPLAY=:9999 refuses 1 'display ":9999": Cannot open display; set DISPLAY' info
display=$DISPLAY
unset DISPLAY
refuses 1 "DISPLAY is not set" show chart.png "${c[@]}"
export DISPLAY=$display
OM_PRINT_LEVEL=9 refuses 1 "neither a PNG" show text.png
xlsatoms -name _MOTIF_WM_HINTS >stdout 2>&1 || refuses 1 "full screen" show chart.png "${c[@]}" --fullscreen
"$omrender" info >/dev/full 2>stderr && wrong "a full disk went unnoticed"

[[ $failures == 0 ]]
