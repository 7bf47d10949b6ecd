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

set_value() { "${tool[@]}" config set "$@" 2>/tmp/errors || fail "set $*: $(cat /tmp/errors)"; }
value_is() { expect 0 "$1" config get sip_line_1.display_name; }
# A watcher holds this file as long as it lives.
wait_for_watcher() { flock /var/lib/capi/watcher true; }
watchers() {
  local fd
  for fd in /proc/[0-9]*/fd/*; do
    [ "$fd" -ef /var/lib/capi/watcher ] && cut -d / -f 3 <<<"$fd"
  done
}
file_has() { grep -qx "displayname=$1" /tmp/vosip.conf.voip || fail "the file has $(grep displayname= /tmp/vosip.conf.voip)"; }
posted_times() { [ "$(posted | grep -cx "$changed")" -eq "$1" ] || fail "posted: $(posted)"; }
outcome_is() {
  local said
  said=$("${tool[@]}" config pending)
  # shellcheck disable=SC2053
  [[ $said == $1 ]] || fail "pending says: $said"
}
expect 0 '' config set sip_line_1.display_name Hall --apply

in_case 'What nobody confirms goes back, to the stack files and with the signal where it was applied'
rm /tmp/posted_signals
id=$(set_value sip_line_1.display_name Den basic_sip.rtp_dscp 40 --apply --confirm-within 1)
[[ $id =~ ^[0-9a-f]{8}$ ]] || fail "the id is $id"
grep -qx "capictl: it goes back in 1 s, at 2.*Z, unless: capictl config confirm $id" /tmp/errors ||
  fail "said: $(cat /tmp/errors)"
wait_for_watcher
value_is Hall
expect 0 0 config get basic_sip.rtp_dscp
file_has Hall
posted_times 2
grep -qx '/tmp/vosip.conf.voip:displayname=Hall' /tmp/files_then || fail 'told before it had gone back'
outcome_is $'change\tpending\tno\nchange\tid\t'"$id"$'\nchange\toutcome\treverted\nchange\tat\t2*'
[ -e /var/lib/capi/pending ] && fail 'it still waits'

in_case 'Without --apply only the values go back'
set_value sip_line_1.display_name Den --confirm-within 1 >/dev/null
wait_for_watcher
value_is Hall
posted_times 2

in_case 'What is confirmed in time stays, and its watcher ends'
id=$(set_value sip_line_1.display_name Den --apply --confirm-within)
file_has Den
expect 0 '' config confirm "$id"
wait_for_watcher
value_is Den
file_has Den
outcome_is '*'$'\toutcome\tconfirmed\n*'
expect_error 3 "capictl: no change waits for a confirmation; the last one, $id, was confirmed" config confirm
expect_error 3 'capictl: no change waits for a confirmation' config cancel 00000000

in_case 'What is cancelled goes back at once'
id=$(set_value sip_line_1.display_name Loft --apply --confirm-within 86400)
file_has Loft
expect 0 '' config cancel
value_is Den
file_has Den
wait_for_watcher
outcome_is '*'$'\toutcome\tcancelled\n*'

in_case 'A wrong id is none'
id=$(set_value sip_line_1.display_name Loft --confirm-within 600)
for command in confirm cancel; do
  expect_error 3 "capictl: no change 12345678 waits for a confirmation; the one that does is $id" \
    config $command 12345678
done
value_is Loft

in_case 'Another change is refused meanwhile, in whatever way, and changes nothing'
printf '[sip_line_1]\noption_sip_line_display_name=Shed\n' >/tmp/shed
text="capictl: a change of capictl, user 0 waits for its confirmation ($id, [0-9]* s left); first capictl config confirm $id, or capictl config cancel $id"
for words in 'set sip_line_1.display_name Shed' 'set sip_line_1.display_name Shed --apply --force' \
  'load /tmp/shed' 'reset sip_line_1'; do
  read -ra words <<<"$words"
  expect 4 '' config "${words[@]}"
  # shellcheck disable=SC2053
  [[ $errors == ${text//\[0-9\]/[0-9]} ]] || fail "said: $errors"
done
value_is Loft
expect 0 $'sip_line_1.display_name\tLoft\tShed' config load /tmp/shed --dry-run

in_case 'What waits is shown, with the time that is left, and no secrets'
before=$("${tool[@]}" config pending --json | sed 's/"seconds_left":.*/"seconds_left":\t600,/; s/"deadline":.*/"deadline":\t"",/')
[ "$before" = '{
	"change":	{
		"pending":	true,
		"id":	"'"$id"'",
		"owner":	"capictl, user 0",
		"deadline":	"",
		"seconds_left":	600,
		"applied":	false
	},
	"values":	[{
			"key":	"sip_line_1.display_name",
			"old":	"Den",
			"new":	"Loft"
		}]
}' ] || fail "pending says: $before"
[ "$(stat -c %a /var/lib/capi/pending)" = 600 ] || fail 'others may read it'

in_case 'Once more with --confirm-within adds to it and gives it more time; all of it goes back'
left() { "${tool[@]}" config pending | sed -n 's/^change\tseconds left\t//p'; }
[ "$(set_value sip_line_1.display_name Roof sip_line_1.auth_password hunter2 --confirm-within 9000)" = "$id" ] ||
  fail 'it has another id'
[ "$(left)" -gt 600 ] || fail "there are $(left) s left"
[[ $("${tool[@]}" config pending; "${tool[@]}" config pending --json) != *hunter* ]] || fail 'a secret is shown'
expect 0 '' config cancel "$id"
value_is Den
expect 0 '(set)' config get sip_line_1.auth_password
wait_for_watcher
[ -z "$(watchers)" ] || fail 'there are watchers left'

in_case 'A value that somebody else changed meanwhile stays, and is told of'
set_value sip_line_1.display_name Loft sms.sca +15551230009 --confirm-within 600 >/dev/null
others settings 1
expect_error 0 'capictl: sms.sca stays as it is: it was changed meanwhile' config cancel
value_is Den
expect 0 +1 config get sms.sca
outcome_is '*'$'\nkept\tsms.sca'
wait_for_watcher

in_case 'A change whose watcher was killed goes back with the next call of the tool'
rm /tmp/posted_signals
id=$(set_value sip_line_1.display_name Loft --apply --confirm-within 86400)
kill -KILL "$(watchers)"
wait_for_watcher
expect 0 Den config get sip_line_1.display_name
[ "$errors" = "capictl: the change $id was not confirmed and has gone back" ] || fail "said: $errors"
value_is Den
file_has Den
posted_times 2

in_case 'One that waited when the device started anew goes back with the start, also from its files'
id=$(set_value sip_line_1.display_name Loft --apply --confirm-within 86400)
"${tool[@]}" config save /tmp/saved.settings
kill -KILL "$(watchers)"
wait_for_watcher
ipcrm --all
rm /tmp/vosip.conf*
expect_error 0 "capictl: the change $id was not confirmed and has gone back" master --settings /tmp/saved.settings
value_is Den
file_has Den
[ -e /var/lib/capi/pending ] && fail 'it still waits'

in_case 'One that is from before a start of the system is over, however much time it had'
set_value sip_line_1.display_name Loft --confirm-within 86400 >/dev/null
kill -KILL "$(watchers)"
wait_for_watcher
sed -i 's/^boot .*/boot before/' /var/lib/capi/pending
value_is Den
[[ $errors == *' was not confirmed and has gone back' ]] || fail "said: $errors"

in_case 'A terminal that hangs up takes nobody along'
NO_COLOR=1 script --quiet --command "$(printf '%q ' "${tool[@]}") config set sip_line_1.display_name Loft --confirm-within 10; kill -HUP 0" /dev/null </dev/null >/dev/null
[ "$(watchers)" ] || fail 'the watcher is gone'
value_is Loft
wait_for_watcher
value_is Den

in_case 'A watcher has a session of its own, and nothing of what its starter had open'
exec 9>/tmp/held
set_value sip_line_1.display_name Loft --confirm-within 600 >/dev/null
watcher=$(watchers)
for fd in /proc/"$watcher"/fd/*; do
  case $(readlink "$fd") in
    /dev/null | /var/lib/capi/watcher | anon_inode:*) ;;
    *) fail "it has $(readlink "$fd")" ;;
  esac
done
[ "$(ps -o sess= -p "$watcher")" -ne "$(ps -o sess= -p $$)" ] || fail 'it is in this session'
"${tool[@]}" config cancel

in_case 'Somebody who holds their lock for ever keeps nobody waiting for ever'
busy='capictl: another program is changing settings: it holds /var/lib/capi/lock'
wait_for_watcher # of the change before
set_value sip_line_1.display_name Loft --confirm-within 600 >/dev/null
exec 8</var/lib/capi/lock
flock 8
expect_error 6 "$busy" config set sip_line_1.display_name Porch --confirm-within 600
expect_error 6 "$busy" config cancel
expect_error 6 "$busy" config confirm
kill -KILL "$(watchers)"
wait_for_watcher
expect 0 Loft config get sip_line_1.display_name
exec 8<&-
value_is Den

in_case 'That no change waits is told without an adapter'
expect 3 '' config cancel

in_case 'A change that is confirmed stays, also where the outcome cannot be written down'
set_value sip_line_1.display_name Loft --confirm-within 600 >/dev/null
rm -f /var/lib/capi/outcome
mkdir -p /var/lib/capi/outcome
expect 0 '' config confirm
expect 0 $'change\tpending\tno' config pending
value_is Loft
rmdir /var/lib/capi/outcome
expect 0 '' config set sip_line_1.display_name Den

in_case 'Nothing is set where nothing could go back'
rm -r /var/lib/capi
: >/var/lib/capi
expect_error 1 'capictl: /var/lib/capi/lock cannot be made, without which nothing goes back: Not a directory' \
  config set sip_line_1.display_name Loft --confirm-within 600
value_is Den
expect 0 '' config set sip_line_1.display_name Stair
rm /var/lib/capi

in_case 'What is refused does not wait, nor does what could not be set'
expect 4 '' config set sip_line_1.enable 7 --confirm-within 600
expect 2 '' config set sip_line_1.enable 1 --confirm-within 0
expect 0 $'change\tpending\tno' config pending

in_case 'A file that is damaged keeps others from changes, and is told of'
set_value sip_line_1.display_name Loft --confirm-within 600 >/dev/null
sed -i '/^end$/d' /var/lib/capi/pending
wait_for_watcher
expect_error 4 'capictl: /var/lib/capi/pending cannot be read: it is damaged; where no change waits, remove it' \
  config set sip_line_1.display_name Porch
value_is Loft

finish
