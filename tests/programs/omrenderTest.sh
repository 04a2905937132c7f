#!/usr/bin/env bash
# omrenderTest.sh OMRENDER OMDEMO REFERENCE SMALLRECTANGLES NAMEDFILES: runs the program as a user does, on the display in
# DISPLAY, which has no window manager.
# shellcheck source=tests/support/programTest.sh
source "$(dirname "${BASH_SOURCE[0]}")/../support/programTest.sh"
reference=$(realpath "$3")
smallRectangles=$(realpath "$4")
namedFiles=$(realpath "$5")
cd "$work" || exit 1

# shows PICTURE BLOCK: what the window shows, or the block of it, is the picture. An empty block is the whole window.
shows() {
  rm -f out.png
  "$omrender" show "$1" --seconds 0 --capture out.png ${2:+--block "$2"} >stdout 2>stderr || wrong "show $1 $2: $(cat stderr)"
  [[ ! -s stderr ]] || wrong "show $1 $2 wrote: $(cat stderr)"
  "$omdemo" compare "$1" out.png ${2:+"$2"} >stdout || wrong "show $1 $2: $(cat stdout)"
}

"$omdemo" chart chart.png || wrong "chart"
for picture in chart.png rgb.png rgba16.png grey.jpg grey1.png greyAlpha.png palette.png rgbInterlaced.png cmyk.jpg progressive.jpg; do
  [[ -e $picture ]] || cp "$fixtures/$picture" .
  shows "$picture" ""
done
shows chart.png 40,110,97,203
"$omrender" show chart.png --seconds 0 --capture cut.png --block 600,400,999,999 | grep -q '41 x 79' || wrong "cut block"
"$omdemo" compare chart.png cut.png 600,400,41,79 >stdout || wrong "cut block: $(cat stdout)"
"$omrender" show chart.png rgb.png chart.png --seconds 0.01 --position 20,30 --title two || wrong "three pictures"

# The window, which another one covers for a while, is drawn again.
onScreen() { import -window root -crop 641x479+0+0 screen.png && "$omdemo" compare chart.png screen.png; }
timeout 60 "$omrender" show chart.png --seconds 60 &
shown=$!
eventually "the picture is not on the screen" onScreen
"$omrender" show rgba16.png --seconds 0 || wrong "the covering window"
eventually "the window is not drawn again" onScreen
kill "$shown"

"$omrender" info --json >info.json || wrong "info --json"
side=$(python3 -c 'import json; print(json.load(open("info.json"))["limits"]["textureSize"])') || wrong "JSON"
[[ $("$omrender" --version) == 3.0.0 ]] || wrong "--version"

"$reference" noise 1 $((side + 1)) 1 large.png || wrong "large"
"$reference" noise 1 40000 1 wide.png || wrong "wide"
head -c 2000 chart.png >short.png
echo text >text.png
touch file
c=(--seconds 0 --capture out.png)
refuses 3 "$((side + 1)) x 1" show chart.png large.png --seconds 60
refuses 3 "40000 x 1" show chart.png wide.png --seconds 60
refuses 1 "short.png" show short.png "${c[@]}"
refuses 1 "no\r\nlines.png" show $'no\r\nlines.png' "${c[@]}"
refuses 1 "outside the window" show chart.png "${c[@]}" --block 641,0,1,1
refuses 1 "outside the window" show chart.png "${c[@]}" --block 0,479,1,1
refuses 1 "file/out.png" show chart.png --seconds 60 --capture file/out.png
refuses 1 "regular file" show chart.png --seconds 60 --capture .
refuses 1 'over "chart.png"' show chart.png --seconds 60 --capture ./chart.png
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
for file in - x.jpg x.tiff ""; do
  refuses 2 '--capture: takes' show chart.png --seconds 60 --capture "$file"
done
for file in x.gif x.tiff; do
  refuses 2 '--out: has no suffix of a format that is written (.png .jpg' filter --shader blur chart.png --out $file
done
refuses 2 '--out: takes' filter --shader blur chart.png --out ""
refuses 2 "--unknown" show --unknown
refuses 2 "FILE" show
refuses 2 "unknown" unknown
refuses 2 "subcommand"
DISPLAY=:9999 refuses 3 'display ":9999": Cannot open display; set DISPLAY' info --backend x11
DISPLAY='' refuses 3 "DISPLAY is not set" show chart.png "${c[@]}"
MESA_GL_VERSION_OVERRIDE=3.1FC refuses 3 "compatibility profile" info --backend x11
MESA_GL_VERSION_OVERRIDE=1.2 "$omrender" info 2>&1 >stdout | grep -qx "omrender: warning: .* Found 1.2" || wrong "no warning"
rectangles() {
  MESA_EXTENSION_OVERRIDE="-GL_ARB_texture_non_power_of_two" LD_PRELOAD=$smallRectangles \
    ASAN_OPTIONS=${ASAN_OPTIONS-}:verify_asan_link_order=0 "$@"
}
rectangles refuses 3 "100 x 100" show chart.png "${c[@]}"
"$reference" noise 3 256 128 powers.png && rectangles "$omrender" show powers.png "${c[@]}" || wrong "a power of two is refused"
OM_PRINT_LEVEL=9 refuses 1 "neither a PNG" show text.png
refuses 1 "full screen" show chart.png "${c[@]}" --fullscreen

# ended SIGNAL: what runs in the background ends by the signal, without a word.
ended() {
  local got=0
  wait $! || got=$?
  [[ $got == $((128 + $(kill -l "$1"))) && ! -s stderr ]] || wrong "$1: status $got, $(cat stderr)"
}
for signal in HUP INT TERM; do
  env --default-signal "$omrender" show chart.png --seconds 60 2>stderr &
  eventually "the picture is not on the screen" onScreen
  kill "-$signal" $!
  ended "$signal"
done
if unshare --user --pid --fork true 2>/dev/null; then # as process 1, for which TERM has no default action
  unshare --user --pid --fork --kill-child "$omrender" show chart.png --seconds 60 2>stderr &
  eventually "the picture is not on the screen" onScreen
  kill -TERM "$(pgrep -P $!)"
  ended TERM
fi
"$reference" noise 3 3000 2000 noise.png || wrong "noise"
writes() { compgen -G 'batch/.om*.tmp'; }
mkfifo hold
OM_HOLD=hold LD_PRELOAD=$namedFiles ASAN_OPTIONS=${ASAN_OPTIONS-}:verify_asan_link_order=0 \
  "$omrender" filter --shader identity --jobs 1 --out-dir batch noise.png chart.png 2>stderr &
eventually "nothing is written" writes
kill -TERM $!
timeout 30 bash -c ': >hold' || wrong "TERM does not wait for the picture"
ended TERM
[[ $(ls -A batch) == noise.png ]] && "$omdemo" compare noise.png batch/noise.png >stdout || wrong "TERM: $(ls -A batch)"
(ulimit -f 1; refuses 153 "File too large" filter --shader identity --jobs 1 --out-dir batch noise.png chart.png; exit "$failures") || failures=1
"$omdemo" compare noise.png batch/noise.png >stdout || wrong "XFSZ: $(cat stdout)"
[[ $(ls -A batch) == noise.png ]] || wrong "XFSZ: $(ls -A batch)"
(ulimit -f 1; "$omrender" filter --list >limited 2>stderr)
[[ $? == 153 && $(cat stderr) == "omrender: cannot write to standard output" ]] || wrong "XFSZ: $(cat stderr)"

"$omrender" info >/dev/full 2>stderr
[[ $? == 4 ]] || wrong "a full disk: $(cat stderr)"

[[ $failures == 0 ]]
