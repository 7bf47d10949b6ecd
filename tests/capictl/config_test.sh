#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

start_adapter

in_case 'One value alone, several with their keys, keys from standard input'
expect 0 '15551230001' config get sip_line_1.user_name
expect 0 '15551230001' config get sip_line_1.option_sip_line_user_name
expect 0 $'sip_line_1.user_name\t15551230001\nsip_line_2.enable\t0' \
  config get sip_line_1.user_name sip_line_2.enable
expect 0 $'sms.sca\t+15550000001\nsms.psi\tsip:smsc@ims.mnc001.mcc001.3gppnetwork.org\nsms.enable\t1' \
  config get - sms.enable <<<$'sms.sca\nsms.psi'
expect 0 '' config get - <<<''
expect 0 $'{\n\t"sms":\t{\n\t\t"sca":\t"+15550000001"\n\t}\n}' --json config get sms.sca
expect_on_terminal 0 'key         value
sms.enable  1 (on)
sms.sca     +15550000001
sms.psi     sip:smsc@ims.mnc001.mcc001.3gppnetwork.org' config list sms
expect 0 $'sms.enable\t1\nsms.sca\t+15550000001\nsms.psi\tsip:smsc@ims.mnc001.mcc001.3gppnetwork.org' \
  config list sms
expect 0 $'voice_switch.mode\t1' config list voice_switch
expect 0 '{
	"voice_access":	{
		"mode":	2
	}
}' config list voice_access --json
expect 0 "$("${tool[@]}" config list | sed -n 's/^sip_line_/&/p')" config list sip_line
[ "$("${tool[@]}" config list | wc -l)" -eq "$(count_of_keys)" ] || fail 'the list is not of all keys'
expect 3 '' config list nothing
[[ $errors == 'capictl: there is no section nothing. The sections: voice_switch voice_access basic_sip voice_stack_1 '* ]] ||
  fail "said: $errors"

in_case 'A change is seen by the next process; a value that is not right is refused'
expect 0 '' config set sip_line_1.display_name Kitchen
expect 0 'Kitchen' config get sip_line_1.display_name
expect 0 '' config set sip_line_1.display_name ''
expect 0 '' config get sip_line_1.display_name
expect 0 '' config set voice_parameter.evs_cmr -1
expect 0 '-1' config get voice_parameter.evs_cmr
expect 0 '' config set voice_parameter.code_list_12 last
expect 0 last config get voice_parameter.code_list_12
expect_error 4 'capictl: sip_line_2.enable is left as it was: "7" is none of those that are allowed; allowed: 0 (off) or 1 (on)' \
  config set sip_line_2.enable 7
expect_error 4 'capictl: sip_line_2.enable is left as it was: "yes" is not a number; allowed: 0 (off) or 1 (on)' \
  config set sip_line_2.enable yes
expect_error 4 'capictl: basic_sip.local_port is left as it was: "99999" is out of range; allowed: 0 to 65535' \
  config set basic_sip.local_port 99999
expect_error 4 'capictl: runtime_info.wan_ip is left as it was: "banana" is not an IP address, as 192.0.2.1' \
  config set runtime_info.wan_ip banana
expect_error 4 'capictl: voice_parameter.count is left as it was: "13" is out of range; allowed: 0 to 12' \
  config set voice_parameter.count 13
expect_error 4 'capictl: sms.sca is left as it was: 32 bytes are too many: 31 are kept' \
  config set sms.sca 12345678901234567890123456789012
expect_error 4 'capictl: sip_line_1.display_name is left as it was: a setting file takes the blanks out of the value; --force sets it until the next start' \
  config set sip_line_1.display_name 'Front desk'
expect 0 '0' config get sip_line_2.enable
expect 0 '' config get sip_line_1.display_name

in_case '--force sets what is refused otherwise, as a master would take it'
expect 0 '' config set sip_line_1.display_name 'Front desk' --force
expect 0 'Front desk' config get sip_line_1.display_name
expect 0 '' config set voice_parameter.count 13 --force
expect 0 '12' config get voice_parameter.count
expect 0 '' config set sip_line_2.enable yes --force
expect 0 '0' config get sip_line_2.enable

in_case 'Several are set, or none'
expect 0 '' config set sip_line_2.enable 1 sip_line_2.user_name=15551230002 basic_sip.rtp_dscp 46
expect 0 $'sip_line_2.enable\t1\nsip_line_2.user_name\t15551230002' \
  config get sip_line_2.enable sip_line_2.user_name
expect 4 '' config set sip_line_2.enable 0 basic_sip.local_port 99999
expect 3 '' config set sip_line_2.enable 0 sip_line_2.nothing 1
expect_error 2 'capictl: VALUE is required. Help: capictl config set --help' \
  config set sip_line_2.enable 0 sip_line_2.user_name
expect 0 '1' config get sip_line_2.enable

in_case 'A value has a name, and a time may have its unit'
expect 0 '' config set basic_sip.transport_protocol tls sip_line_2.enable OFF sip_registration.reg_interval 2000s
expect 0 $'basic_sip.transport_protocol\t2\nsip_line_2.enable\t0\nsip_registration.reg_interval\t2000' \
  config get basic_sip.transport_protocol sip_line_2.enable sip_registration.reg_interval
expect 0 '' config set sip_registration.reg_interval 1800000ms
expect 0 1800 config get sip_registration.reg_interval
expect 4 '' config set sip_registration.reg_interval 1500ms
expect_on_terminal 0 '2 (tls)' config get basic_sip.transport_protocol
expect 0 $'off\non' page complete -- config set sip_line_1.enable ''
expect 0 tls page complete -- config set sip_line_1.enable on basic_sip.transport_protocol t

in_case 'A dry run tells what would change, and changes nothing'
expect 0 $'sip_line_2.enable\t0\t1' config set --dry-run sip_line_2.enable on basic_sip.transport_protocol 2
expect 0 '0' config get sip_line_2.enable

in_case 'A password is only told to be set'
expect 0 '' config set sip_line_1.auth_password hunter2 sip_line_2.auth_password ''
expect 0 '(set)' config get sip_line_1.auth_password
expect 0 '(not set)' config get sip_line_2.auth_password
expect 0 'hunter2' config get sip_line_1.auth_password --show-secrets
[[ "$("${tool[@]}" --json config list; "${tool[@]}" config list --long; "${tool[@]}" config list --changed --json --long;
     "${tool[@]}" config describe sip_line_1.auth_password; "${tool[@]}" config dump)" != *hunter2* ]] ||
  fail 'a password is shown'
expect 4 '' config set sip_line_1.auth_password 'hunter 3'
[[ $errors != *hunter* ]] || fail 'a refused password is shown'
expect 0 $'sip_line_1.auth_password\t(set)\t(set)' config set --dry-run sip_line_1.auth_password hunter3

in_case 'What differs from a start without settings is listed, and reset'
expect 0 '' config set sip_line_2.enable 1
expect 0 $'sip_line_2.enable\t1\t0
sip_line_2.display_name\tFax\t
sip_line_2.user_name\t15551230002\t
sip_line_2.auth_name\tadapter-2\t' config list sip_line_2 --changed
expect 0 $'sms.enable\t1\t0\t\tWhether short messages are used.
sms.sca\t+15550000001\t\t\tAddress of the service centre of short messages.
sms.psi\tsip:smsc@ims.mnc001.mcc001.3gppnetwork.org\t\t\tPublic service identity of the service centre.' \
  config list sms --long
expect 0 '' config reset sip_line_2.enable sms
expect 0 '' config list sms --changed
expect 0 '0' config get sip_line_2.enable
expect 0 '' config reset sip_registration
expect 0 600000 config get sip_registration.reg_interval
expect 0 '' config set sip_line_1.display_name=Loft sip_line_2.display_name=Hall basic_sip.rtp_dscp=40
for name in sip voice call sip_lin; do
  expect_error 3 "capictl: there is no section $name. The sections: $("${tool[@]}" config list |
    sed 's/[.].*//' | uniq | paste -sd ' ')" config reset "$name"
done
expect 0 '' config reset sip_line
expect 0 $'sip_line_1.display_name\t\nsip_line_2.display_name\t' \
  config get sip_line_1.display_name sip_line_2.display_name
expect 0 40 config get basic_sip.rtp_dscp
expect 0 '' config reset basic_sip

in_case 'An unknown name is answered with one that there is'
expect_error 3 'capictl: there is no key display_name. Did you mean sip_line_1.display_name?' \
  config get display_name
expect_error 3 'capictl: there is no key sip_line_2.enabel. Did you mean sip_line_2.enable?' \
  config set sip_line_2.enabel 1
expect_error 3 'capictl: there is no key sip_line_3.enable. Did you mean sip_line_1.enable?' \
  config set sip_line_3.enable 1
expect_error 3 'capictl: there is no key nothing. All keys: capictl config list' config get nothing
expect_error 2 'capictl: KEY is required. Help: capictl config get --help' config get
expect_error 2 'capictl: VALUE is required. Help: capictl config set --help' config set sms.sca

finish
