// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// All that is known of a key.
#pragma once

#include <cjson/cJSON.h>

#include <optional>

#include "setting_file.h"
#include "value.h"

namespace tools {

// Where a start finds its settings, and the file that it loads last.
constexpr char kSettingsDirectory[] = "/etc/capi/settings.d";
constexpr char kLocalSettings[] = "/etc/capi/settings.d/local.settings";

// The setting files there in the order in which a start loads them.
std::vector<std::string> adapter_setting_files();

// Where a value comes from.
struct Source {
  std::string kind;  // "start", "file", "device" or "set"
  std::string file;
  int line = 0;
};

// A setting file that a value may come from; those that cannot be read are passed over.
struct SourceFile {
  std::string path;
  std::vector<Setting> settings;
};
std::vector<SourceFile> read_source_files(const std::vector<std::string>& paths);
Source source_of(const Key& key, const std::string& value, const std::vector<SourceFile>& files);

// A key as it is now: its value, and where that comes from.
struct KeyState {
  std::string value;
  Source source;
};

// All of it as a JSON object, with or without the lines of the voice stacks' files that show the
// value. The state is missing where no adapter is up. The caller deletes it.
cJSON* key_json(const Key& key, const std::optional<KeyState>& state, Secrets secrets);
void add_places(cJSON* json, const Key& key);

}  // namespace tools
