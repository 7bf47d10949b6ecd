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
expect 0 '' calls clear --type 0 --yes
expect 0 "$carl" calls list
expect 0 '' calls clear --yes
[ "$errors" = '1 call deleted' ] || fail "it said: $errors"
expect 0 '' calls list
expect 0 '{
	"deleted":	0
}' calls clear --json

in_case 'Where nobody can be asked nothing is deleted without --yes'
others calls
expect_error 4 'capictl: nobody can be asked whether to delete 2 calls: --yes says so' calls clear </dev/null
[ "$("${tool[@]}" calls list | wc -l)" -eq 2 ] || fail 'calls were deleted'

# answered ANSWER ARG...: the tool on a terminal on which somebody types that, unseen: it may stand
# there before the question.
answered() {
  local answer=$1
  shift
  script --quiet --echo never --return --command "$(printf '%q ' "${tool[@]}" "$@")" /dev/null \
    <<<"$answer" | tr -d '\r'
}

in_case 'On a terminal it asks, and says how many went'
said=$(answered no calls clear --type 0)
[ "$said" = 'Really delete 1 call? [y/N] capictl: nothing was deleted' ] || fail "it said: $said"
[ "$("${tool[@]}" calls list | wc -l)" -eq 2 ] || fail 'calls were deleted'
said=$(answered y calls clear)
[ "$said" = 'Really delete 2 calls? [y/N] 2 calls deleted' ] || fail "it said: $said"
expect 0 '' calls list

in_case 'Only the calls that are meant: of a line, a number, since a time or for some time'
now=$(date +%s)
day=$((now - now % 86400))
iso() { date -u -d "@$1" +%Y-%m-%dT%H:%M:%SZ; }
others call 0 1 +15551230007 $((day - 5 * 86400))
others call 2 2 15551230008 $((day - 2 * 86400))
others call 2 1 15551230007 $((day - 2 * 86400 + 60))
others call 1 0 15551230009 $((now - 60))
others call 1 1 15551230009 7
five=$'0\t0\t1\t+15551230007\t\t'"$(iso $((day - 5 * 86400)))"
two=$'1\t2\t2\t15551230008\t\t'"$(iso $((day - 2 * 86400)))"
also=$'2\t2\t1\t15551230007\t\t'"$(iso $((day - 2 * 86400 + 60)))"
new=$'3\t1\t0\t15551230009\t\t'"$(iso $((now - 60)))"
odd=$'4\t1\t1\t15551230009\t\t7'
# listed EXPECTED ARG...: what is listed, but for the two later times.
listed() {
  local expected=$1 actual
  shift
  actual=$("${tool[@]}" calls list "$@" | cut -f 1-6) || fail "calls list $* ends with $?"
  [ "$actual" = "$expected" ] || fail "calls list $* lists: $actual"
}
listed "$odd"$'\n'"$new"$'\n'"$also"$'\n'"$two"$'\n'"$five"
listed "$five"$'\n'"$two"$'\n'"$also"$'\n'"$new"$'\n'"$odd" --reverse
listed "$odd"$'\n'"$new" --limit 2
listed "$new"$'\n'"$odd" --limit 2 --reverse
listed "$two" --line 2
listed "$new" --line 0
listed "$also"$'\n'"$five" --number +15551230007
listed "$new" --since 2h
listed "$new"$'\n'"$also"$'\n'"$two" --since 4d
listed "$new"$'\n'"$also"$'\n'"$two" --since "$(date -u -d "@$((day - 2 * 86400))" +%Y-%m-%d)"
listed "$new"$'\n'"$also" --since "$(iso $((day - 2 * 86400 + 1)))"
listed "$new"$'\n'"$also" --since "$(date -u -d "@$((day - 2 * 86400 + 60))" '+%Y-%m-%d %H:%M')"
for odd_time in yesterday 2026-13-01 2h3 h '' 99999999999d 2026-11-22T; do
  "${tool[@]}" calls list --since "$odd_time" >/dev/null 2>/tmp/errors
  code=$?
  [ -z "$odd_time" ] || [ $code -eq 2 ] || fail "--since '$odd_time' ends with $code"
done
expect_error 2 'capictl: "soon" is no time: it is written as 2026-11-22, 2026-11-22T08:30:00Z, 30m, 2h, 3d or 1w' \
  calls list --since soon

in_case 'The calls of each day, with bars where people look'
day_of() { date -u -d "@$1" +%Y-%m-%d; }
expect 0 "$(day_of $((now - 60)))	1	1	60
$(day_of $((day - 2 * 86400)))	2	2	120
$(day_of $((day - 5 * 86400)))	0	1	60
	1	1	0" calls stats
expect 0 "day         type  calls  seconds
$(day_of $((now - 60)))     1      1       60  ##########
$(day_of $((day - 2 * 86400)))     2      2      120  ####################
$(day_of $((day - 5 * 86400)))     0      1       60  ##########" calls stats --since 7d --table
expect 0 '[{
		"day":	null,
		"type":	1,
		"calls":	1,
		"seconds":	0
	}]' calls stats --line 1 --type 1 --json
expect 0 "$(day_of $((day - 2 * 86400)))	2	1	60" line history 2
coloured() { script --quiet --return --command "$(printf '%q ' "${tool[@]}") line history 2" /dev/null </dev/null; }
[[ $(NO_COLOR='' TERM=xterm coloured) == *$'\e[36m####################\e[0m'* ]] || fail 'the bars have no colour'
[[ $(NO_COLOR=1 TERM=xterm coloured) == *' ####################'* ]] || fail 'NO_COLOR is not honoured'

in_case 'Calls that are meant are deleted'
expect 0 '' calls clear --type 2 --number 15551230007 --yes
[ "$errors" = '1 call deleted' ] || fail "it said: $errors"
listed "$odd"$'\n'"$new"$'\n'"$two"$'\n'"$five"

finish
