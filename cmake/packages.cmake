# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
# The Debian packages, a component each: "cpack" in the build directory makes them. A program's
# package is a call of capi_package() below, and the install(... COMPONENT ...) calls of the program.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME capi)
set(CPACK_PACKAGE_CONTACT "The capi authors <capi@adapter.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # or it would stand above each package's own
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
if(CMAKE_LIBRARY_ARCHITECTURE STREQUAL arm-linux-gnueabihf)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
endif()

# CPack has no names for some fields and writes values as they are: such a field is another's line.
set(CPACK_DEBIAN_PACKAGE_SOURCE capi)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://capi.adapter.invalid/
Vcs-Browser: https://capi.adapter.invalid/source
Vcs-Git: https://capi.adapter.invalid/capi.git")

# What goes into the packages is stripped and compressed, and debuggers get packages of their own.
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/cmake/debian/prepare.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/cmake/debian/finish.cmake)

# What the programs are linked with, but for our libraries, which no package on this machine has: they
# are told below.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
  ${CMAKE_CURRENT_BINARY_DIR} ${CMAKE_CURRENT_BINARY_DIR}/keys)

set(library libcapi${PROJECT_VERSION_MAJOR})
set(keys_library libcapi-keys${PROJECT_VERSION_MAJOR})
set(this_version "(= ${PROJECT_VERSION})")
set(these_keys "${keys_library} ${this_version}")

# What several packages' scripts do: @forget_changes@ in them.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS cmake/debian/forget-changes)
file(READ cmake/debian/forget-changes forget_changes)

# capi_package(COMPONENT PACKAGE SECTION section DESCRIPTION text [DEPENDS packages]
#   [MULTI_ARCH same | foreign] [FOR_ALL] [CONTROL directory])
# The package of a component. MULTI_ARCH is "same" where those of two architectures are installed
# side by side, and "foreign" where one serves the programs of all. FOR_ALL is for a package with
# nothing compiled in it. cmake/debian/PACKAGE, or the CONTROL directory there, may have maintainer
# scripts, conffiles and triggers. lintian-overrides are those of all packages and of both directories.
macro(capi_package component package)
  cmake_parse_arguments(arg FOR_ALL "SECTION;DESCRIPTION;DEPENDS;MULTI_ARCH;CONTROL" "" ${ARGN})
  string(TOUPPER CPACK_DEBIAN_${component} prefix)
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  set(${prefix}_PACKAGE_NAME ${package})
  set(${prefix}_DESCRIPTION "${arg_DESCRIPTION}")
  set(${prefix}_PACKAGE_SECTION ${arg_SECTION})
  set(${prefix}_PACKAGE_DEPENDS "${arg_DEPENDS}")
  if(arg_MULTI_ARCH)
    string(APPEND ${prefix}_PACKAGE_SECTION "\nMulti-Arch: ${arg_MULTI_ARCH}")
  endif()
  if(arg_FOR_ALL)
    set(${prefix}_PACKAGE_ARCHITECTURE all)
  elseif(NOT arg_SECTION STREQUAL libdevel)
    set(${prefix}_PACKAGE_SHLIBDEPS ON)
  endif()

  set(control ${CMAKE_CURRENT_SOURCE_DIR}/cmake/debian/${package})
  if(arg_CONTROL)
    set(control ${CMAKE_CURRENT_SOURCE_DIR}/cmake/debian/${arg_CONTROL})
  endif()
  foreach(file IN ITEMS postinst prerm postrm conffiles triggers)
    if(EXISTS ${control}/${file})
      set(configured ${CMAKE_CURRENT_BINARY_DIR}/debian/${package}/${file})
      configure_file(${control}/${file} ${configured} @ONLY)
      list(APPEND ${prefix}_PACKAGE_CONTROL_EXTRA ${configured})
    endif()
  endforeach()

  # Licence and changelog stand where Debian looks for them. Other installations can do without.
  set(directory ${CMAKE_INSTALL_DATADIR}/doc/${package})
  install(FILES LICENSE RENAME copyright COMPONENT ${component} DESTINATION ${directory}
    EXCLUDE_FROM_ALL)
  install(FILES cmake/debian/changelog COMPONENT ${component} DESTINATION ${directory}
    EXCLUDE_FROM_ALL)
  set(debian ${CMAKE_CURRENT_SOURCE_DIR}/cmake/debian)
  set(places ${debian} ${control} ${debian}/${package})
  list(REMOVE_DUPLICATES places)
  set(overrides)
  foreach(place IN LISTS places)
    if(EXISTS ${place}/lintian-overrides)
      file(READ ${place}/lintian-overrides text)
      string(APPEND overrides "${text}")
    endif()
  endforeach()
  set(file ${CMAKE_CURRENT_BINARY_DIR}/debian/${package}/lintian-overrides)
  file(CONFIGURE OUTPUT ${file} CONTENT "${overrides}" @ONLY)
  install(FILES ${file} RENAME ${package} COMPONENT ${component} EXCLUDE_FROM_ALL
    DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides)
endmacro()

# capi_package_library(COMPONENT PACKAGE LIBRARY MAP): what other packages have to depend on that are
# linked with a library: "shlibs" of this version, "symbols" of those since when there are the symbols
# that they use, as the library's map has it. A stanza that is newer than this version is the next
# release's, and until that this version has it.
macro(capi_package_library component package library map)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${map})
  file(STRINGS ${map} lines REGEX "^(CAPI[A-Z_]*_[0-9.]+ {|    [A-Za-z0-9_]+;)$")
  set(symbols)
  foreach(line IN LISTS lines)
    if(line MATCHES "^(.*_([0-9.]+)) {$")
      set(stanza ${CMAKE_MATCH_1})
      set(symbol ${stanza})
      set(since ${CMAKE_MATCH_2})
      if(since VERSION_GREATER PROJECT_VERSION)
        set(since ${PROJECT_VERSION})
      endif()
    else()
      string(REGEX REPLACE "[ ;]" "" symbol ${line})
    endif()
    list(APPEND symbols " ${symbol}@${stanza} ${since}")
  endforeach()
  list(SORT symbols)
  list(PREPEND symbols "${library}.so.${PROJECT_VERSION_MAJOR} ${package} #MINVER#"
    "* Build-Depends-Package: ${library}-dev")
  list(JOIN symbols "\n" symbols)
  set(directory ${CMAKE_CURRENT_BINARY_DIR}/debian/${package})
  file(CONFIGURE OUTPUT ${directory}/symbols CONTENT "${symbols}\n" @ONLY)
  file(CONFIGURE OUTPUT ${directory}/shlibs @ONLY
    CONTENT "${library} ${PROJECT_VERSION_MAJOR} ${package} (>= ${PROJECT_VERSION})\n")
  string(TOUPPER CPACK_DEBIAN_${component} prefix)
  list(APPEND ${prefix}_PACKAGE_CONTROL_EXTRA ${directory}/symbols ${directory}/shlibs)
endmacro()

capi_package(library ${library} SECTION libs MULTI_ARCH same CONTROL library
  DESCRIPTION "configuration library of an LTE phone adapter
Gives every process of the device one typed view of its configuration and live
state in shared memory.")
capi_package_library(library ${library} libcapi ${CMAKE_CURRENT_SOURCE_DIR}/src/capi.map)

capi_package(dev libcapi-dev SECTION libdevel MULTI_ARCH same
  DEPENDS "${library} ${this_version}, libcjson-dev"
  DESCRIPTION "development files of libcapi
Headers, manual pages, and what pkg-config and CMake need to build a program
that uses the configuration library of an LTE phone adapter.")

if(TARGET capi_keys)
  capi_package(keys ${keys_library} SECTION libs MULTI_ARCH same CONTROL library
    DEPENDS "${library} ${this_version}"
    DESCRIPTION "what the keys of an LTE phone adapter mean
Tells programs that people set values with what each key of the configuration
means and takes, and whether a value is right for it.")
  capi_package_library(keys ${keys_library} libcapi-keys
    ${CMAKE_CURRENT_SOURCE_DIR}/keys/capi-keys.map)

  capi_package(keys_dev libcapi-keys-dev SECTION libdevel MULTI_ARCH same
    DEPENDS "${these_keys}, libcapi-dev ${this_version}"
    DESCRIPTION "development files of libcapi-keys
The header, and what pkg-config and CMake need to build a program that tells
what the configuration of an LTE phone adapter means.")
endif()

# The documents stand beside those of the development files, and as they stand in the sources, so that
# their links hold.
if(CAPI_BUILD_DOC)
  capi_package(doc libcapi-doc SECTION doc MULTI_ARCH foreign FOR_ALL
    DESCRIPTION "documents of libcapi
The reference of the functions, examples, what every key of the configuration
means, and the formats of the files of an LTE phone adapter.")
  set(directory ${CMAKE_INSTALL_DATADIR}/doc/libcapi-dev)
  install(FILES README.md CHANGELOG.md CONTRIBUTING.md DESTINATION ${directory} COMPONENT doc
    EXCLUDE_FROM_ALL)
  install(DIRECTORY docs examples DESTINATION ${directory} COMPONENT doc EXCLUDE_FROM_ALL
    FILES_MATCHING PATTERN *.md PATTERN *.json PATTERN *.svg PATTERN *.png PATTERN *.dot PATTERN *.c
    PATTERN *.py PATTERN *.lua PATTERN examples/fleet/*)
  install(PROGRAMS examples/fleet/make-certificates DESTINATION ${directory}/examples/fleet
    COMPONENT doc EXCLUDE_FROM_ALL)
  install(DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/reference/html DESTINATION ${directory}
    COMPONENT doc EXCLUDE_FROM_ALL)
  install(FILES cmake/debian/libcapi-doc/doc-base RENAME libcapi-doc.capi COMPONENT doc
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc-base EXCLUDE_FROM_ALL)
endif()

if(CAPI_BUILD_TOOL)
  capi_package(tool capictl SECTION utils MULTI_ARCH foreign
    DEPENDS "${library} ${this_version}, ${these_keys}"
    DESCRIPTION "LTE phone adapter from the terminal
Shows and changes the configuration, the call log, the short messages and the
live state of an adapter that runs libcapi.")

  capi_package(web capi-web SECTION web MULTI_ARCH foreign
    DEPENDS "${library} ${this_version}, ${these_keys}"
    DESCRIPTION "LTE phone adapter in a browser
Serves pages, and an interface for programs, that show and change an adapter
that runs libcapi, to those who know its password.")

  capi_package(simulator capi-simulator SECTION utils MULTI_ARCH foreign FOR_ALL
    DEPENDS "capictl ${this_version}, systemd | systemd-tmpfiles"
    DESCRIPTION "simulated LTE phone adapter
Makes this machine an adapter for programs that use libcapi: its settings and
what the device's other software provides.")
endif()

if(TARGET capi_python)
  capi_package(python python3-capi SECTION python MULTI_ARCH foreign FOR_ALL
    DEPENDS "python3 (>= 3.9), python3-cffi-backend, ${library} ${this_version}, ${these_keys}"
    DESCRIPTION "LTE phone adapter from Python
Configuration, lines, call log and short messages of an adapter that runs
libcapi, as objects of Python with types, and changes with asyncio.")
  install(PROGRAMS examples/factory_check.py COMPONENT python EXCLUDE_FROM_ALL
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/python3-capi/examples)

  capi_package(lua lua-capi SECTION interpreters MULTI_ARCH foreign FOR_ALL
    DEPENDS "luajit, ${library} ${this_version}, ${these_keys}"
    DESCRIPTION "LTE phone adapter from LuaJIT
Configuration, records, call log, short messages and changes of an adapter that
runs libcapi, for programs in Lua.")
  install(FILES examples/show_adapter.lua COMPONENT lua EXCLUDE_FROM_ALL
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/lua-capi/examples)
endif()

if(TARGET capi-mqtt)
  capi_package(mqtt capi-mqtt SECTION net MULTI_ARCH foreign
    DEPENDS "${library} ${this_version}, ${these_keys}"
    DESCRIPTION "LTE phone adapter on an MQTT broker
Publishes the state of an adapter that runs libcapi, and carries out requests
that come from the broker: for who has many of them.")
endif()

# A package of another version than its changelog's would be a mistake.
file(STRINGS cmake/debian/changelog newest LIMIT_COUNT 1)
if(NOT newest MATCHES "^capi \\(${PROJECT_VERSION}\\) ")
  message(FATAL_ERROR "cmake/debian/changelog does not begin with version ${PROJECT_VERSION}")
endif()


# What starts the tool's master with the machine, and what a PC has instead of a device. These paths
# are fixed: the library and systemd look nowhere else.
install(FILES tools/boot/capi-master.service COMPONENT tool EXCLUDE_FROM_ALL
  DESTINATION /usr/lib/systemd/system)
install(FILES tools/boot/capi-master.service.8 COMPONENT tool EXCLUDE_FROM_ALL
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man8)
install(FILES tools/boot/capi-web.service COMPONENT web EXCLUDE_FROM_ALL
  DESTINATION /usr/lib/systemd/system)
install(FILES tools/boot/capictl.conf COMPONENT tool EXCLUDE_FROM_ALL
  DESTINATION /usr/lib/tmpfiles.d)
install(DIRECTORY DESTINATION /etc/capi/settings.d COMPONENT tool EXCLUDE_FROM_ALL)
if(TARGET capi-mqtt)
  install(FILES tools/capi-mqtt/capi-mqtt.service COMPONENT mqtt EXCLUDE_FROM_ALL
    DESTINATION /usr/lib/systemd/system)
  install(FILES tools/capi-mqtt/mqtt.conf COMPONENT mqtt EXCLUDE_FROM_ALL
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/capi-mqtt/examples)
  install(FILES tools/capi-mqtt/capi-mqtt.conf.5 COMPONENT mqtt EXCLUDE_FROM_ALL
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man5)
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
