#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

# accepted FILE: by those who read the two forms.
accepted() {
  promtool check metrics <"$1" >/tmp/complaints 2>&1 || fail "promtool: $(cat /tmp/complaints)"
  /usr/bin/python3 - "$1" <<'END' || fail "the OpenMetrics parser refuses it"
import sys
from prometheus_client.openmetrics.parser import text_string_to_metric_families
families = list(text_string_to_metric_families(open(sys.argv[1], encoding="utf-8").read()))
assert families and all(family.documentation for family in families)
END
}

in_case 'Without an adapter there is one measurement: that it is not up'
set_up_device
"${tool[@]}" metrics >/tmp/metrics 2>/tmp/errors
code=$?
[ $code -eq 5 ] || fail "it ends with $code"
[ "$(cat /tmp/metrics)" = "# HELP capi_up Whether the adapter's settings are published.
# TYPE capi_up gauge
capi_up 0
# EOF" ] || fail "it prints: $(cat /tmp/metrics)"
accepted /tmp/metrics

in_case 'What is measured, with odd values as well'
start_adapter
others calls
others lines
"${tool[@]}" sms send +15551230002 hi
expect 0 '' config set hw_info.model $'a"b\\c\xff'
"${tool[@]}" metrics >/tmp/metrics || fail "it ends with $?"
accepted /tmp/metrics
while IFS= read -r sample; do
  grep -qxF "$sample" /tmp/metrics || fail "it lacks: $sample"
done <<'END'
capi_up 1
capi_line_enabled{line="1"} 1
capi_line_enabled{line="2"} 0
capi_line_off_hook{line="1"} 1
capi_line_registered_stacks{line="1"} 1
capi_line_voice_mail{line="1"} 1
capi_registered{line="1",stack="2",type="voip"} 1
capi_registered{line="2",stack="1",type="volte"} 0
capi_store_entries{store="calls of type 0"} 1
capi_store_entries{store="sent messages"} 1
capi_store_sound{store="calls of type 2"} 1
capi_lock_held{lock="CAPI_LOCK_CONF_SHM"} 0
capi_lock_waiters{lock="CAPI_LOCK_CALL_LOG"} 0
# EOF
END
[ "$(tail -n 1 /tmp/metrics)" = '# EOF' ] || fail 'it does not end with # EOF'

in_case 'Of a bridge to a broker what it has written'
grep -q capi_mqtt /tmp/metrics && fail 'it tells of one that does not run'
mkdir -p /run/capi-mqtt
printf 'connected 1\npublished 42\nanswers_busy 3\nof a newer one 7\n' >/run/capi-mqtt/counters
"${tool[@]}" metrics >/tmp/metrics || fail "it ends with $?"
accepted /tmp/metrics
for sample in 'capi_mqtt_connected 1' 'capi_mqtt_published 42' 'capi_mqtt_answers{status="busy"} 3' \
              'capi_mqtt_answers{status="ok"} 0'; do
  grep -qxF "$sample" /tmp/metrics || fail "it lacks: $sample"
done

finish
