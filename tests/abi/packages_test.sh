#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# packages_test.sh BUILD-DIR C-COMPILER C++-COMPILER FLAGS
#
# Makes the Debian packages, unpacks them into an empty root and builds clients of what is there.
# FLAGS is one argument: what the compilers need besides.
set -euo pipefail

build=$1 cc=$2 cxx=$3
read -ra flags <<<"$4"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cpack -G DEB --config "$build/CPackConfig.cmake" -B "$scratch/packages" >"$scratch/log" 2>&1 ||
  { cat "$scratch/log"; exit 1; }
root=$scratch/root
mkdir "$root"
for package in "$scratch"/packages/*.deb; do
  echo "ok: ${package##*/} needs $(dpkg-deb --field "$package" Depends)"
  dpkg-deb --extract "$package" "$root"
done

for file in libcapi.so.0 libcapi.so capi.pc capiConfig.cmake capi.h config.h copyright; do
  [ "$(find "$root/usr" -name "$file")" ] || { echo "FAILED: no package has $file"; exit 1; }
done

# The library's own package has no development files.
dpkg-deb --contents "$scratch"/packages/libcapi0_*.deb | grep -E '\.h$|libcapi\.so ->' &&
  { echo 'FAILED: development files are in the library'; exit 1; }

cd "$scratch"
printf '#include <capi.h>\nint main(void) { return capi_lock(); }\n' >client.c
cp client.c client.cc
PKG_CONFIG_PATH=$(dirname "$(find "$root" -name capi.pc)")
export PKG_CONFIG_PATH
read -ra installed <<<"$(pkg-config --cflags --libs capi)"
"$cc" -std=c99 "${flags[@]}" client.c -o c_client "${installed[@]}"
"$cxx" -std=c++17 "${flags[@]}" client.cc -o cxx_client "${installed[@]}"
echo 'ok: a C and a C++ client'
