#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# packages_test.sh BUILD-DIR C-COMPILER C++-COMPILER FLAGS
#
# Makes the Debian packages, installs them on the private view's system, starts the adapter as the
# machine's start would, builds clients of what is installed there and runs them, and removes the
# packages again. An ordinary user's view does not let dpkg write there, and a root directory of the
# test's own takes its place.
set -euo pipefail

build=$1 c_compiler=$2 cxx_compiler=$3 flags=$4
here=$(dirname "$0")
architecture=$(dpkg --print-architecture)
# shellcheck disable=SC2034
emulator=()
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
elif [ -d /run/systemd ]; then
  mount -t tmpfs tmpfs /run/systemd # the machine's init is none of ours
fi
# shellcheck disable=SC2034
prefix=$root/usr

cd "$scratch"
quietly cpack -G DEB --config "$build/CPackConfig.cmake" -B "$scratch"
version=$(dpkg-deb --field libcapi0_*.deb Version)
readelf=$("$c_compiler" -print-prog-name=readelf)
packages=(libcapi0_*.deb libcapi-dev_*.deb libcapi-keys0_*.deb libcapi-keys-dev_*.deb capictl_*.deb
  capi-simulator_*.deb libcapi-doc_*.deb capi-web_*.deb capi-mqtt_*.deb)
# PACKAGE ARCHITECTURE MULTI-ARCH
while read -r package for multi_arch; do
  file=$(echo "${package}"_*.deb)
  for field in "Architecture: $for" "Multi-Arch: $multi_arch" 'Source: capi' \
    'Homepage: https://capi.adapter.invalid/' 'Vcs-Git: https://capi.adapter.invalid/capi.git' \
    'Vcs-Browser: https://capi.adapter.invalid/source'; do
    dpkg-deb --field "$file" | grep -qxF "$field" || fail "$file does not say \"$field\""
  done
  echo "ok: $file needs $(dpkg-deb --field "$file" Depends)"
done <<END
libcapi0 $architecture same
libcapi-dev $architecture same
libcapi-keys0 $architecture same
libcapi-keys-dev $architecture same
libcapi-doc all foreign
capictl $architecture foreign
capi-web $architecture foreign
capi-mqtt $architecture foreign
capi-simulator all foreign
END
# What is built for debuggers of ours is not optimized, and optimizing is what checks buffers.
lintian --pedantic --display-info --fail-on error,warning,info,pedantic \
  --suppress-tags hardening-no-fortify-functions --tag-display-limit 0 --allow-root \
  "${packages[@]}" || fail 'lintian is not content'

# Debuggers find what was taken from a file by the build ID of it.
build_id() { "$readelf" --notes "$1" | sed -n 's/.*Build ID: //p'; }
for package in libcapi0 libcapi-keys0 capictl capi-web capi-mqtt; do
  file=${package}-dbgsym_${version}_$architecture.deb
  [ "$(dpkg-deb --field "$file" Depends)" = "$package (= $version)" ] ||
    fail "$file does not need its package"
  dpkg-deb --extract "$file" "$package-dbgsym"
  id=$(dpkg-deb --field "$file" Build-Ids)
  [ "$(build_id "$package-dbgsym/usr/lib/debug/.build-id/${id:0:2}/${id:2}.debug")" = "$id" ] ||
    fail "$file has not what its field says"
  dpkg-deb --extract "${package}_${version}_$architecture.deb" "$package"
  stripped=$(find "$package/usr" \( -name 'lib*.so.*.*' -o -name "$package" \) -path '*/*[bl]i[bn]/*' -type f)
  [ "$(build_id "$stripped")" = "$id" ] || fail "$file is of another $stripped"
  "$readelf" --sections --wide "$stripped" | grep -E ' \.(symtab|debug_info|comment) ' &&
    fail "$stripped is not stripped"
done

# Since when there is a symbol is told by the version that it has in the map, and dpkg's own tool
# finds the same symbols in the library.
for library in libcapi libcapi-keys; do
  dpkg-deb --control "${library}0_${version}_$architecture.deb" "$library-control"
  mkdir -p "$library-tree"
  DEB_HOST_ARCH=$architecture dpkg-gensymbols "-p${library}0" "-v$version" -q -c4 \
    "-a$architecture" "-P$library-tree" "-I$library-control/symbols" "-O$library-symbols" \
    -e"$(find "${library}0" -name 'lib*.so.*.*' -type f)" >log 2>&1 ||
    fail "the symbols of $library are not those of its map: $(cat log)"
  diff "$library-control/symbols" "$library-symbols" || fail "dpkg finds other symbols in $library"
done
grep -qx " capi_init@CAPI_0\.1 0\.1" libcapi-control/symbols || fail 'capi_init is of another version'

# The programs are such that an attacker finds it hard to make use of them.
hardened() { # WHAT OPTION PATTERN
  for file in capictl/usr/bin/capictl capi-web/usr/*bin/capi-web capi-mqtt/usr/*bin/capi-mqtt; do
    "$readelf" "$2" --wide "$file" | grep -e "$3" >/dev/null || fail "$file is not $1"
  done
}
hardened 'position-independent' --file-header 'Type: *DYN'
hardened 'bound at once' --dynamic 'BIND_NOW\|Flags:.* NOW'
hardened 'read-only where it was relocated' --program-headers GNU_RELRO
hardened 'protected against overruns of its stack' --dyn-syms 'UND __stack_chk_fail'
if grep -q '^CMAKE_BUILD_TYPE:[A-Z]*=Release$' "$build/CMakeCache.txt"; then
  hardened 'fortified' --dyn-syms 'UND __[a-z]*_chk@'
fi

for library in libcapi libcapi-keys; do
  dpkg-deb --info "$library"0_*.deb shlibs | grep -q "^$library 0 ${library}0 (>= " ||
    fail "other packages do not learn what to depend on for $library"
  dpkg-deb --contents "$library"0_*.deb | grep -E "\.h$|$library\.so ->" &&
    fail "development files are in the package of $library"
done
needs() { # PACKAGE OTHER: of the same version
  dpkg-deb --field "$1"_*.deb Depends | grep -q "$2 (= $version)" || fail "$1 does not need $2"
}
needs libcapi-keys0 libcapi0
needs libcapi-keys-dev libcapi-keys0
needs libcapi-keys-dev libcapi-dev
needs capictl libcapi0
needs capictl libcapi-keys0
needs capi-web libcapi-keys0
needs capi-mqtt libcapi-keys0
needs capi-simulator capictl
# An adapter's processes can do without what the keys mean.
dpkg-deb --field libcapi0_*.deb Depends | grep -q keys && fail 'libcapi0 needs libcapi-keys'
dpkg-deb --field libcapi-dev_*.deb Depends | grep -q keys && fail 'libcapi-dev needs libcapi-keys'

quietly "${dpkg[@]}" --install "${packages[@]}"
for file in /usr/include/capi.h /usr/include/capi-keys.h /usr/bin/capictl \
  /usr/share/man/man1/capictl.1.gz \
  /usr/share/bash-completion/completions/capictl /usr/share/doc/libcapi0/changelog.gz \
  /usr/share/doc/libcapi-keys0/changelog.gz /usr/share/doc/libcapi-keys-dev/copyright \
  /usr/share/doc/libcapi-dev/copyright /usr/share/doc/libcapi-dev/examples/monitor.c \
  /usr/share/doc/libcapi-dev/html/index.html /usr/share/doc/libcapi-dev/docs/keys.md \
  /usr/share/doc/libcapi-dev/docs/settings.schema.json /usr/share/doc-base/libcapi-doc.capi \
  /usr/share/man/man3/capi_init.3capi.gz /usr/share/man/man3/capi_keys_check.3capi.gz \
  /usr/share/man/man5/capi-settings.5.gz /usr/share/man/man5/capi-mqtt.conf.5.gz \
  /usr/share/man/man7/capi.7.gz \
  /usr/share/man/man8/capi-master.service.8.gz /usr/share/man/man8/capi-web.8.gz \
  /usr/share/man/man8/capi-mqtt.8.gz; do
  [ -e "$root$file" ] || fail "$file is not installed"
done

# Links from page to page hold here, too.
doc=$root/usr/share/doc/libcapi-dev
grep -oE '\]\([^):#]+' "$doc"/*.md "$doc"/docs/*.md | grep -v '(https$' | sort -u >links
while IFS= read -r link; do
  page=${link%%:*} target=${link##*](}
  [ -e "${page%/*}/$target" ] || echo "${page##*/}: $target"
done <links >broken
[ ! -s broken ] || fail "these links lead nowhere: $(cat broken)"

# Compilers look there anyway.
triplet=$("$c_compiler" -print-multiarch)
pkg_config() {
  PKG_CONFIG_LIBDIR=$root/usr/lib/$triplet/pkgconfig:/usr/lib/$triplet/pkgconfig \
    PKG_CONFIG_SYSTEM_LIBRARY_PATH=/usr/lib/$triplet PKG_CONFIG_SYSTEM_INCLUDE_PATH=/usr/include \
    pkg-config "$@" | sed 's/ *$//'
}
[ "$(pkg_config --libs capi)" = -lcapi ] || fail "pkg-config --libs says $(pkg_config --libs capi)"
[ "$(pkg_config --libs capi-keys)" = '-lcapi-keys -lcapi' ] ||
  fail "pkg-config --libs capi-keys says $(pkg_config --libs capi-keys)"
for name in capi capi-keys; do
  [ -z "$(pkg_config --cflags "$name")" ] || fail "pkg-config --cflags says $(pkg_config --cflags $name)"
done

# What the packages bring for a start is in its places after the installation.
for file in /tmp/m_data /tmp/info.simcard /tmp/carrier_config/voip_TEST_XX.conf \
  /etc/capi/settings.d/voice.settings /usr/sbin/vsdk_cmd \
  /etc/systemd/system/multi-user.target.wants/capi-master.service; do
  [ -e "$root$file" ] || [ -L "$root$file" ] || fail "$file is not there after the installation"
done
if [ "$root" ]; then
  cp -r "$root/tmp/." /tmp
  cp -r "$root/etc/capi" /etc
  cp "$root/usr/sbin/vsdk_cmd" /usr/sbin
  mkdir -p /var/lib/capi-simulator
else
  systemd-analyze --man=no verify capi-master.service
fi
unit=$root/usr/lib/systemd/system/capi-master.service
[ -z "$root" ] || export LD_LIBRARY_PATH
capictl() { "$prefix/bin/capictl" "$@"; }
# A start of the service: the conditions, and the one command of it.
start_service() {
  local condition command
  while read -r condition; do
    [ -e "$condition" ] || fail "the service does not start without $condition"
  done < <(sed -n 's/^Condition[A-Za-z]*=//p' "$unit")
  command=$(sed -n 's/^ExecStart=//p' "$unit")
  [ "${command%% *}" = /usr/bin/capictl ] || fail "the service runs $command"
  # shellcheck disable=SC2086
  capictl ${command#* }
}
start_service
capictl status >shown || fail 'capictl status fails after the start'
for line in $'adapter\tstate\tpublished' $'device\tserial number\t2604000123456' \
  $'sim\tcarrier file\t/tmp/carrier_config/voip_TEST_XX.conf'; do
  grep -qxF "$line" shown || fail "capictl status does not say \"$line\": $(cat shown)"
done
said=$(capictl config get sip_line_1.display_name runtime_info.nv_directory)
[ "$said" = $'sip_line_1.display_name\tFrontdesk\nruntime_info.nv_directory\t/var/lib/capi-simulator' ] ||
  fail "the settings are not those of the simulated adapter: $said"
capictl config set sip_line_1.display_name Hall
start_service
[ "$(capictl config get sip_line_1.display_name)" = Hall ] || fail 'a second start is not the first'
capictl config save --local
ipcrm --all
start_service
[ "$(capictl config get sip_line_1.display_name)" = Hall ] || fail 'what was saved is lost'
vsdk_cmd signal simple vop_test
[ "$(cat /tmp/posted_signals)" = 'signal simple vop_test' ] || fail 'the signal tool posts nothing'
[ -z "$root" ] || cp /etc/capi/settings.d/local.settings "$root/etc/capi/settings.d"

write_clients
build_with_pkg_config
build_with_cmake
for client in by_pkg_config/c_client by_pkg_config/cxx_client by_cmake/c_client \
  by_cmake/cxx_client; do
  run_client "$client"
done
said=$(capictl config get sip_line_1.display_name)
[ "$said" = Kitchen ] || fail "capictl said \"$said\""
check_keys_clients

# A change that waits, with a password in it, stays as long as there is a program that can settle it.
capictl config set sip_line_1.auth_password tulip-47
capictl config set sip_line_1.auth_password tulip-48 --apply --confirm-within 600 >log 2>&1 ||
  fail "a change that waits cannot be made: $(cat log)"
changes=$root/var/lib/capi
[ -z "$root" ] || cp -r /var/lib/capi "$root/var/lib"
touch "$changes"/{pending.new,outcome,outcome.new} "$root"/etc/capi/{web.password,settings.d/local.settings}{,.new}
quietly "${dpkg[@]}" --purge capi-simulator capictl
quietly "${dpkg[@]}" --purge capi-mqtt
grep -q tulip-47 "$changes/pending" || fail 'the change that waits is gone with the first program'
quietly "${dpkg[@]}" --purge capi-web
[ -z "$root" ] || rm -r /var/lib/capi # for whoever watches the change
[ ! -e "$changes" ] || fail "this outlives all programs: $(ls "$changes")"
[ ! -e "$root/etc/capi" ] || fail "this outlives all programs: $(ls -R "$root/etc/capi")"

quietly "${dpkg[@]}" --purge libcapi-doc libcapi-keys-dev libcapi-keys0 libcapi-dev libcapi0
for package in "${packages[@]}"; do
  dpkg-deb --contents "$package" | sed -n 's|^[^d].* \./\([a-z]*/[^ ]*\).*|/\1|p'
done >files
while read -r file; do
  [ -e "$root$file" ] && fail "$file is still there"
done <files
for file in /etc/capi /var/lib/capi-simulator \
  /etc/systemd/system/multi-user.target.wants/capi-master.service; do
  if [ -e "$root$file" ] || [ -L "$root$file" ]; then fail "$file outlives the packages"; fi
done
[ "$(wc -l <files)" -gt 30 ] || fail 'the packages are next to empty'
