#!/usr/bin/env bash
# omrenderSoakTest.sh OMRENDER OMDEMO BACKEND [EVENTS]: a viewer holds no more memory and no more files after that many
# events (10,000) than before: motions, turns of the wheel, keys, exposures, moves and resizes. On a display
# without a window manager. Prints the figures. Skipped (77) without the back end.
# shellcheck source=tests/support/programTest.sh
source "$(dirname "${BASH_SOURCE[0]}")/../support/programTest.sh"
# shellcheck source=tests/support/viewerTest.sh
source "$(dirname "${BASH_SOURCE[0]}")/../support/viewerTest.sh"
backend=$3
events=${4:-10000}
mostGrowth=512 # in KiB
rounds=5
cd "$work" || exit 1

memory() { awk '/VmRSS/ {print $2}' "/proc/$viewer/status"; }
files() { find "/proc/$viewer/fd" -type l | wc -l; }

# storm COUNT: that many events, ten thousand at a time, after which the viewer has come to rest.
storm() {
  local left
  for ((left = $1; left > 0; left -= 10000)); do
    hand storm "$window" $((left < 10000 ? left : 10000))
    xdotool windowmove "$window" 0 0 windowsize "$window" 320 240 mousemove 30 40
    press Home
    press 1
    eventually "the viewer does not come to rest" hasTitle "first.png (1/2) - 100 % - 30,40:*"
  done
}

convert -size 320x240 gradient:red-blue first.png
cp first.png second.png
if [[ $("$omrender" show --backend "$backend" first.png --seconds 0 2>&1) == *"without Qt"* ]]; then
  echo "skipped: built without Qt"
  exit 77
fi
starts first.png second.png
storm $((events / 5 + 5000)) # what grows at first: the heap, and what the drivers keep
filesBefore=$(files)
memoryAfter=$(memory)
for ((round = 1; round <= rounds; round++)); do # what leaks grows in every round; what the heap keeps does not
  memoryBefore=$memoryAfter
  storm "$events"
  memoryAfter=$(memory) filesAfter=$(files)
  echo "$backend: $events events; memory $memoryBefore KiB before, $memoryAfter after; files $filesBefore, $filesAfter"
  ((memoryAfter - memoryBefore > mostGrowth)) || break
done
((round <= rounds)) || wrong "the memory grows with every $events events"
((filesAfter == filesBefore)) || wrong "$filesBefore open files became $filesAfter"
xdotool key q
ends 0
[[ ! -s stderr ]] || wrong "the viewer wrote: $(cat stderr)"

[[ $failures == 0 ]]
