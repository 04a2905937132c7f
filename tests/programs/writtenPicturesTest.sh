#!/usr/bin/env bash
# Other programs read what OmImageReaderWriter writes: Pillow (by libpng or by its own readers) and ImageMagick.
# writtenPicturesTest.sh WRITTEN_PICTURES
set -euo pipefail

python=
for candidate in $(type -aP python3); do # the first in PATH may be another than the one that the package is for
  if "$candidate" -c "import PIL" 2>/dev/null; then
    python=$candidate
    break
  fi
done
if [ -z "$python" ] || ! type -P convert >/dev/null; then
  echo "skipped: it takes the packages python3-pil and imagemagick"
  exit 77
fi

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
"$1" "$folder"
cd "$folder"

# By Pillow 9, which has no PAM: every file's mode, size and pixels.
"$python" - <<'END'
import glob
import sys
from PIL import Image

count = wrong = 0
for name in sorted(glob.glob("*.p[n]*")):
    kind, channels, size = name.split(".")[0].split("-")
    with open(name.split(".")[0] + ".raw", "rb") as file:
        expected = file.read()
    with Image.open(name) as picture:
        picture.load()
        read = picture.mode, "%dx%d" % picture.size, picture.tobytes()
    count += 1
    if read != (("L", "LA", "RGB", "RGBA")[int(channels) - 1], size, expected):
        wrong += 1
        print("Pillow reads other pixels from", name)
print(count, "files read by Pillow")
sys.exit(wrong > 0 or count != 3 * 6 * (4 * 3 + 2))
END

# Fewer by ImageMagick, which starts slowly. It warns on standard error.
formats=(gray graya rgb rgba)
count=0
for name in noise-*-{1x1,1x300,255x257}.{default.png,pam}; do
  channels=${name#*-}
  convert "$name" -depth 8 "${formats[${channels%%-*} - 1]}:read" 2>errors || true
  if [ -s errors ] || ! cmp read "${name%%.*}.raw"; then
    cat errors
    echo "ImageMagick reads other pixels from $name"
    exit 1
  fi
  count=$((count + 1))
done
echo "$count files read by ImageMagick"
[ "$count" -eq $((3 * 4 * 2)) ]
