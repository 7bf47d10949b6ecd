#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

# ends CODE: each line on standard input is a command that ends so. Where that is no success it says
# why: each line under the tool's name, and with --json as JSON with a code of its own.
ends() {
  local line words status code
  while IFS= read -r line; do
    eval "words=($line)"
    status=0
    "${tool[@]}" "${words[@]}" >/tmp/out 2>/tmp/errors </dev/null || status=$?
    [ $status -eq "$1" ] || fail "$line ends with $status instead of $1: $(cat /tmp/errors)"
    [ "$1" -lt 2 ] && continue
    [ -s /tmp/out ] && fail "$line prints: $(cat /tmp/out)"
    [ -s /tmp/errors ] && ! grep -qv '^capictl: ' /tmp/errors ||
      fail "$line says: $(cat /tmp/errors)"
    "${tool[@]}" --json "${words[@]}" >/tmp/out 2>/tmp/errors </dev/null
    [ $? -eq "$1" ] || fail "$line --json ends otherwise"
    [ -s /tmp/out ] && fail "$line --json prints: $(cat /tmp/out)"
    code=$(sed -n 's/^{"error":{"code":"\([a-z_]*\)","message":".*}}$/\1/p' /tmp/errors)
    [ "$code" ] || fail "$line --json says: $(cat /tmp/errors)"
    [ "$1" -eq 2 ] || [ "$code" = "${names[$1]}" ] || fail "$line --json has the code $code"
  done
}
names=(done failed usage not_found refused no_adapter timed_out)

# Every command, with arguments that are well formed, and whether it needs an adapter.
commands=(
  'a status' 'a monitor' 'a config get sms.sca' 'a config set sms.sca 1' 'a config list'
  'a config load /dev/null' 'a config reset sms' 'a config save /tmp/a' 'n config schema'
  'n config confirm' 'n config cancel' 'n config pending'
  'n config describe sms.sca' 'a config dump' 'a config diff /dev/null' 'n config lint /dev/null'
  'a config watch' 'a line' 'a line history' 'a locks' 'a carrier' 'n carrier list' 'a signal vop_sig_cfg_changed_info'
  'n signal list' 'n signal decode' 'a stack-file voip' 'a calls list' 'a calls show 0' 'a calls export' 'a calls stats'
  'a calls delete 0' 'a calls clear --yes' 'a calls backup /tmp/a' 'a calls check' 'a sms list sent'
  'a sms show sent 1' 'a sms send 1 hi' 'a sms mark-read sent 1' 'a sms delete sent 1'
  'a sms clear sent --yes' 'a sms backup /tmp/a' 'a sms check sent' 'a export' 'n schema /dev/null' 'n master'
  'n help' 'n page man')
# Without an adapter metrics have something to print all the same.
listed=$("${tool[@]}" page commands | wc -l)
# Besides these it lists config, calls, sms and metrics.
[ $((${#commands[@]} + 4 - 1)) -eq "$listed" ] || fail "there are $listed commands"

in_case 'Without an adapter'
set_up_device
for command in "${commands[@]}"; do [[ $command == a* ]] && echo "${command#? }"; done | ends 5

in_case 'With one option too much'
for command in "${commands[@]}"; do echo "${command#? } --nothing"; done | ends 2

in_case 'With an adapter'
start_adapter
others calls
"${tool[@]}" sms send +15551230002 hi
: >/tmp/empty
ends 0 <<'END'
status
config get sms.sca
config set sms.sca 1
config list
config describe sms.sca
config schema
config load /dev/null
config reset sms.sca
config set sms.sca 1 --apply
config pending
config set sms.sca 3 --confirm-within
config confirm
config set sms.sca 1 --confirm-within
config cancel
config save /tmp/a
config dump
config diff /tmp/empty
config lint /dev/null
line 1
locks
export
metrics
carrier
carrier list
signal list
signal vop_sig_cfg_changed_info
stack-file voip
stack-file voip --print
stack-file voip --diff
calls list
calls show 0
calls export
calls delete 0
calls clear --yes
calls stats
line history
calls backup /tmp/calls
calls check
sms list sent
sms show sent 1
sms send +15551230002 hi
sms mark-read sent 1
sms delete sent 1
sms clear sent --yes
sms backup /tmp/messages
sms check received
help
page man
END
others calls
printf '[nothing]\n' >/tmp/unknown
printf '[sms]\noption_sms_sca=2\n' >/tmp/other
echo 1 >/tmp/short
ends 1 <<'END'
config diff /tmp/other
config lint /tmp/unknown
carrier 999701234567890 8900000000000000001
stack-file volte --diff
calls check /tmp/short
sms check sent /tmp/short
calls export /nowhere/calls.csv
calls backup /nowhere/calls
sms backup /nowhere/messages
schema /tmp/unknown
signal decode
END
ends 2 <<'END'
nothing
config
calls
sms
config get
config set sms.sca
config set sms.sca 1 --confirm-within 0
config set sms.sca 1 2
line 3
carrier list --fields nothing
status --fields nothing
status --header --no-header
calls list --type 3
calls list --since soon
carrier lst
calls show
calls show 300
calls show -1
sms list
sms list drafts
stack-file nothing
monitor nothing
page nothing
help nothing
END
ends 3 <<'END'
config get nothing
config get sms.nothing
config set sms.nothing 1
config describe sms.nothing
config list nothing
config reset nothing
config confirm
config cancel 12345678
config load /nowhere
config lint /nowhere
calls show 17
calls delete 17
calls check /nowhere
sms show sent 17
sms mark-read received 17
sms delete sent 17
sms check sent /nowhere
schema /nowhere
master --force --settings /nowhere
END
"${tool[@]}" sms send +15551230002 hi
printf '[sms]\noption_sms_enable=7\n' >/tmp/wrong
"${tool[@]}" config set sms.sca 3 --confirm-within 2>/dev/null >&2
ends 4 <<'END'
config set sms.sca 4
config load /tmp/other
config reset sms
signal nothing
calls clear
sms clear sent
config set sms.enable 7
config load /tmp/wrong
signal 'no;name'
signal vop_sig_cfg_changed_info "it's"
sms send nobody hi
sms send '' hi
sms send +123456789012345678901234 hi
master
END
echo 'config cancel' | ends 0

in_case 'Where there is no master one starts'
ipcrm --all
echo master | ends 0

finish
