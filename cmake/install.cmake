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

# The installed tree may be moved: all paths start from where capi.pc lies.
file(RELATIVE_PATH CAPI_PC_PREFIX
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/capi.pc.in capi.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/capi.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT dev)
