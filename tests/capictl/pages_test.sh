#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

# The pages tell of every command and every long option that the help tells of.
"${tool[@]}" page man >/tmp/capictl.1
"${tool[@]}" page bash >/tmp/completion

# completed WORD...: what is offered behind a command line.
completed() {
  bash -c 'source /tmp/completion; COMP_WORDS=(capictl "$@"); COMP_CWORD=$#; _capictl
           echo "${COMPREPLY[*]}"' bash "$@"
}
is() { [ "$1" = "$2" ] || fail "offered \"$1\" instead of \"$2\""; }
is "$(completed config '')" 'get set list describe dump diff lint watch --help'
is "$(completed config w)" watch
is "$(completed config watch --)" '--help --interval --count'
is "$(completed --json stack-file voip --d)" '--diff'
is "$(completed s)" 'status signal stack-file sms schema'

for command in 'config watch' 'calls export' 'sms mark-read' 'carrier list' 'signal decode' master; do
  grep -qx "\.SS ${command//-/\\\\-}" /tmp/capictl.1 || fail "the manual lacks $command"
  "${tool[@]}" $command --help | grep -q 'Usage: capictl' || fail "$command has no help"
done
grep -qxF '.B \-\-interval' /tmp/capictl.1 || fail 'the manual lacks an option'
diff "$source_dir/docs/keys.md" <("${tool[@]}" page keys) ||
  fail 'docs/keys.md is stale: capictl page keys >docs/keys.md'
expect_error 2 $'A subcommand is required\nRun with --help for more information.'

finish
