#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# log_texts_test.sh SOURCE-DIR
#
# Compares the texts that the library logs or prints with those that docs/troubleshooting.md
# explains, both ways, and its paths with docs/porting.md. Whatever is a sentence in the sources counts, wherever it is logged; what is
# none stands in $others, so that somebody has looked at each.
set -euo pipefail
export LC_ALL=C
cd "$1"

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# Paths and names that are put together, shell lines, file contents, values.
others='
%lu %llu %d %s %s/%s %s%s %s%%d %s_%%d %s.err .%s.new
option_%s_%s%%d option_%s_%s apn%u_%s %se
/tmp/vosip.conf%s [%s] %s():Line[%d] %s=%.*s %s=(%.*s) %s%d=%.*s error stats
CODEC%d LINE%d_FEATURE LINE%d_SUBSCRIBER OUTBOUNDPROXY_%d PROXYSERVER_%d REGISTRAR_%d
'
other_sentences=$(cat <<'TEXTS'
cp %s %s &> /dev/null
cp -f %s %s
mv %s %s.%d%02d%02d%02d%02d%02d
ifconfig | sed -n '/%s/,$p' | sed -n '1,8p' | grep 'inet addr' | awk '{print $2}'
ifconfig %s | grep "HWaddr" | awk '{ print $5 }'
ps | grep %s | wc -l
/bin/echo "Now = [%s], Last semop time = [%s], Last change time = [%s], Total sems = [%lu]" > %s
/bin/echo "Type = [%s], Value = [%d], PID = [%d], NCNT = [%d], ZCNT = [%d]" >> %s
Vorna Computer Corp.
LTE Phone Adapter
Sim Card Not Ready
Network Failure
Server Unreachable
Server Rejected
line=%d,regstatus=%.*s,vm=%d,noe911=%d,simdeactived=%d,callfailed=%d
line=%d
,state%d=%d,name%d=%.*s,number%d=%.*s
line=%d,hook=%d,incoming=%d
%s signal simple %s
%s signal json '
{"msg":"signal","name":"%s","attrs":{"param1":"%s","param2":"%s","param3":"%s"}}
[SIM]
UNK PRIORITY LEVEL
critical section
TEXTS
)

# String literals, those of several pieces as one, without comments, assertions and blanks at their
# ends. A name or a word of one piece is no sentence.
sources=$(find src -name '*.cc' -o -name '*.h' | sort)
# shellcheck disable=SC2086
perl -0777 -ne '
  s{^\s*#include.*$}{}mg; s{(?<!:)//.*}{}g; s/static_assert\(.*?;//sg; s/"\s*\n\s*"//g;
  while (/"((?:[^"\\\n]|\\.)*)"/g) {
    my $text = $1;
    next unless $text =~ /[ !%]|\\n/;
    $text =~ s/\\n!?//g; $text =~ s/\\(["\\])/$1/g; $text =~ s/^\s+|\s+$//g;
    print "$text\n" if $text =~ /[a-zA-Z%]{2}/ && $text !~ /^\\t/;
  }' $sources | sort -u >"$scratch/literals"

{ tr -s ' ' '\n' <<<"$others"; echo "$other_sentences"; } | sed '/^$/d' | sort -u >"$scratch/others"

# In a table: the texts in its first column. Outside one: what follows "with".
# shellcheck disable=SC2016
sed -n 's/^| \(`[^|]*`\) |.*/\1/p; s/.*with \(`lock taken[^`]*`\).*/\1/p' docs/troubleshooting.md |
  grep -o '`[^`]*`' | tr -d '`' | sort -u >"$scratch/explained"

failures=0
report() { # WHAT FILE
  [ -s "$2" ] || return 0
  echo "FAILED: $1:"
  cat "$2"
  failures=$((failures + 1))
}
comm -23 "$scratch/literals" <(sort -u "$scratch/others" "$scratch/explained") >"$scratch/missing"
report 'docs/troubleshooting.md does not explain' "$scratch/missing"
comm -13 "$scratch/literals" "$scratch/explained" >"$scratch/stale"
report 'docs/troubleshooting.md explains what no source says' "$scratch/stale"
comm -13 "$scratch/literals" "$scratch/others" >"$scratch/unused"
report 'this test excepts what no source says' "$scratch/unused"

# Paths of the device, which a porting engineer has to know of.
# shellcheck disable=SC2086
grep -ohE '"/(tmp|etc|usr|quorbleconf)/[a-z_./]*' $sources | cut -c 2- | sort -u |
  while read -r path; do
    grep -qF -- "$path" docs/porting.md || echo "$path"
  done >"$scratch/paths"
report 'docs/porting.md does not tell of' "$scratch/paths"
echo "explained: $(wc -l <"$scratch/explained")"
[ "$(wc -l <"$scratch/explained")" -gt 150 ] || { echo 'FAILED: next to nothing is explained'; exit 1; }
[ $failures -eq 0 ]
