#!/usr/bin/env bash
# omrenderFilterTest.sh OMRENDER OMDEMO REFERENCE: filters pictures as a user does, on the display in DISPLAY.
# shellcheck source=tests/support/programTest.sh
source "$(dirname "${BASH_SOURCE[0]}")/support/programTest.sh"
reference=$(realpath "$3")
cd "$work" || exit 1

# filters FILTER PICTURE OPTION...: the picture comes out as the reference computes it.
filters() {
  local filter=$1 picture=$2
  shift 2
  rm -f out.png
  "$omrender" filter --shader "$filter" "$picture" --out out.png "$@" >stdout 2>stderr && [[ ! -s stderr ]] ||
    wrong "$filter $picture: $(cat stderr)"
  "$reference" "$filter" "$picture" out.png table.png >stdout 2>&1 || wrong "$filter $picture $*: $(cat stdout)"
}

"$omdemo" chart chart.png || wrong "chart"
"$reference" noise 3 25 5 table.png || wrong "table"
sizes=("3 1 1" "3 2 3" "3 37 23" "4 5 3" "3 64 32" "3 1601 1203" "1 3 2" "2 7 5" "4 129 65")
for size in "${sizes[@]}"; do
  read -r -a shape <<<"$size"
  "$reference" noise "${shape[@]}" "${size// /-}.png" || wrong "noise $size"
done

# Multiplies beyond what a byte holds, and back: with floats between the passes nothing is lost.
cat >excess.frag <<'SHADER'
// passes: 2
uniform sampler2D image;
uniform int pass;
void main()
{
  vec4 color = texture2D(image, gl_TexCoord[0].st);
  gl_FragColor = pass == 0 ? 8.0 * color - 3.0 : (color + 3.0) / 8.0;
}
SHADER

for lacking in "" "-GL_ARB_texture_non_power_of_two" \
  "-GL_ARB_texture_non_power_of_two -GL_ARB_texture_rectangle -GL_NV_texture_rectangle -GL_EXT_texture_rectangle"; do
  export MESA_EXTENSION_OVERRIDE=$lacking
  for picture in [1-4]-*.png chart.png "$fixtures/rgb.jpg"; do
    filters identity "$picture"
  done
  for picture in chart.png "$fixtures/rgb.jpg" 3-37-23.png 4-5-3.png; do
    filters grayscale "$picture"
    filters invert "$picture"
    filters gamma "$picture" --set gamma=1.8
    filters brightness-contrast "$picture" --set contrast=1.5 --set brightness=0.1
    filters edges "$picture" --set strength=0.75
    filters blur "$picture" --set radius=3.5
    filters blur "$picture" --set radius=3.5 --float
    filters sharpen "$picture" --set amount=1.5
    filters median "$picture"
    filters lut "$picture" --texture lut=table.png
  done
  "$omrender" filter --shader excess.frag --float 3-37-23.png --out excess.png || wrong "excess"
  "$omdemo" compare 3-37-23.png excess.png >stdout || wrong "excess: $(cat stdout)"
  "$omrender" filter --shader identity --size 3x5 3-1-1.png --out large.png && [[ $("$omdemo" size large.png) == "3 5" ]] &&
    "$omdemo" compare large.png 3-1-1.png 0,0,1,1 >stdout && "$omdemo" compare large.png 3-1-1.png 2,4,1,1 >stdout ||
    wrong "--size: $(cat stdout)"
done
unset MESA_EXTENSION_OVERRIDE

# A batch goes on after a file that fails; the bar is for terminals alone.
head -c 2000 chart.png >short.png
"$omrender" filter --shader invert --out-dir batch/ 4-5-3.png short.png chart.png 3-37-23.png 2>stderr && wrong "batch: status 0"
[[ $(wc -l <stderr) == 1 && $(cat stderr) == "omrender: "*short.png* && $(ls batch) == $'3-37-23.png\n4-5-3.png\nchart.png' ]] ||
  wrong "batch: $(cat stderr; ls batch)"
for picture in 4-5-3.png chart.png 3-37-23.png; do
  "$reference" invert "$picture" "batch/$picture" table.png >stdout || wrong "batch: $(cat stdout)"
done
script -qec "'$omrender' filter --shader invert --out-dir batch 4-5-3.png chart.png" /dev/null </dev/null >stdout || wrong "bar"
grep -q '2/2' stdout || wrong "no progress bar: $(cat stdout)"

printf 'uniform float f;\nvoid main()\n{\n  gl_FragColor = vec4(f) + nothing;\n}\n' >bad.frag
printf 'uniform float f;\nvoid other();\nvoid main() { other(); gl_FragColor = vec4(f); }\n' >unlinked.frag
mkdir -p twice
cp chart.png twice/chart.jpg
touch file
o=(--out out.png)
refuses 1 'bad.frag": 0:4' filter --shader bad.frag short.png "${o[@]}"
refuses 1 "unlinked.frag" filter --shader unlinked.frag short.png "${o[@]}"
refuses 1 '"nosuch"' filter --shader nosuch chart.png "${o[@]}"
refuses 1 '"radios"' filter --shader blur --set radios=3 short.png "${o[@]}"
refuses 1 '"radius"' filter --shader blur --set radius=1,2 short.png "${o[@]}"
refuses 1 '"radius"' filter --shader blur --set radius=i2 short.png "${o[@]}"
refuses 1 "itself" filter --shader blur --set pass=i2 short.png "${o[@]}"
refuses 1 '"lut"' filter --shader blur --texture lut=table.png short.png "${o[@]}"
refuses 1 '--texture lut=FILE' filter --shader lut chart.png "${o[@]}"
refuses 1 "short.png" filter --shader lut --texture lut=short.png chart.png "${o[@]}"
refuses 1 "nowhere" filter --shader blur short.png --out nowhere/out.png
refuses 1 "file" filter --shader blur chart.png --out-dir file
refuses 1 "regular file" filter --shader blur chart.png --out /dev/full
refuses 1 "both be written" filter --shader blur --out-dir out chart.png twice/chart.jpg
refuses 1 "itself" filter --shader blur --out-dir . chart.png
refuses 1 "99999 x 1" filter --shader blur --size 99999x1 chart.png "${o[@]}"
MESA_EXTENSION_OVERRIDE="-GL_ARB_texture_float" refuses 1 "--float" filter --shader blur --float chart.png "${o[@]}"
MESA_EXTENSION_OVERRIDE="-GL_EXT_framebuffer_object" refuses 1 "filters need" filter --shader blur chart.png "${o[@]}"
refuses 2 "--out" filter --shader blur chart.png table.png "${o[@]}"
for option in "--set radius" "--set =3" "--set radius=nan" "--set radius=1,2,3,4" "--set radius=3x" "--passes 0" "--size 0x3" \
  "--texture lut" "--unknown"; do
  # shellcheck disable=SC2086
  refuses 2 "${option%% *}" filter --shader blur chart.png "${o[@]}" $option
done

[[ $failures == 0 ]]
