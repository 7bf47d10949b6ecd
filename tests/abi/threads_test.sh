#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# threads_test.sh INCLUDE-DIR COMPILER...
#
# Sees what becomes of a source file that includes <threads.h> with a header of ours.
set -euo pipefail

include=$1
shift

fail() {
  echo "FAILED: $*"
  exit 1
}

# compile STANDARD LINE...: what the compiler says of a file of these lines.
compile() {
  local standard=$1
  shift
  printf '%s\n' "$@" | LC_ALL=C "${compiler[@]}" -x c -std="$standard" -fsyntax-only \
    -isystem "$include" - 2>&1
}

compiler=("$@")
threads='#include <threads.h>'
ours='#include <capi/thread.h>'
rest='#include <capi.h>'

for standard in c11 c17; do
  said=$(compile $standard "$threads" "$ours") && fail "$standard: ours behind theirs compiles"
  grep -q 'capi/thread.h cannot be included together with <threads.h>' <<<"$said" ||
    fail "$standard: ours behind theirs: $said"
  # Theirs knows nothing of ours; the names clash, and the compiler shows where.
  said=$(compile $standard "$ours" "$threads") && fail "$standard: theirs behind ours compiles"
  grep -q '<threads.h> cannot be included together with capi/thread.h' <<<"$said" ||
    fail "$standard: theirs behind ours: $said"

  said=$(compile $standard "$threads" "$rest") || fail "$standard: $said"
  grep -q 'warning: .*link -lc before -lcapi' <<<"$said" || fail "$standard: no warning: $said"
  said=$(compile $standard "$threads" '#define CAPI_WITH_C_THREADS' "$rest" "$rest") ||
    fail "$standard: $said"
  [ -z "$said" ] || fail "$standard: a program that knows is warned: $said"
  said=$(compile $standard "$rest" "$ours") || fail "$standard: $said"
  [ -z "$said" ] || fail "$standard: a program that takes ours is warned: $said"
done
