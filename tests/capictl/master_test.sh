#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

in_case 'Without an adapter every command that needs one says what to do'
set_up_device
down='capictl: no adapter is up: there are no locks, because no master has started; start the master, or bring one up: capictl master --settings FILE'
for command in status monitor 'config list' 'config get sms.sca' 'config set sms.sca 1' 'config dump' \
  'config diff /dev/null' 'config watch' 'stack-file voip' 'calls list' 'calls show 1' 'calls export' \
  'calls delete 1' 'calls clear' 'calls backup /tmp/a' 'calls check' 'sms list sent' 'sms show sent 1' \
  'sms send 1 hi' 'sms mark-read sent 1' 'sms delete sent 1' 'sms clear sent' 'sms backup /tmp/a' \
  'sms check sent' carrier line 'signal vop_sig_cfg_changed_info'; do
  # shellcheck disable=SC2086
  expect_error 5 "$down" $command
done
[ -e /tmp/posted_signals ] && fail 'a signal was posted without an adapter'

in_case 'What it is brought up from has to be there'
expect_error 3 'capictl: /nowhere cannot be read: No such file or directory' master --settings /nowhere
expect_error 5 "$down" status

in_case 'What is missing is named, from the first that there has to be'
mv /tmp/m_data /tmp/kept_data
expect_error 5 'capictl: no adapter is up: /tmp/m_data is missing, by which the locks are found; provide it, then start the master, or bring one up: capictl master --settings FILE' status
mv /tmp/kept_data /tmp/m_data
expect 0 '' master
mv /usr/sbin/vsdk_cmd /usr/sbin/kept_cmd
expect_error 5 'capictl: no adapter is up: /usr/sbin/vsdk_cmd is missing, by which the shared record is found; provide it, then start the master, or bring one up: capictl master --settings FILE' status
mv /usr/sbin/kept_cmd /usr/sbin/vsdk_cmd
expect 0 '' config get sms.sca
others start
expect 0 '' config get sms.sca
mv /tmp/m_data /tmp/kept_data
expect 0 '' config get sms.sca
mv /tmp/kept_data /tmp/m_data
ipcrm --all=shm
expect_error 5 'capictl: no adapter is up: no master has published settings yet; start the master, or bring one up: capictl master --settings FILE' config list
key=$(ipcs --shmems | grep -o '^0x[^ ]*')
ipcrm --all=shm
perl -e 'shmget(unpack("l", pack("L", hex(shift))), 100, 01666) // die' "$key"
expect_error 5 'capictl: the shared record cannot be attached; --verbose tells why' status
ipcrm --all

in_case 'Later files go before earlier ones'
printf '[sms]\noption_sms_sca=1\noption_sms_enable=1\n' >/tmp/first
printf '[sms]\noption_sms_sca=2\n' >/tmp/second
expect 0 '' master --settings /tmp/first /tmp/second
expect 0 $'sms.enable\t1\nsms.sca\t2\nsms.psi\t' config list sms
expect_error 4 'capictl: the adapter is up already; --force clears its record and starts it anew' master
expect_error 4 'capictl: the adapter is up already; --force clears its record and starts it anew' \
  master --settings /tmp/first
expect 0 2 config get sms.sca
expect 0 '' master --force --settings /tmp/second /tmp/first
expect 0 1 config get sms.sca
expect 0 '' master --force
expect 0 '' config get sms.sca

in_case 'A master that died before it published is no adapter that is up'
ipcrm --all
others start
expect 0 '' master --settings /tmp/first
expect 0 1 config get sms.sca

in_case 'A boot without settings is a start, too'
ipcrm --all
expect 0 '' master --boot
expect 0 '' config get sms.sca

in_case 'A boot loads the files of the directory by name, the local one last, and no others'
ipcrm --all
mkdir -p /etc/capi/settings.d
cd /etc/capi/settings.d || exit
printf '[sms]\noption_sms_sca=1\noption_sms_psi=1\n[sip_line_1]\noption_sip_line_user_name=1\n' >a.settings
printf '[sms]\noption_sms_sca=2\noption_sms_psi=2\n' >local.settings
printf '[sms]\noption_sms_sca=3\n[sip_line_1]\noption_sip_line_user_name=3\n' >z.settings
printf '[sms]\noption_sms_sca=4\n' >z.settings.dpkg-new
cd / || exit
expect 0 '' master --boot
expect 0 $'sms.sca\t2\nsms.psi\t2\nsip_line_1.user_name\t3' config get sms.sca sms.psi sip_line_1.user_name

in_case 'A second boot leaves the adapter as it is'
expect 0 '' config set sms.sca 5
expect 0 '' master --boot
expect 0 5 config get sms.sca
expect 0 $'{\n\t"started":\tfalse\n}' --json master --boot
expect 0 $'{\n\t"started":\ttrue\n}' --json master --boot --force
expect 0 2 config get sms.sca
mv /tmp/m_data /tmp/kept_data
expect 0 '' master --boot
mv /tmp/kept_data /tmp/m_data
expect 0 2 config get sms.sca

in_case 'What was saved for the next boot is there then'
expect 0 '' config set sms.sca 6
expect 0 '' config save --local
ipcrm --all
expect 0 '' master --boot
expect 0 6 config get sms.sca

in_case 'A file that cannot be loaded is named, and does not keep the adapter from booting'
ipcrm --all
rm /etc/capi/settings.d/local.settings
mkdir /etc/capi/settings.d/local.settings
expect_error 0 'capictl: /etc/capi/settings.d/local.settings cannot be opened for reading and writing, as setting files must be; starting without it' \
  master --boot
expect 0 3 config get sms.sca
expect 2 '' master --boot --settings /tmp/first

in_case 'The files by which segment and locks are found'
rm -r /tmp/m_data /usr/sbin/vsdk_cmd /etc/capi
expect_error 1 'capictl: there is no shared record: /usr/sbin/vsdk_cmd and /tmp/m_data must exist' master
expect_error 1 'capictl: there is no shared record: /usr/sbin/vsdk_cmd and /tmp/m_data must exist' master --boot

finish
