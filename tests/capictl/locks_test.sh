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
