#!/usr/bin/env bash
# omrenderBatchTest.sh OMRENDER OMDEMO REFERENCE: batches with one job and with several, without a display.
# shellcheck source=tests/support/programTest.sh
source "$(dirname "${BASH_SOURCE[0]}")/../support/programTest.sh"
reference=$(realpath "$3")
unset DISPLAY
cd "$work" || exit 1

# Pictures of all kinds, of sizes that end in another order than they begin in.
mkdir pictures
"$omdemo" chart pictures/chart.png || wrong "chart"
for ((i = 0; i < 12; i++)); do
  "$reference" noise $((i % 4 + 1)) $((i % 3 == 0 ? 900 : 3 * i)) 400 "pictures/$((i + 10)).png" || wrong "noise"
done
head -c 2000 pictures/chart.png >pictures/13short.png
head -c 400000 pictures/19.png >pictures/20short.png
cp "$fixtures"/{huge,hugest,wide,wrongSum}.png "$fixtures"/{cmyk,grey,rgb}.jpg pictures
echo text >pictures/text.png
inputs=(pictures/missing.png pictures/*)

# run JOBS ARGUMENT...: filters the pictures into out.
run() {
  local jobs=$1 status=0
  shift
  rm -rf out
  timeout 60 "$omrender" filter --shader edges --set strength=0.75 --jobs "$jobs" --out-dir out "$@" "${inputs[@]}" \
    2>stderr || status=$?
  [[ $status == 1 ]] || wrong "$jobs jobs $*: status $status"
}

run 1
for name in missing 13short 20short huge hugest text wrongSum; do
  grep -q "^omrender: .*pictures/$name\.png" stderr || wrong "nothing about $name: $(cat stderr)"
done
for picture in pictures/{chart,10,11,12,14,15}.png pictures/rgb.jpg; do
  name=$(basename "$picture")
  "$reference" edges "$picture" "out/${name%.*}.png" pictures/chart.png >stdout || wrong "$picture: $(cat stdout)"
done
mv out expected
mv stderr messages
[[ $(wc -l <messages) == $((${#inputs[@]} - $(find expected -name '*.png' | wc -l))) ]] ||
  wrong "one job: $(cat messages; ls expected)"

# batch JOBS ARGUMENT...: the files, the messages and the status are those of one job.
batch() {
  run "$@"
  diff -r out expected >stdout && diff stderr messages >>stdout || wrong "$* jobs: $(cat stdout)"
}
batch 2
batch 7
batch 7 --memory 1  # one picture at a time
batch 3 --memory 2M # few

# With little memory the pictures go one after the other, so that the largest alone counts.
for ((i = 0; i < 6; i++)); do
  "$reference" noise 3 1 1 "flat$i.png" && "$omrender" filter --shader identity --size 4000x3000 --compression fast \
    "flat$i.png" --out "large$i.png" || wrong "large"
done
peak() { # in KiB
  python3 -c 'import resource, subprocess, sys
subprocess.check_call(sys.argv[1:])
print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)' "$omrender" filter --shader identity --out-dir large "$@" large?.png
}
little=$(peak --jobs 4 --memory 1M)
much=$(peak --jobs 4 --memory 4G)
((little + 150000 < much)) || wrong "memory: $little KiB with --memory 1M, $much with 4G"

for option in "--jobs 0" "--jobs x" "--jobs 1025" "--memory 0" "--memory 2X" "--memory G" "--memory 99999999999T" "--compression best"; do
  # shellcheck disable=SC2086
  refuses 2 "${option%% *}" filter --shader edges pictures/chart.png --out out.png $option
done
mkdir compression
for level in fast default small; do
  "$omrender" filter --shader edges --compression $level pictures/chart.png --out compression/$level.png &&
    "$omdemo" compare compression/fast.png compression/$level.png >stdout || wrong "$level: $(cat stdout)"
done
[[ $(stat -c %s compression/small.png) -lt $(stat -c %s compression/fast.png) ]] || wrong "small: $(ls -l compression)"

[[ $failures == 0 ]]
