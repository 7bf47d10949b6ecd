#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

# put OFFSET BYTES FILE: overwrites a part of a file. BYTES is for printf.
put() { printf "$2" | dd of="$3" bs=1 seek="$1" conv=notrunc status=none; }

in_case 'Files that are sound, with something in each list'
start_adapter
others calls
"${tool[@]}" sms send +15551230002 'first'
"${tool[@]}" sms send +15551230002 'second'
calls=/quorbleconf/nv/voip_call_log
sent=/quorbleconf/nv/sm_send
cp $calls /tmp/calls
cp $sent /tmp/sent
expect 0 '' calls check
expect 0 '' sms check sent
expect 0 '' sms check received
expect 0 '' calls check /tmp/calls
expect 0 '[]' sms check sent /tmp/sent --json
expect_on_terminal 0 'no faults' calls check

# calls_faults EXPECTED: what the check finds in /tmp/a, of which it changes nothing.
calls_faults() {
  cp /tmp/a /tmp/b
  expect 1 "$1" calls check /tmp/a
  cmp /tmp/a /tmp/b || fail 'the check changed the file'
  cp /tmp/calls /tmp/a
}
refused=$'\tevery use fails; the master\'s next start begins an empty file'
later=$'\tis used; the master\'s next start begins an empty file'
unseen=$'\tis not noticed'
cp /tmp/calls /tmp/a
truncate -s 62443 /tmp/a
calls_faults "it has 62443 bytes instead of 62444$refused"
printf x >>/tmp/a
calls_faults "it has 62445 bytes instead of 62444$later"
put 12 '\145' /tmp/a
calls_faults "it does not begin as a call log of this version$later"
put 18 '\0' /tmp/a
calls_faults "it does not begin as a call log of this version$later"
put 0 '\55\1' /tmp/a
calls_faults "all calls: counts 301, more than 300$refused
the calls of the types make 2 instead of 301$unseen
calls and free nodes make 599 instead of 300$unseen"
put 20 '\145' /tmp/a
calls_faults "calls of type 0: counts 101, more than 100$refused
the calls of the types make 102 instead of 2$unseen"
put $((44 + 208 * 2 + 6)) '\377\377' /tmp/a # next of the first free node
calls_faults "free nodes, forwards: step 2 leads to node 65535, which does not exist$refused"
put 2 '\7' /tmp/a # the oldest call is another node, which leads nowhere
calls_faults "all calls, forwards: step 2 leads to node 65535, which does not exist$refused
all calls, backwards: does not come to its end, but at node 0$unseen"
put $((44 + 156)) '\0\0' /tmp/a # behind the first call comes itself
calls_faults "all calls, forwards: does not come to its end, but at node 0$unseen"
put $((44 + 208 + 156)) '\0\0' /tmp/a # behind the last call the first
calls_faults "all calls, forwards: goes on behind its end, at node 1$refused"
put 6 '\51\1' /tmp/a # a free node less
calls_faults "free nodes, forwards: does not come to its end, but at node 298$unseen
free nodes, backwards: does not come to its end, but at node 3$unseen
calls and free nodes make 299 instead of 300$unseen"
put 4 '\0' /tmp/a # the newest call is the first
calls_faults "all calls, forwards: meets its end too early, at node 0$refused
all calls, backwards: meets its end too early, at node 0$refused"
printf x >>/tmp/a
expect 1 '[{
		"fault":	"it has 62445 bytes instead of 62444",
		"the_library":	"is used; the master'\''s next start begins an empty file"
	}]' calls check /tmp/a --json

sms_faults() {
  cp /tmp/a /tmp/b
  expect 1 "$1" sms check sent /tmp/a
  cmp /tmp/a /tmp/b || fail 'the check changed the file'
  [ -e /tmp/a.err ] && fail 'the check set the file aside'
  cp /tmp/sent /tmp/a
}
# Two messages of 8 + 104 bytes and their texts with two zero bytes, behind a header of 56 bytes.
first=56
second=$((56 + 112 + 7))
end=$(stat --format=%s /tmp/sent)
[ "$end" -eq $((second + 112 + 8)) ] || fail "the file of sent messages has $end bytes"
refused=$'\tthe next use copies the file to its name with .err and begins an empty one'
later=$'\tis used; the master\'s next start copies it to its name with .err and begins an empty one'
cp /tmp/sent /tmp/a
: >/tmp/a
sms_faults "it is shorter than its header of 56 bytes$refused"
put 0 '\2' /tmp/a
sms_faults "it is of version 2 instead of 1$refused"
put 4 '\311' /tmp/a
sms_faults "it counts 201 messages, more than 200$refused"
put 4 '\1' /tmp/a
sms_faults "it counts 1 messages and holds 2$refused"
put $second 'X' /tmp/a
sms_faults "at byte $second: no message begins here$refused"
put $((first + 4)) '\1' /tmp/a
sms_faults "at byte $first: the message's length does not suit its text$refused"
truncate -s $((end - 1)) /tmp/a
sms_faults "at byte $second: the message is cut$refused"
printf 'TSMS' >>/tmp/a
sms_faults "at byte $end: stray bytes behind the last message$refused"
put $((first + 4)) '\3\0\0\0' /tmp/a # a length and a size whose sum runs over to the same
put $((first + 8 + 96)) '\233\377\377\377' /tmp/a
sms_faults "at byte $first: the message's length does not suit its text$refused"
put $((second + 8)) '\1' /tmp/a
sms_faults "at byte $second: id 1 does not rise above the one before$unseen"
put 16 '\1' /tmp/a
sms_faults "at byte $second: id 2 will be given again$unseen"
head -c 81865 /dev/zero >>/tmp/a
expect 1 "it has 82160 bytes, more than 81920$later
at byte $end: no message begins here$refused" sms check sent /tmp/a

in_case 'A list of a damaged file fails and says where it went'
printf x >$sent
expect_error 1 'capictl: the messages cannot be read. If their file was damaged, there is an empty one now, and a copy whose name ends in .err' \
  sms list sent
expect 0 '' sms list sent
printf x >$calls
expect_error 1 'capictl: the call log cannot be read. What is wrong with it: capictl calls check' calls list
rm $calls
expect_error 3 "capictl: $calls cannot be read; the master's start makes it" calls check

finish
