#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# inside_test.sh SOURCE-DIR [DIR]
#
# Checks that no room of src/ (or of DIR) calls what another room exports: the exported functions
# check, log and answer for strangers. Inside, a room's header says what it does for the others.
set -euo pipefail
source=$1
src=${2-$source/src}

# The exceptions, and why.
exceptions=(
  capi_fire_internal_event   # firing takes texts and gives nothing back: there is no other way
  capi_fire_internal_event2  # to do it inside than the public one
  capiv2_log_print           # what the logging macros stand for; it is its room's only function
)

# The functions that a file uses, or defines, without what comments and texts say.
names_in() {
  sed -e 's/"[^"]*"//g' -e 's#//.*##' "$1" | grep -oE '\bcapi(v2)?_[a-z0-9_]+\b' | sort -u
}

# The exported functions that a room defines: their definitions begin a line.
defined_in() {
  grep -hoE '^[a-z_][a-z0-9_ ]*[ *]+capi(v2)?_[a-z0-9_]+\(' "$1"/*.cc |
    grep -oE 'capi(v2)?_[a-z0-9_]+\($' | tr -d '(' | sort -u
}

exported=$(sed -n 's/^ *\(capi[a-z0-9_]*\);.*/\1/p' "$source/src/capi.map" | sort -u)
[ "$exported" ] || { echo 'FAILED: src/capi.map exports nothing'; exit 1; }

failures=0
fail() {
  echo "FAILED: $1"
  failures=$((failures + 1))
}

found=0
for room in "$src"/*/; do
  own=$(defined_in "$room" || true)
  foreign=$(comm -23 <(echo "$exported") <(printf '%s\n' "$own" "${exceptions[@]}" | sort -u))
  found=$((found + $(comm -12 <(echo "$exported") <(echo "$own") | wc -l)))
  for file in "$room"*.h "$room"*.cc; do
    [ -f "$file" ] || continue
    for name in $(comm -12 <(echo "$foreign") <(names_in "$file" || true)); do
      fail "${file#"$src"/} uses $name(), which is another room's for programs"
    done
  done
done
# Nearly all are defined in rooms; if few are found, the search above does not see them any more.
[ $((found * 10)) -ge $(($(wc -l <<<"$exported") * 9)) ] || fail "only $found definitions found"

if [ $# -eq 1 ]; then
  planted=$(mktemp -d)
  trap 'rm -rf "$planted"' EXIT
  cp -r "$src" "$planted"
  echo 'int planted() { return capi_voip_sms_init(); }' >>"$planted/src/call_log/api.cc"
  "$0" "$source" "$planted/src" >/dev/null && fail 'a call of another room goes unnoticed'
fi
[ $failures -eq 0 ]
