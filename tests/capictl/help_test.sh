#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

in_case 'Every command, as the completion knows them, has help with an example, and a place in the manual'
"${tool[@]}" page bash >/tmp/completion
"${tool[@]}" page man >/tmp/capictl.1
mapfile -t commands < <(sed -n 's/^    "capictl \(.*\)") words=.*/\1/p' /tmp/completion)
[ ${#commands[@]} -eq 37 ] || fail "there are ${#commands[@]} commands"
for command in '' "${commands[@]}"; do
  read -ra words <<<"$command"
  help=$("${tool[@]}" "${words[@]}" --help 2>&1) || fail "$command --help ends with $?"
  [[ $help == *'Usage: capictl'* ]] || fail "$command --help is: $help"
  [[ $help =~ $'\n'Examples?:$'\n  capictl '"$command" ]] || fail "$command has no example"
  [ -z "$command" ] || grep -qx "\.SS ${command//-/\\\\-}" /tmp/capictl.1 ||
    fail "the manual lacks $command"
  while read -r option; do
    grep -qxF ".B ${option//-/\\-}" /tmp/capictl.1 || fail "the manual lacks $option of $command"
  done < <(sed -n 's/^  [-h, ]*\(--[a-z-]*\).*/\1/p' <<<"$help" | grep -v '^--help$')
done

in_case 'The exit codes are documented, and what every command takes'
"${tool[@]}" --help | grep -q '^Exit codes: 0 done, 1 something was found' || fail 'no exit codes'
grep -q '^Exit codes: 0 done, 1 something was found' /tmp/capictl.1 || fail 'none in the manual'
expect 0 "$(sed -n 's/^project(capi VERSION \([0-9.]*\).*/\1/p' "$source_dir/CMakeLists.txt")" --version
if command -v groff >/dev/null; then
  groff -man -ww -Tutf8 /tmp/capictl.1 2>&1 >/dev/null | grep . && fail 'the manual is no good roff'
fi

in_case 'A wrong command line is told of, and where help is'
expect_error 2 $'A subcommand is required\nRun with --help for more information.'
expect_error 2 $'A subcommand is required\nRun with --help for more information.' config
expect_error 2 $'The following argument was not expected: nothing\nRun with --help for more information.' nothing
expect_error 2 $'The following argument was not expected: --nothing\nRun with --help for more information.' status --nothing

finish
