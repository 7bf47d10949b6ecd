#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

set_up_device
rm /tmp/m_data
expect_error 3 "capictl: there are no locks: the adapter's master has not been started on this device" locks
start_adapter
free=$'0\tCAPI_LOCK_CONF_SHM\tfree\t\t\t0
2\tCAPI_LOCK_CALL_LOG\tfree\t\t\t0
10\tCAPI_LOCK_VOP_RUN_INFO\tfree\t\t\t0
12\tCAPI_LOCK_VOICE_REG_STAT\tfree\t\t\t0
18\tCAPI_LOCK_VOICE_SMS\tfree\t\t\t0'
expect 0 "$free" locks
expect 0 $'lines\t2\t0\tFax\t15551230002\tUnknown\t0\t0\t0' line 2
expect_error 2 $'LINE: Value 3 not in range 1 to 2\nRun with --help for more information.' line 3
status="device	model	QZX-200
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
sim	may be used	no
lines	1	1	Frontdesk	15551230001	Unknown	0	0	0
lines	2	0	Fax	15551230002	Unknown	0	0	0
stores	calls of type 0	0	sound
stores	calls of type 1	0	sound
stores	calls of type 2	0	sound
stores	received messages	0	sound
stores	sent messages	0	sound
$(sed 's/^/locks\t/' <<<"$free")"
expect 0 "$status" status

finish
