#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# headers_test.sh INCLUDE-DIR LANGUAGE STANDARD COMPILER...
#
# Compiles every public header alone, as strictly as a client may.
set -euo pipefail

include=$1 language=$2 standard=$3
shift 3
failures=0

for path in "$include"/capi.h "$include"/capi/*.h; do
  header=${path#"$include"/}
  # Twice, for its include guard.
  printf '#include <%s>\n#include <%s>\n' "$header" "$header" |
    "$@" -x "$language" -std="$standard" -Wall -Wextra -pedantic -Werror -fsyntax-only \
      -I "$include" - || { echo "FAILED: $header"; failures=$((failures + 1)); }
  # The portable layer stands apart, for it cannot meet <threads.h>.
  case $header in capi.h | capi/thread.h) continue ;; esac
  if ! grep -qx "#include \"$header\"" "$include/capi.h"; then
    echo "FAILED: capi.h does not include $header"
    failures=$((failures + 1))
  fi
done
[ $failures -eq 0 ]
