#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

start_adapter
expect 0 '' calls list
others calls
anna=$'0\t0\t1\t15551230007\tAnna\t1000\t1005\t1065'
carl=$'1\t2\t1\t15551230008\t"B", Carl\t2000\t2005\t2065'
expect 0 "$carl
$anna" calls list
expect 0 "$anna" calls list --type 0
expect_error 2 'capictl: --type: Value 3 not in range 0 to 2. Help: capictl calls list --help' calls list --type 3

expect_on_terminal 0 'node  type  line  number       name       start  connect  end
   1     2     1  15551230008  "B", Carl  2000   2005     2065
   0     0     1  15551230007  Anna       1000   1005     1065' calls list
expect 0 '[{
		"node":	0,
		"type":	0,
		"line":	1,
		"number":	"15551230007",
		"name":	"Anna",
		"start":	1000,
		"connect":	1005,
		"end":	1065
	}]' calls list --type 0 --json
expect 0 '[]' --json calls list --type 1

zeroes=$'PacketsSent\t0\nPacketsReceived\t0\nPacketsLost\t7\nPacketsDiscarded\t0\nBytesReceived\t0
BytesSent\t0\nRoundTripDelay\t0\nPayloadType\t0\nReceiveInterarrivalJitter\t0\nMinJitter\t0
MaxJitter\t0\nDecodelatency\t0'
expect 0 $'node\t0\nsequence\t0\ntype\t0\nline\t1\nstart\t1000\nconnect\t1005\nend\t1065\nname\tAnna\nnumber\t15551230007\n'"$zeroes" \
  calls show 0
expect 0 '{
	"node":	1,
	"sequence":	1,
	"type":	2,
	"line":	1,
	"start":	2000,
	"connect":	2005,
	"end":	2065,
	"name":	"\"B\", Carl",
	"number":	"15551230008",
	"packets_sent":	0,
	"packets_received":	0,
	"packets_lost":	7,
	"packets_discarded":	0,
	"bytes_received":	0,
	"bytes_sent":	0,
	"round_trip_delay":	0,
	"payload_type":	0,
	"receive_interarrival_jitter":	0,
	"min_jitter":	0,
	"max_jitter":	0,
	"decodelatency":	0
}' calls show 1 --json
expect_error 3 'capictl: there is no call in node 5. All calls: capictl calls list' calls show 5

csv='node,sequence,type,line,start,connect,end,name,number,PacketsSent,PacketsReceived,PacketsLost,PacketsDiscarded,BytesReceived,BytesSent,RoundTripDelay,PayloadType,ReceiveInterarrivalJitter,MinJitter,MaxJitter,Decodelatency
1,1,2,1,2000,2005,2065,"""B"", Carl","15551230008",0,0,7,0,0,0,0,0,0,0,0,0
0,0,0,1,1000,1005,1065,"Anna","15551230007",0,0,7,0,0,0,0,0,0,0,0,0'
expect 0 "$csv" calls export
expect 0 '' calls export --csv /tmp/calls.csv
[ "$(cat /tmp/calls.csv)" = "$csv" ] || fail 'the export is not what is printed'
[ -z "$errors" ] || fail "an export off the terminal said: $errors"
expect 0 "$(sed 2d <<<"$csv")" calls export --type 0
expect_on_terminal 0 $'\r1 of 2 calls\r2 of 2 calls' calls export /tmp/calls.csv
[ "$(cat /tmp/calls.csv)" = "$csv" ] || fail 'the export on a terminal is another one'
expect_error 1 'capictl: /nowhere/calls.csv cannot be written' calls export /nowhere/calls.csv
expect_error 1 'capictl: /dev/full is not complete: is the disk full?' calls export /dev/full

in_case 'A backup is a copy of the file, whatever its path, and there when the tool is done'
for copy in /tmp/copy '/tmp/a b' '/tmp/$(id)'; do
  expect 0 '' calls backup "$copy"
  cmp "$copy" /quorbleconf/nv/voip_call_log || fail "the copy $copy is another file"
done
expect_error 1 'capictl: /nowhere/copy cannot be written: No such file or directory' \
  calls backup /nowhere/copy
expect_error 1 'capictl: /dev/full cannot be written: No space left on device' calls backup /dev/full
ls /tmp/copy.new 2>/dev/null && fail 'a draft is left'

in_case 'Calls are deleted by node, by type, or all of them'
expect 0 '' calls delete 0
expect_error 3 'capictl: there is no call in node 0. All calls: capictl calls list' calls delete 0
expect_error 2 'capictl: NODE: Value 300 not in range 0 to 299. Help: capictl calls delete --help' calls delete 300
expect 0 "$carl" calls list
expect 0 '' calls clear --type 0
expect 0 "$carl" calls list
expect 0 '' calls clear
expect 0 '' calls list

finish
