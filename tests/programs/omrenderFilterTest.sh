#!/usr/bin/env bash
# omrenderFilterTest.sh OMRENDER OMDEMO REFERENCE: filters pictures as a user does, on the display in DISPLAY.
# shellcheck source=tests/support/programTest.sh
source "$(dirname "${BASH_SOURCE[0]}")/../support/programTest.sh"
reference=$(realpath "$3")
cd "$work" || exit 1

# filters FILTER OPTIONS PICTURE...: the pictures, as one batch, come out as the reference computes them.
filters() {
  local filter=$1 options=$2 picture out
  shift 2
  rm -rf filtered
  # shellcheck disable=SC2086
  "$omrender" filter --shader "$filter" --out-dir filtered $options "$@" >stdout 2>stderr && [[ ! -s stderr ]] ||
    wrong "$filter $options: $(cat stderr)"
  for picture in "$@"; do
    out=$(basename "$picture")
    "$reference" "$filter" "$picture" "filtered/${out%.*}.png" table.png >stdout 2>&1 ||
      wrong "$filter $options $picture: $(cat stdout)"
  done
}

"$omdemo" chart chart.png || wrong "chart"
"$reference" noise 3 25 5 table.png || wrong "table"
sizes=("3 1 1" "3 2 3" "3 37 23" "4 5 3" "3 64 32" "3 1601 1203" "1 3 2" "2 7 5" "4 129 65")
for size in "${sizes[@]}"; do
  read -r -a shape <<<"$size"
  "$reference" noise "${shape[@]}" "${size// /-}.png" || wrong "noise $size"
done

# Multiplies beyond what a byte holds, and back: with floats between the passes nothing is lost.
echo '// passes: 2
uniform sampler2D image; uniform int pass;
void main()
{ vec4 c = texture2D(image, gl_TexCoord[0].st); gl_FragColor = pass == 0 ? 8.0 * c - 3.0 : (c + 3.0) / 8.0; }' >excess.frag
# Turns the picture upside down: four passes give it back.
echo 'uniform sampler2D image; uniform vec2 imageSize; uniform vec2 texelSize;
void main() { gl_FragColor = texture2D(image, abs(imageSize * texelSize - gl_TexCoord[0].st)); }' >turn.frag

echo 'uniform sampler2D image; uniform float by;
void main() { vec4 c = texture2D(image, gl_TexCoord[0].st); gl_FragColor = vec4(c.gbr * c.a, c.a * by); }' >fade.frag
echo 'uniform sampler2D image; uniform float by;
void main() { gl_FragColor = by * texture2D(image, gl_TexCoord[0].st); }' >times.frag

for lacking in "" "-GL_ARB_texture_non_power_of_two"; do
  export MESA_EXTENSION_OVERRIDE=$lacking
  filters identity "" [1-4]-*.png chart.png "$fixtures/rgb.jpg"
  some=(chart.png "$fixtures/rgb.jpg" 3-37-23.png 4-129-65.png)
  filters grayscale "" "${some[@]}"
  filters invert "" "${some[@]}"
  filters gamma "--set gamma=1.8" "${some[@]}"
  filters brightness-contrast "--set contrast=1.5 --set brightness=0.1" "${some[@]}"
  filters edges "--set strength=0.75" "${some[@]}"
  filters blur "--set radius=3.5" "${some[@]}"
  filters blur "--set radius=3.5 --float" "${some[@]}"
  filters sharpen "--set amount=1.5" "${some[@]}"
  filters median "" "${some[@]}"
  filters lut "--texture lut=table.png" "${some[@]}"
  filters unsharp "--set radius=2.5 --set amount=1.5 --set threshold=0.05" "${some[@]}"
  filters bilateral "--set radius=2.5 --set tolerance=0.15" "${some[@]}"
  filters levels "--set black=0.1 --set white=0.8 --set gamma=1.4 --set low=0.05 --set high=0.95" "${some[@]}"
  filters hue-saturation "--set hue=200 --set saturation=1.3 --set lightness=0.9" "${some[@]}"
  filters white-balance "--set temperature=4000 --set tint=0.3" "${some[@]}"
  filters threshold "--set level=0.4001 --set softness=0.1" "${some[@]}"
  "$omrender" filter --shader excess.frag --float 3-37-23.png --out excess.png || wrong "excess"
  "$omdemo" compare 3-37-23.png excess.png >stdout || wrong "excess: $(cat stdout)"
  "$omrender" filter --shader turn.frag --passes 4 chart.png --out out.png || wrong "turn"
  "$omdemo" compare chart.png out.png >stdout || wrong "turned twice: $(cat stdout)"
  "$omrender" filter --shader identity --size 3x5 3-1-1.png --out large.png && [[ $("$omdemo" size large.png) == "3 5" ]] &&
    "$omdemo" compare large.png 3-1-1.png 0,0,1,1 >stdout && "$omdemo" compare large.png 3-1-1.png 2,4,1,1 >stdout ||
    wrong "--size: $(cat stdout)"
  # A chain makes what its filters make one after another; this one changes alpha and reads it.
  for picture in chart.png 3-37-23.png 4-5-3.png 1-3-2.png 2-7-5.png "$fixtures/rgb.jpg"; do
    "$omrender" filter --shader blur --set radius=2 "$picture" --out 1.png &&
      "$omrender" filter --shader fade --set by=0.4 1.png --out 2.png &&
      "$omrender" filter --shader lut --texture lut=table.png 2.png --out 3.png &&
      "$omrender" filter --shader fade --set by=0.7 --passes 2 3.png --out steps.png &&
      "$omrender" filter --set radius=2 --shader blur --shader fade --set by=0.4 --shader lut --texture lut=table.png \
        --shader fade --passes 2 --set by=0.7 "$picture" --out chain.png && cmp steps.png chain.png || wrong "a chain: $picture"
  done
  "$omrender" filter --shader times --set by=8 --shader times --set by=0.125 --float 3-37-23.png --out out.png &&
    "$omdemo" compare 3-37-23.png out.png >stdout || wrong "floats in a chain: $(cat stdout)"
done
unset MESA_EXTENSION_OVERRIDE

# What ImageMagick does too, to within two steps of 255, over noise and all greys.
convert 3-37-23.png -size 37x256 gradient: -append -depth 8 PNG24:both.png
while IFS='|' read -r filter operation; do
  # shellcheck disable=SC2086
  "$omrender" filter --shader $filter both.png --out out.png && convert both.png $operation magick.png &&
    [[ $(compare -metric AE -fuzz 0.8% out.png magick.png null: 2>&1) == 0 ]] || wrong "$filter is not $operation"
done <<'END'
levels --set black=0.1 --set white=0.8 --set gamma=1.4 --set low=0.05 --set high=0.95|-level 10%,80%,1.4 +level 5%,95%
hue-saturation --set hue=60 --set saturation=0.7 --set lightness=0.9|-modulate 90,70,133.3333333
threshold --set level=0.6|-color-matrix .299,.587,.114,.299,.587,.114,.299,.587,.114 -threshold 59.999%
unsharp --set radius=6 --set amount=0.5|-unsharp 6x2+0.5+0
END
# A white shape, blurred, has no dark rim.
convert -size 40x40 xc:none -fill white -draw 'circle 20,20 20,8' shape.png
"$omrender" filter --shader blur --set radius=6 shape.png --out out.png &&
  [[ $(convert out.png -background white -flatten -format '%[fx:minima >= 0.99]' info:) == 1 ]] || wrong "a dark rim"
# Colour tables of .cube files, as Texture3 and ffmpeg look them up.
cube() { # NAME DIMENSIONS SIZE MIN MAX ENDING: writes a table
  python3 - "$@" <<'END'
import math, sys
name, dimensions, size, low, high, ending = sys.argv[1], *map(int, sys.argv[2:4]), *map(float, sys.argv[4:6]), sys.argv[6]
lines = ['TITLE "%s"' % name, '# a table', 'LUT_%dD_SIZE %d' % (dimensions, size), '',
         'DOMAIN_MIN %g %g %g' % (low, low, low), 'DOMAIN_MAX %g %g %g' % (high, high, high)]
part = [i / (size - 1) for i in range(size)]
row = lambda r, g, b: '%.6f %.6f %.6f' % (r ** .7 * .8 + .2 * g, (g + math.sin(9 * b) / 9) % 1, 1 - b * (1 - r / 2))
lines += [row(i, i, i) for i in part] if dimensions == 1 else [row(r, g, b) for b in part for g in part for r in part]
open(name, 'w', newline='').write(''.join(line + ending.encode().decode('unicode_escape') for line in lines))
END
}
ffmpeg -nostdin -v error -f lavfi -i haldclutsrc=4 -frames:v 1 hald.png && "$reference" noise 3 300 200 noise.png ||
  wrong "pictures for tables"
while read -r dimensions size low high ending how; do
  cube film.CUBE "$dimensions" "$size" "$low" "$high" "$ending"
  for lacking in "" -GL_ARB_texture_non_power_of_two -GL_ARB_texture_float; do
    for picture in hald.png noise.png; do
      [[ ! $lacking || $picture == hald.png ]] || continue
      MESA_EXTENSION_OVERRIDE=$lacking "$omrender" filter --shader lut --texture lut=film.CUBE $picture --out out.png 2>&1 &&
        "$reference" cube $picture out.png film.CUBE >stdout || wrong "$dimensions $size $lacking $picture: $(cat stdout)"
      [[ $picture$size != hald.png16 || $lacking || $(cat stdout) == "off by 0" ]] || wrong "a texel: $(cat stdout)"
      [[ $how != none && ! $lacking ]] || continue
      ffmpeg -nostdin -v error -y -i $picture -vf "format=gbrp,$how" -pix_fmt rgb24 expected.png &&
        "$reference" near expected.png out.png out.png >stdout || wrong "$how of $size for $picture: $(cat stdout)"
    done
  done
done <<'END'
3 2 0 1 \n lut3d=film.CUBE:interp=trilinear
3 16 0 1 \r\n lut3d=film.CUBE:interp=trilinear
3 65 0 1 \n lut3d=film.CUBE:interp=trilinear
3 33 0 2 \n lut3d=film.CUBE:interp=trilinear
3 17 -0.5 1.25 \n none
1 3 0 1 \n lut1d=film.CUBE:interp=linear
1 1024 0 1 \r\n lut1d=film.CUBE:interp=linear
1 65536 0 1 \n lut1d=film.CUBE:interp=linear
1 700 0.25 0.75 \n none
END
# With floats, tables hold what bytes do not.
printf 'LUT_1D_SIZE 2\n-1 0.001 3\n0 0 0\n' >wide.cube
echo 'uniform sampler2D image, t; void main() {
gl_FragColor = texture2D(image, gl_TexCoord[0].st) * 0.0 + texture2D(t, vec2(0.25, 0.5)) * vec4(-0.5, 400.0, 0.2, 1.0); }' >wide.frag
while read -r lacking color; do
  MESA_EXTENSION_OVERRIDE=$lacking "$omrender" filter --shader wide --texture t=wide.cube --format raw hald.png \
    --size 1x1 --out - | od -An -tu1 | xargs >stdout
  [[ $(cat stdout) == "$color" ]] || wrong "wide $lacking: $(cat stdout)"
done <<'END'
-GL_none 128 102 153
-GL_ARB_texture_float 0 0 51
END
printf 'LUT_3D_SIZE 2\n0 0 x\n' >bad.cube
refuses 2 'cannot read "bad.cube": line 2: "x" is no' filter --shader lut --texture lut=bad.cube chart.png --out out.png

# $OM_SHADER_PATH goes before the program's own shaders.
mkdir shaders
cp excess.frag shaders/invert.frag
OM_SHADER_PATH=nowhere:shaders "$omrender" filter --shader invert --float chart.png --out out.png &&
  "$omdemo" compare chart.png out.png >stdout || wrong "OM_SHADER_PATH: $(cat stdout)"

# A shader reads as many pictures as the card has units, one of them the picture itself.
units=$("$omrender" info --json | grep -oP '"textureUnits": \K[0-9]+') || wrong "no textureUnits"
others=$((units - 1))
{ seq -f 'uniform sampler2D t%g;' $others
  echo 'uniform sampler2D image; void main() { vec4 sum = texture2D(image, gl_TexCoord[0].st);'
  seq -f 'sum += texture2D(t%g, gl_TexCoord[0].st);' $others
  echo "gl_FragColor = sum / $units.0; }"; } >mean.frag
mapfile -t mean < <(seq -f '--texture=t%g=chart.png' $others)
"$omrender" filter --shader mean.frag "${mean[@]}" chart.png --out out.png && "$omdemo" compare chart.png out.png >stdout ||
  wrong "all units: $(cat stdout)"
refuses 3 "$others pictures" filter --shader mean.frag "${mean[@]}" --texture more=chart.png chart.png --out out.png

# However a sampler is declared, it asks for a picture, unless the program makes no use of it.
main='void main() { vec2 p = gl_TexCoord[0].st; gl_FragColor = texture2D(image, p)'
samples() { printf '%b' "$1\n$main $2; }\n" >samplers.frag; }
while IFS='|' read -r declaration used; do
  samples "$declaration" "${used:-+ texture2D(other, p)}"
  refuses 2 '--texture other' filter --shader samplers.frag chart.png --out out.png
done <<'END'
uniform sampler2D image, other;
#version 130\nuniform lowp sampler2D image; uniform /* the */ lowp sampler2D\nother;
#define PICTURE uniform sampler2D\nPICTURE image; PICTURE other;
uniform sampler2D image; uniform sampler2D other[2];|+ texture2D(other[1], p)
END
samples 'uniform sampler2D image, other[2];' '* 0.0 + mix(texture2D(other[0], p), texture2D(other[1], p), p.x)'
refuses 2 '--texture other[1]=' filter --shader samplers.frag --texture 'other[0]=chart.png' chart.png --out out.png
"$omrender" filter --shader samplers.frag --texture 'other[0]=chart.png' --texture 'other[1]=chart.png' table.png \
  --size 641x479 --out out.png && "$omdemo" compare chart.png out.png >stdout || wrong "an array: $(cat stdout)"
samples 'uniform sampler2D image, unused; // uniform sampler2D other;' ''
"$omrender" filter --shader samplers.frag chart.png --out out.png || wrong "a sampler without use"
samples 'uniform sampler2D image; uniform samplerCube sky;' '+ textureCube(sky, vec3(p, 1.0))'
refuses 2 '"sky" of "samplers.frag" is no sampler2D' filter --shader samplers.frag chart.png --out out.png

# The coordinates of a shader of the core profile come from a vertex shader; without one, a run warns once.
printf '#version 330 core\nin vec2 uv; out vec4 c; uniform sampler2D image; void main() { c = texture(image, uv); }' >core.frag
printf 'varying vec2 uv; void main() { uv = gl_MultiTexCoord0.st; gl_Position = ftransform(); }' >uv.vert
"$omrender" filter --shader core --vertex uv chart.png --out out.png 2>stderr && [[ ! -s stderr ]] &&
  "$omdemo" compare chart.png out.png >stdout || wrong "core: $(cat stdout stderr)"
"$omrender" filter --shader core chart.png table.png --out-dir core 2>stderr || wrong "core: $(cat stderr)"
grep -c '^omrender: warning: "core.frag" reads "uv"' stderr | grep -qx 1 || wrong "core: $(cat stderr)"
printf '#extension GL_none : enable\nvoid main() { gl_FragColor = vec4(1.0); }' >warned.frag
for run in first second; do # which finds the program in Mesa's cache
  "$omrender" filter --shader warned chart.png --out out.png 2>stderr || wrong "warned: $(cat stderr)"
  [[ $(cat stderr) == 'omrender: warning: "warned.frag": 0:1'*GL_none* ]] || wrong "no warning in the $run run: $(cat stderr)"
done

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
refuses 2 'bad.frag": 0:4' filter --shader bad.frag short.png "${o[@]}"
refuses 2 "unlinked.frag" filter --shader unlinked.frag short.png "${o[@]}"
mkdir folder.frag
ln -s /proc/self/mem memory.frag # opens and cannot be read
refuses 2 'cannot read "folder.frag": it is a directory' filter --shader folder chart.png "${o[@]}"
refuses 2 'cannot read "memory.frag": Input/output error' filter --shader memory.frag chart.png "${o[@]}"
mkfifo pipe.frag pipe.cube # nobody writes to them
refuses 2 'cannot read "pipe.frag": it is not a regular file' filter --shader pipe chart.png "${o[@]}"
refuses 2 'cannot read "pipe.cube": it is not a regular file' filter --shader lut --texture lut=pipe.cube chart.png "${o[@]}"
refuses 2 '"no\x1b[31m\nsuch\x7f"' filter --shader $'no\e[31m\nsuch\x7f' chart.png "${o[@]}"
refuses 2 '"nosuch"' filter --shader nosuch chart.png "${o[@]}"
refuses 2 '"radios", or makes no use of it; it has radius (a float)' filter --shader blur --set radios=3 short.png "${o[@]}"
refuses 2 'is a float, not 2 numbers' filter --shader blur --set radius=1,2 short.png "${o[@]}"
refuses 2 '"radius"' filter --shader blur --set radius=i2 short.png "${o[@]}"
refuses 2 "itself" filter --shader blur --set pass=i2 short.png "${o[@]}"
refuses 2 '--texture lut=FILE' filter --shader lut chart.png "${o[@]}"
refuses 2 "short.png" filter --shader lut --texture lut=short.png chart.png "${o[@]}"
refuses 2 "nowhere" filter --shader blur short.png --out nowhere/out.png
refuses 2 "file" filter --shader blur chart.png --out-dir file
refuses 2 "regular file" filter --shader blur chart.png --out /dev/full
refuses 2 "both be written" filter --shader blur --out-dir out chart.png twice/chart.jpg
refuses 2 'over "chart.png"' filter --shader blur --out-dir . chart.png
echo 'void main() { gl_Position = ftransform(); }' >own.vert
for file in excess.frag own.vert table.png chart.png; do
  for symbolic in -s ""; do
    ln -f $symbolic "$file" link.png
    refuses 2 "over \"$file\"" filter --shader excess --vertex own --texture t=table.png chart.png --out link.png
  done
done
mkdir links
ln -s links/chart.png turned.png
cp chart.png links # what the first picture makes is the second picture
refuses 2 'over "turned.png"' filter --shader invert --out-dir links twice/chart.jpg turned.png
refuses 3 "--size 99999 x 1" filter --shader blur --size 99999x1 chart.png "${o[@]}"
(trap '' XFSZ; ulimit -f 1; refuses 1 "File too large" filter --shader blur chart.png "${o[@]}"; exit "$failures") || failures=1
MESA_EXTENSION_OVERRIDE="-GL_ARB_texture_float" refuses 3 "--float" filter --shader blur --float chart.png "${o[@]}"
MESA_EXTENSION_OVERRIDE="-GL_EXT_framebuffer_object" refuses 3 "filters need" filter --shader blur chart.png "${o[@]}"
refuses 2 '"fade.frag" has no uniform "radius"' filter --shader blur --shader fade --set radius=2 chart.png "${o[@]}"
refuses 2 "twice for one" filter --shader blur --passes 2 --passes 3 chart.png "${o[@]}"
refuses 2 "--out" filter --shader blur chart.png table.png "${o[@]}"
for option in "--set radius" "--set =3" "--set radius=nan" "--set radius=1,,2" "--set radius=3x" "--passes 0" "--size 0x3" \
  "--texture lut" "--unknown"; do
  # shellcheck disable=SC2086
  refuses 2 "${option%% *}" filter --shader blur chart.png "${o[@]}" $option
done

[[ $failures == 0 ]]
