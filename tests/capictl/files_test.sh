#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

start_adapter

in_case 'A dump loads back to the same record, in an adapter that has never seen another file'
expect 0 '' config set call_redirection.dst_number_10 55512
"${tool[@]}" config dump >/tmp/dump.settings || fail 'the dump is not whole'
"${tool[@]}" config list >/tmp/before
expect 0 '' config diff /tmp/dump.settings
expect 0 '' config lint /tmp/dump.settings
ipcrm --all
rm -r /tmp/info.* /tmp/voice.cfg.default /tmp/data /quorbleconf/nv
expect 0 '' master --settings /tmp/dump.settings
expect 0 "$(cat /tmp/before)" config list
expect 0 "$(cat /tmp/dump.settings)" config dump
head -n 6 /tmp/dump.settings | diff - <(echo '[voice_switch]
option_voice_switch_mode=1

[voice_access]
option_voice_access_mode=2
') || fail 'the dump begins otherwise'

in_case 'A dump of a record in which every key has a value loads back, too'
sed 's/^option_sip_server_\(.*_port\)=0$/option_sip_server_\1=1/' \
  "$source_dir/tests/data/all_keys.settings" >/tmp/all.settings
expect 0 '' master --force --settings /tmp/all.settings
"${tool[@]}" config list >/tmp/before
"${tool[@]}" config dump >/tmp/dump.settings || fail 'the dump is not whole'
expect 0 '' config diff /tmp/dump.settings
ipcrm --all
expect 0 '' master --settings /tmp/dump.settings
expect 0 "$(cat /tmp/before)" config list
expect 0 "$(cat /tmp/dump.settings)" config dump

in_case 'Values that a setting file cannot hold are told of'
ipcrm --all
start_adapter
expect 0 '' config set sip_line_1.display_name 'Front desk'
expect 0 '' config set sip_server_1.proxy_port 0
"${tool[@]}" config dump >/tmp/dump.settings 2>/tmp/errors
[ $? -eq 1 ] || fail 'the exit code hides that the dump is not whole'
diff /tmp/errors - <<'END' || fail 'the dump said so'
capictl: the value of sip_line_1.display_name is not in the dump: it holds blanks, "#" or ";"
capictl: the value of sip_server_1.proxy_port is not in the dump: no port: read as 5060
END
grep -qx '# option_sip_line_display_name cannot be kept in a setting file: Front desk' \
  /tmp/dump.settings || fail 'the dump does not tell what it lacks'

in_case 'What a file would change, a later line before an earlier one'
printf '[sms]\noption_sms_sca=1\noption_sms_sca=+15550000001\noption_sms_enable=0x\n' >/tmp/a.settings
expect 1 $'sms.enable\t1\t0' config diff /tmp/a.settings
expect 1 '[{
		"key":	"sms.enable",
		"now":	"1",
		"in_the_file":	"0"
	}]' config diff /tmp/a.settings --json
expect_on_terminal 1 'key         now  in the file
sms.enable  1    0' config diff /tmp/a.settings
expect 0 '+15550000001' config get sms.sca
expect 0 '1' config get sms.enable
expect_error 1 'capictl: /tmp/none cannot be opened for reading and writing, as setting files must be' \
  config diff /tmp/none

finish
