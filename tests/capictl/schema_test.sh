#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

in_case 'A schema document needs no adapter'
document=/tmp/schema.json
cat >$document <<'END'
{"sip": {"expires": {"type": "int", "value": "", "default_value": "60", "is_changed": 0,
                     "min_value": 1, "max_value": 9},
         "name": {"type": "string", "value": "x", "default_value": "", "is_changed": 1,
                  "min_strlen": 0, "max_strlen": 15}},
 "net": {"server": {"type": "string", "sub_strtype": "ipv4", "value": "", "is_changed": 0,
                    "default_value": "192.0.2.1", "allowed_list": "192.0.2.1,192.0.2.2"},
         "odd": {}}}
END
expires='sip	expires	int	60	60	0	1..9'
others_of_all='sip	name	string	x		1	up to 15 characters
net	server	ipv4	192.0.2.1	192.0.2.1	0	192.0.2.1,192.0.2.2
net	odd				0	'
expect 0 "$expires
$others_of_all" schema $document
expect 0 "$expires" schema $document sip expires
expect 0 '[{
		"section":	"sip",
		"parameter":	"expires",
		"type":	"int",
		"value":	"60",
		"default":	"60",
		"changed":	false,
		"limits":	"1..9"
	}]' schema $document sip expires --json
expect_on_terminal 0 'section  parameter  type  value  default  changed  limits
sip      expires    int   60     60       0        1..9' schema $document sip expires

in_case 'A change goes into the file, and the default out of it again'
expect 0 '' schema $document sip expires 5
expect 0 'sip	expires	int	5	60	1	1..9' schema $document sip expires
cp $document /tmp/before
expect 0 '' schema $document sip expires 5
cmp $document /tmp/before || fail 'a value that is there already changed the file'
expect 0 '' schema $document sip expires 60
expect 0 "$expires
$others_of_all" schema $document

expect_error 3 "capictl: there is no sip port in $document" schema $document sip port
expect_error 3 "capictl: there is no sip port in $document" schema $document sip port 1
expect_error 3 "capictl: there is no nothing in $document" schema $document nothing
expect_error 1 'capictl: the parameter has no value that could be set' schema $document net odd 1
expect_error 3 'capictl: /tmp/none cannot be read: No such file or directory' schema /tmp/none
echo '{' >/tmp/broken.json
expect_error 1 'capictl: /tmp/broken.json is not JSON' schema /tmp/broken.json

in_case 'What stands in a list has no name'
echo '{"sip": [1], "net": {}}' >/tmp/list.json
expect_error 3 'capictl: there is no sip x in /tmp/list.json' schema /tmp/list.json sip x
echo '[1]' >/tmp/list.json
expect_error 3 'capictl: there is no sip in /tmp/list.json' schema /tmp/list.json sip

finish
