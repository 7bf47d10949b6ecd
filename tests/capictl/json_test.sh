#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

# What Debian's Python has need not be what another one has.
python=/usr/bin/python3
if ! $python -c 'import jsonschema' 2>/dev/null; then
  echo 'python3-jsonschema is missing'
  exit 1
fi

# shape COMMAND ARG...: keeps what a command prints, under its name.
mkdir /tmp/shapes
count=0
shape() {
  local command=$1
  read -ra words <<<"$command"
  shift
  count=$((count + 1))
  "${tool[@]}" --json "${words[@]}" "$@" >"/tmp/shapes/$command.$count" 2>/tmp/errors </dev/null
  [ -s "/tmp/shapes/$command.$count" ] || fail "$command $*: $(cat /tmp/errors)"
}

set_up_device
shape master --settings /quorbleconf/config/voice.settings /quorbleconf/config/network.settings
in_case 'Each command with nothing to show, with ordinary values and with odd ones, has its shape'
for command in status line locks carrier 'carrier list' 'line history' 'calls list' 'calls stats' \
  'calls check' 'calls clear' 'signal list' export; do
  shape "$command"
done
others calls
others lines
others call 2 0 $'\xff"\t' 4294967295
others call 1 2 '' "$(date +%s)"
expect 0 '' config set --force sip_line_1.display_name $'"\\\xff\t'
expect 0 '' config set sip_line_2.auth_password ''
expect 0 '' config set sim_info.IMSI 999701234567890
for command in status line 'line history' 'calls list' 'calls stats' locks export; do shape "$command"; done
shape carrier 999701234567890 8900000000000000001
shape carrier 001010123456789
shape 'calls show' 2
shape 'calls delete' 0
shape 'calls backup' /tmp/copy
shape 'sms send' +15551230002 $'\e\xff"\n'
shape 'sms list' sent
shape 'sms show' sent 1
shape 'sms mark-read' sent 1
shape 'sms list' sent
shape export
shape 'sms check' sent
shape 'sms backup' /tmp/messages
shape 'sms delete' sent 1
shape 'sms clear' sent
shape 'calls clear' --yes
echo 1 >/tmp/short
shape 'calls check' /tmp/short
shape 'sms check' sent /tmp/short
shape signal vop_sig_voip_vm_on 1
echo '{"msg":"signal","name":"vop_sig_voip_vm_on","attrs":{"line":1}}' >/tmp/signal
"${tool[@]}" --json signal decode </tmp/signal >'/tmp/shapes/signal decode'
shape 'stack-file --diff' voip
shape stack-file voip
shape 'stack-file --diff' voip
echo '{"sip": {"expires": {"type": "int", "value": "", "default_value": "60", "is_changed": 0},
  "name": {"type": "string", "value": "x", "default_value": "", "is_changed": 1}}}' >/tmp/schema.json
shape schema /tmp/schema.json
shape 'config get' sms.sca sip_line_1.display_name
shape 'config list'
shape 'config list' sms --changed
shape 'config list --long'
shape 'config describe' sip_line_1.auth_password
shape 'config describe' basic_sip.transport_protocol
shape 'config set' sms.sca 9 sip_line_2.auth_password seen-by-nobody
shape 'config set' sms.sca 9
echo '{"sip_line_1": {"display_name": "Kitchen", "enable": 7}, "nothing": {}}' >/tmp/a.json
shape 'config lint' /tmp/a.json "$source_dir/tests/data/mistakes.settings"
shape 'config pending'
"${tool[@]}" --json config set sms.sca 8 --confirm-within 600 >/dev/null
shape 'config pending'
shape 'config confirm'
"${tool[@]}" --json config set sms.sca 6 --confirm-within 600 >/dev/null
shape 'config cancel'
shape 'config diff' /quorbleconf/config/voice.settings
shape 'config load' /quorbleconf/config/voice.settings
shape 'config reset' sip_line_2
shape 'config save' /tmp/saved
rm /quorbleconf/nv/sm_send
shape status
mkfifo /tmp/ready
"${tool[@]}" --json monitor config >/tmp/told 2>/tmp/ready &
watcher=$!
read -r _ </tmp/ready
expect 0 '' config set sms.sca 7
until [ -s /tmp/told ]; do :; done
kill -TERM $watcher
wait $watcher
head -n 1 /tmp/told >/tmp/shapes/monitor
"${tool[@]}" --json config watch --count 1 >'/tmp/shapes/config watch' 2>/tmp/ready &
watcher=$!
read -r _ </tmp/ready
expect 0 '' config set sms.sca 8
wait $watcher
expect 0 '' config set sms.sca 7
"${tool[@]}" --json calls show 299 2>/tmp/shapes/error.1
"${tool[@]}" --json calls shwo 2>/tmp/shapes/error.2
"${tool[@]}" --json calls list --fields nothing 2>/tmp/shapes/error.3

$python "$(dirname "$0")/validate.py" "$source_dir/docs/json/capictl.json" /tmp/shapes >/tmp/wrong ||
  fail 'the shapes cannot be compared'
[ -s /tmp/wrong ] && fail "$(cat /tmp/wrong)"

in_case 'An export has no password, and all the rest'
expect 0 '' config set sip_line_2.auth_password not-to-be-seen
expect 0 '' sms send +15551230002 hello
"${tool[@]}" export >/tmp/export
grep -q not-to-be-seen /tmp/export && fail 'the password is there'
$python - /tmp/export <<'END' || fail 'the export is not what it should be'
import json, sys
export = json.load(open(sys.argv[1], encoding="utf-8"))
assert export["config"]["sip_line_2"]["auth_password"] == "(set)", export["config"]["sip_line_2"]
assert export["config"]["sms"]["sca"] == "7", export["config"]["sms"]
assert export["config"]["sms"]["enable"] == 1, export["config"]["sms"]
assert [message["text"] for message in export["sent_messages"]] == ["hello"]
assert export["lines"][0]["off_hook"] is True
END

finish
