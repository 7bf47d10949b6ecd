#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# install_test.sh BUILD-DIR C-COMPILER C++-COMPILER FLAGS [EMULATOR...]
#
# Installs into an empty prefix, moves that, builds clients of what is there and runs them. Needs a
# private view.
set -euo pipefail

build=$1 c_compiler=$2 cxx_compiler=$3 flags=$4
here=$(dirname "$0")
shift 4
# shellcheck disable=SC2034
emulator=("$@")
# shellcheck source=tests/abi/clients.sh
source "$here/clients.sh"
scratch=$(mktemp -d)
cd "$scratch"

quietly cmake --install "$build" --prefix "$scratch/first"
mv first usr
prefix=$scratch/usr
for file in include/capi.h include/capi-keys.h bin/capictl share/man/man1/capictl.1 \
  share/bash-completion/completions/capictl share/zsh/vendor-completions/_capictl \
  share/fish/vendor_completions.d/capictl.fish share/capi/capi.json; do
  [ -e "usr/$file" ] || fail "$file is not installed"
done
grep -rl "$scratch\|$build" usr --include='*.cmake' --include='*.pc' &&
  fail 'this file knows where it was made'

touch /tmp/m_data
printf '#!/bin/sh\n' >/usr/sbin/vsdk_cmd
chmod +x /usr/sbin/vsdk_cmd
LD_LIBRARY_PATH=$(dirname "$(find usr -name libcapi.so)")
LD_LIBRARY_PATH=$(realpath "$LD_LIBRARY_PATH")

write_clients
build_with_pkg_config
build_with_cmake
export LD_LIBRARY_PATH
for client in by_pkg_config/c_client by_pkg_config/cxx_client by_cmake/c_client \
  by_cmake/cxx_client; do
  run_client "$client"
done
said=$("${emulator[@]}" usr/bin/capictl config get sip_line_1.display_name)
[ "$said" = Kitchen ] || fail "capictl said \"$said\""

check_keys_clients
