# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# What the tests of the installation share: a C and a C++ client, built of what is installed through
# pkg-config and through find_package, and run. They set $prefix, $c_compiler, $cxx_compiler, $flags
# (one text: what the compilers need besides) and the array emulator.
# shellcheck shell=bash disable=SC2154

read -ra extra <<<"$flags"

fail() {
  echo "FAILED: $*"
  exit 1
}

quietly() {
  "$@" >log 2>&1 || {
    cat log
    exit 1
  }
}

# A client that brings an adapter up and reads a value back.
write_clients() {
  cat >client.c <<'END_OF_CLIENT'
#include <capi.h>
#include <stdio.h>

static void no_log(int level, const char *text) { (void)level, (void)text; }

int main(void) {
  struct capi_callbacks callbacks = {0, 0, 0};
  char name[16] = "";
  if (capi_init(&callbacks, 1, no_log) != 0 || capi_config_finish() != 0) return 1;
  if (capi_post_init(1) != 0) return 1;
  if (capi_config_set("sip_line_1", "option_sip_line_display_name", 0, "Kitchen") != 0) return 2;
  if (capi_config_get("sip_line_1", "option_sip_line_display_name", name, sizeof name) != 0) return 3;
  puts(name);
  return capi_uninit();
}
END_OF_CLIENT
  cp client.c client.cc
  cat >CMakeLists.txt <<'END_OF_LISTS'
cmake_minimum_required(VERSION 3.22)
project(client LANGUAGES C CXX)
find_package(capi 0.1 REQUIRED)
add_executable(c_client client.c)
target_link_libraries(c_client PRIVATE capi::capi)
add_executable(cxx_client client.cc)
target_link_libraries(cxx_client PRIVATE capi::capi)
END_OF_LISTS
}

# options_for PACKAGE: of what is installed, and what the architecture has; not what is there for
# this machine.
options_for() {
  PKG_CONFIG_LIBDIR=$(find "$prefix" -name capi.pc -printf %h):/usr/lib/$(
    "$c_compiler" -print-multiarch)/pkgconfig \
    PKG_CONFIG_SYSROOT_DIR=${root-} PKG_CONFIG_ALLOW_SYSTEM_CFLAGS=1 PKG_CONFIG_ALLOW_SYSTEM_LIBS=1 \
    pkg-config --cflags --libs "$1"
}

build_with_pkg_config() {
  local options
  options=$(options_for capi)
  read -ra options <<<"$options"
  mkdir by_pkg_config
  "$c_compiler" -std=c99 -Wall -Werror "${extra[@]}" client.c -o by_pkg_config/c_client "${options[@]}"
  "$cxx_compiler" -std=c++17 -Wall -Werror "${extra[@]}" client.cc -o by_pkg_config/cxx_client \
    "${options[@]}"
}

build_with_cmake() {
  quietly cmake -S . -B by_cmake -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_C_COMPILER="$c_compiler" -DCMAKE_CXX_COMPILER="$cxx_compiler" \
    -DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags"
  quietly cmake --build by_cmake
}

# run_client PROGRAM: in a private view.
run_client() {
  local said
  said=$("${emulator[@]}" "$1")
  [ "$said" = Kitchen ] || fail "$1 said \"$said\""
  echo "ok: $1"
}

# What the keys mean is a library of its own: clients of it as of the other, built and run.
check_keys_clients() (
  local client options said
  mkdir keys
  cd keys || exit
  cat >client.c <<'END_OF_CLIENT'
#include <capi-keys.h>
#include <stdio.h>

int main(void) {
  char sentence[CAPI_KEYS_SENTENCE];
  int result = capi_keys_check("sms", "option_sms_enable", "7", sentence, sizeof sentence);
  puts(sentence);
  return result == CAPI_KEY_NOT_ONE_OF ? 0 : 1;
}
END_OF_CLIENT
  cat >CMakeLists.txt <<'END_OF_LISTS'
cmake_minimum_required(VERSION 3.22)
project(client LANGUAGES C)
find_package(capi-keys 0.1 REQUIRED)
add_executable(c_client client.c)
target_link_libraries(c_client PRIVATE capi::keys)
END_OF_LISTS
  build_with_cmake
  options=$(options_for capi-keys)
  read -ra options <<<"$options"
  "$c_compiler" "${extra[@]}" client.c -o by_pkg_config "${options[@]}"
  for client in by_cmake/c_client ./by_pkg_config; do
    said=$("${emulator[@]}" "$client") || fail "$client fails"
    [ "$said" = '"7" is none of those that are allowed; allowed: 0 (off) or 1 (on)' ] ||
      fail "$client said \"$said\""
    echo "ok: keys/$client"
  done
)
