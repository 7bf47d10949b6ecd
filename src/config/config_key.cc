// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "capi/config_key.h"

#include <cstdio>
#include <string_view>

#include "config/field_rows.h"
#include "config/field_table.h"
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

const Section& section_of(SectionId id) { return kSections[static_cast<size_t>(id)]; }

capi_config_key describe(const Row& row) {
  return describe(section_of(row.section), kRows.text(row.named.key), row.named.field, 0);
}

capi_config_key describe(const NumberedRow& row) {
  return describe(section_of(row.section), kNumberedRows.text(row.named.key), row.named.field,
                  row.count);
}

// Describes each row that "is_wanted" until "take" returns another number than 0: that is returned.
template <typename Rows, typename Wanted, typename Take>
int describe_each(const Rows& rows, Wanted is_wanted, Take take) {
  for (const auto& row : rows) {
    if (!is_wanted(row)) continue;
    const capi_config_key key = describe(row);
    if (const int result = take(key)) return result;
  }
  return 0;
}

template <typename Wanted, typename Take>
int describe_each(Wanted is_wanted, Take take) {
  const int result = describe_each(kRows, is_wanted, take);
  return result != 0 ? result : describe_each(kNumberedRows, is_wanted, take);
}

}  // namespace
}  // namespace capi

using namespace capi;

int capi_config_for_each(capi_config_key_cb callback, void* user) {
  if (callback == nullptr) return -1;
  for (size_t id = 0; id < kSections.size(); ++id) {
    const auto is_here = [&](const auto& row) { return row.section == static_cast<SectionId>(id); };
    const auto hand_out = [&](const capi_config_key& key) { return callback(&key, user); };
    if (const int result = describe_each(is_here, hand_out)) return result;
  }
  return 0;
}

int capi_config_find(const char* section, const char* name, capi_config_key* key) {
  if (section == nullptr || name == nullptr || key == nullptr) return -1;
  const FieldMatch match = find_field(section, name, ColumnChoice::Last);
  if (match.lookup != FieldLookup::Found) return -1;
  const auto is_match = [&](const auto& row) { return &row.named.field == match.field; };
  describe_each(is_match, [&](const capi_config_key& found) {
    *key = found;
    return 1;
  });
  return 0;
}
