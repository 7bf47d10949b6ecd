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
expect_error 2 $'BOX: drafts not in {received,sent}\nRun with --help for more information.' sms list drafts

expect 0 '' sms backup /tmp/copy
expect 0 '' sms check sent
expect 0 '' sms check sent /tmp/copy.send
printf x >>/tmp/copy.send
cp /tmp/copy.send /tmp/damaged
expect 1 'at byte 180: stray bytes behind the last message' sms check sent /tmp/copy.send
truncate -s 170 /tmp/copy.send
expect 1 'its last message is cut' sms check sent /tmp/copy.send
truncate -s 10 /tmp/copy.send
expect 1 'it is shorter than its head of 56 bytes' sms check sent /tmp/copy.send
[ -e /tmp/copy.send.err ] && fail 'the check set the file aside'

expect 0 '' sms delete sent 1
expect 0 '' sms list sent
expect 0 '' sms send +15551230002 again
expect 0 '' sms clear sent
expect 0 '' sms list sent

finish
