# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
# The reference of the public headers, as script/docs makes it, for a package.
find_program(DOXYGEN doxygen REQUIRED)
file(GLOB headers include/*.h include/capi/*.h keys/include/*.h)
set(reference ${CMAKE_CURRENT_BINARY_DIR}/reference)
file(READ docs/Doxyfile doxyfile)
file(CONFIGURE OUTPUT ${reference}/Doxyfile CONTENT "${doxyfile}
OUTPUT_DIRECTORY = \"${reference}\"
GENERATE_XML = NO
SEARCHENGINE = NO
HTML_DYNAMIC_MENUS = NO
" @ONLY)
add_custom_command(OUTPUT ${reference}/html/index.html
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${reference}/html
  COMMAND ${DOXYGEN} ${reference}/Doxyfile
  WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}
  DEPENDS ${headers} docs/Doxyfile docs/doxygen-filter VERBATIM)
add_custom_target(capi_reference ALL DEPENDS ${reference}/html/index.html)
