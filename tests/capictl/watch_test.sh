#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

start_adapter
mkfifo /tmp/ready

# watch ARG...: begins to watch, and comes back when the tool does.
watch() {
  "${tool[@]}" config watch "$@" >/tmp/changes 2>/tmp/ready &
  watcher=$!
  read -r ready </tmp/ready
  [ "$ready" = "Watching $(count_of_keys) values. Ctrl-C ends." ] || fail "watch began with: $ready"
}

in_case 'What others change is shown as it happens'
watch --count 2
expect 0 '' config set sms.sca +15550000002
expect 0 '' config set sms.enable 0
wait $watcher || fail "watch ended with $?"
[ "$(sort /tmp/changes)" = $'sms.enable\t1\t0\nsms.sca\t+15550000001\t+15550000002' ] ||
  fail "watch saw: $(cat /tmp/changes)"

in_case 'As JSON a change is a line'
watch --count 1 --json
expect 0 '' config set sms.sca +15550000003
wait $watcher || fail "watch ended with $?"
[ "$(cat /tmp/changes)" = '{"key":"sms.sca","old":"+15550000002","new":"+15550000003"}' ] ||
  fail "watch saw: $(cat /tmp/changes)"

in_case 'Ctrl-C ends it well, and what it saw is not lost'
for signal in INT TERM; do
  watch
  expect 0 '' config set --force sms.sca "$signal"
  until [ -s /tmp/changes ]; do :; done
  kill -s $signal $watcher
  wait $watcher || fail "after $signal watch ended with $?"
  [ "$(cut -f 1,3 /tmp/changes)" = "sms.sca	$signal" ] || fail "watch saw: $(cat /tmp/changes)"
done

in_case 'Between two looks passes the time that is asked for'
watch --interval 3600000
expect 0 '' config set sms.sca 1
until [ -s /tmp/changes ]; do :; done
mkfifo /tmp/seen
"${tool[@]}" config watch --count 1 >/tmp/seen 2>/tmp/ready &
exec 3</tmp/seen
read -r ready </tmp/ready
expect 0 '' config set sms.sca 2
read -r seen <&3
exec 3<&-
[ "$seen" = $'sms.sca\t1\t2' ] || fail "another watch saw: $seen"
kill $watcher
wait $watcher || fail "within the time watch ended with $?"
[ "$(cut -f 1,3 /tmp/changes)" = $'sms.sca\t1' ] || fail "watch saw: $(cat /tmp/changes)"
expect_error 2 'capictl: --interval: Value 0 not in range 1 to 3600000. Help: capictl config watch --help' \
  config watch --interval 0

in_case 'A value that sections have in common is told of once'
watch --count 1
expect 0 '' config set sip_server_1.sip_domain example.org
wait $watcher || fail "watch ended with $?"
[ "$(cut -f 1,3 /tmp/changes)" = $'sip_server_1.sip_domain\texample.org' ] || fail "watch saw: $(cat /tmp/changes)"

finish
