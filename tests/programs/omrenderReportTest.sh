#!/usr/bin/env bash
# omrenderReportTest.sh OMRENDER OMDEMO REFERENCE: what a scheduler learns of a batch: statuses, report and progress.
# shellcheck source=tests/support/programTest.sh
source "$(dirname "${BASH_SOURCE[0]}")/../support/programTest.sh"
reference=$(realpath "$3")
unset DISPLAY
cd "$work" || exit 1

for name in a b c d; do
  "$reference" noise 3 60 40 $name.png || wrong "noise"
done
echo broken >broken.png
latin=$'l\xe9.png'

# status EXPECTED ARGUMENT...: the status of filter.
status() {
  local expected=$1 got=0
  shift
  "$omrender" filter --shader invert "$@" >stdout 2>stderr || got=$?
  [[ $got == "$expected" ]] || wrong "filter $*: status $got, not $expected: $(cat stderr)"
}

# Each picture has a line, in the order of the command, whatever the number of jobs.
for jobs in 1 3; do
  rm -rf out report.jsonl
  status 1 --jobs $jobs --report report.jsonl --out-dir out a.png broken.png b.png nosuch.png "$latin"
  [[ $(jq -r .status report.jsonl | xargs) == "done failed done failed failed" ]] || wrong "statuses: $(cat report.jsonl)"
  [[ $(jq -r 'select(.status=="failed")|[.in,.reason]|@tsv' report.jsonl | head -n 1) == $'broken.png\tcannot read'* ]] ||
    wrong "why: $(cat report.jsonl)"
  jq -e -s 'map(select(.status=="done")) | all(.width == 60 and .height == 40 and (.milliseconds |
    keys == ["encode", "filter", "open", "read", "write"] and all(. > 0)))' report.jsonl >/dev/null ||
    wrong "a result: $(cat report.jsonl)"
  jq -e -s '.[4].in == "l\ufffd.png" and .[4].out == "out/l\ufffd.png"' report.jsonl >/dev/null || wrong "a name: $(cat report.jsonl)"
  while IFS=$'\t' read -r out bytes; do
    [[ $(stat -c %s "$out") == "$bytes" ]] || wrong "$out has not $bytes bytes"
  done < <(jq -r 'select(.status=="done")|[.out,.bytes]|@tsv' report.jsonl)
done
[[ $(jq -r 'select(.status=="done").in' report.jsonl | sort | comm -13 - <(printf '%s\n' a.png b.png d.png | sort)) == d.png ]] ||
  wrong "what is left of a list: $(cat report.jsonl)"

# A run that was killed left half a line: the next one begins another.
printf '{"in":"half' >report.jsonl
status 0 --report report.jsonl --out-dir out a.png b.png
[[ $(wc -l <report.jsonl) == 3 ]] && tail -n 2 report.jsonl | jq -e .in >/dev/null || wrong "half a line: $(cat report.jsonl)"

# Two processes share a report.
rm report.jsonl
for part in 1 2; do
  # shellcheck disable=SC2046
  "$omrender" filter --shader invert --jobs 3 --report report.jsonl --suffix -$part --out-dir $part $(seq -f 'in/%g.png' 200) 2>/dev/null &
  runs[part]=$!
done
wait "${runs[@]}"
[[ $(jq -r .in report.jsonl | sort | uniq -c | awk '$1 == 2' | wc -l) == 200 ]] || wrong "two processes: $(wc report.jsonl)"

status 0 --report - --out-dir out a.png b.png
[[ $(jq -r .in stdout | xargs) == "a.png b.png" ]] || wrong "standard output: $(cat stdout)"
ln -s report.jsonl link.jsonl
mkfifo fifo.jsonl
cp a.png kept.png
status 2 --report link.jsonl --out-dir out a.png
status 2 --report fifo.jsonl --out-dir out a.png
status 2 --report /dev/full --out-dir out a.png
status 2 --report a.png --out-dir out a.png
cmp a.png kept.png || wrong "a report was written into a picture"
status 2 --report - --out - a.png
mkdir results
cp report.jsonl results/a.png
status 2 --report results/a.png --out-dir results a.png
cmp report.jsonl results/a.png || wrong "a result replaced the report"
"$omrender" filter --shader invert --report - --out-dir out a.png >/dev/full 2>stderr
[[ $? == 4 ]] || wrong "a full disk under the report: $(cat stderr)"

status 1 --progress json --out-dir out a.png broken.png b.png
[[ $(grep -c '^omrender: ' stderr) == 1 ]] || wrong "messages: $(cat stderr)"
grep -v '^omrender: ' stderr | jq -e -s '(.[0] | .done == 0 and .total == 3) and
  (.[-1] | .done == 2 and .failed == 1 and .skipped == 0 and .total == 3 and .seconds > 0)' >/dev/null || wrong "progress: $(cat stderr)"
status 0 --progress none --out-dir out a.png b.png
[[ ! -s stderr ]] || wrong "no progress: $(cat stderr)"
status 2 --progress dots --out-dir out a.png

# No card: another node.
__EGL_VENDOR_LIBRARY_DIRS=/nonexistent status 3 --out-dir out a.png
OM_RENDER_DEVICE=77 status 3 --out-dir out a.png

# A full disk ends the batch; what was written before is whole.
mkdir full
if mount -t tmpfs -o size=1M none full 2>/dev/null; then
  for i in {10..49}; do ln -s a.png "$i.png"; done
  status 4 --jobs 1 --size 300x300 --report report.jsonl --out-dir full {10..49}.png
  umount full
  grep -q 'No space left' stderr && grep -qE '^omrender: [0-9]+ pictures were not tried' stderr || wrong "a full disk: $(cat stderr)"
fi

# TERM ends the program within two seconds, whether it scales, filters or encodes, and leaves nothing.
for delay in 1 3 5; do
  env --default-signal "$omrender" filter --shader identity --size 9000x9000 --compression small --jobs 2 --out-dir slow a.png b.png 2>stderr &
  sleep $delay # no event tells how far it is
  begin=$(date +%s%N)
  kill -TERM $!
  wait $!
  [[ $? == 143 && $(($(date +%s%N) - begin)) -lt 2000000000 && -z $(ls -A slow) ]] || wrong "TERM after $delay s: $(ls -A slow)"
done

[[ $failures == 0 ]]
