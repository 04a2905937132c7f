# shellcheck shell=bash
# Sourced by the tests of omrender show, after programTest.sh: a viewer, what its user sees, and what he does. The viewer
# is on the display in DISPLAY; its user sits before that in $seat, which is the same, or holds the other in a window.
# shellcheck disable=SC2154
seat=${DISPLAY-}
viewer=
trap 'kill $viewer 2>/dev/null; rm -rf "$work"' EXIT

# user COMMAND...: an xdotool command, at the seat.
user() { DISPLAY=$seat xdotool "$@"; }
handProgram=$(realpath "$(dirname "${BASH_SOURCE[0]}")/hand.py")
hand() { DISPLAY=$seat "$handProgram" "$@"; }

# starts ARGUMENT...: begins a show of files, and gives its window the keys.
starts() {
  : >stdout
  "$omrender" show --backend "$backend" "$@" >stdout 2>stderr &
  viewer=$!
  window=
  eventually "no window" hasWindow
  xdotool windowfocus "$window"
  eventually "the window has no focus" focused
}

# ends STATUS: the viewer ends with that status.
ends() {
  local got=0
  timeout 20 tail --pid "$viewer" -f /dev/null || wrong "the viewer does not end"
  wait "$viewer" || got=$?
  [[ $got == "$1" ]] || wrong "the viewer ended with status $got, not $1: $(cat stderr)"
  viewer=
}

hasWindow() { window=$(xdotool search --onlyvisible --pid "$viewer" | tail -n 1) && [[ $window ]]; }
focused() { [[ $(xdotool getwindowfocus) == "$window" ]]; }
# shellcheck disable=SC2053
hasTitle() { [[ $(xdotool getwindowname "$window") == $1 ]]; } # a pattern
isViewable() { xwininfo -id "$window" | grep -q IsViewable; }

# locate: sets the place and the size of the window on the screen.
locate() {
  read -r left top width height < <(xwininfo -id "$window" | awk '/Absolute|Width|Height/ {printf "%s ", $NF} END {print ""}')
}

# looks PICTURE PLACE exact|smooth: the window's part of the screen has the picture at WIDTHxHEIGHT+X+Y, on black.
wanted=
looks() {
  local size=${2%%[+-]*} fuzz=0 filter=point
  [[ $3 == exact ]] || fuzz=3% filter=triangle
  locate || return
  if [[ $wanted != "$* $width $height" ]]; then
    convert -size "${width}x$height" xc:black \( "$1" -filter $filter -resize "$size!" \) -geometry "${2#"$size"}" \
      -composite -depth 8 wanted.png
    wanted="$* $width $height"
  fi
  DISPLAY=$seat import -window root -crop "${width}x$height+$left+$top" +repage shot.png &&
    [[ $(compare -metric AE -fuzz $fuzz shot.png wanted.png null: 2>&1) == 0 ]]
}
