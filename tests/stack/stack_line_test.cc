// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "capi/stack_line.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "capi/config_key.h"
#include "capi/snapshot.h"
#include "support/adapter.h"
#include "support/files.h"

namespace capi::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr unsigned kTypes = 7;

using Lines = std::vector<capi_stack_line>;
using Keys = std::vector<capi_config_key>;

Lines all_lines() {
  Lines lines;
  const auto take = [](const capi_stack_line* line, void* user) {
    static_cast<Lines*>(user)->push_back(*line);
    return 0;
  };
  EXPECT_EQ(capi_stack_line_for_each(take, &lines), 0);
  return lines;
}

Keys all_keys() {
  Keys keys;
  const auto take = [](const capi_config_key* key, void* user) {
    static_cast<Keys*>(user)->push_back(*key);
    return 0;
  };
  EXPECT_EQ(capi_config_for_each(take, &keys), 0);
  return keys;
}

std::string with_number(std::string pattern, int number) {
  const size_t place = pattern.find("%d");
  if (place != std::string::npos) pattern.replace(place, 2, std::to_string(number));
  return pattern;
}

// "[SIP] transport 6", a line of the file of a type.
std::string spot(const std::string& section, const std::string& name, unsigned type) {
  return "[" + section + "] " + name + " " + std::to_string(type);
}

std::string spot(const capi_stack_line& line, int number, unsigned type) {
  return spot(with_number(line.section, number), with_number(line.name, number), type);
}

using Spots = std::set<std::string>;

// The spots that show the value at an offset of the record under one of these conditions.
Spots told_spots(const Lines& lines, int offset, const std::set<int>& conditions) {
  Spots spots;
  for (const capi_stack_line& line : lines) {
    if (conditions.count(line.condition) == 0) continue;
    for (int i = 0; i < line.count; ++i) {
      if (line.offset + i * line.stride != offset) continue;
      for (unsigned type = 0; type < kTypes; ++type) {
        if ((line.types >> type & 1) != 0) spots.insert(spot(line, line.first + i, type));
      }
    }
  }
  return spots;
}

Spots told_spots(int offset) { return told_spots(all_lines(), offset, {0, 1, 2, 3, 4, 5}); }

class StackLine : public Adapter {
 protected:
  using Values = std::multimap<std::string, std::string>;  // of each spot

  struct File {
    std::string text;
    Values values;
  };

  // By type.
  static std::vector<std::string> texts_of(const cfg_shared_record& record) {
    std::vector<std::string> texts;
    for (unsigned type = 0; type < kTypes; ++type) {
      EXPECT_EQ(capi_snapshot_write_config_file(&record, type, "/tmp/lines"), 0);
      texts.push_back(read_file("/tmp/lines"));
    }
    return texts;
  }

  static Values values_in(const std::string& text, unsigned type) {
    Values values;
    std::string section;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
      const size_t equals = line.find('=');
      if (!line.empty() && line[0] == '[') section = line.substr(1, line.size() - 2);
      if (equals == std::string::npos) continue;
      values.emplace(spot(section, line.substr(0, equals), type), line.substr(equals + 1));
    }
    return values;
  }

  // By type.
  static std::vector<File> files_of(const cfg_shared_record& record) {
    std::vector<File> files;
    unsigned type = 0;
    for (const std::string& text : texts_of(record)) {
      files.push_back({text, values_in(text, type++)});
    }
    return files;
  }

  // The spots at which the files of a record show different values.
  static Spots changed_spots(const std::vector<File>& before, const cfg_shared_record& record) {
    Spots spots;
    const std::vector<std::string> after = texts_of(record);
    for (unsigned type = 0; type < kTypes; ++type) {
      if (after[type] == before[type].text) continue;
      for (const auto& [spot, value] : values_in(after[type], type)) {
        const auto was = before[type].values.find(spot);
        if (was != before[type].values.end() && was->second != value) spots.insert(spot);
      }
    }
    return spots;
  }

  // A value that no test record has, and which is an IPv6 address as far as that matters.
  static void change(cfg_shared_record& record, const capi_config_key& key, int offset) {
    char* field = reinterpret_cast<char*>(&record) + offset;
    if (key.kind == CAPI_CONFIG_TEXT) {
      strcpy(field, "AMR:EVS");
      return;
    }
    int32_t number = 0;
    memcpy(&number, field, sizeof number);
    number = number == 1 ? 0 : number == 2 ? 3 : 1;
    memcpy(field, &number, sizeof number);
  }

  // Checks, key by key, that what the walk tells under these conditions is what a file shows; of
  // all keys, or of a section's.
  static void expect_truth(const cfg_shared_record& record, const std::set<int>& conditions,
                           const std::string& section = "") {
    const Lines lines = all_lines();
    const std::vector<File> before = files_of(record);
    for (const capi_config_key& key : all_keys()) {
      if (!section.empty() && key.section != section) continue;
      const int count = std::max(std::max(key.section_max, key.name_max), 1);
      for (int i = 0; i < (key.stride != 0 ? count : 1); ++i) {
        const int offset = key.offset + i * key.stride;
        auto after = std::make_unique<cfg_shared_record>(record);
        change(*after, key, offset);
        EXPECT_EQ(changed_spots(before, *after), told_spots(lines, offset, conditions))
            << key.section << " " << key.name << " " << i + 1;
      }
    }
  }

  static void name_interfaces(cfg_shared_record& record) {
    for (auto& name : record.stack_if_name) strcpy(name, "own");
  }

  static void use_codecs(cfg_shared_record& record, const char* name) {
    record.voice_parameter.count = CAPI_CODEC_SLOTS;
    for (auto& codec : record.voice_parameter.code_list) strcpy(codec, name);
  }
};

TEST_F(StackLine, TellsWhereEachKeyShows) {
  auto record = std::make_unique<cfg_shared_record>();
  name_interfaces(*record);
  expect_truth(*record, {CAPI_STACK_LINE_ALWAYS});
}

TEST_F(StackLine, TellsWhatShowsWithTlsAndCodecsOfEachKind) {
  auto record = std::make_unique<cfg_shared_record>();
  name_interfaces(*record);
  record->voice_basic.transport_protocol = 2;
  use_codecs(*record, "AMR");
  const int always = CAPI_STACK_LINE_ALWAYS;
  expect_truth(*record, {always, CAPI_STACK_LINE_TLS, CAPI_STACK_LINE_SLOT, CAPI_STACK_LINE_AMR});
  use_codecs(*record, "EVS");
  expect_truth(*record, {always, CAPI_STACK_LINE_TLS, CAPI_STACK_LINE_SLOT, CAPI_STACK_LINE_EVS},
               "voice_parameter");
}

TEST_F(StackLine, TellsOfTheInterfaceForStacksWithoutTheirOwn) {
  const int offset = offsetof(cfg_shared_record, bb_if_name);
  auto record = std::make_unique<cfg_shared_record>();
  auto after = std::make_unique<cfg_shared_record>();
  strcpy(after->bb_if_name, "usb0");
  const Spots everywhere = changed_spots(files_of(*record), *after);
  EXPECT_EQ(everywhere.size(), kTypes);
  EXPECT_EQ(told_spots(offset), everywhere);
  name_interfaces(*record);
  name_interfaces(*after);
  EXPECT_EQ(told_spots(all_lines(), offset, {CAPI_STACK_LINE_ALWAYS}),
            changed_spots(files_of(*record), *after));
}

TEST_F(StackLine, GivesNumbersAsTheFileHasThem) {
  const int second = offsetof(cfg_shared_record, sip_server.proxy_port) + 4;
  EXPECT_THAT(told_spots(second), ElementsAre("[PROXYSERVER_1] port 0", "[PROXYSERVER_1] port 1",
                                              "[PROXYSERVER_1] port 2", "[PROXYSERVER_1] port 3",
                                              "[PROXYSERVER_1] port 4", "[PROXYSERVER_1] port 5",
                                              "[PROXYSERVER_1] port 6"));
  const int third = offsetof(cfg_shared_record, call_block.entry) + 2 * 256;
  EXPECT_EQ(told_spots(third).count("[BLOCKPHONE] VOIP_CALL_BLOCK_ENTRY_2 1"), 1U);
  EXPECT_THAT(told_spots(offsetof(cfg_shared_record, sip_line[1].auth_password)),
              ElementsAre("[LINE2_SUBSCRIBER] password 1"));
  EXPECT_THAT(told_spots(offsetof(cfg_shared_record, voice_stack[0].t1)),
              ElementsAre("[STACK] T1 0", "[STACK] T1 5", "[STACK] T1 6"));
  EXPECT_THAT(told_spots(offsetof(cfg_shared_record, hw_info.language)), IsEmpty());
}

TEST_F(StackLine, TheWalkEndsAtTheCallbacksWish) {
  int seen = 0;
  const auto end_at_third = [](const capi_stack_line*, void* user) {
    return ++*static_cast<int*>(user) == 3 ? 7 : 0;
  };
  EXPECT_EQ(capi_stack_line_for_each(end_at_third, &seen), 7);
  EXPECT_EQ(seen, 3);
  EXPECT_EQ(capi_stack_line_for_each(nullptr, &seen), -1);
}

}  // namespace
}  // namespace capi::test
