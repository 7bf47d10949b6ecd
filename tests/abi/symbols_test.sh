#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# symbols_test.sh SOURCE-DIR LIBRARY NM C-COMPILER...
#
# Compares what the library exports with capi.map and with what the public headers declare.
set -euo pipefail
export LC_ALL=C

source=$1 library=$2 nm=$3
shift 3
compiler=("$@")
failures=0

fail() {
  echo "FAILED: $*"
  failures=$((failures + 1))
}

# "CAPI_0.1" is the name of the version itself.
exported() {
  "$nm" --dynamic --defined-only "$library" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' |
    sort
}

mapped() { sed -n 's/^ *\([A-Za-z0-9_]*\);$/\1/p' "$source/src/capi.map"; }

# The functions of a header itself: what comes from others is cut by the preprocessor's line marks.
declared() { # HEADER
  echo "#include <$1>" | "${compiler[@]}" -E -x c -std=c99 -I "$source/include" - |
    awk -v own="include/$1\"" '
      /^# [0-9]+ "/ { counted = index($0, own) > 0; next }
      /^#/ || !counted { next }
      { text = text " " $0 }
      END {
        n = split(text, statements, ";")
        for (i = 1; i <= n; i++) {
          s = statements[i]
          if (s ~ /typedef|[{}]/ || s !~ /\(/) continue
          sub(/ *\(.*/, "", s)
          sub(/.*[ *]/, "", s)
          print s
        }
      }' | sort
}

headers() { cd "$source/include" && ls capi/*.h; }

compare() { # WHAT LIST OTHER-LIST
  [ "$2" = "$3" ] && echo "ok: $1" && return
  fail "$1 (<: the first only, >: the second only)"
  diff <(echo "$2") <(echo "$3") | grep '^[<>]' || true
}

in_headers=$(for header in $(headers); do declared "$header"; done | sort)
compare 'the library exports what capi.map lists' "$(exported)" "$(mapped | sort)"
compare 'the headers declare what capi.map lists' "$in_headers" "$(mapped | sort)"

# In each version of capi.map a header's names stand under its name, in order.
for header in $(headers); do
  listed=$(sed -n "/^ *# ${header//\//\\/}\$/,/^\$/s/^ *\([A-Za-z0-9_]*\);\$/\1/p" "$source/src/capi.map")
  compare "capi.map lists the names of $header" "$(sort <<<"$listed")" "$(declared "$header")"
done
awk '
  !/^ *[A-Za-z0-9_]*;$/ { last = ""; next }
  { sub(";", "") }
  $1 < last { print "FAILED: capi.map has " $1 " behind " last; unsorted = 1 }
  { last = $1 }
  END { exit unsorted }' "$source/src/capi.map" || failures=$((failures + 1))

[ "$(exported | wc -l)" -gt 90 ] || fail 'the library exports next to nothing'
[ $failures -eq 0 ]
