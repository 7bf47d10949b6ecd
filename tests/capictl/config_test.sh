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
expect 0 $'[{\n\t\t"key":\t"sms.sca",\n\t\t"value":\t"+15550000001"\n\t}]' --json config get sms.sca
expect_on_terminal 0 'key         value
sms.enable  1
sms.sca     +15550000001
sms.psi     sip:smsc@ims.mnc001.mcc001.3gppnetwork.org' config list sms
expect 0 $'sms.enable\t1\nsms.sca\t+15550000001\nsms.psi\tsip:smsc@ims.mnc001.mcc001.3gppnetwork.org' \
  config list sms
expect 0 $'voice_switch.mode\t1' config list voice_switch
expect 0 '[{
		"key":	"voice_access.mode",
		"value":	"2"
	}]' config list voice_access --json
expect 0 "$("${tool[@]}" config list | sed -n 's/^sip_line_/&/p')" config list sip_line
[ "$("${tool[@]}" config list | wc -l)" -eq "$(count_of_keys)" ] || fail 'the list is not of all keys'
expect 3 '' config list nothing
[[ $errors == 'capictl: there is no section nothing. The sections: voice_switch voice_access basic_sip voice_stack_1 '* ]] ||
  fail "said: $errors"

in_case 'A change is seen by the next process; one that would be lost in part is refused'
expect 0 '' config set sip_line_1.display_name 'Front desk'
expect 0 'Front desk' config get sip_line_1.display_name
expect 0 '' config set sip_line_1.display_name ''
expect 0 '' config get sip_line_1.display_name
expect 0 '' config set basic_sip.rtp_dscp -5
expect 0 '-5' config get basic_sip.rtp_dscp
expect 0 '' config set voice_parameter.code_list_12 last
expect 0 last config get voice_parameter.code_list_12
expect_error 4 'capictl: sms.enable is left as it was: the value would not stay as it is (not a number: read as 0)' config set sms.enable on
expect 0 '1' config get sms.enable
expect_error 4 'capictl: sms.enable is left as it was: the value would not stay as it is (not all of it is a number: read as 1)' config set sms.enable 1x
expect_error 4 'capictl: sms.enable is left as it was: the value would not stay as it is (out of range: kept as 2147483647)' \
  config set sms.enable 2147483648
expect_error 4 'capictl: voice_parameter.count is left as it was: the value would not stay as it is (out of range: kept as 12)' \
  config set voice_parameter.count 13
expect_error 4 'capictl: sms.sca is left as it was: the value would not stay as it is (too long: cut to 31 characters)' \
  config set sms.sca 12345678901234567890123456789012
expect_error 3 'capictl: there is no key display_name. Did you mean sip_line_1.display_name?' \
  config get display_name
expect_error 3 'capictl: there is no key sip_line_3.enable. Did you mean sip_line_1.enable?' \
  config set sip_line_3.enable 1
expect_error 3 'capictl: there is no key nothing. All keys: capictl config list' config get nothing
expect_error 2 'capictl: KEY is required. Help: capictl config get --help' config get
expect_error 2 'capictl: VALUE is required. Help: capictl config set --help' config set sms.sca

finish
