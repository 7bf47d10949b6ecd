#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# elf_test.sh LIBRARY READELF [NAME NEEDED]
#
# Checks what the library asks of the device and how it is hardened: libcapi, or another one of our
# own by its name and the library that it may need beside the C library.
set -euo pipefail

library=$1 readelf=$2 name=${3-libcapi} needed=${4-libcjson\.so\.1}
dynamic=$("$readelf" --dynamic --wide "$library")
segments=$("$readelf" --program-headers --wide "$library")
symbols=$("$readelf" --dyn-syms --wide "$library")
failures=0

check() { # WHAT COMMAND [ARG...]
  what=$1
  shift
  if "$@"; then
    echo "ok: $what"
  else
    echo "FAILED: $what"
    failures=$((failures + 1))
  fi
}

is_in() { grep -Eq -e "$2" <<<"$1"; }
is_not_in() { ! is_in "$@"; }

pointer=8
! "$readelf" --file-header "$library" | grep -q ELF32 || pointer=4

# The dynamic loader belongs to the C library.
others=$(sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' <<<"$dynamic" |
  grep -Evx "libc\.so\.6|ld-linux[a-z0-9.-]*|$needed" || true)
check "it needs only the C library and $needed (not: ${others:-none})" test -z "$others"
check 'it uses nothing of the C++ library' \
  is_not_in "$symbols" 'UND (_Z|__cxa_(guard|throw|begin|pure)|__gxx|_Unwind)'
check 'its name carries its version' is_in "$dynamic" '\(SONAME\).*\['"$name"'\.so\.[0-9]+\]'
# One entry is the C compiler's own.
check 'it has no static constructors' is_in "$dynamic" "\(INIT_ARRAYSZ\) +$pointer \(bytes\)"
check 'its code is not relocated' is_not_in "$dynamic" 'TEXTREL'
check 'its symbols are bound at once' is_in "$dynamic" 'BIND_NOW'
check 'its relocated data is read-only afterwards' is_in "$segments" 'GNU_RELRO'
check 'its stack is not executable' is_in "$segments" 'GNU_STACK .* RW +0x'
check 'it carries no search path' is_not_in "$dynamic" 'RPATH|RUNPATH'
[ $failures -eq 0 ]
