#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# close_on_exec_test.sh SOURCE-DIR
#
# Checks that the library opens nothing that a program would inherit which another thread of its
# process starts: each call that makes a descriptor says so where it stands.
set -euo pipefail
cd "$1"

calls='\<(fopen|freopen|popen|open|openat|creat|mkstemp|pipe2?|socket|accept4?|dup[23]?)\('
sources=$(find src -name "*.cc" -o -name "*.h")

# shellcheck disable=SC2086
open_calls=$(grep -nE "$calls" $sources | grep -vE '^[^ ]*: *//')
[ "$open_calls" ]
failures=$(grep -vE 'O_CLOEXEC|SOCK_CLOEXEC|p?open\([a-z]+, "r?b?e"\)|fopen\(path, closing_mode\)' \
  <<<"$open_calls" || true)
[ -z "$failures" ] || echo "FAILED: these are inherited:"$'\n'"$failures"
[ -z "$failures" ]
