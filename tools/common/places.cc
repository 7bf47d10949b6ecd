// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "places.h"

#include <capi/stack_line.h>

#include "stack_files.h"

namespace tools {
namespace {

// In the order of enum capi_stack_line_condition.
constexpr const char* kConditions[] = {
    "",
    "the stack has no interface of its own",
    "basic_sip.transport_protocol is 2",
    "voice_parameter.count reaches so far",
    "the slot's code_list holds AMR",
    "the slot's code_list holds EVS",
};

std::string files_of(const capi_stack_line& line) {
  std::string files;
  for (unsigned type = 0; type < std::size(kStackTypes); ++type) {
    if ((line.types >> type & 1) == 0) continue;
    files += (files.empty() ? "" : " ") + std::string(kStackTypes[type].name);
  }
  return files;
}

std::string with_number(const char* pattern, int number) {
  std::string name = pattern;
  const size_t place = name.find("%d");
  return place == std::string::npos ? name : name.replace(place, 2, std::to_string(number));
}

// Which of the line's numbers shows the key; -1 for none.
int index_of(const capi_stack_line& line, const Key& key) {
  const auto offset = static_cast<int>(key.offset());
  if (line.stride == 0) return offset == line.offset ? 0 : -1;
  const int index = (offset - line.offset) / line.stride;
  const bool is_shown = offset == line.offset + index * line.stride;
  return offset >= line.offset && is_shown && index < line.count ? index : -1;
}

// Of a line that is in each of some numbered sections one place tells: "CODEC0 to CODEC11".
std::string section_of(const capi_stack_line& line, int number) {
  std::string section = with_number(line.section, number);
  if (line.stride != 0 || line.count == 1) return section;
  return section + " to " + with_number(line.section, line.first + line.count - 1);
}

struct Search {
  const Key& key;
  std::vector<Place> places;
};

int look(const capi_stack_line* line, void* user) {
  auto& search = *static_cast<Search*>(user);
  const int index = index_of(*line, search.key);
  if (index == -1) return 0;
  const int number = line->first + index;
  search.places.push_back({files_of(*line), section_of(*line, number),
                           with_number(line->name, number), kConditions[line->condition],
                           line->types});
  return 0;
}

}  // namespace

std::vector<Place> places_of(const Key& key) {
  Search search{key, {}};
  capi_stack_line_for_each(look, &search);
  // The SIM's values have a file of their own in the data directory.
  if (key.section == "sim_info") {
    search.places.push_back({"info.simcard", "SIM", key.field(), "ICCID and IMSI are known"});
  }
  return search.places;
}

}  // namespace tools
