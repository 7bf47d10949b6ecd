#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# armhf_budget_test.sh LIBRARY
#
# Compares what the library costs on the device with what it may cost.
set -euo pipefail

library=$1
budget=$(dirname "$0")/armhf.budget
cross=arm-linux-gnueabihf-
stripped=$(mktemp)
trap 'rm -f "$stripped"' EXIT
"${cross}strip" -o "$stripped" "$library"

section_bytes() {
  "${cross}size" --format=sysv "$library" | awk -v name="$1" '$1 == name { print $2 }'
}

declare -A cost
cost[stripped_bytes]=$(stat --format=%s "$stripped")
# Each of these writes into a page of every process; the calls into the C library share theirs.
cost[data_relocations]=$("${cross}readelf" --relocs --wide "$library" | awk '
  /^Relocation section/ { counted = /\.rel\.dyn/ } counted && /R_ARM_/ { n++ } END { print n + 0 }')
# One entry is the C compiler's own.
cost[static_constructors]=$(($(section_bytes .init_array) / 4 - 1))
cost[writable_bytes]=$(($(section_bytes .data) + $(section_bytes .bss)))

failed=0
while read -r name limit; do
  verdict=ok
  [ "${cost[$name]}" -le "$limit" ] || verdict='TOO MUCH' failed=1
  printf '%-22s %8d of %8d  %s\n' "$name" "${cost[$name]}" "$limit" "$verdict"
done < <(grep -v '^#' "$budget")

needed=$("${cross}readelf" --dynamic "$library" | sed -n 's/.*NEEDED.*\[\(.*\)\]/\1/p' | sort | xargs)
echo "needs: $needed"
# The dynamic loader belongs to the C library.
for name in $needed; do
  case $name in
    libc.so.6 | ld-linux-armhf.so.3 | libcjson.so.1) ;;
    *) echo "the library must not need $name"; failed=1 ;;
  esac
done
exit $failed
