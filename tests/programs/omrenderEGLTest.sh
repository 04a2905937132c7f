#!/usr/bin/env bash
# omrenderEGLTest.sh OMRENDER OMDEMO EGLDOUBLE: runs the program as a user does who has no display.
# shellcheck source=tests/support/programTest.sh
source "$(dirname "${BASH_SOURCE[0]}")/../support/programTest.sh"
mkdir "$work/double" && ln -s "$(realpath "$3")" "$work/double/libEGL.so.1"
unset DISPLAY OM_RENDER_DEVICE
cd "$work" || exit 1

# onDevices DEVICES COMMAND...: with these devices (tests/support/eglDouble.cpp).
onDevices() {
  OM_TEST_DEVICES=$1 LD_LIBRARY_PATH=$work/double${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH} "${@:2}"
}

# json EXPRESSION ARGUMENT...: omrender prints JSON for which the expression of Python holds.
json() {
  local expression=$1
  shift
  "$omrender" "$@" --json >info.json && python3 -c 'import json, sys; it = json.load(open("info.json"))
assert eval("(" + sys.argv[1] + ")"), it' "$expression" 2>stderr || wrong "$* is not $expression: $(tail -n 1 stderr)"
}

# says STATUS TEXT ARGUMENT...: ends with that status and writes just this to standard error.
says() {
  local status=$1 text=$2 got=0
  shift 2
  "$omrender" "$@" >stdout 2>stderr || got=$?
  [[ $got == "$status" && $(cat stderr) == "$text" ]] || wrong "omrender $*: status $got, said $(cat stderr)"
}

"$omdemo" chart chart.png || wrong "chart"
cp chart.png photo.jpg # the content counts

# The first example of the documentation's server section, in an empty environment.
example=$(sed -n '/^## On a server/,$p' "$fixtures/../../docs/firstPage.md" | grep -m 1 '^    omrender') || wrong "no example"
mkdir bin && ln -s "$omrender" bin/omrender
env -i PATH="$work/bin:$PATH" bash -c "$example" >stdout 2>stderr && [[ ! -s stderr ]] || wrong "$example: $(cat stderr)"
[[ $("$omdemo" size edges.png) == "$("$omdemo" size chart.png)" ]] || wrong "$example: no picture"

for picture in chart.png "$fixtures"/{rgb,rgba16,greyAlpha}.png "$fixtures/baseline.jpg"; do
  "$omrender" show --backend egl "$picture" --capture out.png 2>stderr && [[ ! -s stderr ]] &&
    "$omdemo" compare "$picture" out.png >stdout || wrong "show $picture: $(cat stdout stderr)"
done
"$omrender" show --backend egl chart.png --capture out.png --block 40,110,97,203 &&
  "$omdemo" compare chart.png out.png 40,110,97,203 >stdout || wrong "show --block: $(cat stdout)"
"$omrender" filter --shader identity --size 9000x9 chart.png --out wide.png # wider than any screen
"$omrender" show --backend egl wide.png --capture out.png && "$omdemo" compare wide.png out.png >stdout || wrong "wide"

"$omrender" info >stdout || wrong "info"
grep -qE '^opened on +device 0 of EGL \(.+\), without a display$' stdout || wrong "info: $(head -n 1 stdout)"
json 'it["backEnd"] == "egl" and it["display"] is None and it["device"] == 0 and it["limits"]["textureSize"] >= 1024' info
json 'it["device"] == 0' info --device software
size=$(python3 -c 'import json; print(json.load(open("info.json"))["limits"]["textureSize"])')
"$omrender" info --devices >stdout || wrong "info --devices"
grep -qE "^largest texture +$size$" stdout && grep -qE '^opens +yes$' stdout || wrong "info --devices: $(cat stdout)"
json 'it[-1]["number"] == len(it) - 1 and it[-1]["software"] and it[-1]["opens"] and it[-1]["answer"] is None and
      it[-1]["renderNode"] is None and it[-1]["cudaNumber"] is None and it[-1]["textureSize"] == '"$size" info --devices

onDevices "locked software card" json '[(d["number"], d["software"], d["opens"]) for d in it] ==
  [(0, False, False), (1, True, True), (2, False, True)] and it[0]["renderNode"] == "/dev/dri/no-locked" and
  it[0]["answer"].startswith("eglInitialize: ") and it[0]["renderer"] is None and it[0]["textureSize"] is None and
  it[2]["renderer"] and it[2]["version"]' info --devices
onDevices "software locked card" json 'it["device"] == 2' info
onDevices "software locked card" json 'it["device"] == 2' info --device /dev/dri/no-card
onDevices "software locked card" json 'it["device"] == 0' info --backend egl --device 0
export OM_RENDER_DEVICE=2
onDevices "card card card" json 'it["device"] == 2' info
onDevices "card card card" json 'it["device"] == 1' info --device 1
OM_RENDER_DEVICE=5 refuses 3 'no device "5"; there are: 0' filter --shader invert chart.png --out out.png
unset OM_RENDER_DEVICE

# What fails says what was tried, a line each.
noDisplay='omrender: cannot open a window on a display (DISPLAY is not set): Cannot open display; set DISPLAY to an X server with GLX, or start the program with xvfb-run -a'
node='/dev/dri/no-locked (give the container the device)'
locked="omrender: cannot open a window without a display: No device gives OpenGL. Device 0 (/dev/dri/no-locked): eglInitialize: EGL_BAD_DISPLAY, No such file or directory for $node"
invert=(filter --shader invert chart.png --out out.png)
onDevices locked says 3 "$locked"$'\n'"$noDisplay" "${invert[@]}"
onDevices locked says 3 "$noDisplay"$'\n'"$locked" info
onDevices locked says 3 "$locked" show --backend egl chart.png --capture out.png
DISPLAY=:9999 onDevices locked says 3 "${noDisplay/a display (DISPLAY is not set)/display \":9999\"}"$'\n'"$locked" "${invert[@]}"
onDevices locked says 3 "$locked" "${invert[@]}" --device hardware
says 3 "$noDisplay" "${invert[@]}" --backend x11
rm "$work/double/libEGL.so.1" && echo "no library" >"$work/double/libEGL.so.1"
onDevices "" refuses 3 "install the package libegl1" info --devices
onDevices "" refuses 3 "install the package libegl1" info --backend egl
[[ ! -e out.png ]] || wrong "a failure left a picture"
MESA_GL_VERSION_OVERRIDE=3.1FC refuses 3 "compatibility profile" info --backend egl
refuses 3 'no device "cuda:77"; there are: 0' info --device cuda:77
refuses 3 'no device "cuda:77"; there are: 0' show --backend egl --device cuda:77 chart.png --capture out.png
refuses 2 "cannot be seen" show --backend egl chart.png
refuses 2 "--device" show --device 0 chart.png --capture out.png
refuses 2 "--device" info --device 0 --backend x11
refuses 2 "--devices" info --device 0 --devices
refuses 2 "--backend" filter --shader invert --backend qt chart.png --out out.png
for command in "" info show filter; do
  # shellcheck disable=SC2086
  [[ -z $("$omrender" $command --help | awk 'length > 80') ]] || wrong "$command --help is wider than 80 columns"
done

[[ $failures == 0 ]]
