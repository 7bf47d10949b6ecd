# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
# The Debian packages, a component each: "cpack" in the build directory makes them.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME capi)
set(CPACK_PACKAGE_CONTACT "The capi authors <capi@adapter.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # or it would stand above each package's own
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library dev)
if(TARGET capi_keys)
  list(APPEND CPACK_COMPONENTS_ALL keys keys_dev)
endif()
if(CAPI_BUILD_TOOL)
  list(APPEND CPACK_COMPONENTS_ALL tool simulator)
endif()
if(TARGET capi_python)
  list(APPEND CPACK_COMPONENTS_ALL python lua)
endif()
if(TARGET capi-mqtt)
  list(APPEND CPACK_COMPONENTS_ALL mqtt)
  set(mqtt_component mqtt)
endif()
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/cmake/debian/compress.cmake)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
if(CMAKE_LIBRARY_ARCHITECTURE STREQUAL arm-linux-gnueabihf)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
endif()

# Other packages learn from "shlibs" what to depend on, and ldconfig hears of the library.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

# What the programs are linked with; our libraries, which no package on this machine has, are told
# below.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
  ${CMAKE_CURRENT_BINARY_DIR} ${CMAKE_CURRENT_BINARY_DIR}/keys)

set(library libcapi${PROJECT_VERSION_MAJOR})
set(keys_library libcapi-keys${PROJECT_VERSION_MAJOR})
set(this_version "(= ${PROJECT_VERSION})")
set(these_keys "${keys_library} ${this_version}")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "configuration library of an LTE phone adapter
Gives every process of the device one typed view of its configuration and live
state in shared memory.")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_SOURCE_DIR}/cmake/debian/triggers)

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libcapi-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${library} ${this_version}, libcjson-dev")
set(CPACK_DEBIAN_DEV_DESCRIPTION "development files of libcapi
Headers, examples, and what pkg-config and CMake need to build a program that
uses the configuration library of an LTE phone adapter.")

set(CPACK_DEBIAN_KEYS_PACKAGE_NAME ${keys_library})
set(CPACK_DEBIAN_KEYS_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_KEYS_PACKAGE_DEPENDS "${library} ${this_version}")
set(CPACK_DEBIAN_KEYS_DESCRIPTION "what the keys of an LTE phone adapter mean
Tells programs that people set values with what each key of the configuration
means and takes, and whether a value is right for it.")

set(CPACK_DEBIAN_KEYS_PACKAGE_CONTROL_EXTRA ${CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA})

set(CPACK_DEBIAN_KEYS_DEV_PACKAGE_NAME libcapi-keys-dev)
set(CPACK_DEBIAN_KEYS_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_KEYS_DEV_PACKAGE_DEPENDS "${these_keys}, libcapi-dev ${this_version}")
set(CPACK_DEBIAN_KEYS_DEV_DESCRIPTION "development files of libcapi-keys
The header, and what pkg-config and CMake need to build a program that tells
what the configuration of an LTE phone adapter means.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME capictl)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${library} ${this_version}, ${these_keys}")
set(CPACK_DEBIAN_TOOL_DESCRIPTION "LTE phone adapter from the terminal
Shows and changes the configuration, the call log, the short messages and the
live state of an adapter that runs libcapi.")

foreach(script IN ITEMS postinst prerm postrm)
  list(APPEND CPACK_DEBIAN_TOOL_PACKAGE_CONTROL_EXTRA
    ${CMAKE_CURRENT_SOURCE_DIR}/cmake/debian/capictl/${script})
endforeach()

set(CPACK_DEBIAN_SIMULATOR_PACKAGE_NAME capi-simulator)
set(CPACK_DEBIAN_SIMULATOR_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_SIMULATOR_PACKAGE_DEPENDS "capictl ${this_version}, systemd | systemd-tmpfiles")
set(CPACK_DEBIAN_SIMULATOR_DESCRIPTION "simulated LTE phone adapter
Makes this machine an adapter for programs that use libcapi: its settings and
what the device's other software provides.")

foreach(file IN ITEMS postinst postrm conffiles)
  list(APPEND CPACK_DEBIAN_SIMULATOR_PACKAGE_CONTROL_EXTRA
    ${CMAKE_CURRENT_SOURCE_DIR}/cmake/debian/capi-simulator/${file})
endforeach()

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-capi)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
  "python3 (>= 3.9), python3-cffi-backend, ${library} ${this_version}, ${these_keys}")
set(CPACK_DEBIAN_PYTHON_DESCRIPTION "LTE phone adapter from Python
Configuration, lines, call log and short messages of an adapter that runs
libcapi, as objects of Python with types, and changes with asyncio.")

foreach(script IN ITEMS postinst prerm)
  list(APPEND CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
    ${CMAKE_CURRENT_SOURCE_DIR}/cmake/debian/python3-capi/${script})
endforeach()

set(CPACK_DEBIAN_LUA_PACKAGE_NAME lua-capi)
set(CPACK_DEBIAN_LUA_PACKAGE_SECTION interpreters)
set(CPACK_DEBIAN_LUA_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_LUA_PACKAGE_DEPENDS "luajit, ${library} ${this_version}, ${these_keys}")
set(CPACK_DEBIAN_LUA_DESCRIPTION "LTE phone adapter from LuaJIT
Configuration, records, call log, short messages and changes of an adapter that
runs libcapi, for programs in Lua.")

set(CPACK_DEBIAN_MQTT_PACKAGE_NAME capi-mqtt)
set(CPACK_DEBIAN_MQTT_PACKAGE_SECTION net)
set(CPACK_DEBIAN_MQTT_PACKAGE_DEPENDS "${library} ${this_version}, ${these_keys}")
set(CPACK_DEBIAN_MQTT_DESCRIPTION "LTE phone adapter on an MQTT broker
Publishes the state of an adapter that runs libcapi, and carries out requests
that come from the broker: for who has many of them.")

foreach(script IN ITEMS postinst prerm postrm)
  list(APPEND CPACK_DEBIAN_MQTT_PACKAGE_CONTROL_EXTRA
    ${CMAKE_CURRENT_SOURCE_DIR}/cmake/debian/capi-mqtt/${script})
endforeach()

# A package of another version than its changelog's would be a mistake.
file(STRINGS cmake/debian/changelog newest LIMIT_COUNT 1)
if(NOT newest MATCHES "^capi \\(${PROJECT_VERSION}\\) ")
  message(FATAL_ERROR "cmake/debian/changelog does not begin with version ${PROJECT_VERSION}")
endif()

# Licence and changelog stand where Debian looks for them. Other installations can do without.
foreach(component IN ITEMS library dev keys keys_dev tool simulator python lua ${mqtt_component})
  string(TOUPPER ${component} upper)
  set(directory ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  install(FILES LICENSE RENAME copyright COMPONENT ${component} DESTINATION ${directory}
    EXCLUDE_FROM_ALL)
  install(FILES cmake/debian/changelog COMPONENT ${component} DESTINATION ${directory}
    EXCLUDE_FROM_ALL)
endforeach()
foreach(component IN ITEMS library keys)
  string(TOUPPER ${component} upper)
  install(FILES cmake/debian/lintian-overrides RENAME ${CPACK_DEBIAN_${upper}_PACKAGE_NAME}
    COMPONENT ${component} EXCLUDE_FROM_ALL
    DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides)
endforeach()
file(GLOB examples ${CMAKE_CURRENT_SOURCE_DIR}/examples/*.c)
install(FILES ${examples} COMPONENT dev EXCLUDE_FROM_ALL
  DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_DEV_PACKAGE_NAME}/examples)
install(PROGRAMS examples/factory_check.py COMPONENT python EXCLUDE_FROM_ALL
  DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_PYTHON_PACKAGE_NAME}/examples)
install(PROGRAMS examples/show_adapter.lua COMPONENT lua EXCLUDE_FROM_ALL
  DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_LUA_PACKAGE_NAME}/examples)

# What starts the tool's master with the machine, and what a PC has instead of a device. These paths
# are fixed: the library and systemd look nowhere else.
install(FILES tools/boot/capi-master.service COMPONENT tool EXCLUDE_FROM_ALL
  DESTINATION /usr/lib/systemd/system)
install(FILES tools/boot/capictl.conf COMPONENT tool EXCLUDE_FROM_ALL
  DESTINATION /usr/lib/tmpfiles.d)
install(DIRECTORY DESTINATION /etc/capi/settings.d COMPONENT tool EXCLUDE_FROM_ALL)
if(TARGET capi-mqtt)
  install(FILES tools/capi-mqtt/capi-mqtt.service COMPONENT mqtt EXCLUDE_FROM_ALL
    DESTINATION /usr/lib/systemd/system)
  install(FILES tools/capi-mqtt/mqtt.conf COMPONENT mqtt EXCLUDE_FROM_ALL
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/capi-mqtt/examples)
endif()
set(device ${CMAKE_CURRENT_SOURCE_DIR}/demo/device)
install(PROGRAMS ${device}/usr/sbin/vsdk_cmd COMPONENT simulator EXCLUDE_FROM_ALL
  DESTINATION /usr/sbin)
install(FILES demo/pc/vsdk_cmd.8 COMPONENT simulator EXCLUDE_FROM_ALL
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man8)
install(FILES demo/pc/capi-simulator.conf COMPONENT simulator EXCLUDE_FROM_ALL
  DESTINATION /usr/lib/tmpfiles.d)
install(FILES demo/pc/simulator.settings ${device}/quorbleconf/config/network.settings
  ${device}/quorbleconf/config/voice.settings COMPONENT simulator EXCLUDE_FROM_ALL
  DESTINATION /etc/capi/settings.d)
install(FILES ${device}/tmp/m_data COMPONENT simulator EXCLUDE_FROM_ALL DESTINATION /etc/capi)
install(DIRECTORY ${device}/tmp/ COMPONENT simulator EXCLUDE_FROM_ALL
  DESTINATION ${CMAKE_INSTALL_DATADIR}/capi-simulator PATTERN m_data EXCLUDE)

# Packages are made of what is built, and make nothing themselves.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)
include(CPack)
