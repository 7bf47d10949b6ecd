#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

set_up_device
down='capictl: the adapter is not running: its shared record is not there or empty. Start its master process, or bring it up from setting files: capictl master --settings FILE'
expect_error 3 "$down" config get sms.sca
expect_error 3 'capictl: /nowhere cannot be read. Is it there?' master --settings /nowhere
start_adapter
expect_error 3 'capictl: the adapter is up already; --force clears its record and starts it anew' master

# One value alone, several with their keys, keys from standard input.
expect 0 '15551230001' config get sip_line_1.user_name
expect 0 '15551230001' config get sip_line_1.option_sip_line_user_name
expect 0 $'sip_line_1.user_name\t15551230001\nsip_line_2.enable\t0' \
  config get sip_line_1.user_name sip_line_2.enable
expect 0 $'sms.sca\t+15550000001\nsms.enable\t1' config get - sms.enable <<<'sms.sca'
expect 0 $'[{\n\t\t"key":\t"sms.sca",\n\t\t"value":\t"+15550000001"\n\t}]' --json config get sms.sca
expect 0 $'sms.enable\t1\nsms.sca\t+15550000001\nsms.psi\tsip:smsc@ims.mnc001.mcc001.3gppnetwork.org' \
  config list sms

# A change is seen by the next process; one that would be lost in part is refused.
expect 0 '' config set sip_line_1.display_name 'Front desk'
expect 0 'Front desk' config get sip_line_1.display_name
expect 0 '' config set basic_sip.rtp_dscp -5
expect 0 '-5' config get basic_sip.rtp_dscp
expect_error 3 'capictl: sms.enable: the value is not a number: read as 0' config set sms.enable on
expect 0 '1' config get sms.enable
expect_error 3 'capictl: voice_parameter.count: the value is out of range: kept as 12' \
  config set voice_parameter.count 13
expect_error 3 'capictl: sms.sca: the value is too long: cut to 31 characters' \
  config set sms.sca 12345678901234567890123456789012
expect_error 3 'capictl: there is no key display_name. Did you mean sip_line_1.display_name?' \
  config get display_name
expect_error 3 'capictl: there is no key nothing. All keys: capictl config list' config get nothing
expect_error 2 $'KEY is required\nRun with --help for more information.' config get

# A description needs no adapter.
expect 0 $'section\tvoice_stack_1\nkey\toption_voice_stack_codec\nkind\ttext\nmost characters\t63\nsections\tvoice_stack_%d, 1 to 5\nsetting file\t[voice_stack_1] option_voice_stack_codec=...' \
  config describe voice_stack_1.codec

# What others change is shown as it happens. Nothing is changed before the tool has looked once.
mkfifo /tmp/ready
"${tool[@]}" config watch --interval 20 --count 2 >/tmp/changes 2>/tmp/ready &
watcher=$!
read -r ready </tmp/ready
[ "$ready" = 'Watching 386 values. Ctrl-C ends.' ] || fail "watch began with: $ready"
expect 0 '' config set sms.sca +15550000002
expect 0 '' config set sms.enable 0
wait $watcher || fail 'watch did not end well'
sorted=$(sort /tmp/changes)
[ "$sorted" = $'sms.enable\t1\t0\nsms.sca\t+15550000001\t+15550000002' ] || fail "watch saw: $sorted"

finish
