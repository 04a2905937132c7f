# shellcheck shell=bash
# Sourced by the scripts next to it: what they need before they can begin.

set -euo pipefail

repository=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

say() { printf '%s: %s\n' "$(basename "$0")" "$*" >&2; }

# packages_of PART...: the names that packages.txt lists in these parts.
packages_of() {
  awk -v parts=" $* " '
    { sub(/#.*/, "") }
    /^\[/ { wanted = index(parts, " " substr($1, 2, length($1) - 2) " "); next }
    wanted && NF { print $1 }' "$repository/scripts/packages.txt"
}

# install_packages PART...: installs the packages of these parts that the machine lacks. What cannot be installed is
# reported, and the script goes on: only what needs that package fails.
install_packages() {
  local name installed missing=() known=() unknown=() sudo=()
  installed=$(dpkg-query -W -f='${db:Status-Status} ${Package}\n')
  for name in $(packages_of "$@"); do
    [[ $'\n'$installed$'\n' == *$'\n'"installed $name"$'\n'* ]] || missing+=("$name")
  done
  ((${#missing[@]})) || return 0

  say "installing ${missing[*]}"
  if ((EUID != 0)); then
    sudo=(sudo)
    if ! command -v sudo >/dev/null; then
      say "cannot install ${missing[*]}: neither root nor sudo; install them by hand"
      return 0
    fi
  fi
  export DEBIAN_FRONTEND=noninteractive
  "${sudo[@]}" apt-get -qq update >&2 || say "apt-get update failed; trying with the package lists there are"
  for name in "${missing[@]}"; do # one name that the release lacks would stop all the others
    if apt-cache show "$name" >/dev/null 2>&1; then
      known+=("$name")
    else
      unknown+=("$name")
    fi
  done
  ((${#unknown[@]} == 0)) || say "this release has no package ${unknown[*]}; going on without"
  ((${#known[@]} == 0)) || "${sudo[@]}" apt-get -qq install -y --no-install-recommends "${known[@]}" >&2 ||
    say "cannot install ${known[*]}; install them by hand"
}

# build PRESET [TARGET...]: configures and builds, everything without targets.
build() {
  local preset=$1
  shift
  (cd "$repository" && cmake --preset "$preset" && cmake --build --preset "$preset" ${1:+--target "$@"})
}

xvfb_pid=

end_display() {
  [[ -z $xvfb_pid ]] || kill "$xvfb_pid" 2>/dev/null || true
  xvfb_pid=
}

# with_display: sees to a display in DISPLAY. Without a usable one it starts an Xvfb, which ends with the script.
with_display() {
  local number=
  if [[ -n ${DISPLAY:-} ]] && timeout 10 xdpyinfo >/dev/null 2>&1; then
    return 0
  fi
  trap end_display EXIT
  trap 'exit 129' HUP
  trap 'exit 130' INT
  trap 'exit 143' TERM
  # It writes the number of the display that it found free once it takes connections.
  exec {xvfb_output}< <(exec Xvfb -displayfd 1 -screen 0 1600x1200x24 -nolisten tcp -noreset 2>/dev/null)
  xvfb_pid=$!
  if ! read -r -t 60 -u "$xvfb_output" number || [[ -z $number ]]; then
    say "cannot start Xvfb; install the package xvfb, or set DISPLAY to an X server"
    return 1
  fi
  export DISPLAY=:$number
}
