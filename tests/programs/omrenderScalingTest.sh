#!/usr/bin/env bash
# omrenderScalingTest.sh OMRENDER OMDEMO: scales and cuts pictures before filters, without a display, and compares with
# what ImageMagick makes of them.
# shellcheck source=tests/support/programTest.sh
source "$(dirname "${BASH_SOURCE[0]}")/../support/programTest.sh"
photo=$(realpath "$(dirname "${BASH_SOURCE[0]}")/../../docs/pictures/photo.jpg")
cd "$work" || exit 1
unset DISPLAY

# isLike MOST FILE EXPECTED WHAT: the root of the mean square of the differences is at most MOST, white being 1.
isLike() {
  local difference
  difference=$(compare -metric RMSE "$2" "$3" null: 2>&1 | grep -oP '\(\K[^)]+')
  awk -v d="${difference:-none}" -v most="$1" 'BEGIN { exit !(d ~ /^[0-9]/ && d <= most) }' ||
    wrong "$4: off by ${difference:-$(identify "$2" "$3")}"
}

# Smooth and rough parts, as a photograph has them; shapes with alpha; lines that are easily lost.
convert -size 601x403 -seed 3 plasma: -attenuate 0.3 +noise Gaussian -depth 8 rough.png
convert rough.png -resize 400x300! -colorspace gray -depth 8 gray.png
convert \( rough.png -crop 300x200+0+0 +repage \) \( -size 300x200 -seed 5 plasma: -colorspace gray -level 40%,60% \) \
  -alpha off -compose CopyOpacity -composite -depth 8 alpha.png
[[ $(identify -format '%[channels]' alpha.png) == *a ]] || wrong "no alpha"
pictures=(rough.png gray.png alpha.png)
[[ ! -f $photo ]] || { convert "$photo" photo.png && pictures+=(photo.png); }

# Rounding to 8 bits is worth 0.0011, rounding down 0.0023.
while read -r size filter; do
  "$omrender" filter --shader identity --size "$size" "${pictures[@]}" --out-dir scaled || wrong "$size"
  for picture in "${pictures[@]}"; do
    convert "$picture" -filter "$filter" -resize "$size!" -depth 16 wanted.png # which rounds down to 8 bits
    isLike 0.002 "scaled/${picture%.*}.png" wanted.png "$picture in $size"
  done
done <<'END'
150x100 box
299x199 box
251x87 box
13x9 box
1x1 box
900x600 triangle
613x407 triangle
END

# A chequerboard is grey from afar, as text is; the middle of a picture stays the middle.
convert -size 2x2 xc:white -fill black -draw 'point 0,0 point 1,1' tile.png
convert -size 1000x800 tile:tile.png board.png
"$omrender" filter --shader identity --size 50x40 board.png --out out.png || wrong "a chequerboard"
[[ $(convert out.png -format '%[fx:standard_deviation < 0.0001 && abs(mean - 0.5) < 0.003]' info:) == 1 ]] ||
  wrong "a chequerboard: $(convert out.png -format '%[fx:standard_deviation] %[fx:mean]' info:)"

# White on nothing has no dark rim.
convert -size 200x200 xc:'#00000000' -fill white -draw 'circle 100,100 100,30' -define png:color-type=6 disc.png
for size in 37x37 333x333; do
  "$omrender" filter --shader identity --size "$size" disc.png --out out.png || wrong "a disc in $size"
  [[ $(convert out.png -background white -flatten -format '%[fx:minima > 0.99]' info:) == 1 ]] || wrong "a dark rim in $size"
done

# makes SIZE OPTION...: what a picture of 601 x 403 pixels becomes.
makes() {
  local size=$1
  shift
  "$omrender" filter --shader identity "$@" rough.png --out out.png && [[ $(identify -format %wx%h out.png) == "$size" ]] ||
    wrong "$*: $(identify out.png)"
}
while read -r size options; do
  # shellcheck disable=SC2086
  makes "$size" $options
done <<'END'
100x67 --fit 100x100
75x50 --fit 1000x50
1491x1000 --fit 9999x1000
1x1 --fit 1x1
601x403 --fit 601x403
150x101 --percent 25
1202x806 --percent 200
1x1 --percent 0.01
20x10 --crop 30,40,20,10
1x3 --crop 600,400,20,10
10x5 --crop 30,40,20,10 --percent 50
7x9 --crop 30,40,20,10 --size 7x9
60x20 --crop 0,0,30,10 --fit 60x60
END
makes 20x10 --crop 30,40,20,10
convert rough.png -crop 20x10+30+40 +repage wanted.png
isLike 0 out.png wanted.png "--crop"
makes 200x133 --crop 30,40,300,200 --fit 200x200
convert rough.png -crop 300x200+30+40 +repage -filter box -resize 200x133! wanted.png
isLike 0.006 out.png wanted.png "--crop and --fit"

# Filters see the new size; each picture of a batch has its own; jobs and memory don't matter.
echo 'uniform sampler2D image; uniform vec2 imageSize;
void main() { gl_FragColor = vec4(imageSize / 255.0, 0.0, 1.0); }' >size.frag
"$omrender" filter --shader identity --shader size.frag --percent 10 rough.png --out out.png &&
  [[ $(convert out.png -format '%[fx:round(255*p.r)] %[fx:round(255*p.g)]' info:) == "60 40" ]] || wrong "imageSize"
for options in "--jobs 1" "--jobs 4" "--jobs 4 --memory 1M"; do
  # shellcheck disable=SC2086
  "$omrender" filter --shader invert --fit 90x90 $options --out-dir batch rough.png gray.png disc.png board.png 2>stderr ||
    wrong "$options: $(cat stderr)"
  cat batch/*.png | md5sum
done >stdout
[[ $(uniq stdout | wc -l) == 1 && $(identify -format '%wx%h ' batch/*.png) == "90x72 90x90 90x68 90x60 " ]] ||
  wrong "batches: $(cat stdout; identify batch/*.png)"
"$omrender" show --backend egl --shader invert --crop 50,0,400,300 --fit 90x90 rough.png --capture shown.png &&
  "$omrender" filter --shader invert --crop 50,0,400,300 --fit 90x90 rough.png --out out.png &&
  "$omdemo" compare shown.png out.png >stdout || wrong "show: $(cat stdout)"

# A picture that the card cannot hold comes in when it is scaled down.
side=$("$omrender" info --json | grep -oP '"textureSize": \K[0-9]+')
{ printf 'P5 %d 3 255\n' $((side + 100)); head -c $((3 * (side + 100))) /dev/zero; } >long.pgm
refuses 1 "scale it down" filter --shader identity long.pgm --out out.png
makes 601x403 # nothing is left of the failure
"$omrender" filter --shader identity --fit 500x500 long.pgm --out out.png && [[ $(identify -format %wx%h out.png) == 500x1 ]] ||
  wrong "a picture beyond the card"
refuses 1 'the result of "rough.png" would be' filter --shader identity --crop 0,0,601,1 --percent 10000 rough.png --out out.png
refuses 1 'outside "rough.png", which is 601 x 403' filter --shader identity --crop 601,0,5,5 rough.png --out out.png
for option in "--size 0x3" "--size 3" "--fit 5x" "--fit -1x5" "--percent 0" "--percent 10001" "--percent 5%" "--crop 1,2,3" \
  "--crop 1,2,0,4" "--fit 5x5 --size 3x3" "--percent 5 --size 3x3" "--fit 5x5 --percent 3"; do
  # shellcheck disable=SC2086
  refuses 2 "${option%% *}" filter --shader identity rough.png --out out.png $option
done
refuses 2 "--fit requires --shader" show --fit 5x5 rough.png
[[ $failures == 0 ]]
