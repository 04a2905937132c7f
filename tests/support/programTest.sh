# shellcheck shell=bash
# Sourced by the tests of omrender, which are called with OMRENDER OMDEMO …. Makes a scratch directory, $work, that is
# removed at the end, and counts failures. Such a test ends with [[ $failures == 0 ]].
set -uo pipefail

omrender=$(realpath "$1")
# shellcheck disable=SC2034
omdemo=$(realpath "$2")
# shellcheck disable=SC2034
fixtures=$(realpath "$(dirname "${BASH_SOURCE[0]}")/../fixtures")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

wrong() {
  echo "FAILED: $*" >&2
  failures=$((failures + 1))
}

# eventually WHAT COMMAND...: waits until the command succeeds; fails with WHAT after about ten seconds.
eventually() {
  local what=$1 tries
  shift
  for ((tries = 0; tries < 200; tries++)); do
    "$@" >/dev/null 2>&1 && return
    sleep 0.05
  done
  wrong "$what"
}

# refuses STATUS WORDS ARGUMENT...: omrender must end with that status, print one line that contains WORDS, and leave no
# file.
refuses() {
  local status=$1 words=$2 got=0
  shift 2
  rm -rf out out.png
  timeout 60 "$omrender" "$@" >stdout 2>stderr || got=$?
  [[ $got == "$status" ]] || wrong "omrender $*: status $got, not $status"
  [[ $(wc -l <stderr) == 1 && $(cat stderr) == "omrender: "*"$words"* ]] || wrong "omrender $*: said $(cat stderr)"
  [[ -z $(find . -path './out*' -type f -o -name '*.tmp') ]] || wrong "omrender $*: left a file"
}
