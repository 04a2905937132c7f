#!/usr/bin/env bash
# omrenderDepthTest.sh OMRENDER OMDEMO REFERENCE NAMED_FILES SHALLOW_TEXTURES: pictures of 16 bits that ImageMagick made.
# shellcheck source=tests/support/programTest.sh
source "$(dirname "${BASH_SOURCE[0]}")/../support/programTest.sh"
shallow=$(realpath "$5")
cd "$work" || exit 1
for program in convert exiftool; do
  type -P $program >/dev/null && continue
  echo "skipped: it takes the packages imagemagick and libimage-exiftool-perl"
  exit 77
done

# All 65536 values.
{ echo P2 256 256 65535 && seq 0 65535; } | convert pgm:- -strip gray.png
convert gray.png -flop \( gray.png -rotate 90 \) \( gray.png -flip \) -combine -set colorspace sRGB -strip PNG48:rgb.png
convert rgb.png -depth 16 rgb.tif
convert rgb.png \( gray.png -rotate 270 \) -alpha off -compose copy_opacity -composite PNG64:rgba.png
convert gray.png \( gray.png -rotate 90 \) -alpha off -compose copy_opacity -composite graya.png
echo 'uniform sampler2D image; uniform float gain;
void main() { gl_FragColor = texture2D(image, gl_TexCoord[0].st) * vec4(vec3(gain), 1.0); }' >gain.frag

# is EXPECTED RESULT: the same pixels, to the last bit.
is() {
  [[ $(compare -metric AE "$1" "$2" null: 2>&1) == 0 ]] || wrong "$2 is not $1"
}
bits() { exiftool -s3 -BitDepth -ColorType "$1" | tr -d ' \n'; }

while read -r picture kind; do
  for float in "" --float; do
    # shellcheck disable=SC2086
    "$omrender" filter --shader identity $float "$picture" --out result.png || wrong "$picture"
    is "$picture" result.png
    [[ $(bits result.png) == "16$kind" ]] || wrong "$picture has become $(bits result.png)"
  done
  "$omrender" filter --float --shader ./gain.frag --set gain=0.01 --shader ./gain.frag --set gain=100 "$picture" --out result.png
  is "$picture" result.png
  "$omrender" filter --shader identity --depth 8 "$picture" --out eight.png
  "$omrender" filter --shader identity --depth 16 eight.png --out wide.png
  is eight.png wide.png
  [[ $(bits eight.png) == "8$kind" && $(bits wide.png) == "16$kind" ]] || wrong "$picture with --depth"
done <<'END'
gray.png Grayscale
graya.png GrayscalewithAlpha
rgb.png RGB
rgb.tif RGB
rgba.png RGBwithAlpha
END

"$omrender" filter --shader identity rgba.png --out result.jpg || wrong "JPEG"
"$omrender" filter --shader identity - --out - <rgba.png >result.png
is rgba.png result.png
"$omrender" filter --shader identity --format raw --out - - <rgba.png | wc -c | grep -qx 262144 || wrong "raw frames"
"$omrender" filter --shader identity --crop 3,5,201,133 rgba.png --out result.png
convert rgba.png -crop 201x133+3+5 +repage PNG64:cut.png
is cut.png result.png
exiftool -q -o turned.png -Orientation#=6 rgb.png 2>/dev/null
"$omrender" filter --shader identity turned.png --out result.png
convert rgb.png -rotate 90 PNG48:upright.png
is upright.png result.png
head -c -60 rgba.png >cut.png
refuses 1 'cannot read "cut.png": the file ends early' filter --shader identity cut.png --out out.png
refuses 2 "16 is of PNG, not of jpeg" filter --shader identity --depth 16 rgb.png --out out.jpg
refuses 2 "takes 8 or 16" filter --shader identity --depth 12 rgb.png --out out.png

# A card that has no such textures: 8 bits, and one warning for all pictures.
cp eight.png seven.png
MESA_EXTENSION_OVERRIDE=-GL_ARB_texture_float LD_PRELOAD=$shallow ASAN_OPTIONS=${ASAN_OPTIONS-}:verify_asan_link_order=0 \
  "$omrender" filter --shader identity --out-dir many rgb.png rgba.png seven.png 2>stderr || wrong "no fallback"
[[ $(grep -c "warning: .* has no textures of 16 bits or floats" stderr) == 1 && $(wc -l <stderr) == 1 ]] || wrong "$(cat stderr)"
is eight.png many/rgba.png
[[ $(bits many/rgb.png) == 8RGB ]] || wrong "the fallback writes $(bits many/rgb.png)"

[[ $failures == 0 ]]
