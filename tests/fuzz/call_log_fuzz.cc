// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A call-log file of any content, and the operations on it. The input is a list of steps of two
// 16-bit numbers, so that a short one reaches every byte of a file that is sound otherwise: an edit
// {place, value}, or behind the last place an operation {which, its arguments}.

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

void dump(const capi_call_log_image& image) {
  for (unsigned selector = 0; selector <= CAPI_CALL_LOG_TYPES; ++selector) {
    unsigned count = 0;
    dump_image(image, selector, visit, &count);
  }
  unsigned count = 0;
  dump_whole_image(image, visit, &count);
}

void read(unsigned node) CAPI_REQUIRES(kCallLogLock) {
  capi_call_log_record record;
  read_call_log_node(kPath, node, &record);
  capi_call_log_entry_header header;
  read_call_log_entry_header(kPath, node % (CAPI_CALL_LOG_TYPES + 1), &header);
}

void operate(unsigned operation, unsigned argument) CAPI_REQUIRES(kCallLogLock) {
  const unsigned type = argument % (CAPI_CALL_LOG_TYPES + 1);
  const unsigned node = argument / (CAPI_CALL_LOG_TYPES + 1);
  capi_call_log_record record;
  memset(&record, static_cast<int>(argument), sizeof record);
  switch (operation % 5) {
    case 0:
      add_call_log(kPath, type, &record);
      break;
    case 1:
      delete_call_log_by_node(kPath, type, node);
      break;
    case 2:
      clean_call_log_by_type(kPath, type);
      break;
    case 3:
      read(node);
      break;
    default:
      fuzz::require(verify_call_log_file(kPath) == 0);
      fuzz::require(load_call_log(kPath, __func__) != nullptr);
  }
}

// Operations work on the file, edits on the image of it.
void run(capi_call_log_image& image, const Step& step) CAPI_REQUIRES(kCallLogLock) {
  if (step.which < kPlaces) return edit(image, step);
  fuzz::write_file(kPath, &image, sizeof image);
  operate(step.which - kPlaces, step.value);
  fuzz::read_file(kPath, &image, sizeof image);
  dump(image);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::ignore_log();
  const CriticalSection section(kCallLogLock);
  const ImageOwner image = new_image();
  make_log(*image);
  for (; size >= sizeof(Step); data += sizeof(Step), size -= sizeof(Step)) {
    Step step;
    memcpy(&step, data, sizeof step);
    run(*image, step);
  }
  return 0;
}
