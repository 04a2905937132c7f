#!/usr/bin/env bash
# omrenderBatchEndTest.sh OMRENDER OMDEMO REFERENCE NAMEDFILES: batches that are ended in the middle leave whole files.
# shellcheck source=tests/support/programTest.sh
source "$(dirname "${BASH_SOURCE[0]}")/../support/programTest.sh"
reference=$(realpath "$3")
namedFiles=$(realpath "$4")
export ASAN_OPTIONS=${ASAN_OPTIONS-}:verify_asan_link_order=0
unset DISPLAY
cd "$work" || exit 1

mkdir pictures
"$reference" noise 3 1500 1000 pictures/a.png || wrong "noise"
for name in b c d e f g h i j k l; do
  cp pictures/a.png "pictures/$name.png"
done
# Takes longer than the others, and its file is small.
"$reference" noise 1 1 1 dot.png && "$omrender" filter --shader identity --size 4000x4000 dot.png --out pictures/aa.png ||
  wrong "a large picture"

# whole: what is there are whole results, and nothing else.
whole() {
  local file
  for file in out/* out/.om*; do
    [[ -e $file ]] || continue
    file=${file#out/}
    "$omdemo" compare "pictures/$file" "out/$file" >stdout || wrong "$1: $file: $(cat stdout)"
  done
}

for jobs in 1 3; do
  for signal in INT TERM; do
    rm -rf out
    LD_PRELOAD=$namedFiles env --default-signal "$omrender" filter --shader identity --compression small --jobs $jobs \
      --out-dir out pictures/*.png 2>stderr &
    eventually "nothing is written" compgen -G 'out/*.png'
    kill -$signal $!
    got=0
    wait $! || got=$?
    [[ $got == $((128 + $(kill -l $signal))) && ! -s stderr ]] || wrong "$jobs jobs, $signal: status $got, $(cat stderr)"
    whole "$jobs jobs, $signal"
    [[ $(ls out | wc -l) -ge 1 && $(ls out | wc -l) -lt 13 ]] || wrong "$jobs jobs, $signal: $(ls -A out)"
  done
done

# A second signal does not wait for what is written.
rm -rf out
env --default-signal "$omrender" filter --shader identity --size 9000x9000 --compression small --jobs 2 --out-dir out \
  pictures/[ab].png 2>stderr &
sleeping() { [[ $(ls /proc/$1/task | wc -l) -ge 3 ]]; }
eventually "no threads" sleeping $!
for tries in {1..400}; do
  kill -TERM $! 2>/dev/null || break
done
wait $!
[[ $? == 143 && -z $(ls -A out 2>/dev/null) ]] || wrong "two signals: $(ls -A out)"

# The limit of the file size, in blocks of 1024 bytes: what comes before the failure is written and nothing is said of
# what comes after it.
for jobs in 1 2 7; do
  rm -rf out
  got=0
  (ulimit -f 500 && "$omrender" filter --shader identity --jobs $jobs --out-dir out pictures/aa.png pictures/[abc].png \
    2>stderr) || got=$?
  [[ $got == 153 && $(wc -l <stderr) == 1 && $(cat stderr) == *'out/a.png": File too large' && $(ls -A out) == aa.png ]] ||
    wrong "$jobs jobs, a limit: status $got, $(cat stderr; ls -A out)"
  whole "a limit"
  (trap '' XFSZ; ulimit -f 500; "$omrender" filter --shader identity --jobs $jobs --out-dir out pictures/[ab].png 2>stderr)
  [[ $? == 1 && $(wc -l <stderr) == 2 && $(ls -A out) == aa.png ]] || wrong "$jobs jobs, no XFSZ: $(cat stderr; ls -A out)"
done

[[ $failures == 0 ]]
