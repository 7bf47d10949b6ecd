# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
# How our code is compiled: warnings, build modes, and what the library proper may use of C++.

# GCC 12 warns of overlaps inside its own std::string that cannot happen: -Wno-restrict.
add_library(capi_warnings INTERFACE)
target_compile_options(capi_warnings INTERFACE
  -Wall -Wextra -Wshadow -Wconversion -Wformat=2
  $<$<COMPILE_LANG_AND_ID:CXX,Clang>:-Wthread-safety -Wno-format-nonliteral>
  $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-format-nonliteral -Wno-format-truncation -Wno-restrict>
  $<$<BOOL:${CAPI_WERROR}>:-Werror>)

# Instrumentation has to reach everything that is linked together.
add_library(capi_build_mode INTERFACE)
if(CAPI_SANITIZE)
  target_compile_options(capi_build_mode INTERFACE
    -fsanitize=${CAPI_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(capi_build_mode INTERFACE -fsanitize=${CAPI_SANITIZE})
endif()
if(CAPI_FUZZ)
  target_compile_options(capi_build_mode INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(CAPI_COVERAGE)
  target_compile_options(capi_build_mode INTERFACE --coverage)
  target_link_options(capi_build_mode INTERFACE --coverage)
endif()

# What would need the C++ runtime library stays out. Stack protection is for functions that have a
# buffer of characters: for all that hand out an address, as our guards do, it takes as much room
# again and finds no more. GCC 12 does not know the buffers any more when it optimises at link time:
# of 95 functions 6 would be left protected, and the room of the others is all that it would save.
#
# What is inlined for size may have three instructions more than GCC thinks that a call has: on ARM,
# where a call brings moves along, the library is smallest so.
set(CAPI_LIBRARY_FLAGS
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>
  -fvisibility=hidden -ffunction-sections -fdata-sections -fstack-protector
  $<$<CONFIG:Release>:-Os>
  $<$<AND:$<CONFIG:Release>,$<COMPILE_LANG_AND_ID:CXX,GNU>>:--param=max-inline-insns-size=3>
  $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)

# The stack of a thread of the portable layer is 20480 bytes, of which the C library takes a quarter.
# Instrumented, functions need more.
set(CAPI_STACK_BUDGET 2560)
if(NOT CAPI_SANITIZE AND NOT CAPI_FUZZ AND NOT CAPI_COVERAGE)
  list(APPEND CAPI_LIBRARY_FLAGS
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wstack-usage=${CAPI_STACK_BUDGET}>
    $<$<COMPILE_LANG_AND_ID:CXX,Clang>:-Wframe-larger-than=${CAPI_STACK_BUDGET}>)
endif()

# capi_optimize_for_speed(FILE...): the few files in which callers wait for our own work and not for
# the kernel's.
function(capi_optimize_for_speed)
  set_source_files_properties(${ARGN} TARGET_DIRECTORY capi_objects
    PROPERTIES COMPILE_OPTIONS $<$<CONFIG:Release>:-O2>)
endfunction()

# A sanitized or covered library leaves its runtime's symbols to the program.
if(NOT CAPI_SANITIZE AND NOT CAPI_COVERAGE)
  set(CAPI_NO_UNDEFINED -Wl,-z,defs)
endif()
