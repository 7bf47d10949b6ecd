#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

set_up_device
rm /tmp/m_data
expect_error 5 "capictl: there are no locks: the adapter's master has not been started on this device" locks
start_adapter

# locks_but ID LINE: all locks are free, but for one.
locks_but() {
  local id name
  while read -r id name; do
    if [ "$id" = "$1" ]; then
      echo "$2"
    else
      printf '%s\tCAPI_LOCK_%s\tfree\t\t\t0\n' "$id" "$name"
    fi
  done <<<'0 CONF_SHM
2 CALL_LOG
10 VOP_RUN_INFO
12 VOICE_REG_STAT
18 VOICE_SMS'
}
expect 0 "$(locks_but none)" locks

in_case 'Somebody holds a lock; then others wait for it. Who asks does not wait'
for held in '0 CONF_SHM' '2 CALL_LOG'; do
  read -r id name <<<"$held"
  coproc HOLDER { exec "${emulator[@]}" "$others" hold "$id"; }
  holder=$HOLDER_PID
  read -r _ <&"${HOLDER[0]}"
  program=$(cat "/proc/$holder/comm")
  row="$id	CAPI_LOCK_$name	held	$holder	$program"
  expect 0 "$(locks_but "$id" "$row	0")" locks
  "${emulator[@]}" "$others" hold "$id" </dev/null >/dev/null &
  first=$!
  "${emulator[@]}" "$others" hold "$id" </dev/null >/dev/null &
  second=$!
  until "${tool[@]}" locks | grep -q 2$; do :; done
  expect 0 "$(locks_but "$id" "$row	2")" locks
  eval "exec ${HOLDER[1]}>&-"
  wait "$holder" "$first" "$second"
  expect 0 "$(locks_but none)" locks
done

# hold ID: somebody takes a lock, and has it until "release".
hold() {
  coproc HOLDER { exec "${emulator[@]}" "$others" hold "$1"; }
  holder=$HOLDER_PID
  read -r _ <&"${HOLDER[0]}"
  program=$(cat "/proc/$holder/comm")
}
release() {
  eval "exec ${HOLDER[1]}>&-"
  wait "$holder"
}

in_case 'Somebody holds lock 0: who looks is told after a second, and sees what needs no lock'
others lines
lines=$("${tool[@]}" line --fields lines.line,name,phone,off_hook)
hold 0
said="capictl: waited for a second: lock 0 (CAPI_LOCK_CONF_SHM) is held by process $holder ($program)"
expect 0 "adapter	state	locked
$(locks_but 0 "0	CAPI_LOCK_CONF_SHM	held	$holder	$program	0" | sed 's/^/locks	/')" \
  status --fields adapter.state,id,lock,locks.state,holder,program,waiters
[ "$errors" = "$said" ] || fail "it said: $errors"
expect 0 "$lines" line --fields lines.line,name,phone,off_hook
expect 0 +15550000001 config get sms.sca
[ "$errors" = "$said" ] || fail "it said: $errors"
expect 0 "$("${tool[@]}" config list sms 2>/dev/null)" config list sms

in_case 'What cannot be done without the lock ends after some seconds, with a code of its own'
for command in 'config set sms.sca 1' 'calls list'; do
  # shellcheck disable=SC2086
  expect 6 '' $command
  [ "$errors" = "$said
capictl: ${said#*second: }" ] || fail "$command said: $errors"
done
"${tool[@]}" carrier --json 2>&1 >/dev/null | grep -q '^{"error":{"code":"timed_out",' || fail 'the JSON lacks it'
release

in_case 'Only what needs the lock is missing while somebody holds that of a store'
hold 2
expect 0 'stores	calls of type 0	locked
stores	calls of type 1	locked
stores	calls of type 2	locked
stores	received messages	sound
stores	sent messages	sound' status --fields store,stores.state
[ "$errors" = "capictl: waited for a second: lock 2 (CAPI_LOCK_CALL_LOG) is held by process $holder ($program)" ] ||
  fail "it said: $errors"
expect 6 '' calls list
release
expect 0 '' calls list

in_case 'Many ask at once, beside the library that writes of its locks, and each gets all of them'
names=$(locks_but none | cut -f 1,2)
for round in {1..20}; do
  for i in 1 2 3; do
    "${tool[@]}" locks >/tmp/asked.$i &
    asked[i]=$!
  done
  "${emulator[@]}" "$others" stats
  wait "${asked[@]}"
  for i in 1 2 3; do
    # Who starts or ends has a lock for a moment.
    [ "$(cut -f 1,2 /tmp/asked.$i)" = "$names" ] || fail "in round $round it said: $(cat /tmp/asked.$i)"
  done
done

finish
