#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# symbols_test.sh SOURCE-DIR LIBRARY NM
#
# Compares what libcapi-keys exports with its map and with what its header declares.
set -euo pipefail
export LC_ALL=C

source=$1 library=$2 nm=$3
failures=0

compare() { # WHAT LIST OTHER-LIST
  [ "$2" = "$3" ] && echo "ok: $1" && return
  echo "FAILED: $1"
  diff <(echo "$2") <(echo "$3") || true
  failures=$((failures + 1))
}

exported=$("$nm" --dynamic --defined-only "$library" |
  awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' | sort)
mapped=$(sed -n 's/^ *\([a-z_]*\);$/\1/p' "$source/keys/capi-keys.map")
declared=$(sed '/^typedef/d' "$source/keys/include/capi-keys.h" |
  grep -oE '^[a-z].*\bcapi_keys_[a-z_]+\(' | grep -oE 'capi_keys_[a-z_]+' | sort)
compare 'the map is in order' "$mapped" "$(sort <<<"$mapped")"
compare 'the library exports what the map lists' "$exported" "$mapped"
compare 'the header declares what the map lists' "$declared" "$mapped"
[ $failures -eq 0 ]
