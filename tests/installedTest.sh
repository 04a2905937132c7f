#!/usr/bin/env bash
# installedTest.sh SOURCE_DIR BUILD_DIR: installs the build, moves it, and uses it as other programs do: by CMake, by
# pkg-config and by name, on the display in DISPLAY, with every header, and the exported pointers, which bear the names of functions of the GL
# library, in every way that decides which of the two a name means.
set -uo pipefail

source=$(realpath "$1")
build=$(realpath "$2")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

check() { # NAME COMMAND...: runs and reports
  if "${@:2}" >"$work/log" 2>&1; then
    echo "ok: $1"
  else
    echo "FAILED: $1 (status $?)"
    cat "$work/log"
    failures=$((failures + 1))
  fi
}

refuses() { ! "$@"; }

DESTDIR=$work/root cmake --install "$build" --prefix /opt/here >"$work/log" || { cat "$work/log"; exit 1; }
prefix=$work/there
mv "$work/root/opt/here" "$prefix"
cp -r "$source/examples" "$source/tests/support/"{entryPoints,loadedByName}.cpp "$source/tests/fixtures/rgb.png" "$work"
cd "$work" || exit 1
PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name omRender.pc)")
libraries=$(dirname "$PKG_CONFIG_PATH")
export PKG_CONFIG_PATH
unset CPATH CPLUS_INCLUDE_PATH LIBRARY_PATH
[[ -z $(find "$prefix" -name omWindowImplQt.h) ]] || with_qt=ON
flags=$(pkg-config --cflags omRender)
libs=$(pkg-config --libs omRender)
check "installed program" "$prefix/bin/omrender" filter --shader edges rgb.png --out filtered.png
check "nothing says where it was built" refuses grep -rlF -e "$build" -e "$source" "$prefix"

# Examples: each checks what it does and says so by its exit status.
declare -A arguments=([renderOffScreen]=out.png [colorTable]="rgb.png out.png card.png")
runs() { # PROGRAM
  # shellcheck disable=SC2086
  "$1" ${arguments[$(basename "$1")]:-rgb.png 0.1}
}
check "configure" cmake -S examples -B byCMake -DCMAKE_PREFIX_PATH="$prefix"
check "build" cmake --build byCMake
export LD_LIBRARY_PATH=$libraries
for example in examples/*.cpp; do
  name=$(basename "$example" .cpp)
  packages=omRender
  if [[ $name == qt* ]]; then
    [[ ${with_qt:-} ]] || continue
    packages+=" Qt5OpenGL"
  fi
  # shellcheck disable=SC2046,SC2086
  check "compile $name" g++ -fPIC "$example" $(pkg-config --cflags --libs $packages) -o "$name"
  check "$name by CMake" runs "byCMake/$name"
  check "$name by pkg-config" runs "./$name"
done

# The CMake package's components and versions.
consumer() { # COMPONENTS LIBRARY [VERSION]: a program that reads a picture
  mkdir -p consumer
  cat >consumer/CMakeLists.txt <<END
cmake_minimum_required(VERSION 3.25)
project(consumer LANGUAGES CXX)
find_package(omRender ${3:-3.0} CONFIG REQUIRED COMPONENTS $1)
file(WRITE main.cpp "#include \"image/omImageReaderWriter.h\"\n#include \"image/omImage.h\"\n"
  "int main() { OmImage image; return OmImageReaderWriter::read(image, \"rgb.png\") ? 0 : 1; }")
add_executable(consumer main.cpp)
target_link_libraries(consumer PRIVATE omRender::$2)
END
  rm -rf consumer/build
  cmake -S consumer -B consumer/build -DCMAKE_PREFIX_PATH="$prefix" && cmake --build consumer/build && consumer/build/consumer
}
check "image component" consumer Image omImage
check "it needs no GL" refuses grep -q OpenGL_ consumer/build/CMakeCache.txt
check "both components" consumer "Render Image" omRender
check "unknown component" refuses consumer Sound omRender
check "other version" refuses consumer Render omRender 4

mkdir whole
cat >whole/CMakeLists.txt <<END
cmake_minimum_required(VERSION 3.25)
project(whole LANGUAGES CXX)
set(OM_RENDER_QT ${with_qt:-OFF})
add_subdirectory($source omRender)
add_executable(consumer $work/consumer/main.cpp)
target_link_libraries(consumer PRIVATE omRender::omImage)
END
check "source tree in another one" cmake -S whole -B whole/build
check "its targets" cmake --build whole/build --target consumer

# Every header by itself, and all of them in both orders in one program.
all=$(pkg-config --cflags --libs omRender ${with_qt:+Qt5OpenGL})
mapfile -t headers < <(cd "$prefix"/include/* && find . -name '*.h' | sed 's,^\./,,' | sort)
for ((i = 0; i < ${#headers[@]}; i++)); do
  { # this one, those after it, those before it; the other unit the other way round
    printf '#include "%s"\n' "${headers[@]:i}" "${headers[@]::i}"
    echo 'int other(); int main() { return other(); }'
  } >first.cpp
  { grep include first.cpp | tac && echo 'int other() { return 0; }'; } >second.cpp
  # shellcheck disable=SC2086
  check "order from ${headers[i]}" g++ -fPIC -Wall -Wextra -Werror first.cpp second.cpp $all -o both
done
check "all headers" ./both

# The exported pointers.
declare -A orders=([after]="$libs -lGL" [before]="-lGL $libs" [forced]="-Wl,--no-as-needed -lGL -Wl,--as-needed $libs")
for compiler in g++ clang++; do
  command -v $compiler >/dev/null || continue
  for model in "" -fPIC "-fno-pie -no-pie"; do
    for order in "${!orders[@]}"; do
      # shellcheck disable=SC2086
      $compiler $model $flags entryPoints.cpp -o caller ${orders[$order]}
      check "$compiler ${model:-default}, GL $order" ./caller
    done
  done
done
if command -v apitrace >/dev/null; then
  check "under a GL tracer" apitrace trace -o caller.trace ./caller
  apitrace dump caller.trace >dump # what the caller called, not the library's own resolving alone
  check "traced calls" grep -q "glGenFramebuffersEXT(n = 1" dump
fi
check "compile loadedByName" g++ loadedByName.cpp -o loadedByName
check "loaded by name" ./loadedByName "$libraries/libomRender.so.3"

exit $((failures > 0))
