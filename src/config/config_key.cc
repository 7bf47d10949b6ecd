// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "capi/config_key.h"

#include <cstdio>
#include <string_view>

#include "config/field_rows.h"
#include "foundation/text.h"

namespace capi {
namespace {

using field_rows::kNumberedRows;
using field_rows::kRows;
using field_rows::kSections;
using field_rows::NumberedRow;
using field_rows::Row;
using field_rows::Section;
using field_rows::SectionId;

capi_config_key describe(const Section& section, std::string_view own_key, const Field& field,
                         int name_max) {
  const bool is_numbered = section.count != 0;
  capi_config_key key{};
  const char* section_name = kSections.text(section.name).data();
  snprintf(key.section, sizeof key.section, is_numbered ? "%s_%%d" : "%s", section_name);
  // The columns of the codec slots begin with the separator.
  const char* name = own_key.data() + (own_key[0] == '_' ? 1 : 0);
  snprintf(key.name, sizeof key.name, name_max != 0 ? "option_%s_%s%%d" : "option_%s_%s",
           section_name, name);
  key.section_max = section.count;
  key.name_max = name_max;
  key.kind = field.kind == FieldKind::Text ? CAPI_CONFIG_TEXT : CAPI_CONFIG_NUMBER;
  key.capacity = field.set_size();
  key.value_max = field.clamp_max();
  key.is_shared = is_numbered && field.stride == 0 ? 1 : 0;
  key.offset = field.offset;
  key.stride = field.stride;
  return key;
}

int walk_section(SectionId id, capi_config_key_cb callback, void* user) {
  const Section& section = kSections[static_cast<size_t>(id)];
  for (const Row& row : kRows) {
    if (row.section != id) continue;
    const capi_config_key key = describe(section, kRows.text(row.named.key), row.named.field, 0);
    if (const int result = callback(&key, user)) return result;
  }
  for (const NumberedRow& row : kNumberedRows) {
    if (row.section != id) continue;
    const capi_config_key key =
        describe(section, kNumberedRows.text(row.named.key), row.named.field, row.count);
    if (const int result = callback(&key, user)) return result;
  }
  return 0;
}

}  // namespace
}  // namespace capi

using namespace capi;

int capi_config_for_each(capi_config_key_cb callback, void* user) {
  if (callback == nullptr) return -1;
  for (size_t id = 0; id < kSections.size(); ++id) {
    if (const int result = walk_section(static_cast<SectionId>(id), callback, user)) return result;
  }
  return 0;
}
