#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

set_up_device
started=$(date +%s)
start_adapter
device="device	model	QZX-200
device	hardware	V3
device	serial number	2604000123456
device	firmware	v2.4.1
device	IMEI	350000000000017
device	WAN MAC	0a:3f:7c:21:b0:04
device	WAN address	192.0.2.20
device	data directory	/tmp/data
sim	ICCID	8988211000000012345
sim	IMSI	001010123456789
sim	number	+15551230001
sim	carrier	38
sim	carrier file	/tmp/carrier_config/voip_TEST_XX.conf
sim	may be used	no"
locks='locks	0	CAPI_LOCK_CONF_SHM	free			0
locks	2	CAPI_LOCK_CALL_LOG	free			0
locks	10	CAPI_LOCK_VOP_RUN_INFO	free			0
locks	12	CAPI_LOCK_VOICE_REG_STAT	free			0
locks	18	CAPI_LOCK_VOICE_SMS	free			0'
# What the tool says of the adapter: the time and the numbers are other ones each time.
look_at_adapter() {
  local facts
  facts=$("${tool[@]}" status | grep '^adapter')
  since=$(sed -nE 's/^adapter\tsince\t([0-9-]{10}T[0-9:]{8}Z)$/\1/p' <<<"$facts")
  generation=$(sed -nE 's/^adapter\tgeneration\t([0-9]+)$/\1/p' <<<"$facts")
  [ "$since" ] && [ "$generation" ] || fail "the adapter is: $facts"
  adapter="adapter	state	published
adapter	since	$since
adapter	generation	$generation
adapter	replaced	0"
}
stores='stores	calls of type 0	0	sound
stores	calls of type 1	0	sound
stores	calls of type 2	0	sound
stores	received messages	0	sound
stores	sent messages	0	sound'

in_case 'Since when it is published, and how often it changed'
look_at_adapter
published=$since
[ "$(date -d "$since" +%s)" -ge $((started - 1)) ] || fail "it is published since $since"
[ "$(date -d "$since" +%s)" -le "$(date +%s)" ] || fail "it is published since $since"
before=$generation
expect 0 '' config set sms.sca +15550000001
look_at_adapter
[ $((generation - before)) -eq 2 ] || fail "a change took the generation from $before to $generation"
[ "$since" = "$published" ] || fail "a change published it again: $since"

in_case 'An adapter on which nothing happens yet'
expect 0 "$adapter
$device
lines	1	1	Frontdesk	15551230001	Unknown	0	0	0
lines	2	0	Fax	15551230002	Unknown	0	0	0
$stores
$locks" status
expect 0 $'lines\t2\t0\tFax\t15551230002\tUnknown\t0\t0\t0' line 2
expect_error 2 'capictl: LINE: Value 3 not in range 1 to 2. Help: capictl line --help' line 3

in_case 'An adapter with lines that are in use'
others lines
lines='lines	1	1	Frontdesk	15551230001	Off-hook	1	1	1
lines	2	0	Fax	15551230002	Unknown	0	0	0
registrations	1	2	voip	Registered	2001-09-09T01:46:40Z		
registrations	2	1	volte	Unregistered	2001-09-09T01:47:40Z	Server Rejected	403'
look_at_adapter
expect 0 "$adapter
$device
$lines
$stores
$locks" status
expect 0 "$lines" line
expect 0 '{
	"lines":	[{
			"line":	1,
			"enabled":	true,
			"name":	"Frontdesk",
			"user":	"15551230001",
			"phone":	"Off-hook",
			"off_hook":	true,
			"registered_stacks":	1,
			"voice_mail":	true
		}],
	"registrations":	[{
			"line":	1,
			"stack":	2,
			"type":	"voip",
			"status":	"Registered",
			"since":	"2001-09-09T01:46:40Z",
			"reason":	"",
			"detail":	""
		}]
}' --json line 1
expect_on_terminal 0 'lines
line  enabled  name  user         phone    hook  stacks  mail
   2  0        Fax   15551230002  Unknown  0          0  0

registrations
line  stack  type   status        since                 reason           detail
   2      1  volte  Unregistered  2001-09-09T01:47:40Z  Server Rejected  403' line 2

in_case 'Stores that hold something, one that is damaged and one that is gone. Looking leaves them so'
others calls
cp /quorbleconf/nv/sm_recv /tmp/sound
printf x >>/quorbleconf/nv/sm_recv
cp /quorbleconf/nv/sm_recv /tmp/damaged
mv /quorbleconf/nv/sm_send /tmp/sent
stores='	store	entries	state
calls of type 0	1	sound
calls of type 1	0	sound
calls of type 2	1	sound
received messages	0	unsound
sent messages		cannot be read'
look_at_adapter
expect 0 "$adapter
$device
$lines
$(sed '1d; s/^/stores\t/' <<<"$stores")
$locks" status
cmp /quorbleconf/nv/sm_recv /tmp/damaged || fail 'a look at the status changed a store'
[ -e /quorbleconf/nv/sm_recv.err ] && fail 'a look at the status set a store aside'
[ -e /quorbleconf/nv/sm_send ] && fail 'a look at the status made a store'
cp /tmp/sound /quorbleconf/nv/sm_recv
mv /tmp/sent /quorbleconf/nv/sm_send

look_at_adapter
expect_on_terminal 0 "adapter
state       published
since       $since
generation  $generation
replaced    0
"'
device
model           QZX-200
hardware        V3
serial number   2604000123456
firmware        v2.4.1
IMEI            350000000000017
WAN MAC         0a:3f:7c:21:b0:04
WAN address     192.0.2.20
data directory  /tmp/data

sim
ICCID         8988211000000012345
IMSI          001010123456789
number        +15551230001
carrier       38
carrier file  /tmp/carrier_config/voip_TEST_XX.conf
may be used   no

lines
line  enabled  name       user         phone     hook  stacks  mail
   1  1        Frontdesk  15551230001  Off-hook  1          1  1
   2  0        Fax        15551230002  Unknown   0          0  0

registrations
line  stack  type   status        since                 reason           detail
   1      2  voip   Registered    2001-09-09T01:46:40Z
   2      1  volte  Unregistered  2001-09-09T01:47:40Z  Server Rejected  403

stores
store              entries  state
calls of type 0          1  sound
calls of type 1          0  sound
calls of type 2          1  sound
received messages        0  sound
sent messages            0  sound

locks
id  lock                      state  holder  program  waiters
 0  CAPI_LOCK_CONF_SHM        free                          0
 2  CAPI_LOCK_CALL_LOG        free                          0
10  CAPI_LOCK_VOP_RUN_INFO    free                          0
12  CAPI_LOCK_VOICE_REG_STAT  free                          0
18  CAPI_LOCK_VOICE_SMS       free                          0' status

# The same as JSON.
json_lock() {
  printf '{\n\t\t\t"id":\t%s,\n\t\t\t"lock":\t"CAPI_LOCK_%s",\n\t\t\t"state":\t"free",
\t\t\t"holder":\tnull,\n\t\t\t"program":\t"",\n\t\t\t"waiters":\t0\n\t\t}' "$@"
}
json_store() {
  printf '{\n\t\t\t"store":\t"%s",\n\t\t\t"entries":\t%s,\n\t\t\t"state":\t"sound"\n\t\t}' "$@"
}
json_line() {
  printf '{\n\t\t\t"line":\t%s,\n\t\t\t"enabled":\t%s,\n\t\t\t"name":\t"%s",\n\t\t\t"user":\t"%s",
\t\t\t"phone":\t"%s",\n\t\t\t"off_hook":\t%s,\n\t\t\t"registered_stacks":\t%s,\n\t\t\t"voice_mail":\t%s\n\t\t}' "$@"
}
json_registration() {
  printf '{\n\t\t\t"line":\t%s,\n\t\t\t"stack":\t%s,\n\t\t\t"type":\t"%s",\n\t\t\t"status":\t"%s",
\t\t\t"since":\t"%s",\n\t\t\t"reason":\t"%s",\n\t\t\t"detail":\t"%s"\n\t\t}' "$@"
}
expect 0 '{
	"adapter":	{
		"state":	"published",
		"since":	"'"$since"'",
		"generation":	'"$generation"',
		"replaced":	0
	},
	"device":	{
		"model":	"QZX-200",
		"hardware":	"V3",
		"serial_number":	"2604000123456",
		"firmware":	"v2.4.1",
		"imei":	"350000000000017",
		"wan_mac":	"0a:3f:7c:21:b0:04",
		"wan_address":	"192.0.2.20",
		"data_directory":	"/tmp/data"
	},
	"sim":	{
		"iccid":	"8988211000000012345",
		"imsi":	"001010123456789",
		"number":	"+15551230001",
		"carrier":	38,
		"carrier_file":	"/tmp/carrier_config/voip_TEST_XX.conf",
		"may_be_used":	false
	},
	"lines":	['"$(json_line 1 true Frontdesk 15551230001 Off-hook true 1 true), $(
  json_line 2 false Fax 15551230002 Unknown false 0 false)"'],
	"registrations":	['"$(json_registration 1 2 voip Registered 2001-09-09T01:46:40Z '' ''), $(
  json_registration 2 1 volte Unregistered 2001-09-09T01:47:40Z 'Server Rejected' 403)"'],
	"stores":	['"$(json_store 'calls of type 0' 1), $(json_store 'calls of type 1' 0), $(
  json_store 'calls of type 2' 1), $(json_store 'received messages' 0), $(
  json_store 'sent messages' 0)"'],
	"locks":	['"$(json_lock 0 CONF_SHM), $(json_lock 2 CALL_LOG), $(
  json_lock 10 VOP_RUN_INFO), $(json_lock 12 VOICE_REG_STAT), $(json_lock 18 VOICE_SMS)"']
}' status --json

finish
