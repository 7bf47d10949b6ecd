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
describe voice_stack_1.codec 'key	voice_stack_1.codec
start	(empty)
allowed	any text of at most 63 characters
meaning	Codecs of the stack, as a list.
note	The notation is not stated.
stated	nowhere: any value is taken
kind	text of at most 63 characters
sections	voice_stack_%d, 1 to 5
setting file	[voice_stack_1] option_voice_stack_codec=...' 'volte sos generic	STACK	codec	'
describe voice_parameter.count 'key	voice_parameter.count
start	0
allowed	0 to 12
meaning	How many codec slots are in use.
note	The loader takes a number beyond either end as that end.
kind	number
setting file	[voice_parameter] option_voice_parameter_count=...' "$every	VOICE	enable_codec_num	"
describe voice_parameter.mode_set_3 'key	voice_parameter.mode_set_3
start	(empty)
allowed	a list of modes from 0 to 8, as 0,2,4,7
meaning	Modes of the slot'"'"'s AMR or EVS codec.
standard	RFC 4867
kind	text of at most 31 characters
keys	option_voice_parameter_mode_set_%d, 1 to 12
setting file	[voice_parameter] option_voice_parameter_mode_set_3=...' \
  "$every	CODEC2	codec_mode_set	the slot's code_list holds AMR
$every	CODEC2	codec_mode_set	the slot's code_list holds EVS"
describe sip_server_2.sip_domain 'key	sip_server_2.sip_domain
start	(empty)
allowed	a host name or an IP address, as sip.example.net
meaning	The SIP domain.
standard	RFC 3261
note	Both sections name the same one, which is no server'"'"'s own.
kind	text of at most 255 characters
sections	sip_server_%d, 1 to 2
shared	all sections of the number have one value
setting file	[sip_server_2] option_sip_server_sip_domain=...' "$every	SIPDOMAIN	addr	"
describe speed_dial.entry_10 'key	speed_dial.entry_10
start	(empty)
allowed	a phone number, as +15550100001
meaning	Number that the key dials.
kind	text of at most 31 characters
keys	option_speed_dial_entry_%d, 1 to 10
setting file	[speed_dial] option_speed_dial_entry_10=...'
describe sip_registration.reg_interval 'key	sip_registration.reg_interval
start	600000
allowed	0 or more
unit	s
meaning	Expiry of a registration that is asked for.
standard	RFC 3261
note	The value of the start is ten minutes as ms, and nearly seven days as what it is.
kind	number
setting file	[sip_registration] option_sip_registration_reg_interval=...' "$every	SIP	regexptime	"

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
key           sms.sca
start         (empty)
allowed       a phone number, as +15550100001
meaning       Address of the service centre of short messages.
standard      3GPP TS 23.040
kind          text of at most 31 characters
setting file  [sms] option_sms_sca=...

written to
files                                 section        line  when
volte voip vowifi cs qvc sos generic  SHORT_MESSAGE  sca' config describe sms.sca
expect_on_terminal 0 'key
key           sms.enable
start         0 (off)
allowed       0 (off) or 1 (on)
meaning       Whether short messages are used.
kind          number
setting file  [sms] option_sms_enable=...

written to
none' config describe sms.enable
expect 0 '{
	"key":	"sms.sca",
	"section":	"sms",
	"name":	"option_sms_sca",
	"type":	"string",
	"default":	"",
	"allowed":	"a phone number, as +15550100001",
	"max_length":	31,
	"meaning":	"Address of the service centre of short messages.",
	"standard":	"3GPP TS 23.040",
	"origin":	"standard",
	"secret":	false,
	"read_back":	false,
	"lines":	[{
			"files":	["volte", "voip", "vowifi", "cs", "qvc", "sos", "generic"],
			"section":	"SHORT_MESSAGE",
			"line":	"sca"
		}]
}' config describe sms.sca --json
expect_error 3 'capictl: there is no key sms.nothing. All keys: capictl config list' \
  config describe sms.nothing

in_case 'A value comes from a start, a setting file, the device, or who set it'
start_adapter
from() { "${tool[@]}" config describe "$@" | sed -n 's/^key\tfrom\t//p'; }
is() { [ "$1" = "$2" ] || fail "\"$1\" instead of \"$2\""; }
is "$(from sip_registration.reg_interval)" 'set since the start'
is "$(from sip_feature_2.cpc_duration)" 'a start without settings'
is "$(from runtime_info.imei)" "the device's own files"
is "$(from sms.sca --settings /quorbleconf/config/voice.settings)" \
  "/quorbleconf/config/voice.settings, line $(grep -n sms_sca /quorbleconf/config/voice.settings | cut -d: -f1)"
mkdir -p /etc/capi/settings.d
printf '[sms]\noption_sms_sca=+15550000002\n' >/etc/capi/settings.d/local.settings
printf '[sms]\n\noption_sms_sca=+15550000001\n' >/etc/capi/settings.d/voice.settings
is "$(from sms.sca)" 'set since the start'
expect 0 '' config set sms.sca +15550000002
is "$(from sms.sca)" '/etc/capi/settings.d/local.settings, line 2'
"${tool[@]}" --json config describe sms.sca | tr -d '\n\t' |
  grep -qF '"source":{"kind":"file","file":"/etc/capi/settings.d/local.settings","line":2}' ||
  fail 'JSON does not tell'

in_case 'A value that is set stands where it is told to stand'
expect 0 '' config set sim_info.MBDN 5551
expect 0 /tmp/vosip.conf.volte stack-file volte
grep -qx 'MBDN=5551' /tmp/data/info.simcard || fail 'info.simcard does not have the value'
grep -qx 'mbdn=5551' /tmp/vosip.conf.volte || fail 'the stack file does not have the value'

finish
