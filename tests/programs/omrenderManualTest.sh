#!/usr/bin/env bash
# omrenderManualTest.sh OMRENDER OMDEMO: the manual page and the completion against the program, on the display in
# DISPLAY, with a window manager.
# shellcheck source=tests/support/programTest.sh
source "$(dirname "${BASH_SOURCE[0]}")/../support/programTest.sh"
tools=$(realpath "$(dirname "${BASH_SOURCE[0]}")/../../tools/omrender")
cd "$work" || exit 1

# What a section of the manual describes: its lines that begin with the macro.
described() {
  awk -v section="$1" -v macro="$2" '/^\.Sh / || (macro != ".Ss" && /^\.Ss /) { inside = $2 == section }
    inside && $1 == macro' manual
}
options() { grep -oE -- '(^| |,)--[a-z-]+' | tr -d ' ,' | sort; }
offered() { "$omrender" "$@" --help | grep -E '^ +(-.,)?--' | cut -c -30 | options; }

# same WHAT DESCRIBED OFFERED
same() {
  [[ -n $3 && $2 == "$3" ]] || wrong "$1: the manual has" $2 "and the program" $3
}

groff -ww -mdoc -Tutf8 "$tools/omrender.1" 2>&1 >page | grep . && wrong "groff complains"
sed -e 's/\\-/-/g' -e "s/\\\\(aq/'/g" -e 's/^\.It Fl [h0] , Fl -/.It Fl -/' "$tools/omrender.1" >manual
commands=$("$omrender" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\) .*/\1/p')
same commands "$(described COMMANDS .Ss | cut -d ' ' -f 2)" "$commands"
same options "$(described OPTIONS .It | sed 's/Fl /-/' | options)" "$(offered)"
for command in $commands; do
  same "$command" "$(described "$command" .It | sed 's/Fl /-/' | options)" "$(offered "$command" | grep -vx -e --help)"
done

same filters "$(described FILTERS .It | cut -d ' ' -f 3)" "$("$omrender" filter --list | grep -v '^ ')"

for command in "" $commands; do
  "$omrender" $command --help | grep -E '.{81}' && wrong "the help of '$command' is wider than a terminal"
done

# Each example, without waiting for anybody, with every picture that one of them names.
"$omdemo" chart chart.png || wrong "chart"
mkdir -p examples pictures/photos
cp chart.png pictures/photos
printf 'LUT_1D_SIZE 2\n0 0 0\n1 0.9 0.8\n' >pictures/film.cube
awk '/^\.Sh / { inside = $2 == "EXAMPLES" } inside && /^\.Ed/ { block = 0 } block { print >("examples/" count) }
  inside && /^\.Bd/ { block = 1; ++count }' manual
[[ $(ls examples | wc -l) -ge 8 ]] || wrong "examples: found $(ls examples)"
sed -i -e 's/ --seconds [^ ]*//' -e 's/omrender show/& --seconds 0/' examples/*
for picture in $(grep -ohE '[[:alnum:]*]+\.(png|jpe?g)' examples/* | tr '*' x); do
  cp chart.png "pictures/$picture"
done
if [[ $("$omrender" show --backend qt --seconds 0 chart.png 2>&1) == *"without Qt"* ]]; then
  grep -l -e "--backend qt" examples/* | xargs rm
fi
if command -v ffmpeg >/dev/null; then
  ffmpeg -v error -f lavfi -i testsrc2=s=160x90:d=0.2 pictures/in.mkv || wrong "in.mkv"
else
  grep -l ffmpeg examples/* | xargs rm
fi
ln -s "$omrender" omrender
for example in "$work"/examples/*; do
  (cd pictures && PATH=$work:$PATH timeout 60 bash -eo pipefail "$example") >stdout 2>stderr ||
    wrong "$(cat "$example"): $(cat stderr)"
  [[ ! -s stderr ]] || wrong "$(cat "$example") wrote: $(cat stderr)"
done

# completes EXPECTED WORD...: what the shell offers for the last of the words behind the program, one a line.
completes() {
  local expected=$1 got
  shift
  # shellcheck disable=SC2016
  got=$(bash --norc -c 'source "$1" && shift && [[ $(complete -p omrender) =~ -F\ ([^ ]+) ]] || exit
    COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMPREPLY=()
    "${BASH_REMATCH[1]}" "$1" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
    ((${#COMPREPLY[@]} == 0)) || printf "%s\n" "${COMPREPLY[@]}" | sort' bash \
    "$tools/omrender.bash-completion" "$omrender" "$@" 2>&1)
  [[ $got == "$expected" ]] || wrong "completion of $*: $got"
}

mkdir completion "completion/my shots"
cd completion || exit 1
cp ../chart.png "my picture.PNG"
touch my.txt my.vert my.cube
completes "$(sort <<<"$commands")" ""
completes show s
completes --fullscreen show a.png --fu
completes $'egl\nqt\nx11' show --backend ""
completes qt show --backend = q
completes --watch show --shader edges --wa
completes $'egl\nqt\nx11' show --backend =
completes "$({ "$omrender" filter --list | grep -v '^ '; echo "my shots"; } | sort)" filter --shader ""
completes $'my picture.PNG\nmy shots' show --fullscreen m
completes $'my picture.PNG\nmy shots\nmy.cube' filter --texture lut = my
completes $'my shots\nmy.vert' filter --vertex my
completes "my shots" filter --out-dir m
completes "" filter --set radius =
completes "" show --seconds ""
completes "" info ""
completes "" unknown ""
# shellcheck disable=SC2016
completes "" show '$(touch harm)' '"$(touch harm); ['
[[ ! -e harm ]] || wrong "completion runs what it completes"

[[ $failures == 0 ]]
