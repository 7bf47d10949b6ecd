#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# script_fleet_test.sh SOURCE CAPICTL CAPI-MQTT: the adapters of script/fleet, a few of them.
set -u
source_dir=$1
shift
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
fail() {
  echo "FAILED: $*"
  failures=$((failures + 1))
}
fleet=(/usr/bin/python3 -B "$source_dir/bench/fleet/fleet.py" --tools "$@")

# What a run leaves: processes that it started have its directory on their command line.
left() {
  pgrep --full -- "$source_dir/build/fleet\.[^ ]*/adapter-" || compgen -G "$source_dir/build/fleet.*/"
}

echo 'All adapters confirm a change, and the figures are in table, file and picture'
"${fleet[@]}" --json "$work/figures" --growth "$work/growth.svg" 2 5 >"$work/table" 2>"$work/errors" ||
  fail "it ends with $?: $(cat "$work/errors")"
grep -qE '^adapters +2 +5$' "$work/table" || fail "the table is: $(cat "$work/table")"
/usr/bin/python3 - "$work/figures" "$work/growth.svg" <<'END' || fail 'the figures are not what they should be'
import json, sys
import xml.etree.ElementTree as tree
figures = json.load(open(sys.argv[1], encoding="utf-8"))
assert [one["adapters"] for one in figures] == [2, 5], figures
for one in figures:
    # set and confirm with an answer each, line and section, and "change": twice, unless the
    # confirmation came before the first could be told
    assert one["messages_each"] >= 7, one
    assert 0 < one["median_confirmed_seconds"] <= one["all_confirmed_seconds"], one
    assert one["bridge_ms_each"] > 0 and one["private_kb_each"] > 0, one
    assert one["retained_topics_each"] == figures[0]["retained_topics_each"], one
picture = tree.parse(sys.argv[2]).getroot()
assert len(picture.findall(".//{*}polyline")) == 4, "panels"
assert len(picture.findall(".//{*}circle")) == 8, "points"
END
left && fail 'something is left'

echo 'It ends what it started when it is interrupted'
"${fleet[@]}" 3 >"$work/table" 2>"$work/errors" &
run=$!
until pgrep --full -- "$source_dir/build/fleet\.[^ ]*/adapter-" >/dev/null; do
  kill -0 $run || { fail "it has ended: $(cat "$work/errors")"; break; }
  sleep 0.1
done
kill -TERM $run
wait $run && fail 'it ends as if all were well'
grep -q 'fleet: SIGTERM: all that was started has ended' "$work/errors" || fail "it says: $(cat "$work/errors")"
left && fail 'something is left'

echo 'A number that is none is refused'
for wrong in 0 1001 many -1 ''; do
  "${fleet[@]}" "$wrong" >"$work/table" 2>&1
  [ $? -eq 2 ] || fail "it takes \"$wrong\""
done

[ $failures -eq 0 ] && echo 'All was as it should be.'
exit $failures
