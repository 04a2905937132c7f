#!/usr/bin/env bash
# omrenderBackEndsTest.sh OMRENDER OMDEMO EGLDOUBLE: compares the back ends on the display in DISPLAY and without it.
# shellcheck source=tests/support/programTest.sh
source "$(dirname "${BASH_SOURCE[0]}")/../support/programTest.sh"
mkdir "$work/double" && ln -s "$(realpath "$3")" "$work/double/libEGL.so.1"
unset OM_RENDER_DEVICE
cd "$work" || exit 1

"$omdemo" chart chart.png || wrong "chart"
cp "$fixtures/rgb.png" table.png
pictures=(chart.png "$fixtures"/{rgba16,greyAlpha,grey1}.png "$fixtures/baseline.jpg")

# Every filter makes the same bytes on every card that Mesa simulates.
for lacking in "" "-GL_ARB_texture_non_power_of_two" \
  "-GL_ARB_texture_non_power_of_two -GL_ARB_texture_rectangle -GL_NV_texture_rectangle"; do
  export MESA_EXTENSION_OVERRIDE=$lacking
  for shader in $("$omrender" filter --list | grep -v '^ '); do
    what=(filter --shader "$shader" --passes 2 --out-dir)
    [[ $shader != lut ]] || what=(filter --shader lut --texture lut=table.png --out-dir)
    rm -rf x11 egl
    "$omrender" "${what[@]}" x11 --backend x11 "${pictures[@]}" && [[ $(ls x11 | wc -l) == "${#pictures[@]}" ]] &&
      env -u DISPLAY "$omrender" "${what[@]}" egl "${pictures[@]}" && diff -r x11 egl || wrong "$shader, $lacking"
  done
done
unset MESA_EXTENSION_OVERRIDE

# takes BACKEND DEVICES OPTION...: with these devices (tests/support/eglDouble.cpp) the filter runs on that back end. Only
# X11 loads a driver of GLX.
takes() {
  local taken=egl
  OM_TEST_DEVICES=$2 LD_LIBRARY_PATH=$work/double${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH} LD_DEBUG=files \
    "$omrender" filter --shader invert chart.png --out out.png "${@:3}" >stdout 2>loaded || taken="none: $(grep omrender: loaded)"
  grep -q 'calling init: .*/libGLX_' loaded && taken=x11
  [[ $taken == "$1" ]] || wrong "${*:2}: took $taken"
}

takes egl "software card"
takes x11 "software"
takes x11 "locked software"
takes egl "software" --backend egl
takes egl "software" --device software
OM_RENDER_DEVICE=0 takes egl "software"
takes x11 "card" --backend x11
OM_RENDER_DEVICE=0 takes x11 "card" --backend x11
DISPLAY=:9999 takes egl "software"
DISPLAY='' takes egl "software"

display="opened on                   the display $DISPLAY"
[[ $("$omrender" info | head -n 1) == "$display" ]] || wrong "info: $("$omrender" info | head -n 1)"
[[ $(DISPLAY=:9999 "$omrender" info | head -n 1) == *"of EGL"* ]] || wrong "info without a server"
"$omrender" info --json | python3 -c 'import json, os, sys; it = json.load(sys.stdin)
assert (it["backEnd"], it["display"], it["device"]) == ("x11", os.environ["DISPLAY"], None), it' || wrong "info --json"

[[ $failures == 0 ]]
