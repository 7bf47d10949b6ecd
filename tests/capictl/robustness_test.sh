#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

start_adapter

in_case "Nobody reads the output: the tool ends, and says so where that is no reader's choice"
said='capictl: the output is not complete: standard output cannot be written'
as_json='{"error":{"code":"failed","message":"the output is not complete: standard output cannot be written"}}'
for command in status 'config list' 'config dump' 'sms list sent' 'calls export' 'carrier list' \
  'stack-file voip --print' 'page keys' 'config list --json'; do
  # shellcheck disable=SC2086
  error=$("${tool[@]}" $command 2>&1 >/dev/full)
  code=$?
  [ "$command" = 'sms list sent' ] && continue # which has nothing to print
  [ $code -eq 1 ] || fail "on a full disk $command ends with $code"
  [ "$error" = "$said" ] || [ "$error" = "$as_json" ] || fail "on a full disk $command says: $error"
  # shellcheck disable=SC2086
  error=$("${tool[@]}" $command 2>&1 >&-)
  code=$?
  [ $code -eq 1 ] || fail "without an output $command ends with $code"
  [ "$error" = "$said" ] || [ "$error" = "$as_json" ] || fail "without an output $command says: $error"
done
for _ in 1 2 3; do "${tool[@]}" sms send +15551230002 "$(printf %039000d 0)"; done
mkfifo /tmp/pipe
for command in 'config list' 'sms list sent'; do
  exec 3<>/tmp/pipe
  # shellcheck disable=SC2086
  "${tool[@]}" $command >/tmp/pipe 2>/tmp/errors 3>&- &
  writer=$!
  exec 4</tmp/pipe 3>&-
  read -r -n 1 _ <&4
  exec 4<&-
  wait $writer
  code=$?
  [ $code -eq 0 ] || [ $code -eq 141 ] || fail "with its reader gone $command ends with $code"
  [ -s /tmp/errors ] && fail "with its reader gone $command says: $(cat /tmp/errors)"
done

in_case 'Nothing that is printed without an output gets into a store'
cp /quorbleconf/nv/sm_send /tmp/before
"${tool[@]}" --verbose sms list sent >&- 2>&- <&-
cmp /quorbleconf/nv/sm_send /tmp/before || fail 'the output went into the messages'

in_case 'Arguments without end, and none at all'
long=$(printf %0100000d 7)
expect 3 '' config get "$long"
expect 3 '' config get "sip_line_1.$long"
expect 3 '' config list "$long"
expect 3 '' config describe "$long"
expect_error 4 "capictl: slic_parameter.settings is left as it was: ${#long} bytes are too many: 1023 are kept" \
  config set slic_parameter.settings "$long"
expect_error 4 "capictl: sms.enable is left as it was: \"9${long:0:79}\" is out of range; allowed: 0 (off) or 1 (on)" \
  config set sms.enable "9$long"
expect 2 '' calls show "9$long"
expect 2 '' calls show -1
expect 2 '' calls show ''
expect 3 '' sms show sent "9$long" # ids go no higher than 64 bits
expect 2 '' stack-file "$long"
expect 1 '' config lint "/$long"
expect 1 '' calls check "/$long"
expect 1 '' calls export "/$long"
expect 1 '' master --force --settings "/$long"
expect 1 '' schema "/$long"
expect_error 4 'capictl: name and texts have more than 512 characters together; there is no room for them' \
  signal "${long:0:513}"
expect 4 '' signal name "$long"
expect 1 '' carrier "$long" "$long"
expect 3 '' config get ''
expect 3 '' config get .
expect 3 '' config get sms.
expect 0 "$("${tool[@]}" config list)" config list ''
printf '%s\n' "$long" | tr -d '\n' >/tmp/keys
expect 3 '' config get - </tmp/keys

in_case 'Files that are none of ours, and files without end'
head -c 3000000 /dev/urandom >/tmp/random
"${tool[@]}" calls check /tmp/random >/dev/null 2>&1
[ $? -eq 1 ] || fail 'a random file passes for a call log'
"${tool[@]}" sms check sent /tmp/random >/dev/null 2>&1
[ $? -eq 1 ] || fail 'a random file passes for messages'
"${tool[@]}" config lint /tmp/random >/dev/null 2>&1
[ $? -eq 1 ] || fail 'a random file passes for settings'
"${tool[@]}" config diff /tmp/random >/dev/null 2>&1
[ $? -le 1 ] || fail 'a random file cannot be compared'
expect_error 1 'capictl: /tmp/random is not JSON' schema /tmp/random
expect_error 1 'capictl: standard input is not JSON' signal decode </tmp/random
for command in 'calls check' 'sms check sent' 'config lint'; do
  # shellcheck disable=SC2086
  {
    expect_error 1 'capictl: /dev/zero cannot be read: File too large' $command /dev/zero
    expect_error 1 'capictl: /tmp cannot be read: Is a directory' $command /tmp
  }
done
expect_error 3 'capictl: /tmp/\x1b[2J\n cannot be read: No such file or directory' \
  config lint $'/tmp/\e[2J\n'

# An ordinary user reads and changes the record, which is everybody's, but no file of root's.
as_user() { setpriv --reuid=65534 --regid=65534 --clear-groups "$@"; }
if as_user "${tool[@]}" --version >/dev/null 2>&1; then
  root_tool=("${tool[@]}")
  expect 0 /tmp/vosip.conf.voip stack-file voip
  tool=(as_user "${tool[@]}")
  expect 0 1 config get sms.enable
  expect 0 '' config set sms.sca 4711
  expect 0 4711 config get sms.sca
  expect_error 1 'capictl: /tmp/vosip.conf.voip cannot be written; --print shows what it would be' \
    stack-file voip
  expect 0 "$(cat /tmp/vosip.conf.voip | sed 's/^sca=.*/sca=4711/')" stack-file voip --print
  expect 0 "$("${root_tool[@]}" locks)" locks
  chmod 600 /quorbleconf/nv/voip_call_log /quorbleconf/nv/sm_recv
  expect_error 3 "capictl: /quorbleconf/nv/voip_call_log cannot be read; the master's start makes it" calls check
  expect_error 1 'capictl: the call log cannot be read. What is wrong with it: capictl calls check' calls list
  expect 1 $'sms.sca\t4711\t+15550000001' config diff /quorbleconf/config/voice.settings
  tool=("${root_tool[@]}")
  expect 0 '' calls check
fi

finish
