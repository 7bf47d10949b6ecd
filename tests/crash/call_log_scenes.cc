// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <unistd.h>

#include <memory>

#include "capi.h"
#include "device.h"
#include "scene.h"
#include "support/files.h"

namespace capi::crash {
namespace {

constexpr char kPath[] = "/tmp/nv/voip_call_log";
constexpr unsigned kOldCalls = 7;

bool add(unsigned number, unsigned type) {
  capi_call_log_record call{};
  call.calltimestart = number;
  call.calltimeend = number + 60;
  snprintf(call.number, sizeof call.number, "+4930%u", number);
  snprintf(call.displayname, sizeof call.displayname, "Caller %u", number);
  return capi_voip_add_call_log(type, &call) == 0;
}

void make_some() {
  capi_voip_init_call_log_file();
  for (unsigned number = 0; number < kOldCalls; ++number) add(number, number % 3);
}

void make_full() {
  make_some();
  for (unsigned number = 0; number < CAPI_CALL_LOG_ENTRIES_PER_TYPE; ++number) add(number, 0);
}

// The counts no longer agree with the lists.
void make_unsound() {
  make_some();
  std::string bytes = test::read_file(kPath);
  ++bytes[0];
  test::write_file(kPath, bytes);
}

Parts read() {
  const bool is_there = access(kPath, F_OK) == 0;
  const auto image = std::make_unique<capi_call_log_image>();
  if (capi_voip_read_call_log(image.get()) != 0) return {is_there ? kUnreadable : kAbsent};
  const std::string_view bytes(reinterpret_cast<const char*>(image.get()), sizeof *image);
  return {summary(std::to_string(image->header.used.count) + " calls", bytes)};
}

bool add_one() { return add(1000, 0); }
bool add_another() { return capi_voip_init_call_log_file() == 0 && add(2000, 1); }

// Neither the first call of the type nor the last.
bool delete_one() { return capi_voip_delete_call_log_by_node(0, 3) == 0; }
bool clean_type() { return capi_voip_clean_call_log_by_type(0) == 0; }
bool clean_all() { return capi_voip_clean_all_call_log() == 0; }
bool init() { return capi_voip_init_call_log_file() == 0; }

Scene scene(const char* name, void (*set_up)(), bool (*operate)(),
            ModeRule mode_rule = ModeRule::Kept) {
  return {.group = "call-log",
          .name = name,
          .directories = {kNvDir},
          .promise = Promise::Durable,
          .set_up = set_up,
          .operate = operate,
          .next = add_another,
          .read = read,
          .mode_rule = mode_rule};
}

}  // namespace

std::vector<Scene> call_log_scenes() {
  return {
      scene(
          "call log: create", [] {}, init),
      scene("call log: add", make_some, add_one),
      scene("call log: add, the type is full", make_full, add_one),
      scene("call log: delete by node", make_some, delete_one),
      scene("call log: clean a type", make_some, clean_type),
      scene("call log: clean all", make_some, clean_all, ModeRule::MayChange),
      scene("call log: init, the file is unsound", make_unsound, init, ModeRule::MayChange),
  };
}

}  // namespace capi::crash
