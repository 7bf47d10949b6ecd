#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# install_test.sh BUILD-DIR C-COMPILER FLAGS
#
# Installs the library and builds a client of what is installed, through pkg-config and through
# find_package. FLAGS is one argument: what the compiler needs besides.
set -euo pipefail

build=$1 cc=$2 flags=$3
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"

cmake --install "$build" --prefix "$scratch/usr" >install.log
printf '#include <capi.h>\nint main(void) { return capi_lock(); }\n' >client.c

PKG_CONFIG_PATH=$(dirname "$(find "$scratch/usr" -name capi.pc)")
export PKG_CONFIG_PATH
read -ra installed <<<"$(pkg-config --cflags --libs capi)"
read -ra extra <<<"$flags"
"$cc" -std=c99 "${extra[@]}" client.c -o by_pkg_config "${installed[@]}"
echo 'ok: pkg-config'

cat >CMakeLists.txt <<'END'
cmake_minimum_required(VERSION 3.22)
project(client LANGUAGES C)
find_package(capi 0.1 REQUIRED)
add_executable(client client.c)
target_link_libraries(client PRIVATE capi::capi)
END
cmake -S . -B by_cmake -G Ninja -DCMAKE_C_COMPILER="$cc" -DCMAKE_C_FLAGS="$flags" \
  -DCMAKE_PREFIX_PATH="$scratch/usr" >cmake.log
cmake --build by_cmake >cmake.log || { cat cmake.log; exit 1; }
echo 'ok: find_package'
