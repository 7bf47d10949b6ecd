#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

start_adapter

# A dump loads back to the same values.
expect 0 "$("${tool[@]}" config dump)" config dump
"${tool[@]}" config dump >/tmp/dump.settings
"${tool[@]}" config list >/tmp/before
expect 0 '' config diff /tmp/dump.settings
expect 0 '' config lint /tmp/dump.settings
expect 0 '' master --force --settings /tmp/dump.settings
expect 0 "$(cat /tmp/before)" config list

# A value that a setting file cannot hold is told of.
expect 0 '' config set sip_line_1.display_name 'Front desk'
"${tool[@]}" config dump >/tmp/dump.settings 2>/tmp/errors && fail 'the dump is not whole'
[ "$(cat /tmp/errors)" = 'capictl: the value of sip_line_1.display_name holds blanks, "#" or ";" and is not in the dump' ] ||
  fail "$(cat /tmp/errors)"
grep -qx '# option_sip_line_display_name cannot be kept in a setting file: Front desk' \
  /tmp/dump.settings || fail 'the dump does not tell what it lacks'

# What a file would change, a later line before an earlier one.
printf '[sms]\noption_sms_sca=1\noption_sms_sca=+15550000001\noption_sms_enable=0x\n' >/tmp/a.settings
expect 1 $'sms.enable\t1\t0' config diff /tmp/a.settings
expect 0 '+15550000001' config get sms.sca
expect_error 3 'capictl: /tmp/none cannot be opened for reading and writing, as setting files must be' \
  config diff /tmp/none

# The voice stack's file.
expect 0 /tmp/vosip.conf.voip stack-file voip
expect 0 '' config set basic_sip.local_port 5070
expect 1 $'- [SIP] local_udp_tcp_port=5060\n+ [SIP] local_udp_tcp_port=5070' stack-file voip --diff
expect 0 '' stack-file voip --diff
expect 0 "$(cat /tmp/vosip.conf.voip)" stack-file voip --print
expect_error 2 $'TYPE: foo not in {volte,voip,vowifi,cs,qvc,sos,generic}\nRun with --help for more information.' \
  stack-file foo

# A schema document.
cat >/tmp/schema.json <<'END'
{"sip": {"expires": {"type": "int", "value": "", "default_value": "60", "is_changed": 0,
                     "min_value": 1, "max_value": 9}}}
END
expect 0 $'sip\texpires\tint\t60\t60\t0\t1..9' schema /tmp/schema.json
expect 0 '' schema /tmp/schema.json sip expires 5
expect 0 $'sip\texpires\tint\t5\t60\t1\t1..9' schema /tmp/schema.json sip
expect_error 3 'capictl: there is no sip port in /tmp/schema.json' schema /tmp/schema.json sip port
echo '{' >/tmp/broken.json
expect_error 3 'capictl: /tmp/broken.json is not JSON' schema /tmp/broken.json

finish
