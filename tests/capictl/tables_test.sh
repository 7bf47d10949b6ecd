#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

start_adapter
others calls

in_case 'Through a pipe a row is a line of values with tabs between them, in which there are none'
expect 0 '' config set --force sip_line_1.display_name $'a\tb\nc'
expect 0 $'lines\t1\ta\\tb\\nc' line 1 --fields line,name

in_case 'The fields are those that are wanted, in that order, under their names when those are wanted'
expect 0 $'Anna\t0' calls list --type 0 --fields name,node
expect 0 $'name\tnode\nAnna\t0' calls list --type 0 --fields name,node --header
expect 0 '[{
		"name":	"Anna",
		"node":	0
	}]' calls list --type 0 --fields name,node --json
expect 0 $'number\t15551230007\nline\t1' calls show 0 --fields number,line
expect 0 '{
	"number":	"15551230007"
}' calls show 0 --fields number --json

in_case 'Of several tables those are shown that have the field'
others lines
expect 0 $'lines\t1\nlines\t2\nregistrations\t1\nregistrations\t2' line --fields line
expect 0 $'lines\t1\nlines\t2' line --fields lines.line
expect 0 $'adapter\tstate\tpublished' status --fields adapter.state
expect_error 2 'capictl: there is no field lines.stat. The fields: line, enabled, name, user, phone, off_hook, registered_stacks, voice_mail, line, stack, type, status, since, reason, detail' \
  line --fields lines.stat

in_case 'A table is one through a pipe, too, when it is asked for; and it has no header when that is asked for'
expect 0 'node  name
   0  Anna' calls list --type 0 --fields node,name --table
expect 0 '0  Anna' calls list --type 0 --fields node,name --table --no-header
expect_on_terminal 0 '0  Anna' calls list --type 0 --fields node,name --no-header

in_case 'Nothing is an empty list as JSON, no line through a pipe, and a sentence for people'
expect 0 '[]' calls list --type 1 --json
expect_error 0 '' calls list --type 1
expect_error 0 'no calls' calls list --type 1 --table
: >/tmp/empty
expect_on_terminal 0 'no calls' calls list --type 1
expect_on_terminal 0 'no messages' sms list sent
expect_on_terminal 0 'no findings' config lint /dev/null
expect_on_terminal 0 'no differences' config diff /tmp/empty
expect_on_terminal 0 'no faults' calls check

in_case 'On a terminal no value is cut and no line too wide'
for command in status line locks 'carrier list' 'signal list' carrier 'calls list' 'sms list sent' 'config list'; do
  read -ra words <<<"$command"
  COLUMNS=80 "${tool[@]}" "${words[@]}" --table 2>/tmp/errors | grep -E '^.{81}' &&
    fail "$command is too wide"
  [ -s /tmp/errors ] && [ "$(cat /tmp/errors)" != 'no messages' ] &&
    fail "$command says: $(cat /tmp/errors)"
done

in_case 'Columns that have no room are left out from the right, and that is told'
export COLUMNS=40
expect 0 'node  type  line  number       name
   1     2     1  15551230008  "B", Carl
   0     0     1  15551230007  Anna' calls list --table
[ "$errors" = 'capictl: no room for: start, connect, end. --fields chooses, --json has all' ] ||
  fail "it said: $errors"
export COLUMNS=80
others call 0 1 15551230007 1000000000
expect 0 'node  type  line  number       name  start                 connect
   2     0     1  15551230007        2001-09-09T01:46:40Z  2001-09-09T01:46:40Z' \
  calls list --table --limit 1
unset COLUMNS

in_case 'A long value has lines of its own, broken between words'
expect 0 '' sms send +15551230002 'What is long has lines of its own, and they end where a word ends, so that it can be read'
expect 0 '' sms send +15551230002 short
export COLUMNS=60
expect 0 'id  remote        text
 2  +15551230002  short
 1  +15551230002
    text: What is long has lines of its own, and they end
    where a word ends, so that it can be read' sms list sent --fields id,remote,text --table
unset COLUMNS

in_case 'Colours are for terminals that take them'
shown() { script --quiet --return --command "$(printf '%q ' "${tool[@]}") line" /dev/null </dev/null; }
bold=$'\e[1m'
[[ $(NO_COLOR='' TERM=xterm shown) == *"$bold"* ]] || fail 'there is nothing bold on a terminal'
[[ $(NO_COLOR=1 TERM=xterm shown) == *"$bold"* ]] && fail 'NO_COLOR is not honoured'
[[ $(NO_COLOR='' TERM=dumb shown) == *"$bold"* ]] && fail 'a dumb terminal gets something bold'
[[ $("${tool[@]}" line --table) == *"$bold"* ]] && fail 'a pipe gets something bold'

finish
