#!/usr/bin/env bash
# omrenderDesktopTest.sh OMRENDER OMDEMO BACKEND NEVERPOLLS [weston]: what a person does with the windows of a desktop,
# seen on its screen: under the window manager of the display in DISPLAY, without one, or in XWayland under Weston.
# NEVERPOLLS is a program that shows pictures and takes no events. Skipped (77) without the back end or Weston.
# shellcheck source=tests/support/programTest.sh
source "$(dirname "${BASH_SOURCE[0]}")/../support/programTest.sh"
# shellcheck source=tests/support/viewerTest.sh
source "$(dirname "${BASH_SOURCE[0]}")/../support/viewerTest.sh"
backend=$3
neverPolls=$(realpath "$4")
desktop=${5:-${OM_TEST_WM:-none}}
compositor=
manager=
cover=
trap 'kill $viewer $cover 2>/dev/null; kill -KILL $manager 2>/dev/null; [[ ! $compositor ]] || { kill $compositor; wait $compositor; }
  rm -rf "$work"' EXIT
cd "$work" || exit 1

# Weston in a window: without one it has no keys and no pointer, and XWayland ends when a program moves the pointer.
startWeston() {
  if ! command -v weston >/dev/null || ! command -v Xwayland >/dev/null; then
    echo "skipped: this needs the packages weston and xwayland"
    exit 77
  fi
  XDG_RUNTIME_DIR=$work weston --backend=x11-backend.so --use-pixman --width=800 --height=600 --xwayland --no-config \
    --log=log >/dev/null 2>&1 &
  compositor=$!
  eventually "Weston does not start" grep -q 'xserver listening on display' log
  DISPLAY=$(sed -n 's/.*xserver listening on display //p' log)
  eventually "XWayland does not start" xprop -root _NET_SUPPORTED
  user mousemove 799 599 mousemove 0 0 # its pointer, which begins in the corner, follows from there
}

# shellcheck disable=SC2016
# Each desktop's ways, as COMMAND... that is called with the window in $window, its place in $left and $top, and its size.
declare -A resize=(
  [none]='user windowsize "$window" 541 399'
  [twm]='user keydown alt; hand drag 3 $((right - 9)),$((bottom - 9)) $((right + 9)),$((bottom + 9)) $corner; user keyup alt'
  [openbox]='hand drag 1 $((right - 2)),$((bottom + 2)) $((right - 30)),$((bottom - 30)) $corner'
)
resize[mwm]=${resize[openbox]}
resize[weston]='hand drag 1 $((right + 2)),$((bottom + 2)) $((right - 30)),$((bottom - 30)) $corner'
declare -A move=(
  [none]='user windowmove "$window" 20 90'
  [mwm]='hand drag 1 $((left + 200)),$((top - 8)) $((left + 190)),$((top + 10)) $((left + 180)),$((top + 22))'
)
for manager in openbox twm weston; do move[$manager]=${move[mwm]}; done
declare -A close=([none]='hand close "$window"' [mwm]='user key alt+F4' [weston]='user mousemove $((right - 14)) $((top - 15)) click 1')
for manager in openbox twm; do close[$manager]=${close[mwm]}; done
manager=

# does WAY: what the desktop has for it.
# shellcheck disable=SC2034
does() {
  local right bottom corner
  locate
  right=$((left + width)) bottom=$((top + height)) corner=$((left + width - 100)),$((top + height - 80))
  eval "$1"
}

sees() { eventually "$1: the screen has not $2 at $3" looks "$2" "$3"; }
# changes WAY: does it, again until the window has another place or size, as people do whose hand was too quick.
changes() {
  locate
  [[ "$left $top $width $height" != "$before" ]] || { does "$1" && false; }
}
isHidden() { ! isViewable; }
isFull() { locate && [[ "$left $top $width $height" == "0 0 800 600" ]]; }
isFramed() { [[ $(xwininfo -children -id "$window") != *"Parent window id: "*"(the root window)"* ]]; }

# magnifies X Y: the window has that pixel of the picture there, as a square of four by four pixels, one of which it is.
magnifies() {
  local x y across=$(($1 - 4 * ${pixel%,*})) down=$(($2 - 4 * ${pixel#*,}))
  for x in 2 0 1 3; do
    for y in 2 0 1 3; do
      looks chart.png "2564x1916+$((across - x))+$((down - y))" && return
    done
  done
  return 1
}

# points: the pointer is where it was put, by the title, which gives the pixel under it at 100 %.
points() {
  [[ $(xdotool getwindowname "$window") =~ \ 100\ %\ -\ ([0-9]+),([0-9]+): ]] || return
  pixel=${BASH_REMATCH[1]},${BASH_REMATCH[2]}
  local x=$((2 * (BASH_REMATCH[1] - 200) - 641 + width)) y=$((2 * (BASH_REMATCH[2] - 100) - 479 + height))
  ((x * x <= 4 && y * y <= 4))
}

convert \( xc:red xc:yellow +append \) \( xc:blue xc:white +append \) -append -filter triangle -resize '641x479!' +repage -depth 8 chart.png
convert -size 250x150 xc:navy blue.png
if [[ $("$omrender" show --backend "$backend" chart.png --seconds 0 2>&1) == *"without Qt"* ]]; then
  echo "skipped: built without Qt"
  exit 77
fi
[[ $desktop != weston ]] || startWeston

own=641x479+0+0
starts chart.png --position 40,60
sees "opening" chart.png $own

"$omrender" show blue.png --position 150,150 &
cover=$!
eventually "nothing covers the window" eval '! looks chart.png $own'
kill "$cover"
wait "$cover"
cover=
sees "uncovering" chart.png $own

locate
before="$left $top $width $height"
eventually "the user cannot resize the window" changes "${resize[$desktop]}"
user mousemove 799 599
sees "resizing" chart.png fit
locate
before="$left $top $width $height"
eventually "the user cannot move the window" changes "${move[$desktop]}"
user mousemove 799 599
sees "moving" chart.png fit

case $desktop in
  none) hide=windowunmap ;;
  *) hide=windowminimize ;;
esac
if [[ $desktop != weston ]]; then # which leaves the window of a program that wants to be an icon as it is
  xdotool "$hide" "$window"
  eventually "the window is no icon" isHidden
  xdotool windowmap "$window"
  eventually "the window stays an icon" isViewable
  sees "coming back" chart.png fit
  xdotool windowfocus "$window"
fi

# Where the pointer is after all that, by the title; then the wheel and the mouse.
pointed=1
does 'user mousemove $((left + 200)) $((top + 100))'
press 1
eventually "1: not the title" points
user click --repeat 8 4
eventually "the wheel: not the title" hasTitle "* - 400 % - $pixel: *"
eventually "the wheel: not the pixels about $pixel" magnifies 200 100
does 'hand drag 1 $((left + 200)),$((top + 100)) $((left + 210)),$((top + 120)) $((left + 150)),$((top + 140))'
eventually "dragging: not the title" hasTitle "* - 400 % - $pixel: *"
eventually "dragging: not the pixels about $pixel" magnifies 150 140
pointed=
user mousemove 799 599
press 0
sees "0" chart.png fit

press f
case $desktop in
  openbox | weston)
    eventually "f does not fill the screen" isFull
    sees "full screen" chart.png fit
    press f
    eventually "f does not leave the full screen" eval '! isFull'
    if [[ $desktop == weston ]]; then # which puts the window elsewhere than it says
      eventually "after full screen: not the title" eval '! isFull && hasTitle "* - 8? %*"'
    else
      sees "after full screen" chart.png fit
    fi
    ;;
  *)
    press 1
    eventually "full screen is refused: not the title" hasTitle "* - 100 %*"
    press 0
    sees "full screen is refused" chart.png fit
    ;;
esac
does "${close[$desktop]}"
ends 0
[[ ! -s stderr ]] || wrong "the viewer wrote: $(cat stderr)"

# A program that takes no events goes on when its window is closed.
"$neverPolls" chart.png 2 2>stderr &
viewer=$!
eventually "no window of a program that never polls" hasWindow
xdotool windowfocus "$window"
eventually "it has no focus" focused
does "${close[$desktop]}"
eventually "the window stays" isHidden
kill -0 "$viewer" || wrong "the program ended with its window"
ends 0

# The window manager dies, and another one takes over.
if [[ ${OM_TEST_WM_PID-} ]]; then
  other=openbox
  [[ $desktop != openbox ]] || other=mwm
  starts chart.png
  kill -KILL "$OM_TEST_WM_PID"
  sees "without the window manager" chart.png $own
  "$other" >/dev/null 2>&1 &
  manager=$!
  eventually "$other does not take the window" isFramed
  sees "under $other" chart.png $own
  user windowsize "$window" 441 379
  eventually "no resize under $other" eval 'locate && [[ $width,$height == 441,379 ]]'
  sees "resized under $other" chart.png fit
  xdotool windowfocus "$window"
  eventually "the window has no focus under $other" focused
  does "${close[$other]}"
  ends 0
fi

[[ $failures == 0 ]]
