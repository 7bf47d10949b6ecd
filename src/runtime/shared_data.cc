// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The published blocks, and the status files that mirror them for processes without this library.

#include <cstdio>
#include <cstring>
#include <iterator>

#include "capi/backend.h"
#include "capi/runtime.h"
#include "capi/util.h"
#include "foundation/function_ref.h"
#include "foundation/log.h"
#include "foundation/member.h"
#include "foundation/text.h"
#include "record/context.h"
#include "record/directory.h"
#include "record/whole_write.h"

namespace capi {
namespace {

// Where a block stands in the record.
struct BlockBytes {
  uint16_t offset;
  uint16_t size;
};

template <typename Block>
consteval BlockBytes block_at(size_t offset) {
  return {static_cast<uint16_t>(offset), sizeof(Block)};
}

#define BLOCK(member) CAPI_MEMBER(block_at, cfg_shared_record, member)

// By type.
constexpr BlockBytes kBlocks[] = {BLOCK(shared_reg_summary[0]),  BLOCK(shared_reg_summary[1]),
                                  BLOCK(shared_call_state[0]),   BLOCK(shared_call_state[1]),
                                  BLOCK(shared_phone_status[0]), BLOCK(shared_phone_status[1])};
#undef BLOCK

// The longest line is well below half of this.
constexpr size_t kFileSize = 1024;

int format(char* buf, size_t size, const capi_shared_reg_summary& block) {
  const std::string_view status = first_line(bounded(block.regstatus));
  return snprintf(buf, size, "line=%d,regstatus=%.*s,vm=%d,noe911=%d,simdeactived=%d,callfailed=%d",
                  block.line, CAPI_TEXT_ARG(status), block.vm, block.noe911, block.simdeactived,
                  block.callfailed);
}

int format(char* buf, size_t size, const capi_shared_call_state& block) {
  int length = snprintf(buf, size, "line=%d", block.line);
  for (int i = 0; i < CAPI_CALLS_PER_LINE; ++i) {
    const capi_shared_call& call = block.call[i];
    const std::string_view name = first_line(bounded(call.name));
    const std::string_view number = first_line(bounded(call.number));
    length += snprintf(buf + length, size - static_cast<size_t>(length),
                       ",state%d=%d,name%d=%.*s,number%d=%.*s", i + 1, call.state, i + 1,
                       CAPI_TEXT_ARG(name), i + 1, CAPI_TEXT_ARG(number));
  }
  return length;
}

int format(char* buf, size_t size, const capi_shared_phone_status& block) {
  return snprintf(buf, size, "line=%d,hook=%d,incoming=%d", block.line, block.hook, block.incoming);
}

// Writes a file of both lines: put(line, buf, size) formats one.
void write_file(std::string_view dir, const char* name,
                FunctionRef<int(int line, char* buf, size_t size)> put) {
  char path[256];
  make_path(path, dir, name);
  char text[kFileSize];
  int length = put(0, text, kFileSize);
  text[length++] = '\n';
  length += put(1, text + length, kFileSize - static_cast<size_t>(length));
  utils_write_to_file(path, text, length);
}

void write_files(const cfg_shared_record& record) {
  const std::string_view dir = data_dir(record);
  write_file(dir, "shared_line_reg_status", [&](int line, char* buf, size_t size) {
    return format(buf, size, record.shared_reg_summary[line]);
  });
  write_file(dir, "shared_call_state_info", [&](int line, char* buf, size_t size) {
    return format(buf, size, record.shared_call_state[line]);
  });
  write_file(dir, "shared_phone_status", [&](int line, char* buf, size_t size) {
    return format(buf, size, record.shared_phone_status[line]);
  });
}

int store(const cfg_shared_record& record, int type, const void* block)
    CAPI_REQUIRES(kConfShmLock) {
  if (type < 0 || static_cast<size_t>(type) >= std::size(kBlocks)) {
    CAPI_LOG_AS("capi_cfg_backend_set_shared_data", kLogErr, "not support share data type %d!",
                type);
    return -1;
  }
  if (block == nullptr) return -1;
  const RecordChange change(record, CAPI_TOPIC_LINES);
  write_whole(bytes_at(*change, kBlocks[type].offset), block, kBlocks[type].size);
  return 0;
}

}  // namespace
}  // namespace capi

int capi_cfg_backend_set_shared_data(int type, const void* block) {
  using namespace capi;
  return with_shared_record([&](const cfg_shared_record& record) CAPI_REQUIRES(kConfShmLock) {
    const int result = store(record, type, block);
    write_files(record);
    return result;
  });
}

int capi_set_shared_data(int type, const void* block) {
  const int result = capi_cfg_backend_set_shared_data(type, block);
  if (result == -1) CAPI_LOG(capi::kLogNotice, "Unable to set shared data!");
  return result;
}
