#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# complete_test.sh SOURCE-DIR C++-COMPILER...
#
# Checks that the rows of what keys mean compile only when they are those of the keys: a row that is
# missing, too many, twice, of another name or of the wrong kind stops the compiler.
set -euo pipefail
source=$1
shift
compiler=("$@")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir "$scratch/keys"
failures=0

compiles() { # SED-SCRIPT
  cp "$source"/keys/*.h "$scratch/keys"
  sed -E -i "$1" "$scratch/keys/key_rows.h"
  "${compiler[@]}" -std=c++20 -fsyntax-only -I "$scratch" -I "$source/keys/include" \
    -I "$source/include" -I "$source/src" "$source/keys/key_table.cc" 2>"$scratch/log"
}

refused() { # WHAT SED-SCRIPT MESSAGE
  if compiles "$2"; then
    echo "FAILED: $1 compiles"
  elif ! grep -q -- "$3" "$scratch/log"; then
    echo "FAILED: $1 is refused for another reason"
    head -20 "$scratch/log"
  elif cmp -s "$source/keys/key_rows.h" "$scratch/keys/key_rows.h"; then
    echo "FAILED: $1 changes nothing"
  else
    echo "ok: $1 does not compile"
    return
  fi
  failures=$((failures + 1))
}

compiles '' || { echo 'FAILED: the rows as they are do not compile'; cat "$scratch/log"; exit 1; }
row='key\("runtime_info", "device_name", kAnyText, "Name of the device."\),'
refused 'a key without a row' "/$row/d" 'a key has no row, or a row no key'
refused 'a row twice' "s/$row/&\n&/" 'a key has no row, or a row no key'
refused 'a row without a key' "s/$row/&\nkey(\"sms\", \"new\", kAnyText, \"A.\"),/" \
  'a key has no row, or a row no key'
refused 'a row of another name' 's/"device_name"/"device_nam"/' a_key_has_no_row_or_a_row_no_key
refused 'a row of another section' 's/"sms", "sca"/"sip", "sca"/' a_key_has_no_row_or_a_row_no_key
refused 'a text that is a number' 's/"device_name", kAnyText/"device_name", kPort/' \
  a_row_takes_texts_where_the_key_takes_numbers_or_the_other_way_round
refused 'a row that says nothing' 's/"Name of the device."/""/' a_row_has_no_sentence
refused 'a start value that is not allowed' 's/start\("5060"\)/start("99999")/' \
  a_start_value_is_not_allowed
[ $failures -eq 0 ]
