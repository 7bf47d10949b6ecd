// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Values for keys: whether they are right, and what to tell people of those that are not.

#include <cstring>

#include "capi-keys.h"
#include "capi/config.h"
#include "foundation/text.h"
#include "keys/format.h"
#include "keys/meaning.h"
#include "keys/spelling.h"
#include "keys/values.h"

namespace capi::keys {
namespace {

// As much of a name or a value as a sentence shows.
#define SHOWN "\"%.80s\""

int refuse_section(const char* section, Sentence& sentence) {
  const Suggestion meant = suggest_section(section);
  sentence.add("there is no section " SHOWN, section);
  if (meant.count != 0) {
    sentence.add(": they are numbered from 1 to %d", meant.count);
  } else if (meant.is_near) {
    sentence.add("; the nearest is \"%s\"", meant.nearest.text);
  }
  return CAPI_KEY_UNKNOWN_SECTION;
}

int refuse_key(const char* section, const char* name, Sentence& sentence) {
  const Suggestion meant = suggest_key(section, name);
  sentence.add("section \"%s\" has no key " SHOWN, section, name);
  if (meant.count != 0) {
    sentence.add(": they are numbered from 1 to %d", meant.count);
  } else if (meant.is_near) {
    sentence.add("; the nearest is \"%s\"", meant.nearest.text);
  }
  return CAPI_KEY_UNKNOWN_KEY;
}

// 1 for a key that the section of this name has, however that is spelled.
int is_key_of(const capi_config_key* key, void* section) {
  capi_config_key found;
  return capi_config_find(static_cast<const char*>(section), spell(key->name, 1).text, &found) == 0;
}

bool is_section(const char* name) {
  return capi_config_for_each(is_key_of, const_cast<char*>(name)) == 1;
}

// The key of a section and a name, or what is wrong with them.
int check_name(const char* section, const char* name, capi_config_key& key, Sentence& sentence) {
  if (capi_config_find(section, name, &key) != 0) {
    return is_section(section) ? refuse_key(section, name, sentence)
                               : refuse_section(section, sentence);
  }
  // An entry's number is read from its place on, others from behind the last "_".
  const Spelling right_section = spell(key.section, last_number(section));
  const Spelling right_name = spell(key.name, last_number(name));
  if (strcmp(right_section.text, section) == 0 && strcmp(right_name.text, name) == 0) return 0;
  const bool is_section_odd = strcmp(right_section.text, section) != 0;
  sentence.add(SHOWN " is taken for \"%s\", which is how to write it",
               is_section_odd ? section : name,
               is_section_odd ? right_section.text : right_name.text);
  return CAPI_KEY_ODD_SPELLING;
}

int check_characters(std::string_view value, Sentence& sentence) {
  if (value.find_first_of("\r\n") != std::string_view::npos) {
    sentence.add("a value cannot have a line end in it");
    return CAPI_KEY_LINE_END;
  }
  const size_t cut = value.find_first_of("#;");
  if (cut != std::string_view::npos) {
    sentence.add("a setting file ends the value at its \"%c\"", value[cut]);
    return CAPI_KEY_WOULD_BE_CUT;
  }
  for (const char c : value) {
    if (!is_blank_or_control(c)) continue;
    sentence.add("a setting file takes the blanks out of the value");
    return CAPI_KEY_WOULD_LOSE_BLANKS;
  }
  return CAPI_KEY_OK;
}

// What is wrong with a value, and what is allowed.
class ValueCheck {
 public:
  ValueCheck(const KeyRow& row, const capi_config_key& key, const char* value, Sentence& sentence)
      : row_(row), key_(key), value_(value), sentence_(sentence) {}

  int run() {
    const int wrong = check_characters(value_, sentence_);
    if (wrong != CAPI_KEY_OK) return wrong;
    return row_.allowed.format == CAPI_KEY_NUMBER ? check_number() : check_text();
  }

 private:
  int refuse(capi_key_check result, const char* why) {
    sentence_.add(SHOWN " %s; allowed: ", value_, why);
    add_allowed(sentence_, row_, key_);
    return result;
  }

  int check_number() {
    const Allowed& allowed = row_.allowed;
    int32_t number = 0;
    const NumberSyntax syntax = read_number(value_, number);
    if (syntax == NumberSyntax::NoNumber) return refuse(CAPI_KEY_NOT_A_NUMBER, "is not a number");
    const bool is_list = allowed.min > allowed.max;
    if (syntax == NumberSyntax::Number) {
      if (find_value(allowed.values, number) != nullptr) return CAPI_KEY_OK;
      if (number >= allowed.min && number <= allowed.max) return CAPI_KEY_OK;
      if (is_list) return refuse(CAPI_KEY_NOT_ONE_OF, "is none of those that are allowed");
    }
    return refuse(CAPI_KEY_OUT_OF_RANGE, "is out of range");
  }

  int check_text() {
    const std::string_view text = value_;
    const auto longest = static_cast<size_t>(key_.capacity - 1);
    if (text.size() > longest) {
      sentence_.add("%zu bytes are too many: %zu are kept", text.size(), longest);
      return CAPI_KEY_TOO_LONG;
    }
    const Format& format = format_of(row_.allowed.format);
    if (text.empty() || format.accepts(text)) return CAPI_KEY_OK;
    sentence_.add(SHOWN " is not %s, as %s", value_, format.name, format.example);
    return CAPI_KEY_WRONG_FORMAT;
  }

  const KeyRow& row_;
  const capi_config_key& key_;
  const char* value_;
  Sentence& sentence_;
};

}  // namespace
}  // namespace capi::keys

using namespace capi::keys;

int capi_keys_check(const char* section, const char* name, const char* value, char* sentence,
                    int size) {
  Sentence text(sentence, size);
  if (section == nullptr || name == nullptr || value == nullptr) return -1;
  capi_config_key key;
  const int wrong = check_name(section, name, key, text);
  if (wrong != CAPI_KEY_OK) return wrong;
  const KeyRow* row = find_row(key);
  return row != nullptr ? ValueCheck(*row, key, value, text).run() : -1;
}

int capi_keys_set(const char* section, const char* name, const char* value, char* sentence,
                  int size) {
  const int wrong = capi_keys_check(section, name, value, sentence, size);
  if (wrong != CAPI_KEY_OK) return wrong;
  return capi_config_set(section, name, 0, value) == 0 ? CAPI_KEY_OK : -1;
}
