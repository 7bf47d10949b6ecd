// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A parameter-schema document of any content: read, asked, changed, saved and read again.

#include <cstring>
#include <memory>

#include "capi/schema.h"
#include "foundation/json.h"
#include "fuzz/support.h"

namespace {

using capi::fuzz::require;

constexpr char kPath[] = "/tmp/schema.json";

struct DocumentCloser {
  void operator()(cJSON* root) const { vkrJson_Uninit(root); }
};
using Document = std::unique_ptr<cJSON, DocumentCloser>;

// Looks at every character of a text that there is.
void see(const char* text) {
  if (text != nullptr) require(strlen(text) < SIZE_MAX);
}

void ask(const cJSON* param) {
  see(vkrJson_GetParamName(param));
  see(vkrJson_GetParamValue(param));
  see(vkrJson_GetParamDefaultValue(param));
  see(vkrJson_GetParamCurrentValue(param));
  see(vkrJson_GetParamType(param));
  see(vkrJson_GetParamSubStrType(param));
  see(vkrJson_GetParamAllowedList(param));
  int number = 0;
  see(vkrJson_GetParamTypeNumber(param, &number));
  vkrJson_GetParamMinValue(param, &number);
  vkrJson_GetParamMaxValue(param, &number);
  vkrJson_GetParamMinStrlen(param, &number);
  vkrJson_GetParamMaxStrlen(param, &number);
  vkrJson_GetParamIsChanged(param, &number);
}

// A value that was taken is the current one.
void set_value(cJSON* param, const char* text) {
  if (vkrJson_SetParamValue(param, text) != 0) return;
  const char* current = vkrJson_GetParamCurrentValue(param);
  require(current != nullptr && strcmp(current, text) == 0);
}

void change(cJSON* param) {
  set_value(param, "a value that is longer than most that there are");
  set_value(param, "");
  vkrJson_SetParamIsChanged(param, 1);
  vkrJson_SetParamMinStrlen(param, -1);
  vkrJson_SetParamMaxStrlen(param, INT32_MAX);
  vkrJson_AddNumberToObject(param, "is_changed", 0);
}

// What stands at the place of a section or parameter may be anything.
template <typename Visitor>
void for_each_param(cJSON* root, Visitor visit) {
  visit(root);
  for (cJSON* section = root->child; section != nullptr; section = section->next) {
    see(vkrJson_GetSectionName(section));
    vkrJson_GetSectionObject(root, section->string);
    visit(section);
    for (cJSON* param = section->child; param != nullptr; param = param->next) {
      vkrJson_GetParamObject(section, param->string);
      visit(param);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  capi::fuzz::ignore_log();
  capi::fuzz::write_file(kPath, data, size);
  const Document document(vkrJson_Init(kPath));
  if (!document) return 0;
  for_each_param(document.get(), ask);
  for_each_param(document.get(), change);
  if (vkrJson_SaveToFile(document.get(), kPath) != 0) return 0;
  const Document again(vkrJson_Init(kPath));
  require(again != nullptr);
  for_each_param(again.get(), ask);
  return 0;
}
