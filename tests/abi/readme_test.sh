#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# readme_test.sh SOURCE-DIR LIBRARY-DIR C-COMPILER C++-COMPILER FLAGS [EMULATOR...]
#
# Compiles the examples of README.md and runs them, in their order, on one adapter in a private
# view. FLAGS is one argument: what the compilers need besides.
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
  file { print >file }' "$source/README.md"

common=("${flags[@]}" -Wall -Wextra -Werror -I "$source/include" -L "$library"
  "-Wl,-rpath,$library")
programs=()
for file in "$scratch"/master.cpp "$scratch"/client.c; do
  [ -e "$file" ] || { echo "README.md has no ${file##*/}"; exit 1; }
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
  echo "echo '${program##*/}:' && ${emulator[*]} '$program' || exit 1" >>"$runner"
done
"$source/tests/support/private-view" --keep "$library" sh "$runner"
