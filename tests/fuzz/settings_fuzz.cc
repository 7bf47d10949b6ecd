// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A setting file of any content, loaded into a record and read back by name.

#include <cstdio>
#include <memory>

#include "config/field_table.h"
#include "config/settings.h"
#include "foundation/key_value.h"
#include "fuzz/support.h"

namespace {

void apply_and_read_back(cfg_shared_record& record, const char* section, const char* key,
                         const char* value) {
  using namespace capi;
  const int result = apply_setting(record, section, key, value);
  const FieldMatch place = find_field(section, key, ColumnChoice::Last);
  fuzz::require((result == -1) == (place.lookup == FieldLookup::OutOfRange));
  if (place.lookup != FieldLookup::Found) return;
  char text[1024];
  get_field(record, *place.field, place.index, text, sizeof text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  capi::fuzz::ignore_log();
  const auto record = std::make_unique<cfg_shared_record>();
  const capi::File file(fmemopen(const_cast<uint8_t*>(data), size, "r"));
  if (!file) return 0;  // fmemopen() takes no empty file
  capi::for_each_item(file.get(), [&](const char* section, const char* key, const char* value) {
    apply_and_read_back(*record, section, key, value);
  });
  return 0;
}
