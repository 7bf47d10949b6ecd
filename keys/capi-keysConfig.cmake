# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
include(CMakeFindDependencyMacro)
find_dependency(capi)
include(${CMAKE_CURRENT_LIST_DIR}/capi-keysTargets.cmake)
