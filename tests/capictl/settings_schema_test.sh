#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

in_case 'The committed schema is what the tool prints'
"${tool[@]}" config schema >/tmp/schema.json
diff "$source_dir/docs/settings.schema.json" /tmp/schema.json >/dev/null ||
  fail 'docs/settings.schema.json is stale: script/golden keys'

in_case 'Dumps fit the schema, and it takes what the tool takes'
start_adapter
"${tool[@]}" --json config list >/tmp/dump.json
"${tool[@]}" --json config list --show-secrets >/tmp/secrets.json
ipcrm --all
rm /tmp/info.*
expect 0 '' master
"${tool[@]}" --json config list >/tmp/empty.json
cat >/tmp/candidates.json <<'END'
[0, 1, 2, 3, 5, 7, 8, -1, -2, -3, 12, 13, 63, 64, 89, 90, 127, 128, 65535, 65536, 600000, 2147483647,
 "", "a", "Kitchen", "192.0.2.1", "2001:db8::1", "sip.example.net", "02:00:5e:00:53:01", "+15550100001",
 "*21", "sip:+15550100001@ims.example.net", "tel:911", "001011234567890@ims.example.net",
 "001011234567890", "8900101234567890123", "001", "01", "0,2,4,7", "5.9-24.4", "nb-swb", "128", "wb",
 "/etc/ssl/certs/ca.pem", "eth0", "[2-9]xxxxxx|911", "1A2B3C4", "107187", "a b", "a#b", "a;b"]
END
/usr/bin/python3 "$source_dir/tests/capictl/settings_schema.py" /tmp/schema.json \
  /tmp/dump.json,/tmp/secrets.json,/tmp/empty.json /tmp/candidates.json "${tool[@]}" ||
  fail 'the validator says otherwise'

finish
