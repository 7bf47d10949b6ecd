#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

in_case 'Every command, as the tool lists them, has help with an example, and a place in the manual'
"${tool[@]}" page man >/tmp/capictl.1
mapfile -t commands < <("${tool[@]}" page commands)
[ ${#commands[@]} -eq 50 ] || fail "there are ${#commands[@]} commands"
for command in '' "${commands[@]}"; do
  read -ra words <<<"$command"
  help=$("${tool[@]}" "${words[@]}" --help 2>&1) || fail "$command --help ends with $?"
  [[ $help == *'Usage: capictl'* ]] || fail "$command --help is: $help"
  [[ $help =~ $'\n'Examples?:$'\n  capictl '"$command" ]] || fail "$command has no example"
  [ -z "$command" ] || grep -qx "\.SS ${command//-/\\\\-}" /tmp/capictl.1 ||
    fail "the manual lacks $command"
  while read -r option; do
    grep -qxF ".B ${option//-/\\-}" /tmp/capictl.1 || fail "the manual lacks $option of $command"
  done < <(sed -n 's/^  [-h, ]*\(--[a-z-]*\).*/\1/p' <<<"$help" | grep -v '^--help$')
done

in_case 'The exit codes are documented, and what every command takes'
codes='Exit codes:
  0  done
  1  it failed, or something was found (lint, check) or differs (diff)
  2  the command line is wrong
  3  there is no such key, call, message or file
  4  a check refused it; nothing was changed
  5  no adapter is up
  6  a lock was not free in time'
[[ $("${tool[@]}" --help) == *"$codes"* ]] || fail 'no exit codes'
[[ $(cat /tmp/capictl.1) == *"$codes"* ]] || fail 'none in the manual'
expect 0 "$(sed -n 's/^project(capi VERSION \([0-9.]*\).*/\1/p' "$source_dir/CMakeLists.txt")" --version
sed -n 's/^  \([0-9]\)  \(.*\)/\1 \2/p' <<<"$codes" >/tmp/codes
diff /tmp/codes <(sed -n 's/^| \([0-9]\) | \(.*\) |$/\1 \2/p' "$source_dir/docs/capictl.md" | tr -d '`') ||
  fail 'docs/capictl.md tells other exit codes'
if command -v groff >/dev/null; then
  groff -man -ww -Tutf8 /tmp/capictl.1 2>&1 >/dev/null | grep . && fail 'the manual is no good roff'
fi

in_case 'No line of help or manual is wider than 80 columns'
for command in '' "${commands[@]}"; do
  read -ra words <<<"$command"
  "${tool[@]}" "${words[@]}" --help | grep -E '^.{81}' && fail "$command --help is too wide"
done
if command -v groff >/dev/null; then
  groff -man -Tutf8 -rLL=80n -P-cbou /tmp/capictl.1 | grep -E '^.{81}' &&
    fail 'the manual is too wide'
fi

in_case 'Help is a command, too, and bare capictl shows what there is'
expect 0 "$("${tool[@]}" --help)"
expect 0 "$("${tool[@]}" --help)" help
expect 0 "$("${tool[@]}" calls list --help)" help calls list
expect_error 2 'capictl: there is no command capictl calls lst; did you mean list? Help: capictl calls --help' \
  help calls lst

in_case 'A wrong command line is told of in one line, with what was meant, and where help is'
expect_error 2 'capictl: capictl config needs a command: get, set, load, reset, confirm, cancel, pending, list, describe, schema, dump, save, diff, lint, watch. Help: capictl config --help' config
expect_error 2 'capictl: there is no command capictl nothing. Help: capictl --help' nothing
expect_error 2 'capictl: there is no command capictl stat; did you mean status? Help: capictl --help' stat
expect_error 2 'capictl: there is no command capictl sms lsit; did you mean list? Help: capictl sms --help' sms lsit sent
expect_error 2 'capictl: there is no option --nothing. Help: capictl status --help' status --nothing
expect_error 2 'capictl: there is no option --jsn; did you mean --json? Help: capictl status --help' status --jsn
expect_error 3 'capictl: there is no key 2. All keys: capictl config list' config set sms.sca 1 2 B 3
expect_error 2 'capictl: too many arguments: 2 3. Help: capictl config list --help' config list sms 2 3
expect_error 2 'capictl: TYPE is one of volte, voip, vowifi, cs, qvc, sos, generic, not vop; did you mean voip? Help: capictl stack-file --help' \
  stack-file vop

in_case 'With --json an error is JSON on standard error, with the same exit code'
expect_error 2 '{"error":{"code":"unknown_command","message":"there is no command capictl sms lsit; did you mean list? Help: capictl sms --help","key":"lsit","allowed":"list, show, send, mark-read, delete, clear, backup, check"}}' \
  sms lsit --json
expect_error 5 '{"error":{"code":"no_adapter","message":"there are no locks: the adapter'"'s"' master has not been started on this device"}}' \
  --json locks
expect_error 3 $'{"error":{"code":"not_found","message":"/tmp/a\\"\\t\xef\xbf\xbd cannot be read: No such file or directory"}}' \
  --json config lint $'/tmp/a"\t\xff'

in_case 'A field that there is not is told of with those that there are'
fields='row, carrier, file, mcc, mncs, mnc_length, iccid_prefix'
expect_error 2 "capictl: there is no field mnc; did you mean mcc? The fields: $fields" carrier list --fields row,mnc
expect_error 2 "{\"error\":{\"code\":\"unknown_field\",\"message\":\"there is no field nothing. The fields: $fields\",\"key\":\"nothing\",\"allowed\":\"$fields\"}}" \
  carrier list --fields row,nothing --json

finish
