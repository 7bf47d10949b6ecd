// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Every signal to its JSON object and back.

#include "signal/signal_rows.h"

#include <cjson/cJSON.h>
#include <json-c/json.h>

#include <cstring>
#include <memory>

#include "bench.h"
#include "capi.h"

namespace bench {
namespace {

// A JSON value, from which the same value can be built and into which one can be read.
struct Value {
  enum class Kind { Number, Text, Object, Array } kind;
  std::string key;
  std::string text;
  std::vector<Value> members;
};

constexpr double kNumber = 1234;
constexpr char kText[] = "some text";

Value describe(const cJSON* json) {
  Value value{Value::Kind::Number, json->string != nullptr ? json->string : "", "", {}};
  if (cJSON_IsString(json)) {
    value.kind = Value::Kind::Text;
    value.text = json->valuestring;
  } else if (cJSON_IsObject(json) || cJSON_IsArray(json)) {
    value.kind = cJSON_IsObject(json) ? Value::Kind::Object : Value::Kind::Array;
    for (const cJSON* item = json->child; item != nullptr; item = item->next) {
      value.members.push_back(describe(item));
    }
  }
  return value;
}

// By hand with cJSON.

cJSON* build(const Value& value) {
  switch (value.kind) {
    case Value::Kind::Number:
      return cJSON_CreateNumber(kNumber);
    case Value::Kind::Text:
      return cJSON_CreateString(value.text.c_str());
    case Value::Kind::Array: {
      cJSON* array = cJSON_CreateArray();
      for (const Value& item : value.members) cJSON_AddItemToArray(array, build(item));
      return array;
    }
    case Value::Kind::Object:
      break;
  }
  cJSON* object = cJSON_CreateObject();
  for (const Value& item : value.members) {
    cJSON_AddItemToObject(object, item.key.c_str(), build(item));
  }
  return object;
}

// A record as it is filled: its next free byte.
void read(const cJSON* json, const Value& value, char*& to) {
  switch (value.kind) {
    case Value::Kind::Number: {
      const auto number = static_cast<int32_t>(json->valuedouble);
      memcpy(to, &number, sizeof number);
      to += sizeof number;
      return;
    }
    case Value::Kind::Text:
      to = stpcpy(to, json->valuestring) + 1;
      return;
    case Value::Kind::Array: {
      const cJSON* item = json->child;
      for (const Value& member : value.members) {
        read(item, member, to);
        item = item->next;
      }
      return;
    }
    case Value::Kind::Object:
      for (const Value& member : value.members) {
        read(cJSON_GetObjectItem(json, member.key.c_str()), member, to);
      }
  }
}

void convert_by_hand(const Value& signal) {
  char record[CAPI_SIGNAL_INFO_BYTES] = {};
  char* to = record;
  cJSON* json = build(signal);
  read(json, signal, to);
  cJSON_Delete(json);
  benchmark::DoNotOptimize(record);
}

// By hand with json-c.

json_object* build_with_json_c(const Value& value) {
  switch (value.kind) {
    case Value::Kind::Number:
      return json_object_new_double(kNumber);
    case Value::Kind::Text:
      return json_object_new_string(value.text.c_str());
    case Value::Kind::Array: {
      json_object* array = json_object_new_array();
      for (const Value& item : value.members) {
        json_object_array_add(array, build_with_json_c(item));
      }
      return array;
    }
    case Value::Kind::Object:
      break;
  }
  json_object* object = json_object_new_object();
  for (const Value& item : value.members) {
    json_object_object_add(object, item.key.c_str(), build_with_json_c(item));
  }
  return object;
}

void read_with_json_c(json_object* json, const Value& value, char*& to) {
  switch (value.kind) {
    case Value::Kind::Number: {
      const auto number = static_cast<int32_t>(json_object_get_double(json));
      memcpy(to, &number, sizeof number);
      to += sizeof number;
      return;
    }
    case Value::Kind::Text:
      to = stpcpy(to, json_object_get_string(json)) + 1;
      return;
    case Value::Kind::Array:
      for (size_t i = 0; i < value.members.size(); ++i) {
        read_with_json_c(json_object_array_get_idx(json, i), value.members[i], to);
      }
      return;
    case Value::Kind::Object:
      for (const Value& member : value.members) {
        read_with_json_c(json_object_object_get(json, member.key.c_str()), member, to);
      }
  }
}

void convert_with_json_c(const Value& signal) {
  char record[CAPI_SIGNAL_INFO_BYTES] = {};
  char* to = record;
  json_object* json = build_with_json_c(signal);
  read_with_json_c(json, signal, to);
  json_object_put(json);
  benchmark::DoNotOptimize(record);
}

// Ours.

// Sets every number and text of a signal's object.
void fill(cJSON* json) {
  for (cJSON* item = json->child; item != nullptr; item = item->next) {
    if (cJSON_IsNumber(item)) cJSON_SetNumberValue(item, kNumber);
    if (cJSON_IsString(item)) {
      cJSON_free(item->valuestring);
      item->valuestring = strdup(kText);
    }
    fill(item);
  }
}

using Info = std::shared_ptr<capi_signal_info>;

// A record of the signal with all attributes set, as far as its texts have room.
Info some_info(const char* name) {
  const Info info = std::make_shared<capi_signal_info>();
  cJSON* json = ctrlv2_siginfo_to_json(name, info.get());
  fill(cJSON_GetObjectItem(json, "attrs"));
  require(ctrlv2_json_to_siginfo(json, nullptr, info.get()) == 0, name);
  cJSON_Delete(json);
  return info;
}

void convert_ours(const char* name, const capi_signal_info& info) {
  capi_signal_info got;
  char got_name[CAPI_SIGNAL_NAME_SIZE];
  cJSON* json = ctrlv2_siginfo_to_json(name, &info);
  ctrlv2_json_to_siginfo(json, got_name, &got);
  cJSON_Delete(json);
  benchmark::DoNotOptimize(got);
}

Row signal_row(const char* name) {
  const Info info = some_info(name);
  cJSON* json = ctrlv2_siginfo_to_json(name, info.get());
  const Value signal = describe(json);
  cJSON_Delete(json);
  return {name,
          1.15,
          {{"ours", repeat([=] { convert_ours(name, *info); })},
           {"cJSON by hand", repeat([=] { convert_by_hand(signal); })},
           {"json-c", repeat([=] { convert_with_json_c(signal); })}}};
}

}  // namespace

Rows signal_rows() {
  using namespace capi::signal_rows;
  Rows rows;
  for (size_t i = 0; i < kSignals; ++i)
    rows.push_back(signal_row(kDrafts[kFirstRow[i]].key.data()));
  return rows;
}

}  // namespace bench
