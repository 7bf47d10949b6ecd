#!/bin/sh
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# Checks that private-view keeps everything to itself; as root also when it is
# used by an ordinary user.
#
# shellcheck disable=SC2016

unset CAPI_PRIVATE_VIEW
support=$(cd "$(dirname "$0")" && pwd -P)
scratch=$(mktemp -d)
mark=capi-view-$$
failures=0
queue=''

clean_up() {
  [ -z "$queue" ] || ipcrm -q "$queue"
  rm -rf "$scratch"
}
trap clean_up EXIT
trap 'exit 1' INT TERM

check() { # WHAT COMMAND [ARG...]
  what=$1
  shift
  if "$@"; then
    echo "ok: $what"
  else
    echo "FAILED: $what"
    failures=$((failures + 1))
  fi
}

# $as is unquoted on purpose: it is empty, or a command that changes the user.
view() { $as "$support/private-view" "$@"; }

no_traces() {
  for dir in /tmp /etc /usr/sbin /quorbleconf; do
    [ ! -e "$dir/$mark" ] || return 1
  done
  [ "$(cksum /etc/passwd)" = "$passwd" ] && [ -x /usr/sbin/pivot_root ]
}

status_is() { # STATUS COMMAND [ARG...]
  expected=$1
  shift
  view "$@" 2>/dev/null
  [ $? -eq "$expected" ]
}

output_is() { # OUTPUT COMMAND [ARG...]
  expected=$1
  shift
  [ "$(view "$@")" = "$expected" ]
}

# Runs in a view next to another one and fails when it sees the other's work.
neighbour='
  meet=$1 me=$2 other=$3
  echo "$me" >/tmp/who && echo "$me" >/etc/who && echo "$me" >/quorbleconf/who || exit 1
  ipcmk -Q >/dev/null || exit 1
  touch "$meet/$me"
  i=0
  until [ -e "$meet/$other" ]; do
    i=$((i + 1))
    [ $i -lt 200 ] || exit 1
    sleep 0.05
  done
  [ "$(cat /tmp/who /etc/who /quorbleconf/who | sort -u)" = "$me" ] &&
    [ "$(ipcs -q | grep -c 0x)" -eq 1 ]'

side_by_side() {
  rm -f "$scratch/kept/one" "$scratch/kept/two"
  view --keep "$scratch/kept" sh -c "$neighbour" - "$scratch/kept" one two &
  view --keep "$scratch/kept" sh -c "$neighbour" - "$scratch/kept" two one
  two=$?
  wait $! && [ $two -eq 0 ]
}

run_checks() {
  passwd=$(cksum /etc/passwd)
  check 'the view can be set up' view true

  check 'files can be created' view \
    sh -c 'touch "/tmp/$1" "/etc/$1" "/usr/sbin/$1" "/quorbleconf/$1"' - "$mark"
  check 'files can be replaced and deleted' view \
    sh -c 'echo x >/etc/x && mv /etc/x /etc/passwd && rm /usr/sbin/pivot_root'
  check 'none of that is seen outside' no_traces
  check '/quorbleconf is empty' output_is '' ls -A /quorbleconf
  check 'the contents of /tmp are hidden' view test ! -e "$scratch/outside"
  check 'small file systems can be mounted' view \
    sh -c 'mount -t tmpfs -o size=16k tmpfs /quorbleconf && touch /quorbleconf/x'

  key=$(view sh -c 'ipcmk -Q >/dev/null && ipcs -q' | grep -o '0x[0-9a-f]*')
  check 'IPC objects can be made' test -n "$key"
  check 'they are not seen outside' sh -c '! ipcs -q | grep -q "$1"' - "$key"
  check 'those outside are not seen inside' view sh -c '! ipcs -q | grep -q 0x'
  check 'two views do not see each other' side_by_side

  check 'success is passed on' status_is 0 true
  check 'an exit status is passed on' status_is 7 sh -c 'exit 7'
  check 'a signal is passed on' status_is 143 sh -c 'kill -TERM $$'
  check 'arguments are passed on' output_is 'a  b|*|' printf '%s|' 'a  b' '*'

  cd "$support" || exit 1
  check 'the working directory is kept' output_is "$support" pwd
  check 'the checkout is visible' view test -x "$support/private-view"
  cd /usr/share || exit 1
  check 'so is one elsewhere' output_is /usr/share pwd
  cd / || exit 1

  rm -f "$scratch/kept/file"
  check 'a kept directory can be written' view --keep "$scratch/kept" touch "$scratch/kept/file"
  check 'that is seen outside' test -e "$scratch/kept/file"
  check 'a missing directory is refused' status_is 125 --keep "$scratch/missing" true

  check 'a view within a view is the same one' view \
    sh -c 'touch /tmp/x && "$1" test -e /tmp/x' - "$support/private-view"
  check 'no mount is left' sh -c "! grep -q ' /[a-z]*/view[/ ]' /proc/self/mountinfo"
}

mkdir -m 777 "$scratch/kept"
chmod 755 "$scratch"
touch "$scratch/outside"
queue=$(ipcmk -Q | tr -dc 0-9)

as=''
run_checks

as='setpriv --reuid=65534 --regid=65534 --clear-groups'
if [ "$(id -u)" -ne 0 ]; then
  :
elif $as unshare --mount --ipc --map-root-user true 2>/dev/null; then
  echo 'Again as an ordinary user:'
  mkdir -p "$scratch/checkout/tests/support"
  cp "$support/private-view" "$scratch/checkout/tests/support"
  chmod -R a+rX "$scratch/checkout"
  support=$scratch/checkout/tests/support
  run_checks
else
  echo 'Ordinary users are not allowed user namespaces here; not checked as one.'
fi

[ $failures -eq 0 ] || echo "$failures checks failed."
[ $failures -eq 0 ]
