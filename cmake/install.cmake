# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
# What `cmake --install` puts where, for pkg-config and for find_package(capi).

include(CMakePackageConfigHelpers)

install(TARGETS capi EXPORT capiTargets LIBRARY
  DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT dev)
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/capi)
install(EXPORT capiTargets NAMESPACE capi:: FILE capiConfig.cmake DESTINATION ${package_dir}
  COMPONENT dev)
write_basic_package_version_file(capiConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/capiConfigVersion.cmake DESTINATION ${package_dir}
  COMPONENT dev)

# capi_install_pc(TEMPLATE COMPONENT): for pkg-config. The installed tree may be moved: all paths start from
# where the file lies. Not so in /usr, where compilers look without being told.
function(capi_install_pc template component)
  get_filename_component(name ${template} NAME_WE)
  file(RELATIVE_PATH CAPI_PC_PREFIX
    ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
  configure_file(${template} ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc @ONLY)
  set(directory ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc DESTINATION ${directory}
    COMPONENT ${component})
  install(CODE "
    if(CMAKE_INSTALL_PREFIX STREQUAL \"/usr\")
      set(file \"\$ENV{DESTDIR}/usr/${directory}/${name}.pc\")
      file(READ \${file} text)
      string(REGEX REPLACE \"^prefix=[^\n]*\" \"prefix=/usr\" text \"\${text}\")
      file(WRITE \${file} \"\${text}\")
    endif()" COMPONENT ${component})
endfunction()
capi_install_pc(cmake/capi.pc.in dev)

# Manual pages are made of the headers, and with them, for the pages go where the library goes.
find_program(PERL perl)
mark_as_advanced(PERL)
if(PERL)
  file(GLOB pages_of include/*.h include/capi/*.h keys/include/*.h)
  list(APPEND pages_of docs/man-pages docs/file-formats.md cmake/debian/changelog)
  set(man_pages ${CMAKE_CURRENT_BINARY_DIR}/man)
  add_custom_command(OUTPUT ${man_pages}/dev/man7/capi.7
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${man_pages}
    COMMAND ${PERL} docs/man-pages . ${man_pages} ${PROJECT_VERSION}
    WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} DEPENDS ${pages_of} VERBATIM)
  add_custom_target(capi_pages DEPENDS ${man_pages}/dev/man7/capi.7)
  add_dependencies(capi capi_pages)
  install(DIRECTORY ${man_pages}/dev/ DESTINATION ${CMAKE_INSTALL_MANDIR} COMPONENT dev)
endif()
