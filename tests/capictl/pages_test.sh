#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

"${tool[@]}" page bash >/tmp/completion

# completed WORD...: what is offered behind a command line.
capictl() { "${tool[@]}" "$@"; }
completed() {
  (
    source /tmp/completion
    COMP_WORDS=(capictl "$@")
    COMP_CWORD=$#
    _capictl
    echo "${COMPREPLY[*]}"
  )
}
is() { [ "$1" = "$2" ] || fail "offered \"$1\" instead of \"$2\""; }
is "$(completed config '')" 'get set load reset confirm cancel pending list describe schema dump save diff lint watch --help'
is "$(completed config w)" watch
is "$(completed config watch --)" '--help --interval --count'
is "$(completed monitor '')" '--help config device lines calls messages'
is "$(completed --json stack-file voip --d)" '--diff'
is "$(completed stack-file vo)" 'volte voip vowifi'
is "$(completed sms show r)" received
is "$(completed s)" 'status signal stack-file sms schema'
is "$(completed config set sip_line_2.a)" 'sip_line_2.auth_name sip_line_2.auth_password'
is "$(completed config get sms.sca sms.e)" sms.enable
is "$(completed config list call_f)" 'call_forward_1 call_forward_2'
is "$(completed calls list --t)" --type
is "$(completed schema file si)" ''

diff "$source_dir/docs/keys.md" <("${tool[@]}" page keys) ||
  fail 'docs/keys.md is stale: capictl page keys >docs/keys.md'

finish
