#!/usr/bin/env bash
# omrenderListTest.sh OMRENDER OMDEMO REFERENCE: pictures that a list names, and shards of them, without a display.
# shellcheck source=tests/support/programTest.sh
source "$(dirname "${BASH_SOURCE[0]}")/../support/programTest.sh"
reference=$(realpath "$3")
unset DISPLAY "${!SLURM_@}" "${!JOB_COMPLETION_@}"
cd "$work" || exit 1

mkdir -p in/b
"$reference" noise 3 7 5 one.png || wrong "noise"
cp one.png in/b/two.png
cp one.png '{three.png'
cp one.png $'line\nbreak.png'
echo 'uniform sampler2D image; uniform float level; uniform bool red;
void main() { vec4 c = texture2D(image, gl_TexCoord[0].st); gl_FragColor = vec4(red ? level : c.r, level, c.b, 1.0); }' >level.frag

# run ARGUMENT...: a filter over a list.
run() { timeout 60 "$omrender" filter --shader "${shader:-invert}" "$@" >stdout 2>stderr; }
# makes FILES ARGUMENT...: a run that makes these files in the directory "new", and says nothing.
makes() {
  local expected=$1
  shift
  rm -rf new
  run "$@" && [[ ! -s stderr ]] || wrong "$*: $(cat stderr)"
  [[ $(cd new && find . -type f -printf '%P\n' | LC_ALL=C sort | xargs) == "$expected" ]] || wrong "$*: made $(find new -type f)"
}
# colour FILE: its first pixel.
colour() { convert "$1" -format '%[pixel:p{0,0}]' info:; }

# The lines of a list.
printf '%s\r\n\n' one.png ./in/./b/two.png >list
printf '%s' "$PWD/one.png" >>list # the last line does not end
makes "in/b/two.png one.png ${PWD#/}/one.png" --from list --out-dir new
makes "in/b/two-e.ppm one-e.ppm ${PWD#/}/one-e.ppm" --from - --out-dir new --suffix -e --format ppm <list
"$reference" invert in/b/two.png new/in/b/two-e.ppm one.png >stdout || wrong "pixels: $(cat stdout)"
run --from list --out-dir new && run --from list --out-dir new --skip-existing || wrong "skip: $(cat stderr)"
[[ $(cat stdout) == "skipped 3 of 3 pictures, whose results exist" ]] || wrong "skip: $(cat stdout)"
run --from - --suffix -e < <(echo in/b/two.png) && [[ -f in/b/two-e.png ]] || wrong "suffix: $(cat stderr)"
printf '%s\0' '{three.png' $'line\nbreak.png' '' >nulls
makes 'break.png line {three.png' --null --from nulls --out-dir new
makes "{three.png" --from - --out-dir new < <(echo './{three.png')
run --from - --out-dir new </dev/null && [[ ! -s stderr && ! -s stdout ]] || wrong "an empty list: $(cat stderr)"
run one.png --out - --format ppm && cat stdout stdout stdout >three
run --from list --out - --format ppm && cmp stdout three || wrong "--out -: $(cat stderr)"
mkfifo fifo # a picture is filtered while the rest of the list is still to come
run --from fifo --out-dir slow &
exec 5<>fifo # opens even if nobody reads
echo one.png >&5
eventually "the first picture of a list that goes on" test -f slow/one.png
exec 5>&-
wait $! || wrong "a slow list: $(cat stderr)"

# JSON with a result and uniforms of its own. The ones of a picture do not stay for the next, also where they fail.
cat >list <<'END'
{"in": "one.png", "out": "new/a/0.png"}
{"in": "one.png", "out": "new/1.png", "set": {"level": 1, "red": true}}
{"out": "new/2.jpg", "in": "one.png", "set": {"nosuch": 1, "level": 1}}
{"in": "one.png", "out": "new/3.png", "set": {"level": 1, "red": [1, 2]}}
{"in": "one.png", "out": "new/4.ppm"}
{"in": "one.png", "out": "new/5.png", "set": {"level": "0.2", "red": "true"}}
END
rm -rf new
shader=./level.frag run --from list --set level=0 && wrong "wrong uniforms: status 0"
[[ $(wc -l <stderr) == 2 && $(cat stderr) == *'no uniform "nosuch" to set, but level, red'*'"red"'* ]] ||
  wrong "wrong uniforms: $(cat stderr)"
[[ -f new/a/0.png && $(cd new && echo ?.*) == "1.png 4.ppm 5.png" ]] || wrong "JSON: $(find new)"
cmp <(convert new/a/0.png rgb:) <(convert new/4.ppm rgb:) || wrong "the uniforms of a picture stay"
[[ $(colour new/1.png) == "srgb(255,255,"* && $(colour new/5.png) == "srgb(51,51,"* ]] ||
  wrong "uniforms: $(colour new/1.png) $(colour new/5.png)"
timeout 60 "$omrender" filter --shader ./level.frag --set level=0 --shader ./level.frag --from - \
  < <(echo '{"in": "one.png", "out": "new/chain.png", "set": {"1:red": true, "2:level": 0.6}}') || wrong "a chain"
[[ $(colour new/chain.png) == "srgb(0,153,"* ]] || wrong "chain: $(colour new/chain.png)"

# Each line that makes no sense is a failure with its number. The rest goes on.
{
  printf 'in\n../one.png\n{"in": "one.png"\n{"in": 5}\n{"in": "one.png", "to": "x"}\n{"in": "one.png", "out": ""}\n'
  printf '{"in": "one.png", "set": {"a": null}}\n{"out": "x.png"}\none\0.png\n'
  head -c 3000000 /dev/zero | tr '\0' x
  printf '\none.png\nnosuch.png\n{"in": "in/b/two.png", "out": "new/./one.png"}\n{"in": "one.png", "out": "one.png"}\n'
  printf '{"in": "one.png", "out": "level.frag", "set": {}}\n{"in": "one.png", "out": "new/x.bmp"}\n{"in": "one.png", "out": "./list"}\n'
  printf '{"in": "one.png", "out": "list/x.png"}\nin/b/two.png\n'
} >list
cp list saved
rm -rf new
shader=./level.frag run --from list --out-dir new && wrong "wrong lines: status 0"
expected=('"in": it is a directory' 'line 2: '*'"../one.png" has ".."' 'line 3: broken JSON at byte 17' 'line 4: "in" takes'
  'line 5: an unknown key "to"' 'line 6: "out" takes' 'line 7: "set" takes'*'"a"' 'line 8: no "in"' 'line 9: a NUL'
  'line 10: more than 1048576 bytes' '"nosuch.png"' 'line 13: "in/b/two.png" would be written to "new/./one.png" as well'
  '"one.png" would be written over "one.png"' 'line 15: cannot write "level.frag": it has no suffix'
  'line 16: cannot write "new/x.bmp": it has no suffix' '"list"' 'cannot make the directory "list"')
mapfile -t said <stderr
[[ ${#said[@]} == "${#expected[@]}" ]] || wrong "wrong lines: ${#said[@]} of ${#expected[@]}: $(cat stderr)"
for i in "${!expected[@]}"; do
  # shellcheck disable=SC2053
  [[ ${said[i]} == "omrender: "*${expected[i]}* ]] || wrong "wrong lines: ${said[i]}, not ${expected[i]}"
done
cmp list saved && [[ $(cd new && find . -type f -printf '%P\n' | sort | xargs) == "in/b/two.png one.png" ]] ||
  wrong "wrong lines: made $(find new)"

# The parts of a list are disjoint and complete, and so are those of files; which one has a picture does not change.
for i in {1..40}; do
  ln -s ../one.png "in/$i.png"
  echo "in/$i.png"
done >list
ls in/*.png >files
# parts NAME WAY: runs three parts, each given to the function WAY, and collects what each makes.
parts() {
  local number made
  for number in 1 2 3; do
    rm -rf new
    "$2" "$number" --out-dir new || wrong "$1: $(cat stderr)"
    find new -type f -printf '%f\n' | sort -n >"$1.$number"
    made=$(wc -l <"$1.$number")
    ((made > 3)) || wrong "$1, part $number: $made pictures"
  done
  cmp <(sort -n "$1".[123]) <(seq -f '%g.png' 40) || wrong "$1 is incomplete, or not disjoint"
}
byNumber() { run --shard "$1/3" --from list "${@:2}"; }
byReverse() { run --shard "$1/3" --from <(tac list; echo one.png) "${@:2}"; rm -f new/one.png; }
byFiles() { mapfile -t arguments < <(grep -v two files); run --shard "$1/3" "${arguments[@]}" "${@:2}"; }
bySlurm() {
  SLURM_ARRAY_TASK_ID=$((2 + $1 * 5)) SLURM_ARRAY_TASK_MIN=7 SLURM_ARRAY_TASK_MAX=17 SLURM_ARRAY_TASK_STEP=5 \
    SLURM_ARRAY_TASK_COUNT=3 run --shard auto --from list "${@:2}"
}
byKubernetes() { JOB_COMPLETION_INDEX=$(($1 - 1)) JOB_COMPLETION_COUNT=3 run --shard auto --from list "${@:2}"; }
for way in byNumber byReverse byFiles bySlurm byKubernetes; do
  parts "$way" "$way"
  for number in 1 2 3; do
    cmp "byNumber.$number" "$way.$number" || wrong "$way has other pictures in part $number"
  done
done
printf 'broken\0\n{"in"\n../up.png\n' >list # is reported by one part each
for number in 1 2 3; do run --shard $number/3 --from list --out-dir new; cat stderr; done >all
run --from list --out-dir new && wrong "three failures: status 0"
cmp <(sort all) <(sort stderr) || wrong "failures of shards: $(cat all)"

refuses 2 "--shard: takes I/N" filter --shader invert one.png --out-dir out --shard 4/3
refuses 2 "--shard: takes I/N" filter --shader invert one.png --out-dir out --shard 0/3
refuses 2 "neither SLURM_ARRAY_TASK_ID nor" filter --shader invert one.png --out-dir out --shard auto
export JOB_COMPLETION_INDEX=3
refuses 2 "JOB_COMPLETION_COUNT is not set" filter --shader invert one.png --out-dir out --shard auto
refuses 2 "goes by the names of pictures" filter --shader invert - --out out.png --shard 1/2
refuses 2 "give no FILE with it" filter --shader invert one.png --from files --out-dir out
refuses 2 "--recursive: does not go with --from" filter --shader invert --recursive --from files --out-dir out
refuses 2 "--out: takes one picture" filter --shader invert --from files --out out.png
refuses 2 "give - as FILE" filter --shader invert --from files --out-dir out --raw 3x2:gray
refuses 2 "--null: says" filter --shader invert -0 one.png --out-dir out
refuses 1 'cannot read "nosuch"' filter --shader invert --from nosuch --out-dir out
refuses 1 'cannot read "in": Is a directory' filter --shader invert --from in --out-dir out
refuses 1 'no place for the result of "in/1.png"' filter --shader invert --from <(echo in/1.png)

[[ $failures == 0 ]]
