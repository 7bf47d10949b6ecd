#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# rooms_test.sh SOURCE-DIR [DIR]
#
# Checks that the rooms of src/ (or of DIR), and keys/ beside them, are those of the table in
# docs/architecture.md, and that each includes headers of itself and of the rooms above it only.
set -euo pipefail
source=$1
src=${2-$source/src}

mapfile -t rooms < <(sed -n 's/^| `\([a-z_]*\)\/` |.*/\1/p' "$source/docs/architecture.md")
[ ${#rooms[@]} -gt 0 ] || { echo 'FAILED: docs/architecture.md has no table of rooms'; exit 1; }

failures=0
fail() {
  echo "FAILED: $1"
  failures=$((failures + 1))
}

if ! difference=$(diff <(printf '%s\n' "${rooms[@]}" | sort) <({ echo keys && cd "$src" && ls -d */ | tr -d /; } | sort)); then
  fail "the rooms are not those of the table:"$'\n'"$difference"
fi

allowed=capi
for room in "${rooms[@]}"; do
  allowed+="|$room"
  folder=$src/$room
  [ "$room" != keys ] || folder=$source/keys
  # Public headers are included as "capi/x.h" and "capi-keys.h", those of a room as "room/x.h".
  wrong=$(grep -nE '^ *# *include "' -r "$folder" --include='*.h' --include='*.cc' |
    grep -vE "include \"(($allowed)/[a-z0-9_]+|capi-keys)\.h\"" || true)
  [ -z "$wrong" ] || fail "$room/ includes what is not above it:"$'\n'"$wrong"
done

if [ $# -eq 1 ]; then
  planted=$(mktemp -d)
  trap 'rm -rf "$planted"' EXIT
  cp -r "$src" "$planted"
  echo '#include "sms/store.h"' >>"$planted/src/foundation/text.h"
  "$0" "$source" "$planted/src" >/dev/null && fail 'an include that runs up goes unnoticed'
fi
[ $failures -eq 0 ]
