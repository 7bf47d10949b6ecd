#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# readme_test.sh SOURCE-DIR LIBRARY-DIR C-COMPILER C++-COMPILER FLAGS [EMULATOR...]
#
# Compiles the examples of README.md and of docs/changes.md and runs them, the former in their order,
# on one adapter in a private view; the latter waits beside them for what they change. FLAGS is one
# argument: what the compilers need besides.
set -euo pipefail

source=$1 library=$2 cc=$3 cxx=$4
read -ra flags <<<"$5"
shift 5
emulator=("$@")
scratch=$(mktemp -d "$library/readme_test.XXXXXX")
trap 'rm -rf "$scratch"' EXIT

# An example is a block of C or C++ behind a line "<!-- example: FILE -->".
awk -v dir="$scratch" '
  /^<!-- example: [a-z_.]+ -->$/ { name = $3; next }
  name && /^```(c|cpp)$/ { file = dir "/" name; name = ""; next }
  /^```$/ { file = "" }
  file { print >file }' "$source/README.md" "$source/docs/changes.md"
[ "$(wc -l <"$scratch/told.c")" -le 40 ] || { echo 'the example of docs/changes.md is long'; exit 1; }

common=("${flags[@]}" -Wall -Wextra -Werror -I "$source/include" -L "$library"
  "-Wl,-rpath,$library")
programs=()
for file in "$scratch"/master.cpp "$scratch"/told.c "$scratch"/client.c; do
  [ -e "$file" ] || { echo "no page has ${file##*/}"; exit 1; }
  program=${file%.*}
  case $file in
    *.c) "$cc" -std=c99 "${common[@]}" "$file" -o "$program" -lcapi ;;
    *.cpp) "$cxx" -std=c++17 "${common[@]}" "$file" -o "$program" -lcapi ;;
  esac
  programs+=("$program")
done

# The emulator, if any, goes in front of each program.
runner=$scratch/run
cat >"$runner" <<'END'
touch /tmp/m_data
echo '#!/bin/sh' >/usr/sbin/vsdk_cmd && chmod +x /usr/sbin/vsdk_cmd
END
for program in "${programs[@]}"; do
  run="${emulator[*]} '$program'"
  if [ "${program##*/}" = told ]; then
    cat >>"$runner" <<END
$run >/tmp/told &
told=\$!
trap 'kill \$told; wait' EXIT
until grep -qx waiting /tmp/told; do :; done
END
    continue
  fi
  echo "echo '${program##*/}:' && $run || exit 1" >>"$runner"
done
# Both changes may be seen together or one by one.
cat >>"$runner" <<'END'
until [ "$(wc -l </tmp/told)" -ge 3 ]; do kill -0 $told || exit 1; done
[ "$(sort /tmp/told)" = 'basic_sip option_basic_sip_session_timer_expires: 0 -> 1800
sip_registration option_sip_registration_reg_interval: 600000 -> 3600
waiting' ] || { cat /tmp/told; exit 1; }
END
"$source/tests/support/private-view" --keep "$library" sh "$runner"
