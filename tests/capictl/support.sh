# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# What the tests of the tool share. A test gets the checkout, the program others and the tool's
# command line, and runs in a private view; it ends with "finish".
# shellcheck shell=bash
set -u
export LC_ALL=C.UTF-8 TZ=UTC SHELL=/bin/bash
unset COLUMNS
umask 022

source_dir=$1
others=$2
shift 2
tool=("$@")
failures=0

# in_case NAME: what follows shows that NAME is so, and fails under it.
current=
in_case() { current=$1; }

fail() {
  echo "FAILED: ${current:+$current: }$*"
  failures=$((failures + 1))
}

# The device's files, without an adapter running.
set_up_device() { cp -r "$source_dir/demo/device/." /; }

start_adapter() {
  set_up_device
  "${tool[@]}" master --settings /quorbleconf/config/voice.settings \
    /quorbleconf/config/network.settings || fail 'the adapter does not start'
}

# What other processes do. Under an emulator the tool comes last on its command line, and so does
# any other program.
emulator=("${tool[@]:0:${#tool[@]}-1}")
others() { "${emulator[@]}" "$others" "$@" || fail "others $*"; }

# How many keys there are.
count_of_keys() { grep -c '^option_' "$source_dir/tests/data/all_keys.settings"; }

# expect CODE OUTPUT ARG...: runs the tool; what it writes on standard error is then in $errors.
errors=
expect() {
  local code=$1 output=$2 actual status=0
  shift 2
  actual=$("${tool[@]}" "$@" 2>/tmp/errors) || status=$?
  errors=$(cat /tmp/errors)
  if [ $status -ne "$code" ] || [ "$actual" != "$output" ]; then
    fail "capictl $*: exit code $status instead of $code"
    diff <(echo "$output") <(echo "$actual")
    echo "$errors"
  fi
}

# The same for a command whose standard error has to be this text.
expect_error() {
  local code=$1 text=$2
  shift 2
  expect "$code" '' "$@"
  [ "$errors" = "$text" ] || fail "capictl $*: said \"$errors\" instead of \"$text\""
}

# The same for one that stands on a terminal, without colours.
expect_on_terminal() {
  local code=$1 output=$2 actual status=0
  shift 2
  actual=$(NO_COLOR=1 script --quiet --return --command "$(printf '%q ' "${tool[@]}" "$@")" \
    /dev/null </dev/null | sed 's/\r$//'; exit "${PIPESTATUS[0]}") || status=$?
  [ $status -eq "$code" ] && [ "$actual" = "$output" ] && return
  fail "capictl $* on a terminal: exit code $status instead of $code"
  diff <(echo "$output") <(echo "$actual")
}

finish() {
  [ "$failures" -eq 0 ] && echo 'All was as it should be.' && exit 0
  exit 1
}
