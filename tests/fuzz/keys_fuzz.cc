// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A value for a key, as a person or a program may give it: a line with the section, a line with the
// key, and the value.

#include <strings.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "capi-keys.h"
#include "config/field_table.h"
#include "config/settings.h"
#include "foundation/key_value.h"
#include "foundation/text.h"
#include "fuzz/support.h"
#include "keys/format.h"

namespace {

using capi::fuzz::require;

struct Item {
  std::string section;
  std::string name;
  std::string value;

  bool operator==(const Item&) const = default;
};

// What is in front of the next line end; takes it off.
std::string cut_line(std::string& text) {
  const size_t end = std::min(text.find('\n'), text.size());
  std::string line = text.substr(0, end);
  text.erase(0, end + 1);
  return line;
}

Item parse(const uint8_t* data, size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  text.resize(std::min(text.find('\0'), text.size()));
  Item item;
  item.section = cut_line(text);
  item.name = cut_line(text);
  item.value = text;
  return item;
}

struct Answer {
  int result;
  std::string sentence;

  bool operator==(const Answer&) const = default;
};

Answer check(const Item& item) {
  char sentence[CAPI_KEYS_SENTENCE];
  const int result = capi_keys_check(item.section.c_str(), item.name.c_str(), item.value.c_str(),
                                     sentence, sizeof sentence);
  return {result, sentence};
}

// The same answer, as much of it as there is room for.
void check_with_any_buffer(const Item& item, const Answer& right, capi::fuzz::Asker asker) {
  asker.ask([&](char* buf, int size) {
    const int result =
        capi_keys_check(item.section.c_str(), item.name.c_str(), item.value.c_str(), buf, size);
    require(result == right.result);
    if (size > 0) require(right.sentence.substr(0, static_cast<size_t>(size) - 1) == buf);
  });
}

// Another value of the same length, with blanks, comments and line ends at the same places.
std::string disguised(std::string value) {
  for (char& c : value) {
    if (!capi::is_blank_or_control(c) && strchr("#;", c) == nullptr) c = c == 'x' ? 'y' : 'x';
  }
  return value;
}

void check_secret(const Item& item, const Answer& answer) {
  require(check({item.section, item.name, disguised(item.value)}) == answer);
}

// What is wrong with a name has nothing to do with the value.
void check_unknown(const Item& item, const Answer& answer) {
  require(check({item.section, item.name, ""}) == answer);
}

std::string stored(const Item& item) {
  const auto record = std::make_unique<cfg_shared_record>();
  require(capi::apply_setting(*record, item.section.c_str(), item.name.c_str(),
                              item.value.c_str()) == 0);
  const capi::FieldMatch place =
      capi::find_field(item.section.c_str(), item.name.c_str(), capi::ColumnChoice::Last);
  require(place.lookup == capi::FieldLookup::Found);
  char text[1024];
  get_field(*record, *place.field, place.index, text, sizeof text);
  return text;
}

// The items of a setting file with this one in it.
void check_file(const Item& item) {
  std::string content = "[" + item.section + "]\n" + item.name + "=" + item.value + "\n";
  const capi::File file(fmemopen(content.data(), content.size(), "r"));
  int count = 0;
  capi::for_each_item(file.get(), [&](const char* section, const char* key, const char* value) {
    require(item == Item{section, key, value});
    ++count;
  });
  require(count == (item.value.empty() ? 0 : 1));
}

void check_right_value(const Item& item) {
  require(stored(item) == item.value);
  check_file(item);
}

void check_names(const Item& item) {
  const char* section = item.section.c_str();
  const char* name = item.name.c_str();
  int32_t number = 0;
  if (capi_keys_value_number(section, name, item.value.c_str(), &number) == 0) {
    const char* back = capi_keys_value_name(section, name, number);
    require(back != nullptr && strcasecmp(back, item.value.c_str()) == 0);
    const int result = check({section, name, std::to_string(number)}).result;
    require(result == CAPI_KEY_OK || result == CAPI_KEY_ODD_SPELLING);
  }
  if (capi::keys::read_number(item.value, number) == capi::keys::NumberSyntax::Number) {
    require(std::to_string(number) == item.value);
    capi_keys_value_name(section, name, number);
  }
}

void check_description(const Item& item, capi::fuzz::Asker asker) {
  capi_config_key key;
  capi_key_meaning meaning;
  const bool is_found = capi_config_find(item.section.c_str(), item.name.c_str(), &key) == 0;
  require((capi_keys_find(item.section.c_str(), item.name.c_str(), &meaning) == 0) == is_found);
  if (!is_found) return;
  require(capi_keys_describe(&key, &meaning) == 0);
  char allowed[CAPI_KEYS_SENTENCE];
  require(capi_keys_allowed(&key, allowed, sizeof allowed) == 0);
  asker.ask([&](char* buf, int size) {
    require(capi_keys_allowed(&key, buf, size) == 0);
    if (size > 0) require(strncmp(buf, allowed, static_cast<size_t>(size) - 1) == 0);
  });
}

bool is_secret(const Item& item) {
  capi_key_meaning meaning;
  return capi_keys_find(item.section.c_str(), item.name.c_str(), &meaning) == 0 &&
         meaning.is_secret != 0;
}

void check_formats(const std::string& value) {
  for (int format = CAPI_KEY_IP; format <= CAPI_KEY_EVS_BW; ++format) {
    if (capi::keys::format_of(format).accepts(value)) require(!value.empty());
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  capi::fuzz::ignore_log();
  const Item item = parse(data, size);
  const Answer answer = check(item);
  require(answer.result >= CAPI_KEY_OK && answer.result <= CAPI_KEY_LINE_END);
  require(answer.sentence.empty() == (answer.result == CAPI_KEY_OK));
  require(answer.sentence.size() + 1 < CAPI_KEYS_SENTENCE);
  if (is_secret(item)) check_secret(item, answer);
  if (answer.result == CAPI_KEY_OK) check_right_value(item);
  if (answer.result >= CAPI_KEY_UNKNOWN_SECTION && answer.result <= CAPI_KEY_ODD_SPELLING) {
    check_unknown(item, answer);
  }
  check_with_any_buffer(item, answer, {data, size});
  check_names(item);
  check_description(item, {data, size});
  check_formats(item.value);
  return 0;
}
