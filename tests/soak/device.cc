// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "device.h"

#include <sys/mman.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "support/files.h"

namespace capi::soak {
namespace {

constexpr char kSettings[] = "/tmp/soak.settings";
constexpr capi_callbacks kNoCallbacks{};

int messages_in_use = 0;

Board* make_board() {
  void* memory =
      mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) abort();
  return static_cast<Board*>(memory);  // zeroed, which is where all notes start
}

// Damage is noticed, and logged, by whoever comes first to a file; and no lock may ever be refused
// or have a wrong value.
void watch_log(int, const char* text) {
  for (const char* damage :
       {"invalid sms file", "wrong sm type", "wrong tlv length", "file is corrupted"}) {
    if (strstr(text, damage) != nullptr) ++board().damage_noticed[messages_in_use];
  }
  if (strstr(text, "critical section lock") != nullptr && strstr(text, "CREATED") == nullptr) {
    fail("%s", text);
  }
}

}  // namespace

Board& board() {
  static Board* const board = make_board();
  return *board;
}

void fail(const char* format, ...) {
  ++board().failures;
  va_list args;
  va_start(args, format);
  char text[512];
  vsnprintf(text, sizeof text, format, args);
  va_end(args);
  fprintf(stderr, "FAILED: %s\n", text);
}

void use_messages(int selector) { messages_in_use = selector; }

void start_device() {
  board();
  test::write_file("/tmp/m_data", "m_serial=2604000123\n");
  test::write_file("/usr/sbin/vsdk_cmd", "");  // never run here, but the segment's key
  test::write_file(
      kSettings, std::string("[runtime_info]\noption_runtime_info_nv_directory=") + kNvDir + "\n");
  capi_init(&kNoCallbacks, 1, watch_log);
  capi_init_settings_from_file(kSettings);
  capi_config_finish();
  capi_post_init(1);
}

void start_process() {
  capi_uninit();  // what fork() handed down
  capi_init(&kNoCallbacks, 0, watch_log);
}

}  // namespace capi::soak
