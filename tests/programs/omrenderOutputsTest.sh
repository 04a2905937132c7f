#!/usr/bin/env bash
# omrenderOutputsTest.sh OMRENDER OMDEMO REFERENCE: where the results of files go, without a display.
# shellcheck source=tests/support/programTest.sh
source "$(dirname "${BASH_SOURCE[0]}")/../support/programTest.sh"
reference=$(realpath "$3")
unset DISPLAY
cd "$work" || exit 1

"$reference" noise 3 7 5 picture.png || wrong "noise"
mkdir -p in/b/deep in/.hidden in/empty elsewhere
for name in in/z.PNG in/b/one.png in/b/deep/two.ppm in/.hidden/no.png in/.no.png elsewhere/linked.png elsewhere/no.png; do
  "$omrender" filter --shader invert picture.png --format "$([[ $name == *.ppm ]] && echo ppm || echo png)" --out "$name" ||
    wrong "$name"
done
cp "$fixtures/rgb.jpg" in/a.jpg
echo text | tee in/notes.txt in/b/picture in/png >/dev/null
ln -s .. in/b/up      # a circle
ln -s ../elsewhere in/folder.png
ln -s ../elsewhere/linked.png in/linked.png

# run ARGUMENT...: a filter over files.
run() { timeout 60 "$omrender" filter --shader invert "$@" >stdout 2>stderr; }
# makes FILES ARGUMENT...: a run that adds these files, in the order of find, and changes none.
makes() {
  local expected=$1 before
  shift
  before=$(find . -type f ! -name 'std*' -exec md5sum {} + | sort)
  run "$@" && [[ ! -s stderr ]] || wrong "$*: $(cat stderr)"
  find . -type f ! -name 'std*' -exec md5sum {} + | sort >stdnow
  [[ -z $(comm -23 <(echo "$before") stdnow) ]] || wrong "$*: changed $(comm -23 <(echo "$before") stdnow)"
  [[ $(comm -13 <(echo "$before") stdnow | sed 's/^[^ ]* *\.\///' | sort | xargs) == "$expected" ]] ||
    wrong "$*: made $(comm -13 <(echo "$before") stdnow), not $expected"
}
makes "x/y/z/picture.png" --out-dir x/y/z/ picture.png
makes "x/y/z/picture-e.png" --out-dir ./x/y/z --suffix -e picture.png
makes "picture.e.ppm" --suffix=.e --format ppm picture.png
makes "in/b/one-e.png picture-e.png" --suffix -e in/b/one.png picture.png
rm in/b/one-e.png
makes "out/a.png out/b/deep/two.png out/b/one.png out/linked.png out/z.png" --recursive --out-dir out in
makes "in/r/o/a.png in/r/o/b/deep/two.png in/r/o/b/one.png in/r/o/linked.png in/r/o/picture.png in/r/o/z.png" \
  --recursive --out-dir in/r/o in/ picture.png
rm -r in/r/o
makes "in/r/a.png in/r/b/deep/two.png in/r/b/one.png in/r/linked.png in/r/z.png" --recursive --out-dir in/r in
makes "" --recursive --out-dir in/r --skip-existing in # and none of in/r is read
[[ $(cat stdout) == "skipped 5 of 5 pictures, whose results exist" ]] || wrong "skip: $(cat stdout)"
rm -r in/r
for options in "" "--out-dir in"; do # the results of the first run are no pictures of the second
  # shellcheck disable=SC2086
  makes "in/a-e.png in/b/deep/two-e.png in/b/one-e.png in/linked-e.png in/z-e.png" --recursive --suffix -e $options in
  rm in/b/one-e.png
  # shellcheck disable=SC2086
  makes "in/b/one-e.png" --recursive --suffix -e --skip-existing $options in
  [[ $(cat stdout) == "skipped 4 of 5 pictures, whose results exist" ]] || wrong "skip $options: $(cat stdout)"
  find in -name '*-e.png' -delete
done
"$reference" invert in/b/deep/two.ppm out/b/deep/two.png picture.png >stdout || wrong "pixels: $(cat stdout)"

# The order is that of the names, folder by folder.
for name in in/b.png in/b/broken.png in/c.png; do echo broken >$name; done
run --recursive --jobs 3 --out-dir broken in && wrong "broken: status 0"
[[ $(grep -o '"in[^"]*"' stderr | xargs) == "in/b/broken.png in/b.png in/c.png" ]] || wrong "order: $(cat stderr)"

# What fails makes neither file nor directory.
touch file
no=(--out-dir new/a)
refuses 2 '"in" is a directory; give --recursive' filter --shader invert picture.png in "${no[@]}"
refuses 2 '"in" is a directory; give --recursive' filter --shader invert in --out out.png
refuses 2 '"in/empty" has no pictures' filter --shader invert in/empty --recursive "${no[@]}"
refuses 2 'nosuch' filter --shader nosuch picture.png "${no[@]}"
refuses 2 'both be written to "new/a/z.png"' filter --shader invert in --recursive in/z.PNG "${no[@]}"
refuses 2 'there is no directory "file"' filter --shader invert picture.png --out-dir file/a/b
mkdir -p taken && echo text >taken/b
refuses 2 'cannot write into "taken/b": it is no directory' filter --shader invert in --recursive --out-dir taken
refuses 2 'over "in/b/broken.png"' filter --shader invert in --recursive --skip-existing --out-dir in
refuses 2 "--suffix: takes a text without a slash" filter --shader invert picture.png --suffix a/b
refuses 2 "--suffix: takes a text without a slash" filter --shader invert picture.png --suffix ""
refuses 2 "give one of them" filter --shader invert picture.png
refuses 2 "give one of them" filter --shader invert picture.png --out out.png --suffix -e
refuses 2 "--recursive: does not go with --out" filter --shader invert in --recursive --out out.png
refuses 2 "--skip-existing: does not go with --out" filter --shader invert picture.png --skip-existing --out out.png
refuses 2 "so does --suffix" filter --shader invert - --suffix -e
[[ ! -e new && $(ls taken) == b ]] || wrong "left $(ls -d new/* taken/*)"

[[ $failures == 0 ]]
