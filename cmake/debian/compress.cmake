# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
# Run by CPack on what goes into the packages: Debian wants manual pages and changelogs compressed,
# and as the same bytes every time.
file(GLOB_RECURSE texts ${CPACK_TEMPORARY_DIRECTORY}/*)
list(FILTER texts INCLUDE REGEX "/share/(man/.*\\.[1-8]|doc/[^/]*/changelog)$")
if(texts)
  execute_process(COMMAND gzip --best --no-name ${texts} COMMAND_ERROR_IS_FATAL ANY)
endif()
