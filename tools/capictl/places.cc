// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "places.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "stack_types.h"

namespace capictl {
namespace {

using Record = cfg_shared_record;

constexpr unsigned kTypes = std::size(kStackTypes);

template <size_t N>
void fill(char (&field)[N], const char* text) {
  strncpy(field, text, N);
}

void name_interfaces(Record& record) {
  for (auto& name : record.stack_if_name) fill(name, "own");
}

void use_codecs(Record& record, const char* name) {
  name_interfaces(record);
  record.voice_parameter.count = CAPI_CODEC_SLOTS;
  for (auto& codec : record.voice_parameter.code_list) fill(codec, name);
}

// Records in which lines are written that others lack. A line that the record "after" which one
// stands has as well, does not come from what is peculiar to it.
struct Condition {
  const char* text;
  size_t after;
  void (*make)(Record& record);
};

constexpr Condition kConditions[] = {
    {"", 0, name_interfaces},
    {"the stack has no interface of its own", 0, [](Record&) {}},
    {"basic_sip.transport_protocol is 2", 0,
     [](Record& record) {
       name_interfaces(record);
       record.voice_basic.transport_protocol = 2;
     }},
    {"voice_parameter.count reaches so far", 0, [](Record& record) { use_codecs(record, "-"); }},
    {"the slot's code_list holds AMR", 3, [](Record& record) { use_codecs(record, "AMR"); }},
    {"the slot's code_list holds EVS", 3, [](Record& record) { use_codecs(record, "EVS"); }},
};

// A line by its key, and the types in whose files it stands.
struct Spot {
  std::string section;
  std::string line;
  std::array<bool, kTypes> types{};

  bool is_at(const Spot& other) const { return section == other.section && line == other.line; }
};

using Spots = std::vector<Spot>;

std::string key_of(const StackLine& line) { return line.text.substr(0, line.text.find('=')); }

// Gives the key a value that the record does not have.
void change(Record& record, const Key& key) {
  char* field = reinterpret_cast<char*>(&record) + key.offset();
  if (key.row.kind == CAPI_CONFIG_TEXT) {
    strcpy(field, "a:b");  // which changes what is worked out from an address as well
    return;
  }
  int32_t number = 0;
  memcpy(&number, field, sizeof number);
  number = number == 1 ? 0 : 1;
  memcpy(field, &number, sizeof number);
}

// Adds the lines that are there with either value, and differ.
void add_changed(Spots& spots, const Record& before, const Record& after, unsigned type) {
  const std::vector<StackLine> old_lines = stack_lines(stack_file_text(before, type));
  for (const StackLine& line : stack_lines(stack_file_text(after, type))) {
    Spot spot{line.section, key_of(line)};
    const auto old = std::find_if(old_lines.begin(), old_lines.end(), [&](const StackLine& other) {
      return other.section == line.section && key_of(other) == spot.line;
    });
    if (old == old_lines.end() || old->text == line.text) continue;
    auto known = std::find_if(spots.begin(), spots.end(),
                              [&](const Spot& other) { return other.is_at(spot); });
    if (known == spots.end()) known = spots.insert(spots.end(), spot);
    known->types[type] = true;
  }
}

Spots spots_under(const Condition& condition, const Key& key) {
  Record before{};
  condition.make(before);
  Record after = before;
  change(after, key);
  Spots spots;
  for (unsigned type = 0; type < kTypes; ++type) add_changed(spots, before, after, type);
  return spots;
}

void subtract(Spots& spots, const Spots& others) {
  for (Spot& spot : spots) {
    for (const Spot& other : others) {
      for (unsigned type = 0; type < kTypes && spot.is_at(other); ++type) {
        if (other.types[type]) spot.types[type] = false;
      }
    }
  }
  std::erase_if(spots, [](const Spot& spot) { return spot.types == Spot{}.types; });
}

std::string files_of(const Spot& spot) {
  std::string files;
  for (unsigned type = 0; type < kTypes; ++type) {
    if (spot.types[type]) files += (files.empty() ? "" : " ") + std::string(kStackTypes[type].name);
  }
  return files;
}

std::string without_number(const std::string& section) {
  return section.substr(0, section.find_last_not_of("0123456789") + 1);
}

// Of a line that is in each of some numbered sections one place tells: "CODEC0 to CODEC11".
void add_places(std::vector<Place>& places, const Spots& spots, const Condition& condition) {
  for (auto first = spots.begin(); first != spots.end();) {
    const auto last = std::find_if(first, spots.end(), [&](const Spot& spot) {
      return spot.line != first->line || spot.types != first->types ||
             without_number(spot.section) != without_number(first->section);
    });
    const std::string sections =
        last - first == 1 ? first->section : first->section + " to " + (last - 1)->section;
    places.push_back({files_of(*first), sections, first->line, condition.text});
    first = last;
  }
}

}  // namespace

std::vector<Place> places_of(const Key& key) {
  std::vector<Spots> found;
  for (const Condition& condition : kConditions) found.push_back(spots_under(condition, key));
  std::vector<Place> places;
  for (size_t i = 0; i < found.size(); ++i) {
    Spots own = found[i];
    if (i != 0) subtract(own, found[0]);
    if (kConditions[i].after != 0) subtract(own, found[kConditions[i].after]);
    add_places(places, own, kConditions[i]);
  }
  // The SIM's values have a file of their own in the data directory.
  if (key.section == "sim_info") {
    places.push_back({"info.simcard", "SIM", key.label().substr(key.section.size() + 1),
                      "ICCID and IMSI are known"});
  }
  return places;
}

}  // namespace capictl
