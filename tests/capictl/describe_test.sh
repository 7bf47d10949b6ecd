#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

# describe KEY FACTS PLACES: no adapter is needed.
describe() {
  expect 0 "$(sed 's/^/key\t/' <<<"$2")${3:+
$(sed 's/^/written to\t/' <<<"$3")}" config describe "$1"
}
every='volte voip vowifi cs qvc sos generic'
describe voice_stack_1.codec 'section	voice_stack_1
key	option_voice_stack_codec
kind	text
most characters	63
sections	voice_stack_%d, 1 to 5
setting file	[voice_stack_1] option_voice_stack_codec=...' 'volte sos generic	STACK	codec	'
describe voice_parameter.count 'section	voice_parameter
key	option_voice_parameter_count
kind	number
kept in	0 to 12
setting file	[voice_parameter] option_voice_parameter_count=...' "$every	VOICE	enable_codec_num	"
describe voice_parameter.mode_set_3 'section	voice_parameter
key	option_voice_parameter_mode_set_3
kind	text
most characters	31
keys	option_voice_parameter_mode_set_%d, 1 to 12
setting file	[voice_parameter] option_voice_parameter_mode_set_3=...' \
  "$every	CODEC2	codec_mode_set	the slot's code_list holds AMR
$every	CODEC2	codec_mode_set	the slot's code_list holds EVS"
describe sip_server_2.sip_domain 'section	sip_server_2
key	option_sip_server_sip_domain
kind	text
most characters	255
sections	sip_server_%d, 1 to 2
shared	all sections of the number have one value
setting file	[sip_server_2] option_sip_server_sip_domain=...' "$every	SIPDOMAIN	addr	"
describe speed_dial.entry_10 'section	speed_dial
key	option_speed_dial_entry_10
kind	text
most characters	31
keys	option_speed_dial_entry_%d, 1 to 10
setting file	[speed_dial] option_speed_dial_entry_10=...'
describe runtime_info.voip_ip 'section	runtime_info
key	option_runtime_info_voip_ip
kind	text
most characters	63
setting file	[runtime_info] option_runtime_info_voip_ip=...' 'voip	NETWORK	network_type	
voip	NETWORK	forced_ipaddr	'

# places KEY PLACES: the places alone.
places() {
  local actual
  actual=$("${tool[@]}" config describe "$1" | sed -n 's/^written to\t//p')
  [ "$actual" = "$2" ] || fail "$1 is written to: $actual"
}
places basic_sip.ca_cert_file "$every	SIP	sip_ca_cert_file	basic_sip.transport_protocol is 2"
places basic_sip.dial_plan "$every	DIALPLAN	dialplan	"
places basic_sip.subscribe_mwi_event_enable 'voip	SIGNALING	subscribe_mwi_event	'
places voice_parameter.code_list_1 "$every	CODEC0	codec_const_string	voice_parameter.count reaches so far"
places voice_parameter.evs_dtx \
  "$every	CODEC0 to CODEC11	codec_evs_dtx	the slot's code_list holds EVS"
places runtime_info.if_name_vowifi 'vowifi	NETWORK	if_name	'
places runtime_info.bb_if_name 'cs qvc generic	NETWORK	if_name	
volte voip vowifi sos	NETWORK	if_name	the stack has no interface of its own'
places runtime_info.pcscf_addr 'volte voip vowifi	SIP	pcscf_addr	'
places runtime_info.sos_pcscf 'sos	SIP	pcscf_addr	'
places sip_line_2.user_name 'voip	LINE2_SUBSCRIBER	number	'
places sip_feature_2.dnd_enable "$every	LINE2_FEATURE	enable_dnd	"
places sip_server_2.registrar 'voip	REGISTRAR_1	addr	'
places sip_server_2.registrar_port "$every	REGISTRAR_1	port	"
places call_block.entry_10 "$every	BLOCKPHONE	VOIP_CALL_BLOCK_ENTRY_9	"
places sim_info.MBDN "$every	SIM	mbdn	
info.simcard	SIM	MBDN	ICCID and IMSI are known"
places voice_access.mode ''

expect_on_terminal 0 'key
section          sms
key              option_sms_sca
kind             text
most characters  31
setting file     [sms] option_sms_sca=...

written to
files                                 section        line  when
volte voip vowifi cs qvc sos generic  SHORT_MESSAGE  sca' config describe sms.sca
expect_on_terminal 0 'key
section       sms
key           option_sms_enable
kind          number
setting file  [sms] option_sms_enable=...

written to
none' config describe sms.enable
expect 0 '{
	"key":	{
		"section":	"sms",
		"key":	"option_sms_sca",
		"kind":	"text",
		"most_characters":	"31",
		"setting_file":	"[sms] option_sms_sca=..."
	},
	"written_to":	[{
			"files":	"volte voip vowifi cs qvc sos generic",
			"section":	"SHORT_MESSAGE",
			"line":	"sca",
			"when":	""
		}]
}' config describe sms.sca --json
expect_error 3 'capictl: there is no key sms.nothing. All keys: capictl config list' \
  config describe sms.nothing

in_case 'A value that is set stands where it is told to stand'
start_adapter
expect 0 '' config set sim_info.MBDN 5551
expect 0 /tmp/vosip.conf.volte stack-file volte
grep -qx 'MBDN=5551' /tmp/data/info.simcard || fail 'info.simcard does not have the value'
grep -qx 'mbdn=5551' /tmp/vosip.conf.volte || fail 'the stack file does not have the value'

finish
