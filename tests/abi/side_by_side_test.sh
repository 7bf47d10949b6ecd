#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# side_by_side_test.sh DIR OTHER-DIR
#
# Installs the packages of two architectures into one root directory of the test's own: the libraries
# and what programs are built with of both, and of the rest one. What dpkg installs for both at a
# time has to be the same file in both. The machine is left as it was.
set -euo pipefail
export LC_ALL=C

fail() {
  echo "FAILED: $*"
  exit 1
}

# The maintainer scripts are run in the machine's own file system.
here=$(cd "$(dirname "$0")" && pwd)
if [ "${CAPI_PRIVATE_VIEW-}" != 1 ]; then
  exec "$here/../support/private-view" --keep "$1" --keep "$2" "$0" "$(realpath "$1")" "$(realpath "$2")"
fi

first=$1 second=$2
root=$(mktemp -d)
architecture_of() { dpkg-deb --field "$(echo "$1"/libcapi0_*.deb)" Architecture; }
here=$(architecture_of "$first") there=$(architecture_of "$second")
[ "$here" != "$there" ] || fail "both directories have packages for $here"

mkdir -p "$root"/var/lib/dpkg/{info,updates,triggers} "$root/var/log"
touch "$root/var/lib/dpkg/status"
printf '%s\n' "$(dpkg --print-architecture)" "$here" "$there" | sort -u >"$root/var/lib/dpkg/arch"
dpkg=(dpkg --root="$root" --force-depends --force-script-chrootless --force-not-root --no-triggers
  --log=/dev/null)

both=(libcapi0 libcapi-dev libcapi-keys0 libcapi-keys-dev libcapi0-dbgsym libcapi-keys0-dbgsym)
files=()
for package in "${both[@]}"; do files+=("$first/${package}"_*.deb "$second/${package}"_*.deb); done
one=("$first"/{capictl,capi-simulator,libcapi-doc}_*.deb)
"${dpkg[@]}" --install "${files[@]}" "${one[@]}" >"$root/log" 2>&1 || fail "$(cat "$root/log")"

installed() { dpkg-query --admindir="$root/var/lib/dpkg" --show \
  --showformat '${Package}:${Architecture} ${db:Status-Status}\n' | sort; }
wanted() {
  local package
  for package in "${both[@]}"; do printf '%s installed\n' "$package:$here" "$package:$there"; done
  printf '%s installed\n' "capictl:$here" capi-simulator:all libcapi-doc:all
}
diff <(installed) <(wanted | sort) || fail 'something else is installed'
[ "$(find "$root/usr/lib" -name 'libcapi.so.0' | wc -l)" -eq 2 ] || fail 'there are not two libraries'
echo "ok: $here and $there side by side: $(find "$root" -type f | wc -l) files"

# What is for every machine is the same whatever it was made on.
for package in capi-simulator libcapi-doc python3-capi lua-capi; do
  cmp "$first/$package"_*.deb "$second/$package"_*.deb || fail "$package is not the same everywhere"
done

# dpkg looks: a file of both that is another one is refused.
mkdir "$root/other"
dpkg-deb --raw-extract "$(echo "$second"/libcapi-dev_*.deb)" "$root/other/tree"
echo '/* another */' >>"$root/other/tree/usr/include/capi.h"
dpkg-deb --root-owner-group --build "$root/other/tree" "$root/other" >"$root/log"
if "${dpkg[@]}" --install "$root"/other/*.deb >"$root/log" 2>&1; then
  fail 'a header that is another one was taken'
fi
grep -q "shared '/usr/include/capi.h', which is different" "$root/log" || fail "$(cat "$root/log")"
echo 'ok: a header that is another one is refused'
