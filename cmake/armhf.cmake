# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
# The adapter's processor: ARMv7 with hardware floating point; tests run under user-mode emulation.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
