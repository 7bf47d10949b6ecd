// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "apply.h"

#include <iterator>

#include "adapter.h"
#include "places.h"
#include "stack_files.h"
#include "text.h"

namespace tools {

void apply(const std::vector<const Key*>& keys) {
  unsigned types = 0;
  for (const Key* key : keys) {
    for (const Place& place : places_of(*key)) types |= place.types;
  }
  std::vector<std::string> failed;
  for (unsigned type = 0; type < std::size(kStackTypes); ++type) {
    if ((types >> type & 1) == 0) continue;
    if (capi_make_config_file(type) != 0) failed.emplace_back(kStackTypes[type].path);
  }
  if (capi_fire_internal_event(kChangeSignal) != 0) failed.emplace_back(kChangeSignal);
  if (failed.empty()) return;
  throw Failure("the values are set, but could not be applied: " + joined(failed, ", ") +
                " cannot be written or posted");
}

}  // namespace tools
