#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

start_adapter

in_case 'A dump loads back to the same record, in an adapter that has never seen another file'
expect 0 '' config set call_redirection.dst_number_10 55512
"${tool[@]}" config dump --show-secrets >/tmp/dump.settings || fail 'the dump is not whole'
"${tool[@]}" config list --show-secrets >/tmp/before
expect 0 '' config diff /tmp/dump.settings
"${tool[@]}" config lint /tmp/dump.settings | grep -v "is read from the device's own files, and not meant to be set\$" &&
  fail 'the dump has faults'
ipcrm --all
rm -r /tmp/info.* /tmp/voice.cfg.default /tmp/data /quorbleconf/nv
expect 0 '' master --settings /tmp/dump.settings
expect 0 "$(cat /tmp/before)" config list --show-secrets
expect 0 "$(cat /tmp/dump.settings)" config dump --show-secrets
head -n 6 /tmp/dump.settings | diff - <(echo '[voice_switch]
option_voice_switch_mode=1

[voice_access]
option_voice_access_mode=2
') || fail 'the dump begins otherwise'

in_case 'A dump of a record in which every key has a value loads back, too'
sed 's/^option_sip_server_\(.*_port\)=0$/option_sip_server_\1=1/' \
  "$source_dir/tests/data/all_keys.settings" >/tmp/all.settings
expect 0 '' master --force --settings /tmp/all.settings
"${tool[@]}" config list --show-secrets >/tmp/before
"${tool[@]}" config dump --show-secrets >/tmp/dump.settings || fail 'the dump is not whole'
expect 0 '' config diff /tmp/dump.settings
ipcrm --all
expect 0 '' master --settings /tmp/dump.settings
expect 0 "$(cat /tmp/before)" config list --show-secrets
expect 0 "$(cat /tmp/dump.settings)" config dump --show-secrets

in_case 'Values that a setting file cannot hold are told of'
ipcrm --all
start_adapter
expect 0 '' config set sip_line_1.display_name 'Front desk' --force
expect 0 '' config set sip_server_1.proxy_port 0
"${tool[@]}" config dump --show-secrets >/tmp/dump.settings 2>/tmp/errors
[ $? -eq 1 ] || fail 'the exit code hides that the dump is not whole'
diff /tmp/errors - <<'END' || fail 'the dump said so'
capictl: the value of sip_line_1.display_name is not in the dump: it holds blanks, "#" or ";"
capictl: the value of sip_server_1.proxy_port is not in the dump: it would be read as 5060
END
grep -qx '# option_sip_line_display_name cannot be kept in a setting file: Front desk' \
  /tmp/dump.settings || fail 'the dump does not tell what it lacks'

in_case 'A dump without secrets leaves them as they are'
ipcrm --all
start_adapter
"${tool[@]}" config dump >/tmp/dump.settings || fail 'the dump is not whole'
grep -qx '# option_sip_line_auth_password=(set)' /tmp/dump.settings || fail 'it says nothing of them'
expect 0 '' config set sip_line_1.auth_password other sip_line_1.display_name other
expect 1 $'sip_line_1.display_name\tother\tFrontdesk' config diff /tmp/dump.settings
expect 0 '' config load /tmp/dump.settings
expect 0 $'sip_line_1.auth_password\tother\nsip_line_1.display_name\tFrontdesk' \
  config get sip_line_1.auth_password sip_line_1.display_name --show-secrets
printf '[sip_line_1]\noption_sip_line_auth_password=another\n' >/tmp/a.settings
expect 1 $'sip_line_1.auth_password\t(set)\t(set)' config diff /tmp/a.settings

in_case 'What is saved outlives a restart, passwords too, and nobody else reads it'
umask 022
"${tool[@]}" config list --show-secrets >/tmp/before
expect 0 '' config save /tmp/my.settings
[ "$(stat -c %a /tmp/my.settings)" = 600 ] || fail "the file has mode $(stat -c %a /tmp/my.settings)"
grep -qx 'option_sip_line_auth_password=other' /tmp/my.settings || fail 'a password is not saved'
grep -q 'hw_info\|option_sms_enable=0' /tmp/my.settings && fail "what comes by itself is saved"
ipcrm --all
expect 0 '' master --settings /tmp/my.settings
expect 0 "$(cat /tmp/before)" config list --show-secrets
expect 0 '' config save --all /tmp/all.settings
[ "$(grep -c ^option_ /tmp/all.settings)" -gt "$(grep -c ^option_ /tmp/my.settings)" ] || fail 'not all is saved'

in_case 'What a setting file cannot hold is told of before anything is written'
expect 0 '' config set sip_line_1.display_name 'Front desk' --force
cp /tmp/my.settings /tmp/my.before
expect 4 '' config save /tmp/my.settings
[[ $errors == 'capictl: the value of sip_line_1.display_name is not in the file: it holds blanks, "#" or ";"
capictl: nothing was saved, because of sip_line_1.display_name: it holds blanks, "#" or ";"; --force saves the rest, and a document has room for all: capictl config list --json --show-secrets' ]] ||
  fail "said: $errors"
cmp /tmp/my.settings /tmp/my.before || fail 'the file is another'
expect 0 '' config save /tmp/my.settings --force
grep -qx '# option_sip_line_display_name cannot be kept in a setting file: Front desk' /tmp/my.settings ||
  fail 'the file does not tell what it lacks'
expect 1 '' config save /nowhere/my.settings --force
expect 2 '' config save
mkdir -p /etc/capi/settings.d
expect 0 '' config save --local --force
cmp /tmp/my.settings /etc/capi/settings.d/local.settings || fail 'the local settings are others'

in_case 'Bytes that are no UTF-8 are kept as they are'
expect 0 '' config set sip_line_1.display_name $'Caf\xe9'
expect 0 '' config save /tmp/my.settings
grep -qax $'option_sip_line_display_name=Caf\xe9' /tmp/my.settings || fail 'they are not in the file'
"${tool[@]}" config dump | grep -qax $'option_sip_line_display_name=Caf\xe9' || fail 'nor in the dump'
expect 0 '' config set sip_line_1.display_name 'Front desk' --force

in_case 'A file is loaded whole or not at all, and so is a document'
printf '[sip_line_1]\noption_sip_line_display_name=Hall\noption_sip_line_enable=7\n' >/tmp/a.settings
expect 4 '' config load /tmp/a.settings
[[ $errors == 'capictl: /tmp/a.settings:3: option_sip_line_enable: "7" is none of those that are allowed; allowed: 0 (off) or 1 (on)
capictl: nothing was set; --force sets what a master would take' ]] || fail "said: $errors"
expect 4 '' --json config load /tmp/a.settings
[ "$errors" = '{"error":{"code":"refused","message":"/tmp/a.settings:3: option_sip_line_enable: \"7\" is none of those that are allowed; allowed: 0 (off) or 1 (on); nothing was set; --force sets what a master would take"}}' ] ||
  fail "said: $errors"
expect 0 'Front desk' config get sip_line_1.display_name
expect 0 '' config load --force /tmp/a.settings
expect 0 $'sip_line_1.display_name\tHall\nsip_line_1.enable\t7' \
  config get sip_line_1.display_name sip_line_1.enable
echo '{"sip_line_1": {"display_name": "Attic", "enable": 1, "auth_password": "(set)"}}' >/tmp/a.json
expect 0 $'sip_line_1.display_name\tHall\tAttic\nsip_line_1.enable\t7\t1' config load --dry-run /tmp/a.json
expect 0 'Hall' config get sip_line_1.display_name
expect 0 '' config load /tmp/a.json
expect 0 $'sip_line_1.display_name\tAttic\nsip_line_1.auth_password\tother' \
  config get sip_line_1.display_name sip_line_1.auth_password --show-secrets
echo '{"sip_line_1": {"display_name": "Porch", "auth_password": {"set": true}}}' >/tmp/a.json
expect 0 '' config load /tmp/a.json
expect 0 $'sip_line_1.display_name\tPorch\nsip_line_1.auth_password\tother' \
  config get sip_line_1.display_name sip_line_1.auth_password --show-secrets
"${tool[@]}" --json config list --show-secrets >/tmp/whole.json
expect 0 '' config reset sip_line_1 basic_sip
expect 0 '' config load /tmp/whole.json
"${tool[@]}" --json config list --show-secrets | cmp - /tmp/whole.json || fail 'it is not what it was'
for text in '{"sip_line_1": {' '{"sip_line_1": {"enable": }}' '{"sip_line_1": {"display_name": "a\u0000b"}}'; do
  printf '%s' "$text" >/tmp/a.json
  expect 1 '' config load /tmp/a.json
done

in_case 'What a file would change, a later line before an earlier one'
printf '[sms]\noption_sms_sca=1\noption_sms_sca=+15550000001\noption_sms_enable=0x\n' >/tmp/a.settings
expect 1 $'sms.enable\t1\t0' config diff /tmp/a.settings
expect 1 '[{
		"key":	"sms.enable",
		"now":	"1",
		"file":	"0"
	}]' config diff /tmp/a.settings --json
expect_on_terminal 1 'key         now  file
sms.enable  1    0' config diff /tmp/a.settings
expect 0 '+15550000001' config get sms.sca
expect 0 '1' config get sms.enable
expect_error 3 'capictl: /tmp/none cannot be read: No such file or directory' config diff /tmp/none

finish
