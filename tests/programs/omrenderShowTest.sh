#!/usr/bin/env bash
# omrenderShowTest.sh OMRENDER OMDEMO BACKEND: uses a window as a person does, on the display in DISPLAY, with or without
# a window manager. Compares the pixels of the window with what ImageMagick makes of the picture.
# shellcheck source=tests/support/programTest.sh
source "$(dirname "${BASH_SOURCE[0]}")/../support/programTest.sh"
# shellcheck source=tests/support/viewerTest.sh
source "$(dirname "${BASH_SOURCE[0]}")/../support/viewerTest.sh"
backend=$3
cd "$work" || exit 1

hasSize() { [[ $(xdotool getwindowgeometry "$window") == *"Geometry: $1"* ]]; }
at() { xdotool mousemove --window "$window" "$1" "$2"; }
away() { xdotool mousemove 799 599; }
says() { grep -qxF -- "$1" stdout; }

# expect PICTURE SIZE WIDTHxHEIGHT+X+Y exact|smooth: makes what a window of that size shows with the picture there.
expect() {
  local place=${3%%[+-]*} resize=(-filter point -resize)
  [[ $4 == exact ]] || resize=(-interpolate bilinear -interpolative-resize)
  convert -size "$2" xc:black \( "$1" "${resize[@]}" "$place!" \) -geometry "${3#"$place"}" -composite wanted.png
}

# shows SIZE exact|smooth: the window has that size and shows what is expected.
shows() {
  local fuzz=0
  [[ $2 == exact ]] || fuzz=3%
  hasSize "$1" && import -window "$window" shot.png && [[ $(compare -metric AE -fuzz $fuzz shot.png wanted.png null: 2>&1) == 0 ]]
}

# step WHAT TITLE PICTURE SIZE PLACE exact|smooth COMMAND...: does something to the window, which must then look so.
step() {
  local what=$1 title=$2 picture=$3 size=$4 place=$5 how=$6
  shift 6
  expect "$picture" "$size" "$place" "$how"
  "$@" || wrong "$what: $*"
  eventually "$what: not the title $title" hasTitle "$title"
  eventually "$what: not the pixels $picture $size $place" shows "$size" "$how"
}

# colors X,Y: the values of that pixel of the chart, as titles have them.
colors() { convert chart.png -depth 8 -format "%[fx:int(255*p{$1}.r+.5)] %[fx:int(255*p{$1}.g+.5)] %[fx:int(255*p{$1}.b+.5)]" info:; }

# switches: how often the viewer's threads have waited or been interrupted, and the processor time that they have used.
switches() { cat "/proc/$viewer"/task/*/status "/proc/$viewer/stat" | awk '/ctxt_switches/ {print $2} /\) [SR] / {print $14, $15}'; }
idles() {
  local before
  before=$(switches)
  sleep 0.5 # an idle program gives no sign to wait for
  [[ $before && $before == "$(switches)" ]]
}

"$omdemo" chart chart.png || wrong "chart"
cp "$fixtures/rgb.png" small.png
convert -size 4000x3000 gradient:red-blue -depth 8 large.png
head -c 2000 chart.png >short.png

if [[ $("$omrender" show --backend "$backend" chart.png --seconds 0 2>&1) == *"without Qt"* ]]; then
  echo "skipped: built without Qt"
  exit 77
fi

own=641x479
one=641x479+0+0
four=2564x1916
starts chart.png small.png chart.png
step "opening" "chart.png (1/3) - 100 %" chart.png $own $one exact away
step "the pointer" "chart.png (1/3) - 100 % - 100,110: $(colors 100,110)" chart.png $own $one exact at 100 110
step "the wheel" "chart.png (1/3) - 400 % - 100,110: $(colors 100,110)" chart.png $own $four-300-330 exact xdotool click --repeat 8 4
step "the wheel back" "chart.png (1/3) - 119 % - 100,110: $(colors 100,110)" chart.png $own 762x570-19-21 smooth xdotool click --repeat 7 5
step "the wheel again" "chart.png (1/3) - 400 % - 100,110: $(colors 100,110)" chart.png $own $four-300-330 exact xdotool click --repeat 7 4
at 100 110 && xdotool mousedown 1
step "dragging" "chart.png (1/3) - 400 % - 100,110: $(colors 100,110)" chart.png $own $four-250-360 exact at 150 80
step "dragging to the corner" "chart.png (1/3) - 400 % - 160,119: $(colors 160,119)" chart.png $own $four+0+0 exact at 640 478
xdotool mouseup 1
step "no more dragging" "chart.png (1/3) - 400 % - 25,20: $(colors 25,20)" chart.png $own $four+0+0 exact at 100 80
step "1" "chart.png (1/3) - 100 % - 100,80: $(colors 100,80)" chart.png $own $one exact xdotool key 1
step "plus" "chart.png (1/3) - 283 % - 242,183: $(colors 242,183)" chart.png $own 1813x1355-586-438 exact xdotool key plus plus plus plus plus plus
step "minus" "chart.png (1/3) - 238 % - 228,172: $(colors 228,172)" chart.png $own 1525x1139-442-330 exact xdotool key minus
step "0" "chart.png (1/3) - 100 % - 100,80: $(colors 100,80)" chart.png $own $one exact xdotool key 0
step "a larger picture's keys are not taken with Control" "chart.png (1/3) - 100 % - 100,80: $(colors 100,80)" chart.png $own $one exact xdotool key ctrl+q ctrl+plus
xdotool key i
eventually "i does not tell the file's data" says "chart.png: 641 x 479 pixels, RGB, $(stat -c %s chart.png) bytes"
away
step "right" "small.png (2/3) - 100 %" small.png 9x7 9x7+0+0 exact xdotool key Right
step "left" "chart.png (1/3) - 100 %" chart.png $own $one exact xdotool key Left
step "left of the first" "chart.png (1/3) - 100 %" chart.png $own $one exact xdotool key BackSpace
step "end" "chart.png (3/3) - 100 %" chart.png $own $one exact xdotool key End
step "home" "chart.png (1/3) - 100 %" chart.png $own $one exact xdotool key Home
step "a smaller window" "chart.png (1/3) - 63 %" chart.png 501x301 403x301+49+0 smooth xdotool windowsize "$window" 501 301
step "pixel by pixel in it" "chart.png (1/3) - 100 %" chart.png 501x301 641x479-70-89 exact xdotool key 1
step "a larger window" "chart.png (1/3) - 100 %" chart.png 701x501 641x479+30+11 exact xdotool windowsize "$window" 701 501
step "fitted in it" "chart.png (1/3) - 105 %" chart.png 701x501 670x501+15+0 smooth xdotool key 0
step "the next one in it" "small.png (2/3) - 7157 %" small.png 701x501 644x501+28+0 exact xdotool key space
if [[ ! ${OM_TEST_WM-} ]]; then
  step "full screen without a window manager" "chart.png (1/3) - 105 %" chart.png 701x501 670x501+15+0 smooth xdotool key f Left
fi
eventually "an idle viewer uses the processor" idles
xdotool key q
ends 0
[[ ! -s stderr ]] || wrong "the viewer wrote: $(cat stderr)"

starts chart.png
hand close "$window" || wrong "hand.py"
ends 0

# What goes to a closed stream does not get into the connection to the display.
closed=1 starts chart.png
xdotool key i q
ends 1
[[ $(cat stderr) == *"cannot write to standard output" ]] || wrong "a closed stream: $(cat stderr)"

# Qt does not notice.
if [[ $backend == x11 ]]; then
  starts chart.png
  xdotool windowclose "$window"
  ends 1
  [[ $(cat stderr) == *"another program has destroyed it" ]] || wrong "a destroyed window: $(cat stderr)"
fi

starts large.png
step "larger than the screen" "large.png - 20 %*" large.png 800x600 800x600+0+0 smooth away
xdotool key Escape
ends 0
starts large.png --scale 1
step "pixel by pixel" "large.png - 100 %*" large.png 800x600 4000x3000-1600-1200 exact away
xdotool key q
ends 0

# A file that cannot be read any more is left out.
starts chart.png short.png small.png
step "over a broken file" "small.png (3/3) - 100 %" small.png 9x7 9x7+0+0 exact xdotool key Right
step "back over it" "chart.png (1/3) - 100 %" chart.png $own $one exact xdotool key Left
xdotool key q
ends 1
[[ $(cat stderr) == "omrender: "*short.png* && $(sort -u stderr | wc -l) == 1 ]] || wrong "a broken file: $(cat stderr)"

[[ $failures == 0 ]]
