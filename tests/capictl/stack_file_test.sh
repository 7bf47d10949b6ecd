#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

start_adapter
while read -r type path; do
  "${tool[@]}" stack-file "$type" --print >/tmp/shown || fail "$type cannot be shown"
  [ -e "$path" ] && fail "showing $type wrote $path"
  expect 0 "$path" stack-file "$type"
  cmp /tmp/shown "$path" || fail "$path is not what was shown"
  expect 0 '' stack-file "$type" --diff
done <<'END'
volte /tmp/vosip.conf.volte
voip /tmp/vosip.conf.voip
vowifi /tmp/vosip.conf.vowifi
cs /tmp/vosip.conf.cs
qvc /tmp/vosip.conf.qvc
sos /tmp/vosip.conf.sos
generic /tmp/vosip.conf
END

in_case 'A terminal shows a password only when it is told to, and a comparison as well'
expect 0 '' config set sip_line_1.auth_password hunter2
"${tool[@]}" stack-file voip --print | grep -qx 'password=hunter2' || fail 'the file is not what is written'
"${tool[@]}" stack-file voip --print --table | grep -q 'hunter2' && fail 'the terminal shows it'
"${tool[@]}" stack-file voip --print --table | grep -qx 'password=(set)' || fail 'the terminal does not tell'
"${tool[@]}" stack-file voip --print --table --show-secrets | grep -qx 'password=hunter2' || fail 'it is not shown'
expect 1 $'-\tLINE1_SUBSCRIBER\tpassword=(set)\n+\tLINE1_SUBSCRIBER\tpassword=(set)' stack-file voip --diff
expect 1 $'-\tLINE1_SUBSCRIBER\tpassword=tulip-47\n+\tLINE1_SUBSCRIBER\tpassword=hunter2' \
  stack-file voip --diff --show-secrets
expect 0 /tmp/vosip.conf.voip stack-file voip

in_case 'What a change would do to a file, before it is written'
cp /tmp/vosip.conf.voip /tmp/before
expect 0 '' config set basic_sip.local_port 5070
expect 0 '' config set --force sip_line_2.display_name 'Fax; 2nd floor'
expect 1 '-	LINE2_SUBSCRIBER	displayname=Fax
-	SIP	local_udp_tcp_port=5060
+	LINE2_SUBSCRIBER	displayname=Fax; 2nd floor
+	SIP	local_udp_tcp_port=5070' stack-file voip --diff
cmp /tmp/vosip.conf.voip /tmp/before || fail 'the comparison wrote the file'
expect 1 '[{
		"change":	"-",
		"section":	"SIP",
		"line":	"local_udp_tcp_port=5060"
	}, {
		"change":	"+",
		"section":	"SIP",
		"line":	"local_udp_tcp_port=5070"
	}]' stack-file cs --diff --json
expect_on_terminal 1 'change  section  line
-       SIP      local_udp_tcp_port=5060
+       SIP      local_udp_tcp_port=5070' stack-file cs --diff
expect 0 /tmp/vosip.conf.voip stack-file voip
expect 0 '' stack-file voip --diff

expect_error 2 'capictl: TYPE is one of volte, voip, vowifi, cs, qvc, sos, generic, not foo. Help: capictl stack-file --help' \
  stack-file foo
expect_error 2 'capictl: --print excludes --diff. Help: capictl stack-file --help' stack-file voip --print --diff
rm /tmp/vosip.conf.cs
mkdir /tmp/vosip.conf.cs
expect_error 1 'capictl: /tmp/vosip.conf.cs cannot be written; --print shows what it would be' \
  stack-file cs

finish
