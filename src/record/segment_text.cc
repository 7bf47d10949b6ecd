// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "record/segment_text.h"

#include <cstring>

#include "foundation/log.h"
#include "foundation/text.h"
#include "record/context.h"

namespace capi {

int get_segment_text(const Field& field, char* buf, int len, IfEmpty if_empty) {
  if (buf == nullptr) return -1;
  memset(buf, 0, buffer_size(len));
  if (context() == nullptr) return -1;
  return with_shared_record([&](const cfg_shared_record& record) {
    const bool is_empty = *bytes_at(record, field.offset) == '\0';
    if (is_empty && if_empty == IfEmpty::Fail) return -1;
    get_field(record, field, 0, buf, buffer_size(len));
    return 0;
  });
}

int get_segment_text(const char* func, const char* message, const Field& field, char* buf,
                     int len) {
  const int result = get_segment_text(field, buf, len);
  if (result == -1) CAPI_LOG_AS(func, kLogNotice, "%s", message);
  return result;
}

}  // namespace capi
