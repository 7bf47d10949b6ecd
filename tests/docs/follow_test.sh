#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# follow_test.sh STAGE PAGE BUILD-DIR C-COMPILER [--show]
#
# Follows a page of docs/ in a private view. STAGE is what its reader has at hand:
#   adapter   a simulated adapter that is up, the tool, and the library's development files
#   nothing   the same without device and adapter
#   packages  a checkout that makes packages, and nothing installed
#   server    as adapter, and the server of its page, with a network of its own
#   checkout  a checkout that is built
set -euo pipefail
export LC_ALL=C.UTF-8 TZ=UTC

if [ "$1" = server ] && [ -z "${CAPI_OWN_NETWORK-}" ]; then
  CAPI_OWN_NETWORK=1 exec unshare --net "$0" "$@"
fi
stage=$1 page=$2 build=$3 compiler=$4
shift 4
source=$(cd "$(dirname "$0")/../.." && pwd)
export HOME=/tmp/home
mkdir -p /tmp/bin "$HOME"
cd "$HOME"

printf '#!/bin/sh\nexec "$@"\n' >/tmp/bin/sudo
printf '#!/bin/sh\nexec %s -Wall -Wextra -Werror "$@"\n' "$compiler" >/tmp/bin/cc
chmod +x /tmp/bin/*
PATH=/tmp/bin:$PATH

# What the packages would bring, from the build.
use_build() {
  PATH=$build/tools/capictl:$PATH
  printf '%s\n' 'Name: capi' 'Description: of this build' 'Version: 0' "Cflags: -I$source/include" \
    "Libs: -L$build -Wl,-rpath,$build -lcapi" >/tmp/capi.pc
  printf '%s\n' 'Name: capi-keys' 'Description: of this build' 'Version: 0' 'Requires: capi' \
    "Cflags: -I$source/keys/include" \
    "Libs: -L$build/keys -Wl,-rpath,$build/keys -lcapi-keys" >/tmp/capi-keys.pc
  export PKG_CONFIG_PATH=/tmp
}

# What script/package makes, where it puts it. The tutorial installs it on this view's system.
use_packages() {
  if ! [ -w /var/lib/dpkg/info ]; then
    echo 'An ordinary user cannot install packages here.'
    exit 77
  fi
  [ ! -d /run/systemd ] || mount -t tmpfs tmpfs /run/systemd # the machine's init is none of ours
  mkdir -p script build/package
  printf '#!/bin/sh\n' >script/package
  printf '#!/bin/sh\nexec apt-get --yes "$@"\n' >/tmp/bin/apt
  chmod +x script/package /tmp/bin/apt
  (cd build/package && cpack -G DEB --config "$build/CPackConfig.cmake" -B "$PWD") >/tmp/log 2>&1 ||
    { cat /tmp/log; exit 1; }
  installed >/tmp/before
}

installed() { dpkg-query --show --showformat '${Package} ${Version} ${Status}\n'; }

# "systemctl enable --now capi-web" is what its service is, up when the command has ended.
use_server() {
  ip link set lo up
  PATH=$build/tools/capi-web:$PATH
  mkdir -p /var/lib/capi-web
  mkfifo /tmp/listening
  cat >/tmp/bin/systemctl <<'END'
#!/bin/sh
[ "$*" = 'enable --now capi-web' ] || exit 1
STATE_DIRECTORY=/var/lib/capi-web CREDENTIALS_DIRECTORY=/etc/capi capi-web </dev/null >/tmp/listening 2>&1 &
echo $! >/tmp/web.pid
read -r line </tmp/listening
END
  chmod +x /tmp/bin/systemctl
  trap '[ ! -e /tmp/web.pid ] || kill "$(cat /tmp/web.pid)"' EXIT
}

use_checkout() {
  mkdir script
  printf '#!/bin/sh\nexec %s/tests/crash/capi_crash "$@"\n' "$build" >script/crash
  chmod +x script/crash
}

case $stage in
  adapter | server)
    use_build
    [ "$stage" = adapter ] || use_server
    cp -r "$source"/demo/device/{tmp,usr} /
    mkdir -p /etc/capi/settings.d /var/lib/capi-simulator
    cp "$source"/demo/{pc,device/quorbleconf/config}/*.settings /etc/capi/settings.d
    capictl master --boot
    ;;
  nothing) use_build ;;
  packages) use_packages ;;
  checkout) use_checkout ;;
esac
python3 "$source/tests/docs/follow.py" "$source/docs/$page.md" "$@"
# Its reader had nothing installed, and is told how to have nothing installed again.
if [ "$stage" = packages ]; then
  installed | diff /tmp/before - || { echo "FAILED: these packages stay"; exit 1; }
fi
