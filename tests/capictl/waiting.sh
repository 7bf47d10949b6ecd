# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# Whether a process that waits for changes does nothing else. Needs support.sh.
# shellcheck shell=bash disable=SC2154

# runs_of PID: waits until it sleeps, and tells how often and how long it ran until then.
runs_of() {
  until grep -q '^State:.S' "/proc/$1/status"; do :; done
  grep ctxt_switches "/proc/$1/status"
  cut -d ' ' -f 14,15 "/proc/$1/stat"
}

# sleeps_while PID COMMAND...: COMMAND changes what the process does not watch, often enough that
# one that looks every second would look meanwhile.
sleeps_while() {
  local pid=$1 before after
  shift
  before=$(runs_of "$pid")
  "$@"
  after=$(runs_of "$pid")
  [ "$before" = "$after" ] || fail "it ran: $before, then $after"
}
