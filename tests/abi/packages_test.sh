#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# packages_test.sh BUILD-DIR ARCHITECTURE C-COMPILER C++-COMPILER FLAGS CHECK [EMULATOR...]
#
# Makes the Debian packages, installs them on the private view's system, builds clients of what is
# installed there and runs them, and removes the packages again. An ordinary user's view does not let
# dpkg write there, and a root directory of the test's own takes its place. CHECK tells whether lintian looks
# at them first: what is instrumented for tests is for no one to install.
set -euo pipefail

build=$1 architecture=$2 c_compiler=$3 cxx_compiler=$4 flags=$5 check=$6
here=$(dirname "$0")
shift 6
# shellcheck disable=SC2034
emulator=("$@")
# shellcheck source=tests/abi/clients.sh
source "$here/clients.sh"
scratch=$(mktemp -d)
root=
dpkg=(dpkg)
if ! [ -w /var/lib/dpkg/info ]; then
  root=$scratch/root
  mkdir -p "$root"/var/lib/dpkg/{info,updates,triggers} "$root/var/log"
  # What is installed already meets the dependencies.
  cp /var/lib/dpkg/{status,arch} "$root/var/lib/dpkg" 2>/dev/null || true
  dpkg+=(--root="$root" --force-script-chrootless --no-triggers --log=/dev/null)
  LD_LIBRARY_PATH=$root/usr/lib/$("$c_compiler" -print-multiarch)
fi
# shellcheck disable=SC2034
prefix=$root/usr

cd "$scratch"
quietly cpack -G DEB --config "$build/CPackConfig.cmake" -B "$scratch"
packages=(libcapi0_*.deb libcapi-dev_*.deb libcapi-keys0_*.deb libcapi-keys-dev_*.deb capictl_*.deb)
for package in "${packages[@]}"; do
  [ "$(dpkg-deb --field "$package" Architecture)" = "$architecture" ] ||
    fail "$package is for another architecture than $architecture"
  echo "ok: $package needs $(dpkg-deb --field "$package" Depends)"
done
if [ "$check" = yes ]; then
  lintian --fail-on error,warning --tag-display-limit 0 --allow-root "${packages[@]}" ||
    fail 'lintian is not content'
fi

for library in libcapi libcapi-keys; do
  dpkg-deb --info "$library"0_*.deb shlibs | grep -q "^$library 0 ${library}0 (>= " ||
    fail "other packages do not learn what to depend on for $library"
  dpkg-deb --contents "$library"0_*.deb | grep -E "\.h$|$library\.so ->" &&
    fail "development files are in the package of $library"
done
version=$(dpkg-deb --field libcapi0_*.deb Version)
needs() { # PACKAGE OTHER: of the same version
  dpkg-deb --field "$1"_*.deb Depends | grep -q "$2 (= $version)" || fail "$1 does not need $2"
}
needs libcapi-keys0 libcapi0
needs libcapi-keys-dev libcapi-keys0
needs libcapi-keys-dev libcapi-dev
needs capictl libcapi0
needs capictl libcapi-keys0
# An adapter's processes can do without what the keys mean.
dpkg-deb --field libcapi0_*.deb Depends | grep -q keys && fail 'libcapi0 needs libcapi-keys'
dpkg-deb --field libcapi-dev_*.deb Depends | grep -q keys && fail 'libcapi-dev needs libcapi-keys'

quietly "${dpkg[@]}" --install "${packages[@]}"
for file in /usr/include/capi.h /usr/include/capi-keys.h /usr/bin/capictl \
  /usr/share/man/man1/capictl.1.gz \
  /usr/share/bash-completion/completions/capictl /usr/share/doc/libcapi0/changelog.gz \
  /usr/share/doc/libcapi-keys0/changelog.gz /usr/share/doc/libcapi-keys-dev/copyright \
  /usr/share/doc/libcapi-dev/copyright /usr/share/doc/libcapi-dev/examples/monitor.c; do
  [ -e "$root$file" ] || fail "$file is not installed"
done

touch /tmp/m_data
printf '#!/bin/sh\n' >/usr/sbin/vsdk_cmd
chmod +x /usr/sbin/vsdk_cmd
write_clients
build_with_pkg_config
build_with_cmake
[ -z "$root" ] || export LD_LIBRARY_PATH
for client in by_pkg_config/c_client by_pkg_config/cxx_client by_cmake/c_client \
  by_cmake/cxx_client; do
  run_client "$client"
done
said=$("${emulator[@]}" "$prefix/bin/capictl" config get sip_line_1.display_name)
[ "$said" = Kitchen ] || fail "capictl said \"$said\""
check_keys_clients

quietly "${dpkg[@]}" --purge capictl libcapi-keys-dev libcapi-keys0 libcapi-dev libcapi0
for package in "${packages[@]}"; do
  dpkg-deb --contents "$package" | sed -n 's|^[^d].* \./\(usr/[^ ]*\).*|/\1|p'
done >files
while read -r file; do
  [ -e "$root$file" ] && fail "$file is still there"
done <files
[ "$(wc -l <files)" -gt 30 ] || fail 'the packages are next to empty'
