#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

# The examples on one adapter, one after another.
start_adapter
example() {
  local name=$1 expected=$2 actual
  shift 2
  actual=$("${tool[@]:0:${#tool[@]}-1}" "$(dirname "$add_calls")/../../examples/example_$name" "$@") ||
    fail "the example $name ends with $?"
  [ "$actual" = "$expected" ] || fail "the example $name said: $actual"
}
example monitor $'line 1: Unregistered, Unknown\nline 2: Unregistered, Unknown' 1
example web_front_end 'line 1 is Kitchen now' 1 Kitchen
expect 0 Kitchen config get sip_line_1.display_name
example voice_application 'told of the registration and of a call'
example monitor $'line 1: Registered, On-hook\nline 2: Unregistered, Unknown' 1
[ "$("${tool[@]}" calls list | cut -f 4)" = 15551230009 ] || fail 'the call is not in the log'

finish
