#!/usr/bin/env bash
# omrenderJobsTest.sh OMRENDER OMDEMO REFERENCE: a batch with seven jobs, short enough for the thread sanitizer.
# shellcheck source=tests/support/programTest.sh
source "$(dirname "${BASH_SOURCE[0]}")/../support/programTest.sh"
reference=$(realpath "$3")
cd "$work" || exit 1

for i in {1..20}; do
  "$reference" noise $((1 + i % 4)) $((i * 7)) 40 "$i.png" || wrong "noise"
done
echo broken >broken.png
for jobs in 1 7; do
  "$omrender" filter --shader invert --jobs $jobs --out-dir $jobs {1..10}.png broken.png nosuch.png {11..20}.png 2>$jobs.txt
  [[ $? == 1 && $(ls $jobs | wc -l) == 20 ]] || wrong "$jobs jobs: $(cat $jobs.txt)"
done
cmp 1.txt 7.txt && diff -r 1 7 || wrong "one job and seven do not give the same"
cat {1..20}.png | "$omrender" filter --shader invert --jobs 7 - --out - >frames 2>stderr || wrong "stream: $(cat stderr)"
cat 7/{1..20}.png | cmp - frames || wrong "the stream is not what the files are"

[[ $failures == 0 ]]
