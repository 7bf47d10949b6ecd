#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

# finding TEXT LINE...: the one finding in a file of these lines, on the last of them.
finding() {
  local text=$1
  shift
  printf '%s\n' "$@" >/tmp/a.settings
  expect 1 $'/tmp/a.settings\t'"$#"$'\t'"$text" config lint /tmp/a.settings
}

sound() {
  printf '%s\n' "$@" >/tmp/a.settings
  expect 0 '' config lint /tmp/a.settings
}

line='[sip_line_1]'
sound '# a comment' '' '; another' "$line" 'option_sip_line_enable = 1' ' option_sip_line_user_name=a '
sound '[call_block]' 'any_24_character_before_3=5' '[voice_parameter]' 'option_voice_parameter_name_12=a'
finding 'unknown section "nope": all its lines are ignored' '[nope]'
finding 'there is no section "sip_line_3", its number is out of range: all its lines are ignored' '[sip_line_3]'
finding 'unknown key option_x: ignored' "$line" 'option_x=1'
finding 'the number in option_voice_parameter_name_13 is out of range: ignored' \
  '[voice_parameter]' 'option_voice_parameter_name_13=a'
finding 'option_sip_line_enable: not a number: read as 0' "$line" 'option_sip_line_enable=on'
finding 'option_sip_line_enable: not all of it is a number: read as 1' "$line" 'option_sip_line_enable=1x'
finding 'option_sip_line_enable: out of range: kept as 2147483647' "$line" 'option_sip_line_enable=2147483648'
finding 'option_voice_parameter_count: out of range: kept as 12' '[voice_parameter]' 'option_voice_parameter_count=13'
finding 'option_sip_server_proxy_port: no port: read as 5060' '[sip_server_2]' 'option_sip_server_proxy_port=0'
finding 'option_sms_sca: too long: cut to 31 characters' '[sms]' "option_sms_sca=$(printf %032d 0)"
finding 'the blanks in the value vanish: Frontdesk' "$line" 'option_sip_line_display_name=Front desk'
finding '"#" ends the value: what follows is ignored' "$line" 'option_sip_line_display_name=a#b'
finding '";" ends the value: what follows is ignored' "$line" 'option_sip_line_display_name=a;b'
finding '"#" cuts the line in front of its "=": ignored' "$line" 'option # = 3'
finding 'neither [SECTION] nor KEY=VALUE: ignored' "$line" 'option_sip_line_enable'
finding 'no key in front of "=": ignored' "$line" '=1'
finding 'option_sip_line_user_name has no value: ignored' "$line" 'option_sip_line_user_name='
finding 'option_sip_line_enable stands in front of the first section: ignored' 'option_sip_line_enable=1'
finding 'longer than 2046 characters: taken in pieces' "$(printf 'a=%02100d' 0)"
expect_error 3 'capictl: /tmp/none cannot be read: No such file or directory' config lint /tmp/none

finish
