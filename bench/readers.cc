// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "readers.h"

#include <ini.h>
#include <iniparser/iniparser.h>

#include "bench.h"

namespace bench {

void read_with_inih(const char* path) {
  const auto handle = [](void*, const char*, const char*, const char*) { return 1; };
  require(ini_parse(path, handle, nullptr) == 0, "inih reads the file");
}

void read_with_iniparser(const char* path) {
  dictionary* items = iniparser_load(path);
  require(items != nullptr, "iniparser reads the file");
  iniparser_freedict(items);
}

}  // namespace bench
