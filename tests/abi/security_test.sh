#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# security_test.sh SOURCE-DIR [PAGE]
#
# Checks that every test that docs/security.md (or PAGE) names exists, and that each row of its
# tables names one.
set -euo pipefail
cd "$1"
page=${2-docs/security.md}

failures=0
fail() {
  echo "FAILED: $1"
  failures=$((failures + 1))
}

# Test cases as "Suite.Name", or "Suite.test_name" of a Python test, scripts and fuzz targets by
# their paths.
# shellcheck disable=SC2016
mapfile -t names < <(grep -oE '`([A-Za-z]+\.([A-Z][A-Za-z0-9]+|test_[a-z_]+)|(tests|script)/[a-z_/]+(\.sh|\.cc|\.py)?)`' "$page" |
  tr -d '`' | sort -u)
[ ${#names[@]} -ge 20 ] || fail 'next to no test is named'
# As "class Suite(" and "def test_name(", each once in its file.
has_python_test() {
  local file
  while read -r file; do
    grep -qE "^    def ${1#*.}\(" "$file" && return
  done < <(grep -rlE "^class ${1%.*}\(" tests --include='*_test.py')
  return 1
}
all_tests=$(find tests -name '*_test.cc' -exec cat {} + | tr '\n' ' ')
for name in "${names[@]}"; do
  case $name in
    */*) [ -e "$name" ] || fail "there is no $name" ;;
    *.test_*) has_python_test "$name" || fail "there is no test $name" ;;
    *)
      grep -qE "TEST(_F|_P)?\( *${name%.*}, *${name#*.} *\)" <<<"$all_tests" ||
        fail "there is no test $name"
      ;;
  esac
done

# A claim without a test says so.
claims=$(grep -E '^\| ' "$page" | grep -vE '^\| (claim|who) \|')
while IFS= read -r row; do
  grep -qE '`([A-Za-z]+\.([A-Z]|test_)|tests/|script/)|\| none:' <<<"$row" || fail "no test is named in: $row"
done <<<"$claims"

if [ $# -eq 1 ]; then
  planted=$(mktemp)
  trap 'rm -f "$planted"' EXIT
  for name in EventTest.NobodyWroteThisOne Commands.test_nobody_wrote_this_one tests/mqtt/no_test.py; do
    { cat "$page"; echo "| a claim | \`$name\` |"; } >"$planted"
    "$0" "$1" "$planted" >/dev/null && fail "a test that does not exist goes unnoticed: $name"
  done
  { cat "$page"; echo '| a claim | |'; } >"$planted"
  "$0" "$1" "$planted" >/dev/null && fail 'a claim without a test goes unnoticed'
fi
[ $failures -eq 0 ]
