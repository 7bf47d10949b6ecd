#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# registered_test.sh SOURCE-DIR
#
# Checks that every test is built and run: a file that nobody names is never missed.
set -euo pipefail
cd "$1/tests"

failures=0
while IFS= read -r -d '' file; do
  list=$(dirname "$file")/CMakeLists.txt
  if ! grep -qw -- "$(basename "$file")" "$list"; then
    echo "FAILED: $list does not name $file"
    failures=$((failures + 1))
  fi
done < <(find . -name '*_test.cc' -print0)
[ $failures -eq 0 ]
