#!/usr/bin/env bash
# debianPackagesTest.sh SOURCE_DIR: installs the packages that scripts/package made, uses them on the display in DISPLAY
# as a newcomer does, and removes them again. Needs root; leaves a machine alone that has one of them already.
set -uo pipefail

source=$(realpath "$1")
packages=(libomrender3 libomrender-dev omrender-tools)
work=$(mktemp -d)
trap 'rm -rf "$work"; apt-get -qq purge -y "${packages[@]}" >/dev/null 2>&1' EXIT
export DEBIAN_FRONTEND=noninteractive CMAKE_GENERATOR=Ninja # make may be missing
cd "$work" || exit 1

check() { # NAME COMMAND...
  if "${@:2}" >log 2>&1; then
    echo "ok: $1"
  else
    echo "FAILED: $1 (status $?)"
    cat log
    exit 1
  fi
}

everything() { find /etc /opt /usr /var/lib -xdev -path /var/lib/apt -prune -o -print | grep -vE '^/var/lib/(dpkg|ucf)' | sort; }

if dpkg-query -W "${packages[@]}" 2>/dev/null | grep -q .; then
  trap 'rm -rf "$work"' EXIT
  echo "skipped: one of ${packages[*]} is installed"
  exit
fi
everything >before
check "install" apt-get -qq install -y --no-install-recommends "$source"/build/package/*.deb
check "its version" [ "$(omrender --version)" = "$(dpkg-query -W -f='${source:Upstream-Version}' omrender-tools)" ]
check "manual" grep -q share/man/man1/omrender.1.gz <(dpkg-deb --contents "$source"/build/package/omrender-tools_*.deb)
check "a filter" omrender filter --shader edges "$source/tests/fixtures/rgb.png" --out edges.png
cp -r /usr/share/doc/libomrender-dev/examples .
# shellcheck disable=SC2046
check "compile" g++ examples/renderOffScreen.cpp $(pkg-config --cflags --libs omRender) -o renderOffScreen
check "run" ./renderOffScreen out.png
check "configure" cmake -S examples -B build
check "build" cmake --build build
check "run by CMake" build/showImage "$source/tests/fixtures/rgb.png" 0.1
check "remove" apt-get -qq purge -y "${packages[@]}"
everything >after
check "without a trace" diff before after
