#!/usr/bin/env bash
# Installs a build and uses it as another project would, outside this tree:
# install_test.sh BUILD_DIR CXX_COMPILER CASE
set -euo pipefail
build=$1
export CXX=$2
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/usr

fail() { echo "$*" >&2 && exit 1; }

# Installs components, all without a name. What is found by its own place works where DESTDIR is.
install_movra() {
  local component
  for component in "${@:-}"; do
    DESTDIR=$work cmake --install "$build" --prefix /usr ${component:+--component "$component"} \
      >/dev/null
  done
}

# Configures a copy of a project; more arguments are further files of it.
configure() {
  cp -r "$here/$1" "$work/project"
  [[ $# -eq 1 ]] || cp "${@:2}" "$work/project"
  cmake -G Ninja -S "$work/project" -B "$work/build" -DCMAKE_PREFIX_PATH="$prefix" \
    >"$work/log" 2>&1
}

build_project() {
  configure "$@" || { cat "$work/log" >&2 && exit 1; }
  cmake --build "$work/build" >"$work/log" 2>&1 || { cat "$work/log" >&2 && exit 1; }
}

# Whether a program's file plays and has that many pictures.
expect_pictures() {
  local found
  found=$(ffprobe -v error -count_frames -show_entries stream=nb_read_frames -of csv=p=0 "$2")
  [[ $found == "$1" ]] || fail "$2 has $found pictures instead of $1"
}

# A project that cannot be configured, and what CMake says.
expect_refusal() {
  if configure "$1"; then fail "this should not have been configured"; fi
  tr -s '\n ' ' ' <"$work/log" | grep -qF "$2" || { cat "$work/log" >&2 && fail "not said: $2"; }
}

case_find_package() {
  install_movra
  build_project with_media "$root"/examples/{own_camera,push_frames}.cpp
  "$work/build/own_camera" stripes:40 "$work/stripes.mp4"
  expect_pictures 40 "$work/stripes.mp4"
  "$work/build/push_frames" 30 "$work/pictures.mp4"
  expect_pictures 30 "$work/pictures.mp4"
}

case_pkg_config() {
  install_movra
  export PKG_CONFIG_PATH
  PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name movra-media.pc)")
  cp "$root/examples/push_frames.cpp" "$work"
  cd "$work"
  local flags
  read -ra flags <<<"$(pkg-config --cflags --libs movra-media)"
  "$CXX" -std=c++20 push_frames.cpp -o push_frames "${flags[@]}"
  ./push_frames 30 pictures.mp4
  expect_pictures 30 pictures.mp4
}

case_core_alone() {
  install_movra producer
  cp "$root/benchmarks/null_collaborators.cpp" "$work/own_collaborators.cpp"
  build_project core_alone "$work/own_collaborators.cpp"
  [[ $("$work/build/core_alone" | xargs) == "capturing stopped" ]]
  if ldd "$work/build/core_alone" | grep -E 'libav|libx264|libyuv|libcairo'; then
    fail "the core alone needs a library"
  fi
  local flags
  read -ra flags <<<"$(PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name movra-producer.pc)") \
    pkg-config --cflags --libs movra-producer)"
  cd "$work/project"
  "$CXX" -std=c++20 core_alone.cpp "$work"/build/CMakeFiles/core_alone.dir/own_collaborators.cpp.o \
    -o core_alone "${flags[@]}"
  [[ $(./core_alone | xargs) == "capturing stopped" ]]
}

# Without the real collaborators, and so without their libraries.
case_doubles() {
  install_movra producer testing
  build_project with_testing "$root"/examples/spare_camera{.h,_test.cpp}
  "$work/build/spare_camera_test"
  if ldd "$work/build/spare_camera_test" | grep -E 'libav|libx264|libyuv|libcairo'; then
    fail "the doubles need a library"
  fi
}

case_doubles_beside_media() {
  install_movra producer media testing
  build_project with_testing "$root"/examples/spare_camera{.h,_test.cpp,_real_test.cpp}
  local test
  for test in spare_camera_test spare_camera_real_test push_on_doubles_test; do
    "$work/build/$test"
  done
}

# By pkg-config and without GoogleTest.
case_doubles_pkg_config() {
  install_movra producer testing
  local flags
  read -ra flags <<<"$(PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name movra-testing.pc)") \
    pkg-config --cflags --libs movra-testing)"
  cd "$work"
  "$CXX" -std=c++20 "$here/doubles_alone.cpp" -o doubles_alone "${flags[@]}"
  [[ $(./doubles_alone) == *"big_encoder.SetEncodeParams({640x360})"* ]]
}

case_unknown_component() {
  install_movra producer
  cp -r "$here/core_alone" "$work/unknown"
  sed -i 's/COMPONENTS producer/& sound/' "$work/unknown/CMakeLists.txt"
  here=$work
  expect_refusal unknown \
    "movra has no component 'sound'; its components are producer, media and testing"
}

case_missing_component() {
  install_movra producer
  expect_refusal with_media "movra is installed here without its component 'media': it was built \
with MOVRA_MEDIA=OFF or only some components were installed"
  rm -r "$work/project" "$work/build"
  expect_refusal with_testing "movra is installed here without its component 'testing': it was \
built with MOVRA_DOUBLES=OFF or only some components were installed"
}

# No test's header, none that includes one which is not there, and none that needs GoogleTest.
case_headers() {
  install_movra producer media testing
  local include=$prefix/include/movra header
  [[ -f $include/video/producer/video_producer2_impl.h ]] || fail "the headers are missing"
  [[ -z $(find "$include" -name '*test.h') ]] || fail "headers of tests are installed"
  [[ -f $include/testing/environment.h ]] || fail "the headers of the doubles are missing"
  if grep -rE '#include <g(test|mock)/' "$include"; then fail "a header needs GoogleTest"; fi
  while read -r header; do
    [[ -f $include/$header ]] || fail "an installed header includes $header, which is not"
  done < <(grep -rhoE '^#include "[^"]+"' "$include" | cut -d'"' -f2 | sort -u)
}

case_program() {
  install_movra program
  [[ $("$prefix/bin/movra-producer" --version) == movra-producer* ]]
  [[ -f $(find "$prefix" -path '*/man1/movra-producer.1') ]]
  [[ -f $prefix/share/bash-completion/completions/movra-producer ]]
  [[ -f $prefix/share/zsh/site-functions/_movra-producer ]]
  [[ ! -e $prefix/include ]] || fail "the program brings headers"
}

"case_$3"
