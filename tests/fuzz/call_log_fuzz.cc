// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A call log of any content, and the operations on it. The input is a list of steps of two 16-bit
// numbers, so that a short one reaches every byte of a log that is sound otherwise: an edit
// {place, value}, or behind the last place an operation {which, its arguments}.
//
// Nearly all inputs are tried on the image alone; some go through the file, too, with all that
// reads, judges and replaces it.

#include <unistd.h>

#include <cstring>

#include "call_log/dump.h"
#include "call_log/file.h"
#include "call_log/store.h"
#include "fuzz/support.h"

// The real one writes out the disks of the whole machine.
extern "C" void sync() noexcept {}

namespace {

using namespace capi;

constexpr char kPath[] = "/tmp/voip_call_log";
constexpr unsigned kPlaces = sizeof(capi_call_log_image) / sizeof(uint16_t);

struct Step {
  uint16_t which;
  uint16_t value;
};

enum class Kind : uint8_t { Add, Delete, Clean, Read, Verify, Count };

// With arguments that are none, too.
struct Operation {
  explicit Operation(const Step& step)
      : kind(static_cast<Kind>((step.which - kPlaces) % static_cast<unsigned>(Kind::Count))),
        type(step.value % (CAPI_CALL_LOG_TYPES + 1)),
        node(step.value / (CAPI_CALL_LOG_TYPES + 1)) {
    memset(&record, step.value, sizeof record);
  }

  Kind kind;
  unsigned type;
  unsigned node;
  capi_call_log_record record;
};

// Some calls of every type, in turns.
void make_log(capi_call_log_image& image) {
  make_empty(image);
  capi_call_log_record record{};
  for (unsigned i = 0; i < 12; ++i) add_record(image, i % CAPI_CALL_LOG_TYPES, record);
}

void edit(capi_call_log_image& image, const Step& step) {
  memcpy(reinterpret_cast<char*>(&image) + step.which * sizeof step.value, &step.value,
         sizeof step.value);
}

int visit(const capi_call_log_record* record, void* count) {
  fuzz::require(record != nullptr && ++*static_cast<unsigned*>(count) <= UINT16_MAX);
  return 0;
}

int dump(const capi_call_log_image& image) {
  for (unsigned selector = 0; selector <= CAPI_CALL_LOG_TYPES; ++selector) {
    unsigned count = 0;
    dump_image(image, selector, visit, &count);
  }
  unsigned count = 0;
  return dump_whole_image(image, visit, &count);
}

void add(capi_call_log_image& image, const Operation& operation) {
  if (evict_oldest_call(image, operation.type, __func__) != 0) return;
  const auto& header = image.header;
  const bool has_room = is_node(header.free.head);
  const unsigned before = header.entry[operation.type].list.count;
  add_record(image, operation.type, operation.record);
  fuzz::require(header.entry[operation.type].list.count == before + (has_room ? 1 : 0));
}

void read(const capi_call_log_image& image, const Operation& operation) {
  capi_call_log_record record;
  const int result = read_call_log_node(image, operation.node, &record);
  fuzz::require((result == 0) == is_node(operation.node));
  capi_call_log_entry_header header;
  fuzz::require(read_call_log_entry_header(image, operation.type, &header) == 0);
}

void verify(const capi_call_log_image& image) {
  has_marks(image.header);
  if (check(image).fault == ImageFault::None) fuzz::require(dump(image) == 0);
}

// What the operations do to a log between reading and writing it: to any one, though they refuse
// those that are not sound before that. No operation comes so far with a type that is none.
void operate(capi_call_log_image& image, const Operation& operation) {
  if (!is_call_type(operation.type)) return;
  switch (operation.kind) {
    case Kind::Add:
      return add(image, operation);
    case Kind::Delete:
      return release_node(image, operation.type, operation.node, LoneFreeNode::LinksNowhere);
    case Kind::Clean:
      delete_all_calls(image, operation.type, __func__);
      return;
    case Kind::Read:
      return read(image, operation);
    default:
      return verify(image);
  }
}

void read_from_file(const Operation& operation) CAPI_REQUIRES(kCallLogLock) {
  capi_call_log_record record;
  read_call_log_node(kPath, operation.node, &record);
  capi_call_log_entry_header header;
  read_call_log_entry_header(kPath, operation.type, &header);
}

void operate_on_file(const Operation& operation) CAPI_REQUIRES(kCallLogLock) {
  switch (operation.kind) {
    case Kind::Add:
      add_call_log(kPath, operation.type, &operation.record);
      return;
    case Kind::Delete:
      delete_call_log_by_node(kPath, operation.type, operation.node);
      return;
    case Kind::Clean:
      clean_call_log_by_type(kPath, operation.type);
      return;
    case Kind::Read:
      return read_from_file(operation);
    default:
      fuzz::require(verify_call_log_file(kPath) == 0);
      fuzz::require(load_call_log(kPath, __func__) != nullptr);
  }
}

// Operations work on the file, edits on the image of it.
void operate_through_file(capi_call_log_image& image, const Operation& operation) {
  const CriticalSection section(kCallLogLock);
  fuzz::write_file(kPath, &image, sizeof image);
  operate_on_file(operation);
  fuzz::read_file(kPath, &image, sizeof image);
  dump(image);
}

template <typename Perform>
void run(const uint8_t* data, size_t size, Perform perform) {
  const ImageOwner image = new_image();
  make_log(*image);
  for (; size >= sizeof(Step); data += sizeof(Step), size -= sizeof(Step)) {
    Step step;
    memcpy(&step, data, sizeof step);
    if (step.which < kPlaces) {
      edit(*image, step);
    } else {
      perform(*image, Operation(step));
    }
  }
  verify(*image);
  dump(*image);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::ignore_log();
  run(data, size, operate);
  if (fuzz::takes_real_files(data, size)) run(data, size, operate_through_file);
  return 0;
}
