#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# man_pages_test.sh SOURCE-DIR BUILD-DIR
#
# Has every function that the libraries export a manual page, with what people look for in one, and
# do those who format them find nothing to say of the pages?
set -euo pipefail
export LC_ALL=C.UTF-8

source=$1 build=$2
failures=0

fail() {
  echo "FAILED: $*"
  failures=$((failures + 1))
}

exported() { sed -n 's/^    \([A-Za-z0-9_]*\);$/\1/p' "$source/$1" | sort; }

# The names of the pages that have a headline, a declaration, and something in each section.
complete() { # DIRECTORY
  awk '
    FNR == 1 { name = FILENAME; sub(/.*\//, "", name); sub(/\.3capi/, "", name); section = "" }
    /^\.SH / { section = substr($0, 5); next }
    section == "NAME" && index($0, name) == 1 && / \\- [^ ]/ { told[name, section] = 1 }
    section == "SYNOPSIS" && /^\.B "/ && index($0, name "(") { told[name, section] = 1 }
    section == "DESCRIPTION" || section == "RETURN VALUE" || section == "LOCKS" {
      if (/^[^.]/) told[name, section] = 1
    }
    { names[name] = 1 }
    END {
      for (name in names)
        if (told[name, "NAME"] && told[name, "SYNOPSIS"] && told[name, "DESCRIPTION"] &&
            told[name, "RETURN VALUE"] && told[name, "LOCKS"])
          print name
    }' "$build/man/$1/man3"/*.3capi | sort
}

check_functions() { # DIRECTORY MAP
  local missing
  missing=$(comm -23 <(exported "$2") <(complete "$1") | tr '\n' ' ')
  [ -z "$missing" ] || fail "these have no manual page, or not a whole one: $missing"
  [ "$(exported "$2" | wc -l)" -ge "$3" ] || fail "$2 has next to nothing"
}

check_functions dev src/capi.map 250
check_functions keys_dev keys/capi-keys.map 10

pages=("$build"/man/*/man?/* "$source"/tools/*/*.[1-8] "$source"/demo/pc/*.8)
[ ${#pages[@]} -gt 270 ] || fail "there are only ${#pages[@]} pages"
said=$(groff -ww -t -man -Tutf8 "${pages[@]}" 2>&1 >/dev/null) || true
[ -z "$said" ] || fail "groff: $said"
mandoc -T lint -W warning "${pages[@]}" || fail 'mandoc is not content'
lexgrog "${pages[@]}" >"$build/whatis" || fail "whatis finds no line in $(grep failed "$build/whatis")"

# The overview has all rules, and leads to every function; of the formats no link is lost.
overview=$build/man/dev/man7/capi.7
rules=$(grep -cE '^ \* ? ?[0-9]+\. ' "$source/include/capi.h")
[ "$(grep -oE '^\.IP [0-9]+\.' "$overview")" = "$(seq -f '.IP %g.' "$rules")" ] || fail 'capi(7) has not all rules'
missing=$(comm -23 <(cat "$build"/man/*/man3/*.3capi | sed -n 's/^\.TH \([^ ]*\) .*/\1/p' | sort) \
  <(sed -n 's/^\.BR \([^ ]*\) (3capi),*$/\1/p' "$overview" | sort))
[ -z "$missing" ] || fail "capi(7) does not lead to $missing"
while read -r page; do
  grep -q "\\\\fB\\(docs/\\)*$page\\\\fR" "$build"/man/tool/man5/* || fail "no page of section 5 leads to $page"
done < <(grep -oE '\]\([^)#]+' "$source/docs/file-formats.md" | sed 's/.*[(/]//' | sort -u)

# What people write of the broker is told name by name.
while read -r name; do
  grep -qE "^\.BR? ${name//-/\\\\?-}( |\$)" "$source/tools/capi-mqtt/capi-mqtt.conf.5" || fail "capi-mqtt.conf(5) has no $name"
done < <(sed -n 's/^    {"\([a-z-]*\)", *\("[A-Z]*",.*\)*$/\1/p' "$source/tools/capi-mqtt/options.cc")

# Without its function's comment there is no page.
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir -p "$scratch/cmake/debian" "$scratch/docs" "$scratch/keys"
cp -r "$source/include" "$scratch"
cp -r "$source/keys/include" "$scratch/keys"
cp "$source/cmake/debian/changelog" "$scratch/cmake/debian"
cp "$source/docs/file-formats.md" "$scratch/docs"
sed -i 's/ Takes no lock\.//; s/Takes no$/Takes/' "$scratch/include/capi/event.h"
said=$("$source/docs/man-pages" "$scratch" "$scratch/man" 1.0 2>&1) && fail 'no lock is told, and nobody minds'
[ "$said" = 'man-pages: nothing says which lock capi_convert_call_state_to_string() takes' ] ||
  fail "docs/man-pages says: $said"

# Nor is there one that says only that it is like another.
cp "$source/include/capi/event.h" "$scratch/include/capi"
sed -i 's/Returns the constant name of/The same for/' "$scratch/include/capi/event.h"
said=$("$source/docs/man-pages" "$scratch" "$scratch/man" 1.0 2>&1) && fail 'a page may say "the same"'
[[ $said == 'man-pages: what capi_convert_call_state_to_string() does is told by another comment: The same'* ]] ||
  fail "docs/man-pages says: $said"
[ $failures -eq 0 ]
