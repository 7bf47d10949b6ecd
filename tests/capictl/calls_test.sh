#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

start_adapter
expect 0 '' calls list
add_calls
anna=$'0\t0\t1\t15551230007\tAnna\t1000\t1005\t1065'
carl=$'1\t2\t1\t15551230008\t"B", Carl\t2000\t2005\t2065'
expect 0 "$carl
$anna" calls list
expect 0 "$anna" calls list --type 0
expect_error 2 $'--type: Value 3 not in range 0 to 2\nRun with --help for more information.' calls list --type 3

zeroes=$'PacketsSent\t0\nPacketsReceived\t0\nPacketsLost\t7\nPacketsDiscarded\t0\nBytesReceived\t0
BytesSent\t0\nRoundTripDelay\t0\nPayloadType\t0\nReceiveInterarrivalJitter\t0\nMinJitter\t0
MaxJitter\t0\nDecodelatency\t0'
expect 0 $'node\t0\nsequence\t0\ntype\t0\nline\t1\nstart\t1000\nconnect\t1005\nend\t1065\nname\tAnna\nnumber\t15551230007\n'"$zeroes" \
  calls show 0
expect_error 3 'capictl: there is no call in node 5. All calls: capictl calls list' calls show 5

csv='node,sequence,type,line,start,connect,end,name,number,PacketsSent,PacketsReceived,PacketsLost,PacketsDiscarded,BytesReceived,BytesSent,RoundTripDelay,PayloadType,ReceiveInterarrivalJitter,MinJitter,MaxJitter,Decodelatency
1,1,2,1,2000,2005,2065,"""B"", Carl","15551230008",0,0,7,0,0,0,0,0,0,0,0,0
0,0,0,1,1000,1005,1065,"Anna","15551230007",0,0,7,0,0,0,0,0,0,0,0,0'
expect 0 "$csv" calls export
expect 0 '' calls export --csv /tmp/calls.csv
[ "$(cat /tmp/calls.csv)" = "$csv" ] || fail 'the export is not what is printed'
expect_error 3 'capictl: /nowhere/calls.csv cannot be written' calls export /nowhere/calls.csv
expect_error 3 'capictl: /dev/full is not complete: is the disk full?' calls export /dev/full

# A check reads only, and tells where the damage is.
expect 0 '' calls check
expect 0 '' calls backup /tmp/copy
expect 0 '' calls check /tmp/copy
printf "\377\377" | dd of=/tmp/copy bs=1 seek=466 conv=notrunc status=none  # next of the first free node
cp /tmp/copy /tmp/damaged
expect 1 $'free nodes, forwards: step 2 leads to node 65535, which does not exist' calls check /tmp/copy
cmp /tmp/copy /tmp/damaged || fail 'the check changed the file'
printf x >>/tmp/copy
expect 1 'it has 62445 bytes instead of 62444' calls check /tmp/copy

expect_error 3 'capictl: the path goes to the shell as it is; choose one without blanks and such signs' \
  calls backup '/tmp/a b'
expect 0 '' calls delete 0
expect 0 "$carl" calls list
expect 0 '' calls clear --type 0
expect 0 "$carl" calls list
expect 0 '' calls clear
expect 0 '' calls list

finish
