#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# What people come to the tool for, on a terminal of 80 columns and with what the manual tells: each
# task takes at most two commands.
source "$(dirname "$0")/support.sh"

mkdir -p /tmp/bin
printf '#!/bin/sh\nexec %s "$@"\n' "$(printf '%q ' "${tool[@]}")" >/tmp/bin/capictl
chmod +x /tmp/bin/capictl
export PATH=/tmp/bin:$PATH NO_COLOR=1
capictl page man >/tmp/manual

tasks=0
commands=0
task() {
  in_case "$1"
  tasks=$((tasks + 1))
  commands=0
}

# types CODE PATTERN LINE: what somebody types, and what the screen shows then.
types() {
  local screen status=0 name
  commands=$((commands + 1))
  [ $commands -le 2 ] || fail 'it takes more than two commands'
  screen=$(script --quiet --return --command "stty cols 80; $3" /dev/null </dev/null | tr -d '\r'
    exit "${PIPESTATUS[0]}") || status=$?
  [ $status -eq "$1" ] || fail "\"$3\" ends with $status instead of $1: $screen"
  grep -qE -- "$2" <<<"$screen" || fail "\"$3\" shows no \"$2\" but: $screen"
  # A sentence of the tool's and JSON may go on in the next line.
  if [[ $screen != [{[]* ]] && grep -v '^capictl: ' <<<"$screen" | grep -E '^.{81}'; then
    fail "\"$3\" is wider than the terminal"
  fi
  # The command stands in the manual.
  name=$(sed 's/^capictl //; s/ -.*//' <<<"$3")
  while [ "$name" ] && ! grep -qxF ".SS ${name//-/\\-}" /tmp/manual; do
    [[ $name == *' '* ]] || { fail "the manual knows nothing of \"$3\""; break; }
    name=${name% *}
  done
}

start_adapter
others lines
others call 0 1 +15551230007 "$(date +%s)"
others call 2 1 15551230007 "$(date +%s)"
others call 2 2 15551230008 "$(($(date +%s) - 3 * 86400))"
"${tool[@]}" sms send +15551230002 'the invoice is paid' >/dev/null
"${tool[@]}" sms send +15551230003 'see you at ten' >/dev/null
"${tool[@]}" config save /tmp/yesterday.settings

task 'Is everything well?'
types 0 '^state +published' 'capictl status'
task 'Why does line 2 fail?'
types 0 '^ *2 ' 'capictl line 2'
types 0 'allowed +0 \(off\) or 1 \(on\)' 'capictl config describe sip_line_2.enable'
task 'Switch line 2 off, so that its stack hears of it'
types 0 '' 'capictl config set sip_line_2.enable off --apply'
types 0 '^0 \(off\)' 'capictl config get sip_line_2.enable'
task 'Set three values and keep them'
types 0 '' 'capictl config set sip_line_1.display_name Attic basic_sip.rtp_dscp 46 sms.sca +15550000009'
types 0 '' 'capictl config save my.settings'
task 'What has changed since the file of yesterday?'
types 1 'sms\.sca' 'capictl config diff /tmp/yesterday.settings'
task 'Go back to it'
types 0 '' 'capictl config load /tmp/yesterday.settings'
types 0 'no differences' 'capictl config diff /tmp/yesterday.settings'
task 'Delete all missed calls of one number'
types 0 '1 call' 'capictl calls clear --type 2 --number 15551230007 --yes'
types 0 '15551230008' 'capictl calls list --type 2'
task 'Which calls came since yesterday?'
types 0 '15551230007' 'capictl calls list --since 1d'
task 'How many calls are there a day?'
types 0 '#' 'capictl calls stats'
task 'When was a line busy?'
types 0 '#' 'capictl line history 1'
task 'Find the message on an invoice'
types 0 'the invoice is paid' 'capictl sms list sent --text invoice'
task 'Send a message'
types 0 '' 'capictl sms send +15551230004 hello'
types 0 'hello' 'capictl sms list sent --limit 1'
task 'Read the whole of one'
types 0 'the invoice is paid' 'capictl sms show sent 1'
task 'Delete all messages that were sent'
types 0 '3 sent messages deleted' 'capictl sms clear sent --yes'
task 'Keep a copy of the calls'
types 0 '' 'capictl calls backup /tmp/calls.copy'
types 0 'no faults' 'capictl calls check /tmp/calls.copy'
task 'What does a setting mean?'
types 0 'Session interval' 'capictl config describe basic_sip.session_timer_expires'
task 'Which setting is it that I half remember?'
types 3 'Did you mean basic_sip.session_timer_expires' 'capictl config get basic_sip.session_timer_expire'
task 'Which values are not those of a new device?'
types 0 'sip_line_1.user_name' 'capictl config list --changed'
task 'Give a section the values of a new device, but look first'
types 0 'srtp_mode' 'capictl config reset basic_sip --dry-run'
types 0 '' 'capictl config reset basic_sip'
task 'Is a file right before it is loaded?'
types 1 'is out of range' "capictl config lint $source_dir/tests/data/mistakes.settings"
task 'Hand all settings to a provisioning system'
types 0 '"sip_line_1"' 'capictl config list --json'
types 0 'json-schema.org/draft/2020-12' 'capictl config schema'
task 'Change an adapter from afar without locking oneself out'
types 0 'capictl config confirm [0-9a-f]{8}' \
  'capictl config set runtime_info.wan_if_name eth1 --confirm-within 600'
types 0 '' 'capictl config confirm'
task 'Take back what was a mistake'
types 0 'capictl config confirm' 'capictl config set sip_line_1.user_name 1 --confirm-within 600'
types 0 '' 'capictl config cancel'
task 'What would the voice stack be told?'
types 1 'displayname|password|number|local' 'capictl stack-file voip --diff'
task 'Tell it'
types 0 '/tmp/vosip.conf.voip' 'capictl stack-file voip'
types 0 '' 'capictl signal vop_sig_cfg_changed_info'
task 'Which signals are there?'
types 0 'vop_sig_voip_vm_on' 'capictl signal list'
task 'Why this carrier?'
types 0 'IMSI' 'capictl carrier'
task 'Which carriers are known?'
types 0 'carrier' 'capictl carrier list'
task 'Who holds a lock?'
types 0 'CAPI_LOCK_CONF_SHM +free' 'capictl locks'
task 'Everything for support, without passwords'
types 0 '"auth_password":.*\(set\)' 'capictl export'
task 'Figures for the monitoring'
types 0 '^# EOF' 'capictl metrics'
task 'What does a command take?'
types 0 '--since' 'capictl help calls list'

[ "$tasks" -ge 30 ] || fail "there are only $tasks tasks"
finish
