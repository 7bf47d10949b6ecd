// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "record/field.h"

#include <algorithm>
#include <cstring>

#include "foundation/text.h"
#include "record/whole_write.h"

namespace capi {
namespace {

template <typename Record>
auto* bytes_of(Record& record, const Field& field, int index) {
  return bytes_at(record, field.offset, field.stride, index);
}

}  // namespace

void set_field(cfg_shared_record& record, const Field& field, int index, const char* value) {
  char* bytes = bytes_of(record, field, index);
  if (field.kind == FieldKind::Text) {
    strcpy_safe(bytes, value, field.set_size());
    return;
  }
  int32_t number = parse_int32(value);
  if (const int max = field.clamp_max()) number = std::clamp<int32_t>(number, 0, max);
  memcpy(bytes, &number, sizeof number);
}

void copy_field(cfg_shared_record& to, const cfg_shared_record& from, const Field& field,
                int index) {
  char* target = bytes_of(to, field, index);
  const char* source = bytes_of(from, field, index);
  if (field.kind == FieldKind::Text) return write_whole(target, source, field.set_size());
  memcpy(target, source, sizeof(int32_t));  // a single store
}

int32_t field_number(const cfg_shared_record& record, const Field& field, int index) {
  int32_t number = 0;
  memcpy(&number, bytes_of(record, field, index), sizeof number);
  return number;
}

std::string_view field_text(const cfg_shared_record& record, const Field& field, int index,
                            NumberText& number) {
  if (field.kind == FieldKind::Integer) return number.put(field_number(record, field, index));
  return bounded(bytes_of(record, field, index), field.capacity);
}

size_t get_field(const cfg_shared_record& record, const Field& field, int index, char* buf,
                 size_t size) {
  NumberText number;
  const std::string_view text = field_text(record, field, index, number);
  if (field.kind == FieldKind::Text) {
    if (field.rule == FieldRule::GetsCapacity) size = field.capacity;
    copy_text(buf, size, text);
  } else if (size > 0) {
    const std::string_view fitting = head(text, size - 1);
    memcpy(buf, fitting.data(), fitting.size());
    buf[fitting.size()] = '\0';
  }
  return size;
}

}  // namespace capi
