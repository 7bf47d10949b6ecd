#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# package_test.sh BUILD-DIR
#
# Makes python3-capi, lua-capi and what they need, lets lintian look at them, installs them and uses
# them as a program of the system's would. Where the view does not let dpkg write, as an ordinary user's, the packages
# are only unpacked.
set -euo pipefail

build=$1
scratch=$(mktemp -d)
cd "$scratch"
unset LD_LIBRARY_PATH PYTHONPATH PYTHONDONTWRITEBYTECODE LUA_PATH

fail() {
  echo "FAILED: $*"
  exit 1
}

cpack -G DEB --config "$build/CPackConfig.cmake" -B . \
  -D 'CPACK_COMPONENTS_ALL=library;keys;dev;python;lua' >log 2>&1 || { cat log; exit 1; }
package=$(echo python3-capi_*_all.deb)
lua_package=$(echo lua-capi_*_all.deb)
lintian --fail-on error,warning --tag-display-limit 0 --allow-root "$package" "$lua_package" || fail 'lintian is not content'
version=$(dpkg-deb --field libcapi0_*.deb Version)
[ "$(dpkg-deb --field "$package" Depends)" = \
  "python3 (>= 3.9), python3-cffi-backend, libcapi0 (= $version), libcapi-keys0 (= $version)" ] ||
  fail "it needs $(dpkg-deb --field "$package" Depends)"

root=
if [ -w /var/lib/dpkg/info ]; then
  dpkg --install libcapi0_*.deb libcapi-keys0_*.deb "$package" "$lua_package" >log 2>&1 || { cat log; exit 1; }
  ls /usr/lib/python3/dist-packages/capi/__pycache__ >/dev/null || fail 'nothing is compiled for the start'
else
  root=$scratch/root
  for each in libcapi0_*.deb libcapi-keys0_*.deb "$package" "$lua_package"; do dpkg-deb --extract "$each" "$root"; done
  LD_LIBRARY_PATH=$(dirname "$(find "$root" -name libcapi.so.0)")
  export LD_LIBRARY_PATH PYTHONPATH="$root/usr/lib/python3/dist-packages" LUA_PATH="$root/usr/share/lua/5.1/?.lua"
fi

cat >client.py <<'END_OF_CLIENT'
from importlib.metadata import version

import capi

with capi.Adapter.start("/quorbleconf/config/voice.settings") as adapter:
    print(version("capi"), capi.__version__, adapter.config["sip_line_1.display_name"], capi.__file__)
END_OF_CLIENT
cp -r "$(dirname "$0")/../../demo/device/." /
said=$(/usr/bin/python3 client.py)
[ "$said" = "$version $version Frontdesk $root/usr/lib/python3/dist-packages/capi/__init__.py" ] || fail "it said: $said"
"$root/usr/share/doc/python3-capi/examples/factory_check.py" --timeout 0.1 >report && fail 'nothing registers a line here'
grep -qx 'FAIL  lines register: not registered: line 1, line 2' report || fail "the check says: $(cat report)"
# The program above was the master, and its settings stay.
said=$(luajit "$root/usr/share/doc/lua-capi/examples/show_adapter.lua" Attic | head -n 1)
[ "$said" = $'1\tAttic\tenabled' ] || fail "Lua said: $said"

dpkg-deb --extract libcapi-dev_*.deb dev
/usr/bin/python3 -c 'import json, sys; print(json.load(open(sys.argv[1]))["version"])' dev/usr/share/capi/capi.json |
  grep -qx "$version" || fail 'the description is not in libcapi-dev'

if [ -z "$root" ]; then
  dpkg --purge lua-capi python3-capi libcapi-keys0 libcapi0 >log 2>&1 || { cat log; exit 1; }
  left=$(find /usr/lib/python3/dist-packages -path '*/capi*')
  [ -z "$left" ] || fail "what is left: $left"
fi
echo 'All was as it should be.'
