// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Signals as JSON: both directions walk the same rows.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <span>
#include <string_view>

#include "capi/signal.h"
#include "foundation/json.h"
#include "foundation/memory.h"
#include "signal/signal_rows.h"

namespace capi {
namespace {

using signal_rows::Kind;
using signal_rows::Row;
using Rows = std::span<const Row>;

const char* key(const Row& row) { return signal_rows::kRows.text(row.key).data(); }

// The attributes of a signal; those of the general one for a name that is in no row.
Rows rows_of(std::string_view name) {
  using signal_rows::kFirstRow;
  using signal_rows::kRows;
  size_t signal = signal_rows::kSignals - 1;
  while (signal > 0 && kRows.text(kRows[kFirstRow[signal]].key) != name) --signal;
  return {kRows.begin() + kFirstRow[signal] + 1, kRows.begin() + kFirstRow[signal + 1]};
}

// The rows of the objects that a row describes.
Rows members(const Row& row) { return {&row + 1, row.members}; }

template <typename T>
T load(const char* field) {
  T value;
  memcpy(&value, field, sizeof value);
  return value;
}

template <typename T>
void store(char* field, T value) {
  memcpy(field, &value, sizeof value);
}

// To JSON.

// Adds a member whose key is ours and stays, so that the object need not keep a copy of it. False
// when there is no memory; the member is gone then.
bool add_member(cJSON* object, const char* key, Json member) {
  if (!cJSON_AddItemToObjectCS(object, key, member.get())) return false;
  static_cast<void>(member.release());
  return true;
}

Json make_object(Rows rows, const char* record, int position);

double to_double(uint32_t number) { return number; }
double to_double(int32_t number) { return number; }

// In halves: what the compiler brings along for 64 bits is 1 KB of code on the device.
double to_double(uint64_t number) {
  constexpr double kHalf = 4294967296;
  return to_double(static_cast<uint32_t>(number >> 32)) * kHalf +
         to_double(static_cast<uint32_t>(number));
}

template <typename T>
Json make_number(const char* field) {
  return Json(cJSON_CreateNumber(to_double(load<T>(field))));
}

Json make_text(const char* field, size_t capacity) {
  if (strnlen(field, capacity) < capacity) return Json(cJSON_CreateString(field));
  const Allocated<char> cut(strndup(field, capacity - 1));
  return Json(cut ? cJSON_CreateString(cut.get()) : nullptr);
}

Json make_decimal_text(const char* field) {
  char text[24];
  snprintf(text, sizeof text, "%llu", static_cast<unsigned long long>(load<uint64_t>(field)));
  return Json(cJSON_CreateString(text));
}

Json make_array(const Row& row, const char* field) {
  Json array(cJSON_CreateArray());
  for (int i = 0; array && i < row.count; ++i, field += row.size) {
    Json element = make_object(members(row), field, i);
    if (!add_json(array.get(), nullptr, std::move(element))) return nullptr;
  }
  return array;
}

Json make_value(const Row& row, const char* record, int position) {
  const char* field = record + row.offset;
  switch (row.kind) {
    case Kind::Int32:
      return make_number<int32_t>(field);
    case Kind::Uint32:
      return make_number<uint32_t>(field);
    case Kind::Uint8:
      return make_number<uint8_t>(field);
    case Kind::Uint64:
      return make_number<uint64_t>(field);
    case Kind::Text:
      return make_text(field, row.size);
    case Kind::DecimalText:
      return make_decimal_text(field);
    case Kind::Position:
      return Json(cJSON_CreateNumber(position));
    case Kind::Object:
      return make_object(members(row), record, 0);
    case Kind::Array:
      return make_array(row, field);
    case Kind::Signal:
      break;
  }
  return nullptr;
}

// Makes an object of attributes; null when there is no memory for all of it.
Json make_object(Rows rows, const char* record, int position) {
  Json object(cJSON_CreateObject());
  for (size_t i = 0; object && i < rows.size(); i += rows[i].members + 1) {
    Json value = make_value(rows[i], record, position);
    if (!add_member(object.get(), key(rows[i]), std::move(value))) return nullptr;
  }
  return object;
}

// From JSON. The record was cleared before.

void read_object(const cJSON* object, Rows rows, char* record);

// A number, or the nearest one between two others.
double read_number(const cJSON* item, double min, double max) {
  if (!json_is(item, cJSON_Number) || std::isnan(item->valuedouble)) return 0;
  return std::clamp(item->valuedouble, min, max);
}

// The integer part of a number, or the nearest value that the type has.
template <typename T>
T read_integer(const cJSON* item) {
  using Limits = std::numeric_limits<T>;
  return static_cast<T>(read_number(item, Limits::min(), Limits::max()));
}

// The largest is no double, so that the one behind it stands for it.
template <>
uint64_t read_integer(const cJSON* item) {
  constexpr double kEnd = 0x1p64;
  const double number = read_number(item, 0, kEnd);
  return number < kEnd ? static_cast<uint64_t>(number) : UINT64_MAX;
}

void read_text(const cJSON* item, const Row& row, char* field) {
  const char* text = json_text(item);
  if (text == nullptr) text = signal_rows::kDefaults[static_cast<size_t>(row.missing)];
  memcpy(field, text, strnlen(text, row.size - 1));
}

// Digits only: strtoull() would take blanks and signs, too.
uint64_t read_decimal_text(const cJSON* item) {
  const char* text = json_text(item);
  return text != nullptr && *text >= '0' && *text <= '9' ? strtoull(text, nullptr, 10) : 0;
}

void read_array(const cJSON* item, const Row& row, char* field) {
  const cJSON* element = json_is(item, cJSON_Array) ? item->child : nullptr;
  for (int i = 0; element != nullptr && i < row.count; ++i, field += row.size) {
    read_object(element, members(row), field);
    element = element->next;
  }
}

void read_value(const cJSON* item, const Row& row, char* record) {
  char* field = record + row.offset;
  switch (row.kind) {
    case Kind::Int32:
      return store(field, read_integer<int32_t>(item));
    case Kind::Uint32:
      return store(field, read_integer<uint32_t>(item));
    case Kind::Uint8:
      return store(field, read_integer<uint8_t>(item));
    case Kind::Uint64:
      return store(field, read_integer<uint64_t>(item));
    case Kind::Text:
      return read_text(item, row, field);
    case Kind::DecimalText:
      return store(field, read_decimal_text(item));
    case Kind::Object:
      return read_object(item, members(row), record);
    case Kind::Array:
      return read_array(item, row, field);
    case Kind::Position:
    case Kind::Signal:
      return;
  }
}

// Reads the attributes of an object; what is no object has none, so that all get their defaults.
void read_object(const cJSON* object, Rows rows, char* record) {
  for (size_t i = 0; i < rows.size(); i += rows[i].members + 1) {
    read_value(json_member(object, key(rows[i])), rows[i], record);
  }
}

// The caller's buffer has room for the names that there are, not for what somebody made up.
std::string_view cut_name(const char* name) {
  return {name, strnlen(name, CAPI_SIGNAL_NAME_SIZE - 1)};
}

}  // namespace
}  // namespace capi

using namespace capi;

cJSON* ctrlv2_siginfo_to_json(const char* name, const capi_signal_info* info) {
  if (name == nullptr || info == nullptr) return nullptr;
  Json root(cJSON_CreateObject());
  Json attrs = make_object(rows_of(name), reinterpret_cast<const char*>(info), 0);
  const bool complete = add_member(root.get(), "msg", Json(cJSON_CreateString("signal"))) &&
                        add_member(root.get(), "name", Json(cJSON_CreateString(name))) &&
                        add_member(root.get(), "attrs", std::move(attrs));
  return complete ? root.release() : nullptr;
}

int ctrlv2_json_to_siginfo(const cJSON* json, char* name, capi_signal_info* info) {
  if (name != nullptr) name[0] = '\0';
  const char* text = json_text(json_member(json, "name"));
  if (text == nullptr || info == nullptr) return -1;
  const std::string_view signal = cut_name(text);
  if (name != nullptr) {
    memcpy(name, signal.data(), signal.size());
    name[signal.size()] = '\0';
  }
  memset(info, 0, sizeof *info);
  const cJSON* attrs = json_member(json, "attrs");
  if (json_is(attrs, cJSON_Object)) {
    read_object(attrs, rows_of(signal), reinterpret_cast<char*>(info));
  }
  return 0;
}
