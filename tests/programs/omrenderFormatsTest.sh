#!/usr/bin/env bash
# omrenderFormatsTest.sh OMRENDER OMDEMO REFERENCE: what `omrender filter` writes, and what it keeps of a picture.
# shellcheck source=tests/support/programTest.sh
source "$(dirname "${BASH_SOURCE[0]}")/../support/programTest.sh"
reference=$(realpath "$3")
cd "$work" || exit 1
for program in identify exiftool; do
  type -P $program >/dev/null && continue
  echo "skipped: it takes the packages imagemagick and libimage-exiftool-perl"
  exit 77
done

[[ $("$omrender" info) == *"webp pictures "*"read and written"* ]] || exit 77
for channels in 1 2 3 4; do
  "$reference" noise $channels 40 30 $channels.png || wrong "noise"
done
echo 'uniform sampler2D image; // a grey picture gets one blue pixel
void main() { gl_FragColor = texture2D(image, gl_TexCoord[0].st);
  if (gl_FragCoord.x < 1.0 && gl_FragCoord.y < 1.0) gl_FragColor.b = 1.0 - gl_FragColor.b; }' >blue.frag

# What a result is: its format, its size, and its kind of colours as far as exiftool tells.
while read -r expected shader picture out options; do
  # shellcheck disable=SC2086
  "$omrender" filter --shader "$shader" "$picture" --out "$out" $options || wrong "$out"
  got=$(identify -format '%m-%wx%h' "$out")-$(exiftool -s3 -ColorType -ColorComponents "$out" 2>/dev/null | tr -d ' \n')
  [[ $got == "$expected" ]] || wrong "$shader $picture --out $out $options: $got"
done <<'END'
PNG-40x30-Grayscale identity 1.png r1.png
PNG-40x30-GrayscalewithAlpha identity 2.png r2.png
PNG-40x30-RGB identity 3.png r3.png
PNG-40x30-RGBwithAlpha identity 4.png r4
PNG-40x30-RGB ./blue.frag 1.png r5.png
PNG-40x30-RGBwithAlpha ./blue.frag 2.png r6.png
PNG-40x30-RGB identity 1.png r7.png --channels rgb
PNG-40x30-RGBwithAlpha identity 3.png r8.png --channels rgba
PNG-40x30-GrayscalewithAlpha identity 4.png r9.png --channels graya
PNG-40x30-Grayscale identity 4.png r10.png --channels gray
JPEG-40x30-1 identity 1.png r11.jpg
JPEG-40x30-3 identity 4.png r12.JPEG --quality 20
JPEG-40x30-3 identity 3.png r13.png --format jpeg
WEBP-40x30- identity 4.png r14.webp
PPM-40x30- identity 1.png r15.ppm
PGM-40x30- identity 3.png r17.PGM
PGM-40x30- identity 1.png r18.pnm
PAM-40x30- identity 2.png r16.pam
END
"$omdemo" compare 4.png r4 >stdout || wrong "r4: $(cat stdout)"
"$omrender" filter --shader identity r14.webp --out back.png
"$omdemo" compare 4.png back.png >stdout ||
  wrong "WebP: $(cat stdout)"
[[ $(identify -format %Q r12.JPEG) == 20 ]] || wrong "--quality"
"$omrender" filter --shader identity --format webp --out-dir many [1-4].png
[[ $(cd many && echo ./*) == './1.webp ./2.webp ./3.webp ./4.webp' ]] ||
  wrong "--out-dir with --format: $(ls many)"
touch file
refuses 2 'cannot write into "file": it is no directory' filter --shader identity 3.png --out-dir file
refuses 2 "raw has no suffix" filter --shader identity --format raw --out-dir out 3.png
refuses 2 "--quality: is of JPEG and WebP, not of png" filter --shader identity --quality 80 3.png --out out.png

# turned.* have an orientation and a profile.
for suffix in jpg png webp; do
  picture=$fixtures/turned.$suffix
  exiftool -b -icc_profile "$picture" 2>/dev/null >expected.icc
  [[ -s expected.icc ]] || wrong "$picture has no profile"
  "$omrender" filter --shader identity "$picture" --out kept.jpg && "$omrender" filter --shader identity kept.jpg --out kept.webp
  "$omrender" filter --shader identity --strip "$picture" --out stripped.png
  exiftool -b -icc_profile kept.webp 2>/dev/null | cmp - expected.icc || wrong "$picture: its profile is lost"
  [[ $(identify -format %wx%h kept.webp stripped.png) == 9x189x18 && -z $(exiftool -s3 -Orientation kept.jpg 2>/dev/null) ]] ||
    wrong "$picture does not stand upright"
  [[ -z $(exiftool -icc_profile stripped.png) ]] || wrong "--strip keeps the profile"
  "$omrender" filter --shader identity --format png --out - - <"$picture" >stream.png 2>stderr
  [[ $suffix != png ]] || exiftool -b -icc_profile stream.png 2>/dev/null | cmp - expected.icc || wrong "a stream loses the profile"
done

[[ $failures == 0 ]]
