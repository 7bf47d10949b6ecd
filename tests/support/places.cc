// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The one file that knows the paths of the checkout: the others are compiled the same way in all.
#include "support/files.h"

namespace capi::test {

std::string source_file(const std::string& path) { return CAPI_SOURCE_DIR "/" + path; }
std::string built_file(const std::string& path) { return CAPI_BINARY_DIR "/" + path; }

}  // namespace capi::test
