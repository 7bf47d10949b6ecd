#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

start_adapter
rm -f /tmp/posted_signals
expect 0 '' signal vop_sig_cfg_changed_info
expect 0 '' signal vop_sig_cfg_changed_info 1 two
[ "$(cat /tmp/posted_signals)" = 'signal simple vop_sig_cfg_changed_info
signal json {"msg":"signal","name":"vop_sig_cfg_changed_info","attrs":{"param1":"1","param2":"two","param3":""}}' ] ||
  fail "posted: $(cat /tmp/posted_signals)"
expect 0 '' signal vop_sig_cfg_changed_info 'two words' '$(id)' ';*'
[ "$(tail -n 1 /tmp/posted_signals)" = 'signal json {"msg":"signal","name":"vop_sig_cfg_changed_info","attrs":{"param1":"two words","param2":"$(id)","param3":";*"}}' ] ||
  fail "posted: $(tail -n 1 /tmp/posted_signals)"
cp /tmp/posted_signals /tmp/before
for name in 'a;b' 'a b' '$(id)' '`id`' '' 'a|b' $'a\nb'; do
  [ -z "$name" ] || expect_error 4 'capictl: a signal'"'"'s name has letters, digits, "_", "." and "-" only' signal "$name"
done
expect_error 4 $'capictl: "it\'s" cannot be sent: it holds a quote, a backslash or a control character' \
  signal name "it's"
expect_error 4 'capictl: "a\x1bb" cannot be sent: it holds a quote, a backslash or a control character' \
  signal name $'a\eb'
chmod o+w /usr/sbin/vsdk_cmd
expect_error 1 'capictl: the signal could not be posted; --verbose tells more' signal vop_sig_vosip_exit_event
expect_error 1 'capictl: the signal could not be posted; --verbose tells more' signal vop_sig_vosip_exit_event text
chmod o-w /usr/sbin/vsdk_cmd
expect_error 2 'capictl: PARAM: At Most 3 required but received 4. Help: capictl signal --help' \
  signal name 1 2 3 4
cmp /tmp/posted_signals /tmp/before || fail 'what was refused was posted all the same'
expect_error 2 'capictl: NAME is required. Help: capictl signal --help' signal
in_case 'A name that no program knows is refused, unless it is meant so'
expect_error 4 'capictl: no program knows the signal vop_sig_cfg_changd_info; did you mean vop_sig_cfg_changed_info? All: capictl signal list. --force posts it' \
  signal vop_sig_cfg_changd_info
expect_error 4 'capictl: no program knows the signal watch. All: capictl signal list. --force posts it' signal watch vop_sig_voip_vm_on
cmp /tmp/posted_signals /tmp/before || fail 'what was refused was posted all the same'
expect 0 '' signal --force own_signal
[ "$(tail -n 1 /tmp/posted_signals)" = 'signal simple own_signal' ] || fail 'it is not posted with --force'
expect 0 '{
	"posted":	"vop_sig_voip_vm_on"
}' signal vop_sig_voip_vm_on 1 --json

in_case 'The list posts nothing, and has what the library reads, writes and posts'
cp /tmp/posted_signals /tmp/before
listed=$("${tool[@]}" signal list | cut -f 1)
[ "$listed" = "$(grep -rhoE '"vop_sig_[a-z0-9_]+"' "$source_dir/src" | tr -d '"' | sort -u)" ] ||
  fail "it lists: $listed"
cmp /tmp/posted_signals /tmp/before || fail 'the list was posted'
COLUMNS=80 "${tool[@]}" signal list --table | grep -E '^.{81}' && fail 'the list is too wide'

in_case 'A signal is read as programs see it'
expect 0 $'name\tvop_sig_voip_vm_on\nline\t1' signal decode \
  <<<'{"msg":"signal","name":"vop_sig_voip_vm_on","attrs":{"line":1}}'
expect 0 '[{
		"attribute":	"name",
		"value":	"vop_sig_timer_expired"
	}, {
		"attribute":	"cookie",
		"value":	"7"
	}]' signal decode --json <<<'{"msg":"signal","name":"vop_sig_timer_expired","attrs":{"cookie":7.9}}'
expect 0 'name	vop_sig_voip_call_state_change
line	2
callinfo.0.call	0
callinfo.0.callstate	5
callinfo.0.callpartynumber	
callinfo.0.callpartyname	
callinfo.1.call	1
callinfo.1.callstate	0
callinfo.1.callpartynumber	
callinfo.1.callpartyname	
callinfo.2.call	2
callinfo.2.callstate	0
callinfo.2.callpartynumber	
callinfo.2.callpartyname	' signal decode \
  <<<'{"name":"vop_sig_voip_call_state_change","attrs":{"line":2,"callinfo":[{"call":7,"callstate":5}]}}'
expect_error 1 'capictl: standard input is not JSON' signal decode <<<'{'
expect_error 1 'capictl: this JSON is no signal: it has no "name"' signal decode <<<'{}'

finish
