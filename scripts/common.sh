# shellcheck shell=bash
# Sourced by the scripts next to it: what they need before they can begin.

set -euo pipefail

repository=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

say() { printf '%s: %s\n' "$(basename "$0")" "$*" >&2; }

# install_packages: installs the Debian packages of packages.txt that are missing. Where that is not possible it says
# so and goes on: what needs one of them fails then, anything else works.
install_packages() {
  local package missing=() sudo=()
  while read -r package; do
    [[ $(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null) == installed ]] || missing+=("$package")
  done < <(sed -e 's/#.*//' -e 's/[[:space:]]//g' -e '/^$/d' "$repository/scripts/packages.txt")
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
  "${sudo[@]}" apt-get -qq install -y --no-install-recommends "${missing[@]}" >&2 ||
    say "cannot install ${missing[*]}; install them by hand"
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
