#!/usr/bin/env bash
# omrenderQtTest.sh OMRENDER OMDEMO: uses the Qt window as a user does, on a display with a window manager.
# shellcheck source=tests/support/programTest.sh
source "$(dirname "${BASH_SOURCE[0]}")/../support/programTest.sh"
viewer=
trap 'kill $viewer 2>/dev/null; rm -rf "$work"' EXIT
cd "$work" || exit 1

# starts FILE...: shows the files and waits for the window to take keys.
starts() {
  timeout 60 "$omrender" show --backend qt "$@" 2>stderr &
  viewer=$!
  eventually "no window shows $1" shows "$1"
  window=$(shows "$1")
  eventually "the window has no focus" focused
}

# ends STATUS: the viewer ends with that status.
ends() {
  wait "$viewer"
  local got=$?
  [[ $got == "$1" ]] || wrong "the viewer ended with status $got, not $1: $(cat stderr)"
}

shows() { xdotool search --onlyvisible --name "^$1 "; }
focused() { [[ $(xdotool getwindowfocus) == "$window" ]]; }
hasSize() { [[ $(xdotool getwindowgeometry "$window") == *"Geometry: $1"* ]]; }
isFull() { xprop -id "$window" _NET_WM_STATE | grep FULLSCREEN; }
managed() { xprop -root _NET_SUPPORTED | grep _NET_WM_STATE_FULLSCREEN; }

# drawn: the picture's corners, red, green, blue and black, are in the corners of the window as it is now.
drawn() {
  import -window "$window" shot.png || return
  local width height
  read -r width height < <(identify -format '%w %h' shot.png)
  [[ $(convert shot.png -format "%[hex:p{4,4}] %[hex:p{$((width - 4)),4}] %[hex:p{4,$((height - 4))}] \
%[hex:p{$((width - 4)),$((height - 4))}]" info:) == "FF0000 00FF00 0000FF 000000" ]]
}

"$omdemo" chart chart.png || wrong "chart"
cp "$fixtures/rgb.png" small.png
convert chart.png -crop 80x100+0+0 -resize '1600x100!' wide.png

if [[ $("$omrender" show --backend qt chart.png --seconds 0 2>&1) == *"without Qt"* ]]; then
  refuses 2 "built without Qt" show --backend qt chart.png
  [[ $failures == 0 ]]
  exit
fi

eventually "no window manager" managed
for block in "" 40,110,97,203; do
  timeout 20 "$omrender" show --backend qt --seconds 0.3 --capture out.png ${block:+--block "$block"} chart.png 2>stderr ||
    wrong "capture $block: $(cat stderr)"
  [[ ! -s stderr ]] || wrong "capture $block wrote: $(cat stderr)"
  "$omdemo" compare chart.png out.png ${block:+"$block"} >stdout || wrong "capture $block"
done
timeout 20 "$omrender" show --backend qt --seconds 0 --fullscreen --capture out.png chart.png || wrong "full screen"
[[ $(identify -format '%wx%h' out.png) == 800x600 ]] || wrong "full screen: captured $(identify out.png)"

starts chart.png small.png
eventually "the window is not as large as the picture" hasSize 641x479
eventually "the picture is not in the window" drawn
[[ $(xwininfo -id "$window" | grep -c "Absolute upper-left Y:  0") == 0 ]] || wrong "the title bar is off the screen"
xdotool key Right
eventually "the right arrow does not go on" shows small.png
eventually "the next picture has not its own size" hasSize 9x7
xdotool key Right key Left
eventually "the left arrow does not go back" shows chart.png
eventually "the picture before has not its own size" hasSize 641x479
xdotool key f
eventually "f does not fill the screen" eval "isFull && hasSize 800x600 && drawn"
xdotool key space
eventually "space does not go on" shows small.png
isFull >/dev/null || wrong "the next picture ends the full screen"
xdotool key f
eventually "f does not leave the full screen" eval "! isFull && hasSize 9x7"
xdotool key Left
eventually "the left arrow does not go back" eval "shows chart.png && hasSize 641x479"
xdotool windowsize "$window" 500 374
eventually "a resize is not drawn" eval "hasSize 500x374 && drawn"
xdotool key f
eventually "f does not fill the screen" eval "isFull && hasSize 800x600 && drawn"
xdotool key f
eventually "f does not give back the user's size" eval "! isFull && hasSize 500x374 && drawn"
xdotool key Right
eventually "the right arrow does not go on" shows small.png
hasSize 500x374 || wrong "the next picture takes another size than the user's"
xdotool key q
ends 0
[[ ! -s stderr ]] || wrong "the viewer wrote: $(cat stderr)"

starts chart.png
xdotool key Escape
ends 0
starts chart.png
xdotool key alt+F4 # openbox then does what the window's button does
ends 0
QT_QPA_PLATFORM=none refuses 3 "platform plugin" show --backend qt chart.png
QT_XCB_GL_INTEGRATION=none refuses 3 "no OpenGL" show --backend qt chart.png
DISPLAY=:9999 refuses 3 'display ":9999": Cannot open display' show --backend qt chart.png
refuses 1 "outside the window" show --backend qt --capture out.png --block 641,0,1,1 chart.png

# The window is not as large as the picture: on the whole screen, and with x11 as the window manager keeps it on it.
refuses 1 "outside the window, which is 800 x 600" show --backend qt --fullscreen --capture out.png --block 800,0,1,1 wide.png
refuses 1 "outside the window, which is" show --capture out.png --block 1500,0,9,9 wide.png
refuses 1 "less than the 1600 x 100" show --capture out.png wide.png

[[ $failures == 0 ]]
