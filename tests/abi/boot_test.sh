#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# boot_test.sh BUILD-DIR
#
# Boots a private view into which the packages are installed, with systemd as its init: has the
# service started the adapter after "/tmp" was set up? Only the units that this needs are there, and
# the kernel's settings cannot be written. Exits with 77 where no second init can run.
set -euo pipefail

build=$1
here=$(cd "$(dirname "$0")" && pwd)

skip() {
  echo "SKIPPED: $*"
  exit 77
}

fail() {
  echo "FAILED: $*"
  exit 1
}

# An init needs control groups of its own.
enter_view() {
  local hierarchy group status=0
  [ "$(id -u)" -eq 0 ] || skip 'only root may start an init'
  [ -x /lib/systemd/systemd ] || skip 'there is no systemd'
  hierarchy=$(findmnt --noheadings --first-only --output TARGET --types cgroup2) ||
    skip 'there are no control groups'
  group=$hierarchy$(sed -n 's/^0:://p' /proc/self/cgroup)/capi-boot-test.$$
  mkdir "$group" 2>/dev/null || skip 'control groups cannot be made'
  (
    echo "$BASHPID" >"$group/cgroup.procs"
    exec "$here/../support/private-view" --keep "$build" "$0" "$build" inside
  ) || status=$?
  find "$group" -depth -type d -exec rmdir {} +
  exit $status
}

install_packages() {
  [ ! -d /run/systemd ] || mount -t tmpfs tmpfs /run/systemd # the machine's init is none of ours
  mkdir /tmp/packages
  cd /tmp/packages
  cpack -G DEB --config "$build/CPackConfig.cmake" -B . >log 2>&1 || fail "$(cat log)"
  dpkg --install libcapi0_*.deb libcapi-keys0_*.deb capictl_*.deb capi-simulator_*.deb >log 2>&1 ||
    fail "$(cat log)"
}

# write_unit NAME: of what comes in.
write_unit() { cat >"$units/$1"; }

write_units() {
  mkdir -p "$units/multi-user.target.wants"
  cp /lib/systemd/system/{capi-master,systemd-tmpfiles-setup}.service "$units"
  cp -P /etc/systemd/system/multi-user.target.wants/capi-master.service \
    "$units/multi-user.target.wants" || fail 'the service is not enabled'
  printf '[Unit]\nWants=systemd-tmpfiles-setup.service\n' | write_unit sysinit.target
  printf '[Unit]\nRequires=sysinit.target\nAfter=sysinit.target\n' | write_unit basic.target
  printf '[Unit]\nRequires=basic.target\nAfter=basic.target\n' | write_unit multi-user.target
  printf '[Unit]\nDefaultDependencies=no\n' | write_unit shutdown.target
  write_unit look.service <<END
[Unit]
Requires=multi-user.target
After=multi-user.target
SuccessAction=exit-force
FailureAction=exit-force

[Service]
Type=oneshot
ExecStart=/bin/bash $units/look
StandardOutput=file:$units/seen
StandardError=inherit
END
  cat >"$units/look" <<'END'
systemctl show --property=ActiveState,Result --value capi-master
ls -l /tmp/m_data | cut -c1-10
capictl status | grep -xe $'adapter\tstate\t.*' -e $'device\tserial number\t.*'
capictl config set sip_line_1.display_name Hall
systemctl restart capi-master && capictl config get sip_line_1.display_name
END
}

# A machine that has just been started has an empty "/tmp", and no shared memory.
boot() {
  # shellcheck disable=SC2016
  timeout 100 unshare --pid --net --uts --ipc --cgroup --mount --fork --mount-proc bash -euc '
    umount --recursive /sys/fs/cgroup
    mount --bind /sys /sys && mount -o remount,bind,ro /sys
    mount -t cgroup2 cgroup2 /sys/fs/cgroup
    mount --bind /proc/sys /proc/sys && mount -o remount,bind,ro /proc/sys
    mount -t tmpfs tmpfs /run
    mount -t tmpfs -o mode=1777 tmpfs /tmp
    export container=lxc SYSTEMD_UNIT_PATH='"$units"' SYSTEMD_GENERATOR_PATH='"$units"'
    exec /lib/systemd/systemd --system --unit=look.service --log-target=null </dev/null
  ' || echo "init ended with $?"
}

[ "${2-}" = inside ] || enter_view
units=/etc/boot_test
install_packages
write_units
boot
[ -s "$units/seen" ] || skip 'systemd does not come up in a private view'
diff "$units/seen" - <<'END' || fail 'a boot left something else'
success
active
-rw-r--r--
adapter	state	published
device	serial number	2604000123456
Hall
END
