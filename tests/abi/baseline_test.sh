#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# baseline_test.sh SOURCE-DIR
#
# Checks that the baselines of the interface say everything, nothing of the machine they were made
# on, and that a change would be noticed. The comparison itself is "script/abi check".
set -euo pipefail
export LC_ALL=C

source=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
failures=0

fail() {
  echo "FAILED: $*"
  failures=$((failures + 1))
}

# All functions, and all records and enumerations that the headers have.
for map in src/capi.map keys/capi-keys.map; do
  baseline=$source/tests/abi/baseline/lib$(basename "$map" .map).abi
  while read -r name; do
    grep -q "<function-decl name='$name'" "$baseline" || fail "no baseline has $name()"
  done < <(sed -n '/local:/q; s/^ *\([A-Za-z0-9_]*\);$/\1/p' "$source/$map")
done
while read -r name; do
  grep -Eq "<(class|enum)-decl name='$name' .*id=" "$source"/tests/abi/baseline/*.abi || fail "no baseline has $name"
done < <(sed -nE 's/^(typedef )?(struct|enum) ([a-z0-9_]+) \{.*/\3/p' "$source"/include/capi/*.h "$source/keys/include/capi-keys.h")
grep -ohE "(path|name)='/[^']*'" "$source"/tests/abi/baseline/*.abi && fail 'a baseline has a path of a machine'

# A library of two functions beside what types.cc has, made with headers in which "$1" was done.
describe() { # NAME SED-SCRIPT
  cp -r "$source/include" "$scratch/$1"
  cp "$source/keys/include/capi-keys.h" "$scratch/$1"
  sed -i -E "$2" "$scratch/$1"/capi/*.h "$scratch/$1/capi-keys.h"
  { cat "$source/tests/abi/baseline/types.cc"
    echo 'extern "C" __attribute__((visibility("default")))'
    echo 'int capi_set_voice_basic(const capi_voice_basic*) { return 0; }'
    echo 'extern "C" __attribute__((visibility("default")))'
    echo 'int capi_keys_find(const char*, const char*, capi_key_meaning*) { return 0; }'; } >"$scratch/$1.cc"
  # The headers' own assertions would stop most of these changes already.
  g++ -std=c++17 -g -shared -fPIC '-Dstatic_assert(condition, text)=' -I "$scratch/$1" \
    -o "$scratch/$1.so" "$scratch/$1.cc"
  "$source/script/abi" describe "$scratch/$1.so" >"$scratch/$1.abi"
}

describe as_is ''
"$source/script/abi" compare "$scratch/as_is.abi" "$scratch/as_is.abi" || fail 'nothing is a change'

notices() { # WHAT SED-SCRIPT
  describe changed "$2"
  if "$source/script/abi" compare "$scratch/as_is.abi" "$scratch/changed.abi" >"$scratch/log"; then
    fail "$1 goes unnoticed"
  else
    echo "ok: notices $1"
  fi
  rm -r "$scratch/changed"
}
notices 'a member that changes its place' \
  's/session_timer_expires;/SWAP;/; s/session_timer_min_se;/session_timer_expires;/; s/SWAP/session_timer_min_se/'
notices 'a text of another size' 's/char user_agent\[64\]/char user_agent[65]/'
notices 'a member of another sign' 's/int32_t session_timer_expires;/uint32_t session_timer_expires;/'
notices 'a record behind a void pointer' 's/char cellid\[32\]/char cellid[33]/'
notices 'a number with another meaning' 's/CAPI_HW_IMEI = 9/CAPI_HW_IMEI = 12/'
notices 'a number more' 's/CAPI_HW_LAN_MAC = 11/CAPI_HW_LAN_MAC = 11, CAPI_HW_MORE = 12/'
notices 'what a key means with a member more' 's/(int32_t is_secret;)/\1 int32_t is_more;/'
notices 'a result with another meaning' 's/CAPI_KEY_TOO_LONG = 8/CAPI_KEY_TOO_LONG = 12/'
notices 'a limit' 's/CAPI_SMS_MAX_MESSAGES = 200/CAPI_SMS_MAX_MESSAGES = 201/'
[ $failures -eq 0 ]
