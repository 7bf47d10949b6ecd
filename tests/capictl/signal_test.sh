#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

start_adapter
rm -f /tmp/posted_signals
expect 0 '' signal vop_sig_cfg_changed
expect 0 '' signal vop_sig_cfg_changed 1 two
[ "$(cat /tmp/posted_signals)" = 'signal simple vop_sig_cfg_changed
signal json {"msg":"signal","name":"vop_sig_cfg_changed","attrs":{"param1":"1","param2":"two","param3":""}}' ] ||
  fail "posted: $(cat /tmp/posted_signals)"
expect_error 3 'capictl: "a;b" holds a character that means something to the shell; send letters, digits and signs such as . _ - + : only' \
  signal 'a;b'
expect_error 2 $'NAME is required\nRun with --help for more information.' signal
expect 0 $'name\tvop_sig_voip_vm_on\nline\t1' signal decode \
  <<<'{"msg":"signal","name":"vop_sig_voip_vm_on","attrs":{"line":1}}'
expect_error 3 'capictl: standard input is not JSON' signal decode <<<'{'
expect_error 3 'capictl: this JSON is no signal: it has no "name"' signal decode <<<'{}'

finish
