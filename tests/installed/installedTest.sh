#!/usr/bin/env bash
# installedTest.sh PART BUILD_DIR: uses the installed build as other programs do, on the display in DISPLAY. The part
# "install" installs the build and moves the installation, "remove" removes it; the other parts run between them, side
# by side.
set -uo pipefail

part=$1
build=$(realpath "$2")
source=$(realpath "$(dirname "${BASH_SOURCE[0]}")/../..")
installation=$build/tests/installation
prefix=$installation/there
failures=0
unset CPATH CPLUS_INCLUDE_PATH LIBRARY_PATH
export CMAKE_GENERATOR=Ninja # make may be missing

check() { # NAME COMMAND...: runs and reports
  if "${@:2}" >log 2>&1; then
    echo "ok: $1"
  else
    echo "FAILED: $1 (status $?)"
    cat log
    failures=$((failures + 1))
  fi
}

refuses() { ! "$@"; }

eventually() { # COMMAND...: waits until it succeeds, for ten seconds at most
  local end=$((SECONDS + 10))
  until "$@" 2>/dev/null || ((SECONDS > end)); do sleep 0.1; done
}

skip() {
  echo "skipped: $*"
  exit 77
}

install() {
  remove
  mkdir "$installation"
  check "install" env DESTDIR="$installation" cmake --install "$build" --prefix /opt/here
  mv "$installation/opt/here" "$prefix"
  check "nothing says where it was built" refuses grep -rlF -e "$build" -e "$source" "$prefix"
}

remove() { rm -rf "$installation"; }

program() {
  check "omrender" "$prefix/bin/omrender" filter --shader edges rgb.png --out filtered.png
}

# Opens a picture as a file manager does: by the Exec line of the desktop entry, with a name that has blanks.
desktop() {
  local entry=$prefix/share/applications/omrender.desktop icon size command window
  value() { sed -n "s/^$1=//p" "$entry"; }
  check "the entry" desktop-file-validate "$entry"
  for size in 32 48 64 128 256; do
    icon=$prefix/share/icons/hicolor/${size}x$size/apps/$(value Icon).png
    check "the icon of $size pixels" [ "$(identify -format '%wx%h' "$icon")" = "${size}x$size" ]
  done
  check "it is started when it is there" [ -x "$prefix/bin/$(value TryExec)" ]

  convert -size 200x100 xc:'#20C060' "from the desktop.png"
  command=$(value Exec)
  check "it takes files" [ "${command% %F}" != "$command" ]
  # shellcheck disable=SC2086
  PATH=$prefix/bin:$PATH timeout 60 ${command% %F} "from the desktop.png" &
  window=$(timeout 20 xdotool search --sync --onlyvisible --name "from the desktop")
  check "its window" [ "$window" ]
  drawn() { [[ $(timeout 5 import -window "$window" -crop 1x1+100+50 txt:-) == *"srgb(32,192,96)"* ]]; }
  eventually drawn
  check "it shows the picture" drawn
  kill %%
}

# Each example checks what it does and says so by its exit status.
runExample() { # PROGRAM
  case $1 in
    *renderOffScreen) "$1" out.png ;;
    *colorTable) "$1" rgb.png out.png card.png ;;
    *) "$1" rgb.png 0.1 ;;
  esac
}

byCMake() {
  check "configure" cmake -S "$source/examples" -B build -DCMAKE_PREFIX_PATH="$prefix"
  check "build" cmake --build build
  for example in "$source"/examples/*.cpp; do
    name=$(basename "$example" .cpp)
    [[ $name == qt* && ! $with_qt ]] || check "$name" runExample "build/$name"
  done
}

byPkgConfig() {
  for name in renderOffScreen ${with_qt:+qtApplication}; do
    packages=omRender
    [[ $name != qt* ]] || packages+=" Qt5OpenGL"
    # shellcheck disable=SC2046,SC2086
    check "compile $name" g++ -fPIC "$source/examples/$name.cpp" $(pkg-config --cflags --libs $packages) -o $name
    check "$name" runExample "./$name"
  done
}

consumer() { # COMPONENTS LIBRARY [VERSION]: builds and runs a program that reads a picture
  cat >CMakeLists.txt <<END
cmake_minimum_required(VERSION 3.25)
project(consumer LANGUAGES CXX)
find_package(omRender ${3:-3.0} CONFIG REQUIRED COMPONENTS $1)
add_executable(consumer $source/tests/installed/consumer.cpp)
target_link_libraries(consumer PRIVATE omRender::$2)
END
  cmake -S . -B build -DCMAKE_PREFIX_PATH="$prefix" && cmake --build build && build/consumer rgb.png
}

components() {
  check "image component" consumer Image omImage
  check "it needs no GL" refuses grep -q OpenGL_ build/CMakeCache.txt
  check "both components" consumer "Render Image" omRender
  check "unknown component" refuses consumer Sound omRender
  check "other version" refuses consumer Render omRender 4
}

sourceTree() {
  cat >CMakeLists.txt <<END
cmake_minimum_required(VERSION 3.25)
project(whole LANGUAGES CXX)
set(OM_RENDER_QT ${with_qt:-OFF})
add_subdirectory($source omRender)
add_executable(consumer $source/tests/installed/consumer.cpp)
target_link_libraries(consumer PRIVATE omRender::omImage)
END
  check "configure" cmake -S . -B build
  check "build" cmake --build build --target consumer
  check "run" build/consumer rgb.png
}

# All headers in one program, in either order; that each stands alone is part of the build.
headers() {
  local all
  all=$(cd "$prefix"/include/* && find . -name '*.h' -printf '#include "%P"\n' | sort)
  printf '%s\nint other();\nint main() { return other(); }\n' "$all" >first.cpp
  printf '%s\nint other() { return 0; }\n' "$(tac <<<"$all")" >second.cpp
  # shellcheck disable=SC2046
  check "compile" g++ -fPIC -Wall -Wextra -Werror first.cpp second.cpp \
    $(pkg-config --cflags --libs omRender ${with_qt:+Qt5OpenGL}) -o both
  check "run" ./both
}

# The exported pointers bear the names of the GL library's functions: every way that decides which of the two a name
# means.
entryPoints() { # COMPILER
  command -v "$1" >/dev/null || skip "$1 is missing"
  local cflags libs model order
  cflags=$(pkg-config --cflags omRender)
  libs=$(pkg-config --libs omRender)
  local -A orders=([after]="$libs -lGL" [before]="-lGL $libs" [forced]="-Wl,--no-as-needed -lGL -Wl,--as-needed $libs")
  for model in "" -fPIC "-fno-pie -no-pie"; do
    # shellcheck disable=SC2086
    check "$1 ${model:-default}" "$1" ${model% -no-pie} $cflags -c "$source/tests/installed/entryPoints.cpp"
    for order in "${!orders[@]}"; do
      # shellcheck disable=SC2086
      check "link with GL $order" "$1" ${model#-fno-pie } entryPoints.o -o caller ${orders[$order]}
      check "run" ./caller
    done
  done
}

tracer() {
  command -v apitrace >/dev/null || skip "apitrace is missing"
  # shellcheck disable=SC2046
  check "compile" g++ "$source/tests/installed/entryPoints.cpp" $(pkg-config --cflags --libs omRender) -lGL -o caller
  check "trace" apitrace trace -o caller.trace ./caller
  apitrace dump caller.trace >dump # what the caller called, not the library's own resolving alone
  check "traced calls" grep -q "glGenFramebuffersEXT(n = 1" dump
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
if [[ $part != @(install|remove) ]]; then
  PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name omRender.pc)")
  LD_LIBRARY_PATH=$(dirname "$PKG_CONFIG_PATH")
  export PKG_CONFIG_PATH LD_LIBRARY_PATH
  with_qt=$(find "$prefix" -name omWindowImplQt.h)
  cp "$source/tests/fixtures/rgb.png" .
fi
"$part" "${@:3}"
exit $((failures > 0))
