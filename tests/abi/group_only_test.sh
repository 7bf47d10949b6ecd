#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# group_only_test.sh SOURCE-DIR BUILD-DIR LIBRARY TOOL KEYS-LIBRARY C-COMPILER C++-COMPILER
#   [TOOLCHAIN-FILE [EMULATOR]]
#
# Builds the library for the use of one group and looks at what it makes, beside what LIBRARY makes
# for everybody; then a member of the group and a stranger use it, also by TOOL, which is capictl for
# such a library. Needs a private view.
set -euo pipefail

source=$1 build=$2/group_only everybodys=$3 tool=$4 keys=$5 cc=$6 cxx=$7 toolchain=${8-}
shift $(($# < 8 ? $# : 8))
emulator=("$@")
failures=0

fail() {
  echo "FAILED: $1"
  failures=$((failures + 1))
}

build_library() {
  cmake -S "$source" -B "$build" -DCAPI_GROUP_ONLY=ON -DCMAKE_BUILD_TYPE=Debug \
    -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" \
    ${toolchain:+-DCMAKE_TOOLCHAIN_FILE="$toolchain"} &&
    cmake --build "$build" --target capi
}
if ! build_library >/tmp/built 2>&1; then
  cat /tmp/built
  exit 1
fi

# Where everybody can read.
install_client() { # DIR LIBRARY
  mkdir -p "$1"
  cp "$2" "$1/libcapi.so.0"
  "$cc" -Wall -Wextra -Werror -I "$source/include" "$source/tests/abi/group_client.c" -o "$1/client" "$1/libcapi.so.0" \
    -Wl,-rpath,"$1"
}
umask 022
install_client /tmp/group_only "$build/libcapi.so"
install_client /tmp/everybody "$everybodys"
printf '#!/bin/sh\n' >/usr/sbin/vsdk_cmd
chmod 755 /usr/sbin/vsdk_cmd

start() { # DIR: the device's start, as a process of group 2000 where there are groups
  rm -rf /tmp/group /tmp/capi_lock_stats
  touch /tmp/m_data
  ipcrm --all
  mkdir /tmp/group
  chgrp 2000 /tmp/group 2>/dev/null || true
  (umask 0 && "${in_group[@]}" "${emulator[@]}" "$1/client" start) || fail "$1 does not start"
}

expect() { # PATH MODE
  local mode
  mode=$(stat --format=%a "$1") || mode=none
  [ "$mode" = "$2" ] || fail "$1 has mode $mode and not $2"
}

# Segment and semaphores: the modes that the kernel tells.
expect_ipc() { # MODE
  local modes
  modes=$(awk 'FNR > 1 { print $3 }' /proc/sysvipc/shm /proc/sysvipc/sem | xargs)
  [ "$modes" = "$1 $1" ] || fail "segment and semaphores have the modes $modes and not $1"
}

expect_modes() { # FILES DIRECTORIES LOCK-FILE
  local name
  expect_ipc "$1"
  for name in nv/voip_call_log nv/sm_send data/written; do expect "/tmp/group/$name" "$1"; done
  expect /tmp/capi_lock_stats "$1"
  for name in work data log nv; do expect "/tmp/group/$name" "$2"; done
  expect /tmp/group/lock "$3"
}

in_group=()
others=yes
setpriv --regid 2000 --clear-groups true 2>/dev/null || others=
[ -z "$others" ] || in_group=(setpriv --regid 2000 --clear-groups)

start /tmp/everybody
expect_modes 666 777 755
start /tmp/group_only
expect_modes 660 770 770

use() { # USER GROUP: the calls that fail for this user
  rm -f /tmp/capi_lock_stats
  (umask 0 && setpriv --reuid "$1" --regid "$1" --groups "$2" "${emulator[@]}" \
    /tmp/group_only/client use)
}
if [ "$others" ]; then
  chmod 770 /tmp/group
  use 1001 2000 || fail 'a member of the group cannot use the device'
  refused=$(use 1002 1002 | xargs || true)
  all='failed: capi_get_voice_basic failed: capi_set_voice_basic failed: capi_voip_add_call_log'
  all+=' failed: capi_voip_sms_add failed: utils_write_to_file failed: capi_lock_file'
  all+=' failed: capi_unlock_file failed: capi_critical_section_lock_stats'
  [ "$refused" = "$all" ] || fail "a stranger was refused this only: $refused"
else
  echo 'skipped: there is no other user here'
fi

# ---- A change with a way back -------------------------------------------------------------------

# capictl as a user, all of whose groups are named; the mask is that of a cautious shell.
capictl() { # USER GROUP ARGUMENT...
  local user=$1 group=$2
  shift 2
  (umask 077 && LD_LIBRARY_PATH=/tmp/group_only setpriv --reuid "$user" --regid "$user" --groups "$group" \
    "${emulator[@]}" /tmp/group_only/capictl "$@")
}
said_is() { # EXPECTED SAID
  [ "$2" = "$1" ] || fail "it says \"$2\" and not \"$1\""
}
members_change() {
  local id
  ipcrm --all
  rm -rf /var/lib/capi /tmp/group
  install -d -m 2770 -g 2000 /var/lib/capi # as the device's start does
  install -d -m 2770 -g 2000 /tmp/group
  (umask 0 && "${in_group[@]}" "${emulator[@]}" /tmp/group_only/client start) || fail 'it does not start'

  capictl 1001 2000 config set sip_line_1.display_name Hall || fail 'a member cannot set a value'
  id=$(capictl 1001 2000 config set sip_line_1.display_name Den --confirm-within 600 2>/tmp/errors) ||
    fail "a member cannot make a change with a way back: $(cat /tmp/errors)"
  for name in pending lock watcher; do
    said_is '660 2000' "$(stat --format='%a %g' /var/lib/capi/$name)"
  done
  said_is "$id" "$(capictl 1003 2000 config pending | awk '$2 == "id" { print $3 }')"
  capictl 1002 1002 config confirm "$id" 2>/dev/null && fail 'a stranger confirms a change'
  # One member takes back what another one has changed.
  capictl 1003 2000 config cancel "$id" 2>/tmp/errors || fail "it is not taken back: $(cat /tmp/errors)"
  said_is Hall "$(capictl 1001 2000 config get sip_line_1.display_name)"
  # And it goes back by itself.
  capictl 1003 2000 config set sip_line_1.display_name Attic --confirm-within 1 >/dev/null 2>&1 ||
    fail 'another member cannot make a change after the first one'
  flock --timeout 60 /var/lib/capi/watcher true || fail 'it does not go back'
  said_is Hall "$(capictl 1001 2000 config get sip_line_1.display_name)"

  # Made where it is missing, as by root at the first change.
  rm -r /var/lib/capi
  (umask 077 && LD_LIBRARY_PATH=/tmp/group_only "${in_group[@]}" "${emulator[@]}" /tmp/group_only/capictl \
    config set sip_line_1.display_name Den --confirm-within 600 >/dev/null 2>&1) || fail 'root cannot change it'
  said_is '2770 2000' "$(stat --format='%a %g' /var/lib/capi)"
  capictl 1001 2000 config cancel 2>/dev/null || fail 'a member cannot take back what root has changed'
}
install -m 755 "$tool" /tmp/group_only/capictl
cp "$keys" /tmp/group_only/libcapi-keys.so.0
[ -z "$others" ] || members_change
[ $failures -eq 0 ]
