#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"
source "$(dirname "$0")/waiting.sh"

start_adapter
mkfifo /tmp/ready /tmp/told

# watch TOPICS ARG...: begins to watch, and comes back when the tool does; what it says is checked by
# "told LINE...".
watch() {
  local topics=$1
  shift
  "${tool[@]}" monitor "$@" >/tmp/told 2>/tmp/ready &
  watcher=$!
  exec 3</tmp/told
  read -r ready </tmp/ready
  [ "$ready" = "Watching $topics. Ctrl-C ends." ] || fail "it began with: $ready"
}

# end [SIGNAL]: ends it by a signal, and fails when something was said that nobody asked for.
end() {
  kill -s "${1-TERM}" $watcher
  wait $watcher || fail "it ended with $?"
  rest=$(cat <&3)
  exec 3<&-
  [ -z "$rest" ] || fail "it also said: $rest"
}

time_pattern='20[0-9]{2}-[01][0-9]-[0-3][0-9]T[0-2][0-9]:[0-5][0-9]:[0-6][0-9][+-][0-9]{2}:[0-9]{2}'

# next_lines COUNT: what it says next, without its times. Changes of one process may be seen one by
# one or together, so the order says nothing.
next_lines() {
  local line
  for ((i = 0; i < $1; ++i)); do
    IFS= read -r line <&3
    [[ $line =~ ^('{"time":"')?${time_pattern} ]] || fail "no time begins: $line"
    sed -E "s/^$time_pattern\t//; s/^\{\"time\":\"$time_pattern\",/{/; s/$time_pattern/TIME/" <<<"$line"
  done | sort
}

told() {
  local expected actual
  expected=$(printf '%s\n' "$@" | sort)
  actual=$(next_lines $#)
  [ "$actual" = "$expected" ] && return
  fail 'it said something else:'
  diff <(echo "$expected") <(echo "$actual")
}

in_case 'A setting has key, old and new value; another process may be slow or fast'
watch 'config, device, lines, calls, messages'
expect 0 '' config set sms.sca +15550000002
told $'config\tsms.sca\t+15550000001\t+15550000002'
expect 0 '' config set sms.enable 0
told $'config\tsms.enable\t1\t0'
expect 0 '' config set runtime_info.wan_ip 192.0.2.99
told $'device\truntime_info.wan_ip\t192.0.2.20\t192.0.2.99'
expect 0 '' config set sms.enable 0
expect 0 '' config set sip_line_2.auth_password not-to-be-seen
told $'config\tsip_line_2.auth_password\t(set)\t(set)'
expect 0 '' config set sip_line_2.auth_password ''
told $'config\tsip_line_2.auth_password\t(set)\t(not set)'
others unnamed
told $'config\tchanged' $'device\tvendor changed'

in_case 'What lines do is told in words'
others lines >/dev/null
told $'lines\tline 1 is registered on stack 2 (voip)' \
  $'lines\tline 2 is not registered on stack 1 (volte): Server Rejected, 403' \
  $'lines\tline 1: the telephone is Off-hook' $'lines\tline 1 is off the hook' \
  $'lines\tline 1: no status, voice mail is waiting'
others talk
told $'lines\tline 1 is not registered on stack 2 (voip): Server Unreachable' \
  $'lines\tline 2: circuit-switched registration 1 -2 0 0 5' \
  $'lines\tline 1 is on the hook, with a call coming in' \
  $'lines\tline 1: call 2 is Ringing, 15551230100, Workshop'

in_case 'New calls and messages are told, and what goes'
others calls
told $'calls\tnew call of type 0: 15551230007, Anna, 1000' \
  $'calls\tnew call of type 2: 15551230008, "B", Carl, 2000'
expect 0 '' calls delete 0
told $'calls\t1 call deleted, 1 left'
expect 0 '' calls clear --yes
told $'calls\t1 call deleted, none left'
others call 2 0 $'\t' 4294967295
told $'calls\tnew call of type 2: \\t, 2106-02-07T06:28:15+00:00'
expect 0 '' calls clear --yes
told $'calls\t1 call deleted, none left'
expect 0 '' sms send +15551230002 $'Hi\tthere'
told $'messages\tnew sent message 1: +15551230002, TIME: Hi\\tthere'
expect 0 '' sms send +15551230002 more
told $'messages\tnew sent message 2: +15551230002, TIME: more'
expect 0 '' sms mark-read sent 2
told $'messages\tsent message 2 is read, status 2'
expect 0 '' sms clear sent --yes
told $'messages\t2 sent messages deleted, none left'
end

in_case 'As JSON a change is an object with real types'
watch 'config, device, lines, calls, messages' --json
expect 0 '' config set sms.enable 1
told '{"topic":"config","change":"value","key":"sms.enable","old":0,"new":1}'
expect 0 '' config set --force sms.sca $'a"\xff'
told '{"topic":"config","change":"value","key":"sms.sca","old":"+15550000002","new":"a\"'$'\xef\xbf\xbd''"}'
expect 0 '' config set sip_line_2.auth_password not-to-be-seen
told '{"topic":"config","change":"value","key":"sip_line_2.auth_password","old":"(not set)","new":"(set)"}'
others lines
told '{"topic":"lines","change":"registration","line":1,"stack":2,"type":"voip","registered":true,"reason":"","detail":""}' \
  '{"topic":"lines","change":"hook","line":1,"off_hook":true,"incoming":false}'
others calls
told '{"topic":"calls","change":"added","node":0,"type":0,"line":1,"number":"15551230007","name":"Anna","start":1000}' \
  '{"topic":"calls","change":"added","node":1,"type":2,"line":1,"number":"15551230008","name":"\"B\", Carl","start":2000}'
others call 0 2 15551230007 1000000000
told '{"topic":"calls","change":"added","node":2,"type":0,"line":2,"number":"15551230007","name":"","start":"TIME"}'
expect 0 '' calls clear --yes
told '{"topic":"calls","change":"deleted","count":3,"left":0}'
long=$(printf %039000d 0)
expect 0 '' sms send +15551230002 "$long"
told '{"topic":"messages","change":"added","box":"sent","id":1,"read":false,"status":2,"stored":"TIME","local":"+15551230001","remote":"+15551230002","text_type":0,"text":"'"$long"'"}'
expect 0 '' sms mark-read sent 1
told '{"topic":"messages","change":"updated","box":"sent","id":1,"read":true,"status":2}'
expect 0 '' sms delete sent 1
told '{"topic":"messages","change":"deleted","count":1,"left":0,"box":"sent"}'
end INT

in_case 'Only of the topics that are named, whatever else changes'
watch 'device, calls' calls device
others talk
others unnamed
expect 0 '' config set sms.sca 4711
expect 0 '' config set runtime_info.wan_ip 192.0.2.20
told $'device\truntime_info.wan_ip\t192.0.2.99\t192.0.2.20'
end

in_case 'A store that the library would replace is told of, and stays as it is'
watch messages messages
printf x >>/quorbleconf/nv/sm_recv
cp /quorbleconf/nv/sm_recv /tmp/damaged
expect 0 '' sms send +15551230002 1
told $'messages\tthe file of received messages changed, and cannot be read' \
  $'messages\tnew sent message 2: +15551230002, TIME: 1'
cmp /quorbleconf/nv/sm_recv /tmp/damaged || fail 'looking on changed it'
end

in_case 'While nothing that it wants to know changes, it does not run'
watch lines lines
others lines >/dev/null
told $'lines\tline 1 is registered on stack 2 (voip)' $'lines\tline 1 is off the hook'
sleeps_while $watcher others settings 300000
slept=$(runs_of $watcher)
others talk
told $'lines\tline 1 is not registered on stack 2 (voip): Server Unreachable' \
  $'lines\tline 1 is on the hook, with a call coming in'
[ "$slept" != "$(runs_of $watcher)" ] || fail 'it tells without running'
end

in_case 'It follows the adapter when its master starts anew, with another segment as well'
settings=(--settings /quorbleconf/config/voice.settings /quorbleconf/config/network.settings)
# told_last KEY VALUE: what it says at last.
told_last() {
  local line=
  until [[ $line == *$'\t'"$1"$'\t'*$'\t'"$2" ]]; do
    IFS= read -r line <&3 && continue
    fail "it ended before it said: $*"
    return
  done
}
watch config config
expect 0 '' master --force "${settings[@]}"
expect 0 '' config set sms.sca 11
told_last sms.sca 11
ipcrm --all=shm
expect 0 '' master "${settings[@]}"
expect 0 '' config set sms.sca 12
told_last sms.sca 12
# The same look may tell of keys behind this one.
kill -s TERM $watcher
wait $watcher || fail "it ended with $?"
exec 3<&-

in_case 'It ends when its reader goes, whether something changes or not'
"${tool[@]}" monitor config >/tmp/told 2>/tmp/ready &
watcher=$!
exec 3</tmp/told
read -r _ </tmp/ready
exec 3<&-
wait $watcher || fail "it ended with $?"
for _ in 1 2 3 4 5; do
  "${tool[@]}" monitor >/tmp/told 2>/tmp/ready &
  watcher=$!
  exec 3</tmp/told
  read -r _ </tmp/ready
  others unnamed
  expect 0 '' config set sms.sca 1
  exec 3<&-
  wait $watcher || fail "with more to tell it ended with $?"
  expect 0 '' config set sms.sca 2
done
"${tool[@]}" monitor config >/dev/full 2>/tmp/errors &
watcher=$!
until [ -s /tmp/errors ]; do :; done
expect 0 '' config set sms.sca 3
wait $watcher
[ $? -eq 1 ] || fail 'a full disk is no reader that goes'
grep -qx 'capictl: the output is not complete: standard output cannot be written' /tmp/errors ||
  fail "on a full disk it said: $(cat /tmp/errors)"

in_case 'On a terminal a line ends at its edge'
mkfifo /tmp/keys
NO_COLOR=1 script --quiet --command "stty cols 80; $(printf '%q ' "${tool[@]}") monitor config messages" \
  /dev/null </tmp/keys >/tmp/screen &
screen=$!
exec 4>/tmp/keys
until grep -q Watching /tmp/screen; do :; done
expect 0 '' config set sms.sca ''
until grep -q 'sms.sca: 3 -> (empty)' /tmp/screen; do :; done
expect 0 '' config set sms.sca 7
expect 0 '' sms send +15551230002 "$long"
until grep -q 'new sent message' /tmp/screen; do :; done
printf '\003' >&4
wait $screen
exec 4>&-
mapfile -t lines < <(sed -E "s/\r$//; s/^$time_pattern  //" /tmp/screen | grep -vE 'Watching|\^C')
[ "${lines[0]}" = 'config  sms.sca: 3 -> (empty)' ] || fail "the screen shows: ${lines[0]}"
[ "${lines[1]}" = 'config  sms.sca: (empty) -> 7' ] || fail "the screen shows: ${lines[1]}"
[[ ${lines[2]} == 'messages  new sent message 3: '*... ]] || fail "the screen shows: ${lines[2]}"
[ $((${#lines[2]} + 27)) -eq 80 ] || fail "the line has $((${#lines[2]} + 27)) characters"

in_case 'What it cannot do it says'
expect_error 2 'capictl: TOPIC is one of config, device, lines, calls, messages, not phone. Help: capictl monitor --help' \
  monitor phone
as_user=(setpriv --reuid=65534 --regid=65534 --clear-groups)
if "${as_user[@]}" "${tool[@]}" --version >/dev/null 2>&1; then
  chmod 600 /tmp/capi_news.lines
  tool=("${as_user[@]}" "${tool[@]}")
  expect_error 1 'capictl: changes cannot be watched: a file /tmp/capi_news.* may not be read. It belongs to another user: remove it as that one or as root' \
    monitor lines
  watch config config
  expect 0 '' config set sms.sca 8
  told $'config\tsms.sca\t7\t8'
  end
fi

finish
