# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
# Run by CPack on what goes into the packages. What debuggers need of what is compiled moves to
# where finish.cmake takes it from; manual pages and changelogs are compressed, as the same bytes
# every time.
file(GLOB_RECURSE files ${CPACK_TEMPORARY_DIRECTORY}/*)

# The debugger's part of a file is found by the file's build ID.
function(split_debug file)
  execute_process(COMMAND ${CPACK_READELF_EXECUTABLE} --notes ${file} OUTPUT_VARIABLE notes
    COMMAND_ERROR_IS_FATAL ANY)
  if(NOT notes MATCHES "Build ID: (..)([0-9a-f]+)")
    message(FATAL_ERROR "${file} has no build ID")
  endif()
  set(place usr/lib/debug/.build-id/${CMAKE_MATCH_1}/${CMAKE_MATCH_2}.debug)
  file(RELATIVE_PATH component ${CPACK_TEMPORARY_DIRECTORY} ${file})
  string(REGEX REPLACE "/.*" "" component ${component})
  set(debug ${CPACK_TOPLEVEL_DIRECTORY}/dbgsym/${component}/${place})
  get_filename_component(directory ${debug} DIRECTORY)
  file(MAKE_DIRECTORY ${directory})
  execute_process(
    COMMAND ${CPACK_OBJCOPY_EXECUTABLE} --only-keep-debug --compress-debug-sections ${file} ${debug}
    COMMAND_ERROR_IS_FATAL ANY)
  file(CHMOD ${debug} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
  execute_process(COMMAND ${CPACK_OBJCOPY_EXECUTABLE} --strip-unneeded --remove-section=.comment
    --add-gnu-debuglink=${debug} ${file} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE ${CPACK_TOPLEVEL_DIRECTORY}/dbgsym)
foreach(file IN LISTS files)
  if(IS_SYMLINK ${file})
    continue()
  endif()
  file(READ ${file} magic LIMIT 4 HEX)
  if(magic STREQUAL 7f454c46)
    split_debug(${file})
  endif()
endforeach()

list(FILTER files INCLUDE REGEX "/share/(man/.*\\.[1-8][a-z]*|doc/[^/]*/changelog)$")
if(files)
  execute_process(COMMAND gzip --best --no-name ${files} COMMAND_ERROR_IS_FATAL ANY)
endif()
