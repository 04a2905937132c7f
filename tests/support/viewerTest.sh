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

# starts ARGUMENT...: begins a show of files, and gives its window the keys. With $closed it has no standard output.
closed=
starts() {
  : >stdout
  (
    [[ ! $closed ]] || exec >&-
    exec "$omrender" show --backend "$backend" "$@"
  ) >stdout 2>stderr &
  viewer=$!
  window=
  eventually "no window" hasWindow
  xdotool windowfocus "$window"
  eventually "the window has no focus" focused
  eventually "the viewer takes no keys yet" hasTitle "* %*"
}

# press KEY: in the window, which need not have the keys where these follow the pointer.
press() {
  focused 2>/dev/null || xdotool windowfocus "$window"
  user key "$1"
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

# fitted PICTURE: the place of the picture in the window.
fitted() {
  identify -format '%w %h' "$1" | awk -v w="$width" -v h="$height" '{ z = w / $1 < h / $2 ? w / $1 : h / $2
    pw = int($1 * z + .5); ph = int($2 * z + .5); printf "%dx%d+%d+%d", pw, ph, (w - pw) / 2, (h - ph) / 2 }'
}

# looks PICTURE PLACE: the window's part of the screen has the picture at WIDTHxHEIGHT+X+Y exactly, or fitted into the
# window and smooth if PLACE is fit; on black. With the pointer in it, which is on the screens of some desktops, $pointed
# says so: then the window has it.
pointed=
wanted=
looks() {
  local place=$2 size fuzz=0 filter=point
  locate || return
  [[ $2 != fit ]] || fuzz=3% filter=triangle place=$(fitted "$1")
  if [[ $wanted != "$* $width $height" ]]; then
    size=${place%%[+-]*}
    convert -size "${width}x$height" xc:black \( "$1" -filter $filter -resize "$size!" \) -geometry "${place#"$size"}" \
      -composite -depth 8 wanted.png
    wanted="$* $width $height"
  fi
  if [[ $pointed ]]; then
    import -window "$window" shot.png
  else
    DISPLAY=$seat import -window root -crop "${width}x$height+$left+$top" +repage shot.png
  fi
  # Of a pointer in the corner of the screen there are few pixels.
  (($(compare -metric AE -fuzz $fuzz shot.png wanted.png null: 2>&1) < 20))
}
