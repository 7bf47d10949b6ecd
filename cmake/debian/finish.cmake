# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
# Run by CPack behind the packages: makes that of the debugger's part of each, by the name that Debian
# has for it, beside them.

# field(NAME): of the package.
function(field name)
  execute_process(COMMAND dpkg-deb --field ${package} ${name} OUTPUT_VARIABLE value
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  set(${name} "${value}" PARENT_SCOPE)
endfunction()

function(make_debug_package root)
  foreach(name IN ITEMS Package Version Architecture Maintainer Multi-Arch)
    field(${name})
  endforeach()
  file(GLOB_RECURSE parts RELATIVE ${root} ${root}/usr/lib/debug/*.debug)
  string(REGEX REPLACE "[^;]*/\\.build-id/(..)/([0-9a-f]+)\\.debug" "\\1\\2" ids "${parts}")
  string(REPLACE ";" " " ids "${ids}")
  set(control "Package: ${Package}-dbgsym
Source: ${CPACK_DEBIAN_PACKAGE_SOURCE}
Version: ${Version}
Auto-Built-Package: debug-symbols
Architecture: ${Architecture}
Maintainer: ${Maintainer}
Depends: ${Package} (= ${Version})
Section: debug
Priority: optional
")
  if(Multi-Arch STREQUAL same)
    string(APPEND control "Multi-Arch: same\n")
  endif()
  string(APPEND control "Description: debug symbols for ${Package}\nBuild-Ids: ${ids}\n")
  file(WRITE ${root}/DEBIAN/control "${control}")
  file(MAKE_DIRECTORY ${root}/usr/share/doc)
  file(CREATE_LINK ${Package} ${root}/usr/share/doc/${Package}-dbgsym SYMBOLIC)
  execute_process(COMMAND md5sum ${parts} WORKING_DIRECTORY ${root}
    OUTPUT_FILE ${root}/DEBIAN/md5sums COMMAND_ERROR_IS_FATAL ANY)
  # What is in it is compressed already.
  execute_process(
    COMMAND dpkg-deb --root-owner-group -Zgzip -z1 --build ${root} ${CPACK_PACKAGE_DIRECTORY}
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endfunction()

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} upper)
  set(root ${CPACK_TOPLEVEL_DIRECTORY}/dbgsym/${component})
  set(package ${CPACK_PACKAGE_FILES})
  list(FILTER package INCLUDE REGEX "/${CPACK_DEBIAN_${upper}_PACKAGE_NAME}_[^/]*$")
  if(EXISTS ${root})
    make_debug_package(${root})
  endif()
endforeach()
