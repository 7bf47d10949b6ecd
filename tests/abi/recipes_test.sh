#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# recipes_test.sh SOURCE-DIR
#
# Follows the recipes of CONTRIBUTING.md, one after the other, in a layer over the checkout and its
# build: what they write is seen by nobody else and is gone with this test.
#
# A recipe consists of blocks behind these lines:
#   <!-- recipe NAME: FILE, behind: TEXT -->   lines for FILE, behind the first line with TEXT
#   <!-- recipe NAME: commands -->             what to run
#   <!-- recipe NAME: made anew -->            the files that script/golden then names
set -euo pipefail
export LC_ALL=C.UTF-8
source=$1

case ${2-} in
  '')
    if unshare --mount true 2>/dev/null; then
      exec unshare --mount "$0" "$source" inside
    fi
    exec unshare --mount --map-root-user "$0" "$source" inside
    ;;
esac

# The layer, as tests/support/private-view makes them.
scratch=$source/build/debug/recipes
mkdir -p "$scratch"
mount -t tmpfs tmpfs "$scratch"
mkdir "$scratch/upper" "$scratch/work"
read -r _ _ ids </proc/self/uid_map
xattr=
[ "$ids" = 4294967295 ] || xattr=,userxattr
mount -t overlay overlay \
  -o "lowerdir=$source,upperdir=$scratch/upper,workdir=$scratch/work$xattr" "$source"
cd "$source"

fail() {
  echo "FAILED: $*"
  exit 1
}

# block HEAD: the block behind a line "<!-- recipe HEAD -->".
block() {
  awk -v head="<!-- recipe $1 -->" '
    index($0, head) { found = 1; next }
    found && /^ *```/ && inside { exit }
    found && /^ *```/ { inside = 1; indent = index($0, "`"); next }
    inside { print substr($0, indent) }' CONTRIBUTING.md
}

# put FILE TEXT LINES: adds lines behind the first one with TEXT.
put() {
  grep -qF -- "$2" "$1" || fail "$1 has no line with $2"
  TEXT=$2 LINES=$3 awk '
    { print }
    !done && index($0, ENVIRON["TEXT"]) { print ENVIRON["LINES"]; done = 1 }' "$1" >"$scratch/put"
  cat "$scratch/put" >"$1"
}

follow() {
  local name=$1 head lines
  echo "=== $name"
  while IFS= read -r head; do
    lines=$(block "$head")
    [ "$lines" ] || fail "$head: no lines"
    head=${head#"$name: "}
    echo "${head%%, behind: *}: $lines"
    put "${head%%, behind: *}" "${head#*, behind: }" "$lines"
  done < <(sed -n "s/^ *<!-- recipe \($name: .*, behind: .*\) -->\$/\1/p" CONTRIBUTING.md)

  : >"$scratch/made_anew"
  block "$name: commands" >"$scratch/commands"
  [ -s "$scratch/commands" ] || fail "$name: no commands"
  while IFS= read -r command; do
    echo "\$ $command"
    bash -euc "$command" </dev/null >"$scratch/log" 2>&1 || { cat "$scratch/log"; fail "$command"; }
    grep '^Made anew: ' "$scratch/log" >>"$scratch/made_anew" || true
  done <"$scratch/commands"
  diff <(block "$name: made anew") "$scratch/made_anew" || fail "$name: other files are made anew"
}

for name in loop steps key line carrier; do follow "$name"; done
