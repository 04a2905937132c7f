#!/usr/bin/env bash
# pagesTest.sh PROGRAMS PICTURE: runs the pages' programs, which are in the directory PROGRAMS, with a picture. The
# capture has to be the picture, the negative must not be, and the negative of the negative has to be the picture again.
set -euo pipefail

programs=$(realpath "$1")
picture=$(realpath "$2")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

"$programs/showPicture" "$picture"
"$programs/capturePicture" "$picture" captured.png
"$programs/omdemo" compare "$picture" captured.png
"$programs/filterPicture" "$picture" negative.png
if "$programs/omdemo" compare "$picture" negative.png; then
  echo "the negative is the picture" >&2
  exit 1
fi
"$programs/filterPicture" negative.png back.png
"$programs/omdemo" compare "$picture" back.png
