#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"
source "$(dirname "$0")/waiting.sh"

# example CODE OUTPUT NAME [ARG...]: under an emulator the tool comes last on its command line.
examples=$(dirname "$others")/../../examples
emulator=("${tool[@]:0:${#tool[@]}-1}")
example() {
  local code=$1 output=$2 name=$3 actual status=0
  shift 3
  actual=$("${emulator[@]}" "$examples/example_$name" "$@" 2>/tmp/errors) || status=$?
  if [ $status -ne "$code" ] || [ "$actual" != "$output" ]; then
    fail "the example $name $*: exit code $status instead of $code, and: $actual"
    cat /tmp/errors
  fi
}

in_case 'Without an adapter each example says so'
example 1 '' monitor 1
example 1 '' web_front_end 1 Kitchen
example 2 '' web_front_end

in_case 'On an adapter they work one after the other'
start_adapter
example 0 $'line 1: Unregistered, Unknown\nline 2: Unregistered, Unknown' monitor 1
example 0 'line 1 is Kitchen now' web_front_end 1 Kitchen
expect 0 Kitchen config get sip_line_1.display_name
grep -qx 'displayname=Kitchen' /tmp/vosip.conf.voip || fail 'the voice stack was not told'
example 1 '' web_front_end 3 Kitchen

in_case 'A password that is set and read does not stand in the log, other values do'
example 0 'option_sip_line_auth_password has 9 characters' \
  quiet_log sip_line_2 option_sip_line_auth_password hunter2ff
grep -q 'hunter2ff' /tmp/errors && fail "it does: $(cat /tmp/errors)"
example 0 'option_sip_line_user_name has 9 characters' quiet_log sip_line_2 option_sip_line_user_name visible77
[ "$(grep -c 'visible77' /tmp/errors)" -eq 2 ] || fail "the log lacks others: $(cat /tmp/errors)"
"${tool[@]}" --json config list --long | tr -d '\n\t' | sed 's/},{/\n/g' | grep '"secret":true' |
  grep -v '"name":"[^"]*password"' && fail 'a secret has another name than the example knows'

in_case 'The daemon sleeps while no line changes, tells of a change, and stops when it is told to'
"${emulator[@]}" "$examples/example_monitor" >/tmp/watched 2>/dev/null &
monitor=$!
told() { until [ "$(wc -l </tmp/watched)" -ge "$1" ]; do sleep 0.1; done; }
told 2
sleeps_while $monitor others settings 300000
example 0 $'line 0 on stack 1: registered\ntold of the registration and of a call' voice_application
# It may have looked between the two changes, too.
until grep -qx 'line 1: Registered, On-hook' /tmp/watched; do :; done
kill -TERM $monitor
wait $monitor || fail "the daemon ends with $?"
tail -n +3 /tmp/watched | grep -vE '^line 1: (Registered, (Unknown|On-hook)|Unregistered, On-hook)$' &&
  fail "the daemon said: $(cat /tmp/watched)"
[ "$(tail -n 1 /tmp/watched)" = 'line 1: Registered, On-hook' ] || fail 'it ends with something old'
[ "$("${tool[@]}" calls list --fields line,number)" = $'1\t15551230009' ] ||
  fail 'the call is not in the log, or of another line'

finish
