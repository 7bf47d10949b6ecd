#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

# error TEXT LINE..., warning TEXT LINE...: the one finding in a file of these lines, on the last.
error() { finding error "$@"; }
warning() { finding warning "$@"; }
finding() {
  local severity=$1 text=$2
  shift 2
  printf '%s\n' "$@" >/tmp/a.settings
  expect 1 $'/tmp/a.settings\t'"$#"$'\t'"$severity"$'\t'"$text" config lint /tmp/a.settings
}

sound() {
  printf '%s\n' "$@" >/tmp/a.settings
  expect 0 '' config lint /tmp/a.settings
}

line='[sip_line_1]'
sound '# a comment' '' '; another' "$line" 'option_sip_line_enable = 1' ' option_sip_line_user_name=a '
sound "$line" $'option_sip_line_enable = 1\r' 'option_sip_line_user_name=a ; of the kitchen' 'option_sip_line_clir_enable=0 # off'
sound '[call_block]' 'option_call_block_entry_3=5' '[voice_parameter]' 'option_voice_parameter_name_12=a'

in_case 'Lines that are ignored or read otherwise'
error 'there is no section "nope": all its lines are ignored' '[nope]'
error 'there is no section "sip_line_3": they are numbered from 1 to 2: all its lines are ignored' '[sip_line_3]'
error 'section "sip_line_1" has no key "option_x": ignored' "$line" 'option_x=1'
error 'section "sip_line_1" has no key "enable"; it is spelled option_sip_line_enable: ignored' "$line" 'enable=1'
error 'section "sip_line_1" has no key "option_sms_enable"; that is one of section "sms": ignored' "$line" 'option_sms_enable=1'
error 'section "voice_parameter" has no key "option_voice_parameter_name_13": they are numbered from 1 to 12: ignored' \
  '[voice_parameter]' 'option_voice_parameter_name_13=a'
error 'the blanks in the value of option_sip_line_display_name vanish' "$line" 'option_sip_line_display_name=Front desk'
warning 'the blanks in the key vanish' "$line" 'option_sip_line_ enable=1'
warning 'the blanks in the section vanish' '[sip _line_1]'
warning 'what stands behind the "]" is ignored' '[sip_line_1] the kitchen'
error '"#" ends the value: what follows is ignored' "$line" 'option_sip_line_display_name=a#b'
error '";" ends the value: what follows is ignored' "$line" 'option_sip_line_display_name=a;b'
error '"#" cuts the line in front of its "=": ignored' "$line" 'option # = 3'
error 'neither [SECTION] nor KEY=VALUE: ignored' "$line" 'option_sip_line_enable'
error 'no key in front of "=": ignored' "$line" '=1'
warning 'option_sip_line_user_name has no value: ignored' "$line" 'option_sip_line_user_name='
error 'option_sip_line_enable stands in front of the first section: ignored' 'option_sip_line_enable=1'
error 'longer than 2046 characters: taken in pieces' "$(printf 'a=%02100d' 0)"
error 'a byte order mark stands in front of the line, which is ignored for it' $'\xef\xbb\xbf[sip_line_1]'
printf '[sip_line_1]\noption_sip_line_enable=1\0x\n' >/tmp/a.settings
expect 1 $'/tmp/a.settings\t2\terror\ta NUL character ends the line: what follows is ignored' \
  config lint /tmp/a.settings

in_case 'Values that are not right'
error 'option_sip_line_enable: "on" is not a number; allowed: 0 (off) or 1 (on)' "$line" 'option_sip_line_enable=on'
error 'option_sip_line_enable: "7" is none of those that are allowed; allowed: 0 (off) or 1 (on)' \
  "$line" 'option_sip_line_enable=7'
error 'option_voice_parameter_count: "13" is out of range; allowed: 0 to 12' \
  '[voice_parameter]' 'option_voice_parameter_count=13'
warning 'option_sip_server_proxy_port: 0 is read as 5060' '[sip_server_2]' 'option_sip_server_proxy_port=0'
error 'option_sms_sca: 32 bytes are too many: 31 are kept' '[sms]' "option_sms_sca=$(printf %032d 0)"
warning 'option_basic_sip_country: the quotes become a part of the value' '[basic_sip]' 'option_basic_sip_country="US"'

in_case 'Keys that are set twice, are spelled oddly or belong to the device'
warning 'option_sms_enable is set in line 2 as well, which is without effect' \
  '[sms]' 'option_sms_enable=0' 'option_sms_enable=1'
sound '[sip_line_1]' 'option_sip_line_enable=1' '[sip_line_2]' 'option_sip_line_enable=1'
warning '"option_call_block_enrty_3" is taken for "option_call_block_entry_3", which is how to write it' \
  '[call_block]' 'option_call_block_enrty_3=5'
warning "option_runtime_info_wan_ip is read from the device's own files, and not meant to be set" \
  '[runtime_info]' 'option_runtime_info_wan_ip=192.0.2.1'

in_case 'A password is not shown'
printf '[sip_line_1]\noption_sip_line_auth_password=hunter 2 %0300d\n' 0 >/tmp/a.settings
"${tool[@]}" config lint /tmp/a.settings | grep -q hunter && fail 'it is'

in_case 'Of a file of some hundred lines every mistake is found, and nothing else'
mistakes=$source_dir/tests/data/mistakes.settings
"${tool[@]}" config lint "$mistakes" | cut -f2- >/tmp/found
diff <(grep -n '^# a mistake$' "$mistakes" | while IFS=: read -r before _; do echo $((before + 1)); done) \
  <(cut -f1 /tmp/found | uniq) || fail 'the lines differ'
diff "$source_dir/tests/capictl/golden/mistakes.txt" /tmp/found || fail 'the findings differ'

in_case 'Of the file of all keys every key is known; what its made-up values break is told'
"${tool[@]}" config lint "$source_dir/tests/data/all_keys.settings" | cut -f3- >/tmp/found
diff "$source_dir/tests/capictl/golden/all_keys.txt" /tmp/found || fail 'the findings differ'
grep -E 'there is no section|has no key|is taken for' /tmp/found && fail 'a key is not known'

in_case 'A section may have a comment behind it, whatever is in that, and be spelled oddly'
printf '%s\n' '[sip_line_1]' 'option_sip_line_display_name=A' '[sip_line_02] # x=y' \
  'option_sip_line_display_name=B' >/tmp/a.settings
expect 1 $'/tmp/a.settings\t4\twarning\t"sip_line_02" is taken for "sip_line_2", which is how to write it' \
  config lint /tmp/a.settings

in_case 'A JSON document is checked as well'
cat >/tmp/a.json <<'END'
{"sip_line_1": {"enable": 7, "display_name": "Kitchen", "auth_password": "(set)", "nothing": 1},
 "nope": {"enable": 1}, "sms": {"enable": "1"}, "basic_sip": {"local_port": 5060.5}, "sip_line_2": 1}
END
expect 1 $'/tmp/a.json\t\terror\tsip_line_1.enable: "7" is none of those that are allowed; allowed: 0 (off) or 1 (on)
/tmp/a.json\t\terror\tthere is no key sip_line_1.nothing. All keys: capictl config list
/tmp/a.json\t\terror\tthere is no section "nope"
/tmp/a.json\t\terror\tsms.enable has to be a whole number
/tmp/a.json\t\terror\tbasic_sip.local_port has to be a whole number
/tmp/a.json\t\terror\tsip_line_2 has to be an object of keys and values' config lint /tmp/a.json

expect_error 3 'capictl: /tmp/none cannot be read: No such file or directory' config lint /tmp/none

finish
