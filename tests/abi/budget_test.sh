#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# budget_test.sh file LIBRARY TOOL-PREFIX
# budget_test.sh memory CLIENT CLIENT-WITHOUT-LIBRARY
#
# Compares what the library costs with what it may cost: as a file for the device, or as memory of
# a process that uses it. The latter needs a private view.
set -euo pipefail

budget=$(dirname "$0")/budget
declare -A cost

section_bytes() {
  "${tools}size" --format=sysv "$library" | awk -v name="$1" '$1 == name { print $2 }'
}

measure_file() {
  library=$1 tools=$2
  stripped=$(mktemp)
  trap 'rm -f "$stripped"' EXIT
  "${tools}strip" -o "$stripped" "$library"
  cost[stripped_bytes]=$(stat --format=%s "$stripped")
  # The file grows by a page at a time: the second segment's relocated part ends at the end of one.
  # 27 pages for both, 110,592 bytes, and what is not loaded make 112,052 bytes; the 28th page would
  # be beyond what the file may have. So these bytes tell how much room there is.
  cost[loaded_bytes]=0
  local bytes
  for bytes in $("${tools}readelf" --segments --wide "$library" | awk '$1 == "LOAD" { print $5 }'); do
    cost[loaded_bytes]=$((cost[loaded_bytes] + bytes))
  done
  # Each of these writes into a page of every process; the calls into the C library share theirs.
  cost[data_relocations]=$("${tools}readelf" --relocs --wide "$library" | awk '
    /^Relocation section/ { counted = /\.rel\.dyn/ } counted && /R_ARM_/ { n++ } END { print n + 0 }')
  # One entry is the C compiler's own.
  cost[static_constructors]=$(($(section_bytes .init_array) / 4 - 1))
  cost[writable_bytes]=$(($(section_bytes .data) + $(section_bytes .bss)))
  echo "needs: $("${tools}readelf" --dynamic "$library" | sed -n 's/.*NEEDED.*\[\(.*\)\]/\1/p' | xargs)"
}

# Next to a master: what both have touched in the segment belongs to neither of them.
measure_memory() {
  local client=$1 without=$2 with_kib without_kib
  touch /tmp/m_data /usr/sbin/vsdk_cmd
  coproc MASTER { exec "$client" master; }
  read -r _ <&"${MASTER[0]}"
  with_kib=$("$client" client)
  without_kib=$("$without" client)
  echo "private dirty memory: $with_kib KiB, without the library $without_kib KiB"
  cost[private_dirty_kib]=$((with_kib - without_kib))
}

what=$1
shift
"measure_$what" "$@"

failed=0
while read -r name limit; do
  [ "${cost[$name]-}" ] || continue
  verdict=ok
  [ "${cost[$name]}" -le "$limit" ] || verdict='TOO MUCH' failed=1
  printf '%-22s %8d of %8d  %s\n' "$name" "${cost[$name]}" "$limit" "$verdict"
done < <(grep -v '^#' "$budget")
exit $failed
