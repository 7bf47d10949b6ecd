#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

start_adapter
expect 0 '' sms list sent
rm -f /tmp/posted_signals
expect 0 '' sms send +15551230002 $'On my way\n'
grep -q 'vop_sig_voip_sms_send_out' /tmp/posted_signals || fail 'nobody is asked to send it'
time=$("${tool[@]}" sms list sent | cut -f 4)
[[ $time =~ ^20[0-9]{2}-[0-9]{2}-[0-9]{2}T[0-9:]{8}Z$ ]] || fail "the time is $time"
expect 0 $'1\t0\t2\t'"$time"$'\t+15551230001\t+15551230002\t0\tOn my way\\n' sms list sent
expect 0 '' sms list received
expect 0 '' sms mark-read sent 1
read_flag=$("${tool[@]}" sms list sent | cut -f 2)
[ "$read_flag" = 1 ] || fail "the read flag is $read_flag"
show=$("${tool[@]}" sms show sent 1 | grep -v ed$'\t'20)
[ "$show" = $'id\t1\nstatus\t2\nread\t1\nIMSI\t001010123456789\nlocal number\t+15551230001\nremote number\t+15551230002\ntext type\t0\ntext\tOn my way\\n' ] ||
  fail "sms show: $show"
expect_error 3 'capictl: there is no sent message 2. All of them: capictl sms list sent' sms show sent 2
expect_error 2 'capictl: BOX is one of received, sent, not drafts. Help: capictl sms list --help' sms list drafts

expect 0 '[{
		"id":	1,
		"read":	true,
		"status":	2,
		"time":	"'"$time"'",
		"local":	"+15551230001",
		"remote":	"+15551230002",
		"text_type":	0,
		"text":	"On my way\n"
	}]' sms list sent --json
changed=$("${tool[@]}" sms show sent 1 | sed -n 's/^changed\t//p')
expect 0 '{
	"id":	1,
	"status":	2,
	"read":	true,
	"stored":	"'"$time"'",
	"changed":	"'"$changed"'",
	"imsi":	"001010123456789",
	"local_number":	"+15551230001",
	"remote_number":	"+15551230002",
	"text_type":	0,
	"text":	"On my way\n"
}' sms show sent 1 --json
expect_on_terminal 0 "id  read  status  time                  local         remote        type  text
 1  1          2  $time  +15551230001  +15551230002     0
    text: On my way\\n" sms list sent

in_case 'Texts that are too long, and bytes that are no text: what could steer a terminal is written out'
expect_error 4 'capictl: the number is too long: it has up to 23 characters' \
  sms send +12345678901234567890123 hi
expect_error 1 'capictl: the message was not stored: is there a SIM, and is the text at most 39100 bytes?' \
  sms send +15551230002 "$(printf %039101d 0)"
expect 0 '' sms send +15551230002 --type 3 $'\e[2J\xff\u009b\u00e4'
text=$("${tool[@]}" sms list sent | head -n 1 | cut -f 7-)
[ "$text" = $'3\t\\x1b[2J\\xff\\xc2\\x9b\u00e4' ] || fail "the text is shown as: $text"
"${tool[@]}" sms list sent --json | grep -qF $'"text":\t"\\u001b[2J\ufffd\u009b\u00e4"' ||
  fail 'the JSON is no UTF-8'

in_case 'What is no phone number is sent nothing'
before=$("${tool[@]}" sms list sent)
for number in '' 'abc def' '+' '1 2' '12+' $'1\n'; do
  "${tool[@]}" sms send "$number" hi 2>/tmp/refusal && fail "sent to '$number'"
  grep -q 'is no phone number: digits, \* and #, with a + in front or without$' /tmp/refusal ||
    fail "for '$number' it said: $(cat /tmp/refusal)"
done
[ "$("${tool[@]}" sms list sent)" = "$before" ] || fail 'a message was stored all the same'
expect 0 '' sms send '*100#' hi
expect 0 '' sms delete sent "$("${tool[@]}" sms list sent | head -n 1 | cut -f 1)"

expect 0 '' sms backup /tmp/copy
cmp /tmp/copy.send /quorbleconf/nv/sm_send || fail 'the copy of the sent messages is another file'
cmp /tmp/copy.recv /quorbleconf/nv/sm_recv || fail 'the copy of the received ones is another file'
expect 0 '' sms backup '/tmp/a b'
cmp '/tmp/a b.send' /quorbleconf/nv/sm_send || fail 'the copy of the sent messages is another file'
expect_error 1 'capictl: /nowhere/copy.recv cannot be written: No such file or directory' \
  sms backup /nowhere/copy

expect 0 '' sms delete sent 1
expect 0 '' sms delete sent 2
expect 0 '' sms list sent
expect_error 3 'capictl: there is no sent message 2. All of them: capictl sms list sent' \
  sms delete sent 2
expect_error 3 'capictl: there is no received message 1. All of them: capictl sms list received' \
  sms mark-read received 1
expect 0 '' sms send +15551230002 again
expect_error 4 'capictl: nobody can be asked whether to delete 1 sent message: --yes says so' sms clear sent </dev/null
expect 0 '' sms clear sent --yes
[ "$errors" = '1 sent message deleted' ] || fail "it said: $errors"
expect 0 '' sms list sent
expect 0 '' sms clear sent
[ "$errors" = '0 sent messages deleted' ] || fail "it said: $errors"

in_case 'The newest first, and those that are meant'
expect 0 '' sms send +15551230002 'On my way'
expect 0 '' sms send +15551230003 'At the WAY station'
expect 0 '' sms send +15551230002 'Here'
ids() { "${tool[@]}" sms list sent --fields id "$@" | tr '\n' ' '; }
first=$(ids | cut -d ' ' -f 3)
all="$((first + 2)) $((first + 1)) $first "
# ids_are EXPECTED ARG...
ids_are() {
  local expected=$1 actual
  shift
  actual=$(ids "$@")
  [ "$actual" = "$expected" ] || fail "sms list sent $* lists: $actual"
}
ids_are "$all"
ids_are "$first $((first + 1)) $((first + 2)) " --reverse
ids_are "$((first + 2)) " --limit 1
ids_are "$((first + 2)) $first " --number 15551230002
ids_are "$((first + 1)) $first " --text way
ids_are "$all" --since 1h
ids_are '' --since 2999-01-01 --reverse
expect 0 '' sms mark-read sent "$first"
ids_are "$((first + 2)) $((first + 1)) " --unread
expect 0 '{
	"deleted":	2
}' sms clear sent --unread --yes --json
ids_are "$first "

finish
