#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# readme_commands_test.sh SOURCE-DIR CAPICTL...
#
# Does what README.md says, as a newcomer would: runs its commands in their order in a copy of the
# sources, with its examples beside them. Needs a private view, for they install the library.
set -euo pipefail
export LC_ALL=C.UTF-8
CMAKE_BUILD_PARALLEL_LEVEL=$(nproc)
export CMAKE_BUILD_PARALLEL_LEVEL

source=$1
shift
capictl=("$@")

# Whole runs of their own: .ci/run has them.
runs_elsewhere='script/demo'

fail() {
  echo "FAILED: $*"
  exit 1
}

# The sources, without what was made of them.
mkdir /tmp/capi
cd "$source"
tar -c --exclude=./build --exclude=./.git . | tar -x --no-same-owner -C /tmp/capi
cd /tmp/capi
awk '
  /^<!-- example: [a-z_.]+ -->$/ { name = $3; next }
  name && /^```(c|cpp)$/ { file = name; name = ""; next }
  /^```$/ { file = "" }
  file { print >file }' README.md
# shellcheck disable=SC2016
sed -n '/^```sh$/,/^```$/{/^```/!p}' README.md >commands

# The device, and what a newcomer has: sudo, and the tool.
touch /tmp/m_data
mkdir /tmp/bin
printf '#!/bin/sh\n' >/usr/sbin/vsdk_cmd
printf '#!/bin/sh\nexec "$@"\n' >/tmp/bin/sudo
printf '#!/bin/sh\nexec %s "$@"\n' "${capictl[*]}" >/tmp/bin/capictl
chmod +x /usr/sbin/vsdk_cmd /tmp/bin/*
PATH=/tmp/bin:$PATH
# In an ordinary user's view nobody may write there.
for directory in /usr/local/include /usr/local/lib /usr/local/share; do
  [ -w $directory ] || mount -t tmpfs tmpfs $directory
done

count=0
while IFS= read -r command; do
  count=$((count + 1))
  if grep -qFx -- "$command" <<<"$runs_elsewhere"; then
    grep -qE "^step $command( |\$)" .ci/run || fail "nothing runs $command"
    continue
  fi
  echo "\$ $command"
  bash -euc "$command" </dev/null >log 2>&1 || { cat log; fail "$command"; }
done <commands
[ $count -gt 10 ] || fail 'README.md has next to no commands'
[ "$(cat log)" = Kitchen ] || fail "capictl said $(cat log)"

# What was installed goes again, as it tells.
# shellcheck disable=SC2016
way_back=$(grep -o '`sudo xargs rm[^`]*`' README.md | tr -d '`')
[ -e /usr/local/include/capi.h ] || fail 'the library is not in /usr/local'
bash -euc "$way_back" || fail "$way_back"
while IFS= read -r file; do
  [ ! -e "$file" ] || fail "$way_back leaves $file"
done < <(cat build/install_manifest.txt && echo)

# What it names in passing is there.
while read -r name; do
  [ -x "$name" ] || fail "README.md tells of $name"
done < <(grep -o '`script/[a-z-]*' README.md | tr -d '`' | sort -u)
while read -r name; do
  [ -e "$name" ] || fail "README.md leads to $name"
done < <(grep -o '](\([^)#]*\)' README.md | sed 's/](//' | grep -v '^$' | sort -u)
