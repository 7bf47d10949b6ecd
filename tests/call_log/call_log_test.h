// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What the tests of the call log share: an adapter with a call log, and calls to put into it.
#pragma once

#include <sys/ipc.h>
#include <sys/sem.h>

#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "call_log/image.h"
#include "support/adapter.h"
#include "support/faults.h"

namespace capi::test {

inline constexpr char kLogPath[] = "/tmp/voip_call_log";
inline constexpr char kSibling[] = "/tmp/.voip_call_log.new";
inline constexpr char kUpdated[] = "signal simple vop_sig_voip_call_log_event_updated";

// The nth call of a test, different from the others in every field.
inline capi_call_log_record call(unsigned n) {
  capi_call_log_record record{};
  record.endpt = static_cast<uint16_t>(n + 1);
  record.calltimestart = 1000 + n;
  record.calltimeconnect = 2000 + n;
  record.calltimeend = 3000 + n;
  snprintf(record.displayname, sizeof record.displayname, "Caller %u", n);
  snprintf(record.number, sizeof record.number, "+4930%u", n);
  uint32_t words[12];
  for (unsigned i = 0; i < 12; ++i) words[i] = n * 100 + i;
  memcpy(&record.statistics, words, sizeof words);
  return record;
}

// The number of a call that call() made.
inline unsigned number_of(const capi_call_log_record& record) {
  return record.calltimestart - 1000;
}

// Too big for the stack of a test.
using Image = std::unique_ptr<capi_call_log_image>;

inline Image empty_image() {
  Image image = std::make_unique<capi_call_log_image>();
  make_empty(*image);
  return image;
}

inline std::string bytes_of(const capi_call_log_image& image) {
  return {reinterpret_cast<const char*>(&image), sizeof image};
}

inline Image read_image(const std::string& path = kLogPath) {
  Image image = std::make_unique<capi_call_log_image>();
  const std::string bytes = read_file(path);
  EXPECT_EQ(bytes.size(), sizeof *image);
  memcpy(image.get(), bytes.data(), std::min(bytes.size(), sizeof *image));
  return image;
}

inline void write_image(const capi_call_log_image& image, const std::string& path = kLogPath) {
  write_file(path, bytes_of(image));
}

// An image with calls of the types, in this order: call 0 first.
inline Image image_of(const std::vector<unsigned>& types) {
  Image image = empty_image();
  for (unsigned n = 0; n < types.size(); ++n) add_record(*image, types[n], call(n));
  return image;
}

// All 300 nodes in use, the types in turn.
inline Image full_image() {
  std::vector<unsigned> types;
  for (unsigned n = 0; n < CAPI_CALL_LOG_NODES; ++n) types.push_back(n % CAPI_CALL_LOG_TYPES);
  return image_of(types);
}

// Waits until another process waits for a lock.
inline void await_waiter(unsigned id) {
  const int set = semget(ftok("/tmp/m_data", 'l'), CAPI_LOCK_COUNT, 0666);
  while (semctl(set, static_cast<int>(id), GETNCNT) == 0) std::this_thread::yield();
}

class CallLog : public Adapter {
 protected:
  void SetUp() override {
    Adapter::SetUp();
    start_master();
    clear_faults();
  }

  void TearDown() override {
    EXPECT_FALSE(fault_is_pending()) << "what should have failed was never called";
    clear_faults();
    Adapter::TearDown();
  }
};

}  // namespace capi::test
