# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
# The Debian packages, a component each: "cpack" in the build directory makes them.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME capi)
set(CPACK_PACKAGE_CONTACT "The capi authors <capi@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library dev)
if(CAPI_BUILD_TOOL)
  list(APPEND CPACK_COMPONENTS_ALL tool)
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
if(CMAKE_SYSTEM_PROCESSOR STREQUAL armv7l)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
endif()

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libcapi${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "configuration library of an LTE phone adapter
 Gives every process of the device one typed view of its configuration and live
 state in shared memory.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libcapi-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEV_DESCRIPTION "development files of libcapi
 Headers and what pkg-config and CMake need to build a program that uses the
 configuration library of an LTE phone adapter.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME capictl)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_COMPONENT_TOOL_DESCRIPTION "an LTE phone adapter from the terminal
 Shows and changes the configuration, the call log, the short messages and the
 live state of an adapter that runs libcapi.")

set(this_version "(= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS "libc6, libcjson1")
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
  "${CPACK_DEBIAN_LIBRARY_PACKAGE_NAME} ${this_version}, libcjson-dev")
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS
  "${CPACK_DEBIAN_LIBRARY_PACKAGE_NAME} ${this_version}, libc6, libcjson1, libstdc++6, libgcc-s1")

# Debian wants the licence where it looks for it.
foreach(component IN ITEMS library dev tool)
  string(TOUPPER ${component} upper)
  install(FILES LICENSE RENAME copyright COMPONENT ${component}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
endforeach()

# Packages are made of what is built, and make nothing themselves.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)
include(CPack)
