// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "document.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "setting_file.h"
#include "table.h"
#include "text.h"

namespace tools {
namespace {

// From 2^53 on all are. The library of mathematics is a third of a MiB for one question.
bool is_whole(double number) {
  constexpr double kAllAreWhole = 9007199254740992.0;
  if (!(std::abs(number) < kAllAreWhole)) return !std::isnan(number);
  return static_cast<double>(static_cast<int64_t>(number)) == number;
}

// What an item of a section is as a setting file would have it; false when it is of another kind.
bool text_of_item(const Key& key, const cJSON* item, std::string& value) {
  if (key.row.kind == CAPI_CONFIG_TEXT) {
    if (!cJSON_IsString(item)) return false;
    value = item->valuestring;
    return true;
  }
  if (!cJSON_IsNumber(item) || !is_whole(item->valuedouble)) return false;
  char digits[32];
  snprintf(digits, sizeof digits, "%.0f", std::clamp(item->valuedouble, -1e15, 1e15));
  value = digits;
  return true;
}

// Nobody reads more of them, and the search for what was meant takes its time.
constexpr size_t kMostUnknown = 20;

// {"set": true}, as the bridge to a broker shows a secret, or the text that the others show.
bool is_hidden(const cJSON* item) {
  if (cJSON_IsString(item)) {
    const std::string_view text = item->valuestring;
    return text == kSecretIsSet || text == kSecretIsNotSet;
  }
  const cJSON* child = cJSON_IsObject(item) ? item->child : nullptr;
  return child != nullptr && child->next == nullptr && cJSON_IsBool(child) &&
         std::string_view(child->string) == "set";
}

class DocumentReader {
 public:
  void read_section(const cJSON* section);
  Settings take();

 private:
  void refuse(const std::string& text) { settings_.findings.push_back({0, true, text}); }
  void read_item(const std::string& section, const cJSON* item);

  Settings settings_;
  size_t unknown_ = 0;
};

void DocumentReader::read_section(const cJSON* section) {
  const std::string name = section->string;
  char sentence[CAPI_KEYS_SENTENCE];
  if (capi_keys_check(name.c_str(), "", "", sentence, sizeof sentence) ==
      CAPI_KEY_UNKNOWN_SECTION) {
    if (++unknown_ <= kMostUnknown) refuse(sentence);
    return;
  }
  if (!cJSON_IsObject(section)) return refuse(name + " has to be an object of keys and values");
  for (const cJSON* item = section->child; item != nullptr; item = item->next) {
    read_item(name, item);
  }
}

void DocumentReader::read_item(const std::string& section, const cJSON* item) {
  const std::string label = section + "." + item->string;
  const Key* key = find_label(label);
  if (key == nullptr) {
    if (++unknown_ <= kMostUnknown) refuse(unknown_key(label));
    return;
  }
  // A document that was printed without secrets leaves them as they are.
  if (key->meaning.is_secret != 0 && is_hidden(item)) return;
  std::string value;
  if (!text_of_item(*key, item, value)) {
    const bool is_text = key->row.kind == CAPI_CONFIG_TEXT;
    return refuse(label + " has to be a " + (is_text ? "text" : "whole number"));
  }
  settings_.items.push_back({key, value});
  const std::string wrong = refusal(*key, value);
  if (!wrong.empty()) refuse(label + ": " + wrong);
}

Settings DocumentReader::take() {
  if (unknown_ > kMostUnknown) {
    refuse("there are more unknown keys or sections: " + std::to_string(unknown_ - kMostUnknown));
  }
  return std::move(settings_);
}

cJSON* json_of(const cfg_shared_record& record, const Key& key, Secrets secrets) {
  const std::string value = value_of(record, key);
  if (key.row.kind == CAPI_CONFIG_NUMBER) return cJSON_CreateRaw(value.c_str());
  return cJSON_CreateString(json_text(shown_value(key, value, secrets)).c_str());
}

// The object of this name in another one, made where it is missing.
cJSON* object_in(cJSON* json, const std::string& name) {
  cJSON* object = cJSON_GetObjectItemCaseSensitive(json, name.c_str());
  return object != nullptr ? object : cJSON_AddObjectToObject(json, name.c_str());
}

}  // namespace

Settings read_document(const std::string& content) {
  if (has_nul(content)) {
    throw Failure("the document has a NUL character in a text, which no value can have");
  }
  const char* end = nullptr;
  const Json json(cJSON_ParseWithOpts(content.c_str(), &end, 1));
  if (!json) {
    const auto line = std::count(content.c_str(), end, '\n') + 1;
    throw Failure("the document is no JSON: see line " + std::to_string(line));
  }
  if (!cJSON_IsObject(json.get())) throw Failure("the document has to be an object of sections");
  DocumentReader reader;
  for (const cJSON* section = json->child; section != nullptr; section = section->next) {
    reader.read_section(section);
  }
  return reader.take();
}

cJSON* document_of(const cfg_shared_record& record, const std::vector<const Key*>& keys,
                   Secrets secrets) {
  cJSON* json = cJSON_CreateObject();
  for (const Key* key : keys) {
    cJSON_AddItemToObject(object_in(json, key->section), key->field().c_str(),
                          json_of(record, *key, secrets));
  }
  return json;
}

}  // namespace tools
