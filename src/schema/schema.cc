// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "capi/schema.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "foundation/file.h"
#include "foundation/file_replacement.h"
#include "foundation/json.h"
#include "foundation/log.h"
#include "foundation/memory.h"

namespace capi {
namespace {

constexpr char kInit[] = "vkrJson_Init";

// Files and directories may claim any size; no document comes near this one.
constexpr long kMaxDocument = INT32_MAX - 1;

// The size of a file, or -1 when it has none.
long size_of(FILE* file) {
  if (fseek(file, 0, SEEK_END) != 0) return -1;
  const long size = ftell(file);
  rewind(file);
  return size;
}

// Zeroed memory for a text of this size and its terminator.
Allocated<char> allocate_text(long size) {
  errno = ENOMEM;
  return Allocated<char>(static_cast<char*>(
      size <= kMaxDocument ? calloc(static_cast<size_t>(size) + 1, 1) : nullptr));
}

// The whole text of a file; null after a failure, which is told.
Allocated<char> read_text(FILE* file) {
  const long size = size_of(file);
  Allocated<char> text = allocate_text(size < 0 ? 0 : size);
  if (!text) {
    const int error = errno;
    const unsigned wanted = static_cast<unsigned>(size) + 1;
    printf("Malloc buffer %u failed, errno=%d.\n", wanted, error);
    CAPI_LOG_AS(kInit, kLogWarning, "Malloc buffer %u failed, errno=%d.\n", wanted, error);
    return nullptr;
  }
  if (size < 0 ||
      fread(text.get(), 1, static_cast<size_t>(size), file) < static_cast<size_t>(size)) {
    puts("Read file incomplete.");
    CAPI_LOG_AS(kInit, kLogWarning, "Read file incomplete.\n");
    return nullptr;
  }
  return text;
}

struct JsonTextFreer {
  void operator()(char* text) const { cJSON_free(text); }
};
using JsonText = std::unique_ptr<char, JsonTextFreer>;

// The attributes of a parameter: null when absent or of another type.

cJSON* text_item(const cJSON* param, const char* key) {
  cJSON* item = json_member(param, key);
  return json_text(item) != nullptr ? item : nullptr;
}

cJSON* number_item(const cJSON* param, const char* key) {
  cJSON* item = json_member(param, key);
  return json_is(item, cJSON_Number) ? item : nullptr;
}

const char* get_text(const cJSON* param, const char* key) {
  return json_text(json_member(param, key));
}

int get_number(const cJSON* param, const char* key, int* out) {
  const cJSON* item = number_item(param, key);
  if (item == nullptr || out == nullptr) return -1;
  *out = item->valueint;
  return 0;
}

// What refers to another document's item is not ours to change, and a value of another type is not
// made a number.

bool set_text(cJSON* item, const char* text) {
  return strcmp(item->valuestring, text) == 0 || cJSON_SetValuestring(item, text) != nullptr;
}

bool set_number(cJSON* item, int number) {
  if (!json_is(item, cJSON_Number) || (item->type & cJSON_IsReference) != 0) return false;
  cJSON_SetNumberHelper(item, number);
  return true;
}

// The two attributes that say together what value holds. Returns 0 or -1; failures are logged under
// the name of the call.
int change_value(cJSON* value, const char* text, cJSON* is_changed, int flag) {
  static constexpr char kFunc[] = "vkrJson_SetParamValue";
  if (!set_text(value, text)) {
    CAPI_LOG_AS(kFunc, kLogWarning, "+++ Set string value failed.\n");
    return -1;
  }
  if (is_changed->valueint != flag && !set_number(is_changed, flag)) {
    CAPI_LOG_AS(kFunc, kLogWarning, "+++ Set int value failed.\n");
    return -1;
  }
  return 0;
}

int set_string_limit(cJSON* param, const char* key, int n, const char* func) {
  cJSON* item = json_member(param, key);
  if (item == nullptr) {
    CAPI_LOG_AS(func, kLogWarning, "+++ Set attribute is_changed failed.\n");
    return -1;
  }
  if (!set_number(item, n)) {
    CAPI_LOG_AS(func, kLogWarning, "+++ Set int value failed.\n");
    return -1;
  }
  return 0;
}

// The texts of the types, in the order of their numbers.
constexpr char kTypes[][12] = {"bool", "int", "uint", "base64", "datetime", "string"};
constexpr char kStringTypes[][12] = {"ipv4", "ipv6", "mac", "url", "netmask"};

// The position of a text in a list, or -1.
template <size_t N>
int find_text(const char (&list)[N][12], const char* text) {
  for (size_t i = 0; text != nullptr && i < N; ++i) {
    if (strcmp(list[i], text) == 0) return static_cast<int>(i);
  }
  return -1;
}

}  // namespace
}  // namespace capi

using namespace capi;

cJSON* vkrJson_Init(const char* path) {
  if (path == nullptr) return nullptr;
  const File file = open_file(path, "rb");
  if (!file) {
    printf("Open file %s failed.\n", path);
    CAPI_LOG(kLogWarning, "Open file %s failed.\n", path);
    return nullptr;
  }
  const Allocated<char> text = read_text(file.get());
  return text ? cJSON_Parse(text.get()) : nullptr;
}

int vkrJson_Uninit(cJSON* root) {
  if (root == nullptr) return -1;
  cJSON_Delete(root);
  return 0;
}

int vkrJson_SaveToFile(const cJSON* root, const char* path) {
  if (root == nullptr || path == nullptr) return -1;
  const JsonText text(cJSON_Print(root));
  if (!text) {
    puts("Convert object to TEXT failed.");
    return -1;
  }
  const std::span bytes(reinterpret_cast<const uint8_t*>(text.get()), strlen(text.get()));
  const Replaced result = replace_file(path, bytes, {}, [&](ReplacingStep step) {
    if (step == ReplacingStep::Open) printf("Open file %s failed.\n", path);
    if (step == ReplacingStep::Write) puts("Write file incomplete.");
  });
  return result == Replaced::Done ? 0 : -1;
}

cJSON* vkrJson_GetSectionObject(const cJSON* root, const char* name) {
  return json_member(root, name);
}
cJSON* vkrJson_GetParamObject(const cJSON* section, const char* name) {
  return json_member(section, name);
}

const char* vkrJson_GetSectionName(const cJSON* item) {
  return item != nullptr ? item->string : nullptr;
}
const char* vkrJson_GetParamName(const cJSON* item) { return vkrJson_GetSectionName(item); }

const char* vkrJson_GetParamValue(const cJSON* param) { return get_text(param, "value"); }
const char* vkrJson_GetParamDefaultValue(const cJSON* param) {
  return get_text(param, "default_value");
}
const char* vkrJson_GetParamType(const cJSON* param) { return get_text(param, "type"); }
const char* vkrJson_GetParamSubStrType(const cJSON* param) {
  return get_text(param, "sub_strtype");
}
const char* vkrJson_GetParamAllowedList(const cJSON* param) {
  return get_text(param, "allowed_list");
}

const char* vkrJson_GetParamCurrentValue(const cJSON* param) {
  int is_changed = 0;
  if (vkrJson_GetParamIsChanged(param, &is_changed) != 0) return nullptr;
  return get_text(param, is_changed != 0 ? "value" : "default_value");
}

int vkrJson_GetParamMinValue(const cJSON* param, int* out) {
  return get_number(param, "min_value", out);
}
int vkrJson_GetParamMaxValue(const cJSON* param, int* out) {
  return get_number(param, "max_value", out);
}
int vkrJson_GetParamMinStrlen(const cJSON* param, int* out) {
  return get_number(param, "min_strlen", out);
}
int vkrJson_GetParamMaxStrlen(const cJSON* param, int* out) {
  return get_number(param, "max_strlen", out);
}
int vkrJson_GetParamIsChanged(const cJSON* param, int* out) {
  return get_number(param, "is_changed", out);
}

const char* vkrJson_GetParamTypeNumber(const cJSON* param, int* out) {
  if (param == nullptr || out == nullptr) return nullptr;
  const char* type = vkrJson_GetParamType(param);
  const int number = find_text(kTypes, type);
  *out = number >= 0 ? number : CAPI_PARAM_UNKNOWN;
  if (number != CAPI_PARAM_STRING) return type;

  const char* subtype = vkrJson_GetParamSubStrType(param);
  const int subnumber = find_text(kStringTypes, subtype);
  if (subnumber < 0) return type;
  *out = CAPI_PARAM_IPV4 + subnumber;
  return subtype;
}

int vkrJson_SetParamValue(cJSON* param, const char* text) {
  if (param == nullptr || text == nullptr) return -1;
  cJSON* is_changed = number_item(param, "is_changed");
  if (is_changed == nullptr) {
    CAPI_LOG(kLogWarning, "+++ Get object is_changed failed.\n");
    return -1;
  }
  cJSON* value = text_item(param, "value");
  const char* default_value = vkrJson_GetParamDefaultValue(param);
  if (value == nullptr || default_value == nullptr) {
    CAPI_LOG(kLogWarning, "+++ Get object value failed.\n");
    return -1;
  }
  // Changed or not, a parameter has the value that it was asked to take.
  const char* current = is_changed->valueint != 0 ? value->valuestring : default_value;
  if (strcmp(text, current) == 0) return 1;
  if (strcmp(text, default_value) == 0) return change_value(value, "", is_changed, 0);
  return change_value(value, text, is_changed,
                      is_changed->valueint != 0 ? is_changed->valueint : 1);
}

int vkrJson_SetParamIsChanged(cJSON* param, int flag) {
  if (param == nullptr) return -1;
  cJSON* is_changed = json_member(param, "is_changed");
  if (is_changed == nullptr) {
    CAPI_LOG(kLogWarning, "+++ Get attribute is_changed failed.\n");
    return -1;
  }
  if (json_is(is_changed, cJSON_Number) && is_changed->valueint == flag) return 1;
  if (!set_number(is_changed, flag)) {
    CAPI_LOG(kLogWarning, "+++ Set int value failed.\n");
    return -1;
  }
  return 0;
}

int vkrJson_SetParamMinStrlen(cJSON* param, int n) {
  return param != nullptr ? set_string_limit(param, "min_strlen", n, __func__) : -1;
}
int vkrJson_SetParamMaxStrlen(cJSON* param, int n) {
  return param != nullptr ? set_string_limit(param, "max_strlen", n, __func__) : -1;
}

void vkrJson_AddNumberToObject(cJSON* object, const char* name, int n) {
  if (!json_is(object, cJSON_Object) || name == nullptr) return;
  add_json(object, name, Json(cJSON_CreateNumber(n)));
}
