#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

start_adapter
stack_files() { (cd /tmp && echo vosip.conf*); }
posted() { cat /tmp/posted_signals 2>/dev/null; }
changed='signal simple vop_sig_cfg_changed_info'

in_case 'Without --apply a change is in the record only'
expect 0 '' config set sip_line_1.display_name Kitchen
[ "$(stack_files)$(posted)" = 'vosip.conf*' ] || fail "made: $(stack_files) $(posted)"

in_case '--apply writes the files of the stacks that show the values, and then posts one signal'
cat >/usr/sbin/vsdk_cmd <<'END'
#!/bin/sh
printf '%s\n' "$*" >>/tmp/posted_signals
grep -sH '^displayname=' /tmp/vosip.conf* >/tmp/files_then
END
expect 0 '' config set sip_line_1.display_name Porch sip_line_2.enable 0 --apply
[ "$(stack_files)" = vosip.conf.voip ] || fail "made: $(stack_files)"
[ "$(posted)" = "$changed" ] || fail "posted: $(posted)"
grep -qx '/tmp/vosip.conf.voip:displayname=Porch' /tmp/files_then || fail 'posted before it was written'

in_case 'A file and a reset are applied as well, and a value that all stacks have goes to all'
printf '[sip_line_1]\noption_sip_line_display_name=Attic\n' >/tmp/attic
expect 0 '' config load /tmp/attic --apply
grep -qx displayname=Attic /tmp/vosip.conf.voip || fail 'the file is as before'
expect 0 '' config reset basic_sip.rtp_dscp --apply
[ "$(stack_files)" = 'vosip.conf vosip.conf.cs vosip.conf.qvc vosip.conf.sos vosip.conf.voip vosip.conf.volte vosip.conf.vowifi' ] ||
  fail "made: $(stack_files)"
expect 0 '' config set sms.enable 1 --apply
[ "$(posted | sort | uniq -c)" = "      4 $changed" ] || fail "posted: $(posted)"

in_case 'What is refused or only tried is not applied'
rm /tmp/posted_signals /tmp/vosip.conf*
expect 4 '' config set sip_line_1.display_name Cellar sip_line_2.enable 7 --apply
expect 0 $'sip_line_1.display_name\tAttic\tCellar' config set sip_line_1.display_name Cellar --apply --dry-run
[ "$(stack_files)$(posted)" = 'vosip.conf*' ] || fail "made: $(stack_files) $(posted)"

in_case 'A file that cannot be written is told of; the value is set, and the signal posted'
mkdir /tmp/vosip.conf.voip
expect_error 1 'capictl: the values are set, but could not be applied: /tmp/vosip.conf.voip cannot be written or posted' \
  config set sip_line_1.display_name Cellar --apply
expect 0 Cellar config get sip_line_1.display_name
[ "$(posted)" = "$changed" ] || fail "posted: $(posted)"
rmdir /tmp/vosip.conf.voip

finish
