#!/usr/bin/env bash
# omrenderWatchTest.sh OMRENDER OMDEMO: writes shaders before a viewer that watches them, on the display in DISPLAY.
# shellcheck source=tests/support/programTest.sh
source "$(dirname "${BASH_SOURCE[0]}")/../support/programTest.sh"
viewer=
trap 'kill $viewer 2>/dev/null; rm -rf "$work"' EXIT
cd "$work" || exit 1
ln -s "$omrender" omrender
PATH=$work:$PATH

# starts OPTION...: shows chart.png and waits for the window to take keys.
starts() {
  : >stdout
  omrender show --backend "$backend" "$@" chart.png >stdout 2>stderr &
  viewer=$!
  eventually "$backend: no window" title
  window=$(title)
  eventually "$backend: the window has no focus" focused
}
title() { xdotool search --onlyvisible --name '^chart.png - '; }
focused() { xdotool windowfocus "$window" && [[ $(xdotool getwindowfocus) == "$window" ]]; }
titled() { [[ $(xdotool getwindowname "$window") == "chart.png - $1 - "* ]]; }
shows() { import -window "$window" shot.png && "$omdemo" compare shot.png "$1"; }
differs() { import -window "$window" shot.png && ! "$omdemo" compare shot.png "$1"; }
said() { [[ $(grep -c . stderr) == "$1" && $(tail -n 1 stderr) == *"$2"* ]]; }
printed() { [[ $(grep -c . stdout) == "$1" ]]; }

# becomes WHAT OPTION...: the window shows what the filter makes with these options.
becomes() {
  local what="$backend: $1"
  shift
  omrender filter "$@" chart.png --out expected.png || wrong "$what: no filter"
  eventually "$what" shows expected.png
}

# sameBytes WHAT FILE OPTION...: the file has the bytes that the filter writes with these options.
sameBytes() {
  local what="$backend: $1" file=$2
  shift 2
  omrender filter "$@" chart.png --out expected.png && cmp expected.png "$file" || wrong "$what"
}

ends() {
  xdotool key q
  wait "$viewer" || wrong "$backend: the viewer ended with status $?: $(cat stderr)"
}

# look EXPRESSION: the text of a shader, with the expression in line 6.
look() {
  printf '%s\n' '// default: gain=0.5' '// default: tint=1,0.5,0' 'uniform sampler2D image;' \
    'uniform float gain; uniform vec3 tint; uniform int count, absent;' 'void main() { gl_FragColor = vec4(' "$1" \
    ', 1.0) * texture2D(image, gl_TexCoord[0].st); }'
}

watches() {
  look 'gain * tint + 0.1 * float(count)' >look.frag
  starts --shader look.frag --watch --set gain=0.75
  becomes "the first picture" --shader look.frag --set gain=0.75
  eventually "$backend: the title" titled "look - count=0"

  look 'gain * tint.bgr + 0.1 * float(count)' >look.frag
  becomes "a shader written in place" --shader look.frag --set gain=0.75
  look 'gain * tint.bgr +' >new && mv new look.frag
  eventually "$backend: no line of the error" said 1 '"look.frag": 0:7('
  look 'gain * tint.bgr +' >look.frag # again; said once
  shows expected.png >/dev/null || wrong "$backend: the last good picture is gone"
  xdotool key p
  eventually "$backend: a command for a broken shader" said 2 'has changed since'
  look 'tint + 0.1 * float(count)' >new && mv new look.frag # gain is gone
  becomes "a mended shader" --shader look.frag

  cp negative.png chart.png
  becomes "another picture" --shader look.frag
  head -c 1000 good.png >new && mv new chart.png
  eventually "$backend: no word about a broken picture" said 3 'chart.png'
  shows expected.png >/dev/null || wrong "$backend: a broken picture is shown"
  cp good.png chart.png
  becomes "a whole picture" --shader look.frag

  look 'gain * tint + 0.1 * float(count)' >look.frag # and back
  becomes "a value given before" --shader look.frag --set gain=0.75
  xdotool key Tab Up Up Down # of gain, the default's twentieth at a time
  eventually "$backend: up and down" titled "look - gain=0.775"
  xdotool key Tab Tab shift+Down
  eventually "$backend: a component" titled "look - tint=1,[0.25],0"
  xdotool key shift+Tab shift+Tab shift+Tab shift+Up
  eventually "$backend: a whole number" titled "look - count=10"
  xdotool key Down
  eventually "$backend: one less" titled "look - count=9"
  local values=(--shader look.frag --set gain=0.775 --set "tint=1,0.25,0" --set count=i9)
  becomes "the values" "${values[@]}"
  xdotool key s s p
  eventually "$backend: s, s and p print three lines" printed 3
  sameBytes "s" chart-look.png "${values[@]}"
  sameBytes "s again, beside the other" chart-look-2.png "${values[@]}"
  sh -c "$(tail -n 1 stdout)" && cmp chart-look.png chart-look-3.png || wrong "$backend: p printed $(tail -n 1 stdout)"
  [[ $(head -n 2 stdout) == $'chart-look.png\nchart-look-2.png' ]] || wrong "$backend: s printed $(cat stdout)"
  ends
  said 3 chart.png || wrong "$backend: said $(cat stderr)"
}

# All that filters have, with names that need quotes, by way of a link to the shader.
everything() {
  printf '%s\n' 'uniform sampler2D image, other; uniform float k; uniform int pass;' 'void main()' \
    '{ gl_FragColor = (pass == 0 ? 2.0 : 0.4) * texture2D(image, gl_TexCoord[0].st) + k * texture2D(other, vec2(0.01)); }' \
    >"it's.frag"
  ln -sf "it's.frag" "a b.frag"
  cp negative.png "the table.png"
  local options=(--shader "a b.frag" --texture "other=the table.png" --passes 3 --size 100x70 --float --set k=-0.125)
  starts "${options[@]}" --watch
  becomes "a table" "${options[@]}"
  cp good.png "the table.png"
  becomes "another table" "${options[@]}"
  sed -i 's/2[.]0/1.5/' "it's.frag"
  becomes "a shader behind a link" "${options[@]}"
  xdotool key s p
  eventually "$backend: s and p print two lines" printed 2
  sameBytes "s with everything" "chart-a b.png" "${options[@]}"
  sh -c "$(tail -n 1 stdout)" && cmp "chart-a b.png" "chart-a b-2.png" || wrong "$backend: p printed $(cat stdout)"
  ends
  [[ ! -s stderr ]] || wrong "$backend: said $(cat stderr)"
}

# Two shaders one after another, of which either may change.
chains() {
  look 'gain * tint + 0.1 * float(count)' >look.frag
  echo 'uniform sampler2D image; uniform float gain;
    void main() { gl_FragColor = vec4(1.0, 1.0, gain, 1.0) - texture2D(image, gl_TexCoord[0].st).brga; }' >turn.frag
  local options=(--shader look.frag --set gain=0.75 --shader turn.frag --set gain=0.5)
  starts "${options[@]}" --watch
  becomes "a chain" "${options[@]}"
  eventually "$backend: the title of a chain" titled "look+turn - 1:count=0"
  sed -i 's/brga/gbra/' turn.frag
  becomes "the second shader of a chain" "${options[@]}"
  xdotool key shift+Tab Up
  eventually "$backend: a setting of the second shader" titled "look+turn - 2:gain=0.55"
  xdotool key s p
  eventually "$backend: s and p print two lines" printed 2
  sameBytes "s with a chain" chart-look+turn.png --shader look.frag --set gain=0.75 --shader turn.frag --set gain=0.55
  sh -c "$(tail -n 1 stdout)" && cmp chart-look+turn.png chart-look+turn-2.png || wrong "$backend: p printed $(cat stdout)"
  ends
}

# A shader that moves: the colour is the number of the picture, and has the seconds in blue.
moves() {
  echo 'uniform float time; uniform int frame;
    void main() { gl_FragColor = vec4(mod(float(frame), 256.0) / 255.0, 0.0, time / 100.0, 1.0); }' >moving.frag
  starts --shader moving.frag
  import -window "$window" before.png
  eventually "$backend: nothing moves" differs before.png
  xdotool key p
  eventually "$backend: p prints a line" printed 1
  sh -c "$(cat stdout)" || wrong "$backend: p printed $(cat stdout)"
  [[ $(cat stdout) =~ frame=i([0-9]+)\ --set\ time=([0-9.]+) ]] &&
    ((BASH_REMATCH[1] > 0)) && [[ $(convert chart-moving.png -format '%[fx:255*p{0,0}.r]' info:) == "$((BASH_REMATCH[1] % 256))" ]] ||
    wrong "$backend: p printed $(cat stdout)"
  ends
  starts --shader moving.frag --set frame=i77 --set time=25
  becomes "a given time" --shader moving.frag --set frame=i77 --set time=25
  ends
}

"$omdemo" chart good.png || wrong "chart"
omrender filter --shader invert good.png --out negative.png || wrong "negative"
convert negative.png -crop 300x200+20+30 +repage negative.png
backends="x11 qt"
[[ $(omrender show --backend qt good.png --seconds 0 2>&1) != *"without Qt"* ]] || backends=x11
for backend in $backends; do
  for part in watches everything chains moves; do
    rm -f ./*.frag chart*
    cp good.png chart.png
    "$part"
  done
done

refuses 1 "gone.frag" show --shader gone.frag --watch chart.png
refuses 2 "--watch requires --shader" show --watch chart.png
refuses 1 "is read" show --shader lut --texture lut=good.png chart.png --seconds 0 --capture good.png
omrender show --shader moving.frag --set frame=i9 chart.png --seconds 0 --capture out.png &&
  omrender filter --shader moving.frag --set frame=i9 chart.png --out expected.png &&
  "$omdemo" compare out.png expected.png >stdout || wrong "a capture: $(cat stdout)"
[[ $failures == 0 ]]
