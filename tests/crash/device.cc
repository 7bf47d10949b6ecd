// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "device.h"

#include <sys/ipc.h>
#include <sys/shm.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "capi.h"
#include "support/files.h"
#include "support/process.h"

namespace capi::crash {
namespace {

constexpr char kSettings[] = "/quorbleconf/crash.settings";
constexpr char kTool[] = "/usr/sbin/vsdk_cmd";
constexpr int kSegmentProject = 250;
constexpr int kWarning = 4;
constexpr capi_callbacks kNoCallbacks{};

std::vector<std::string>* log_lines = nullptr;

void keep_log(int level, const char* text) {
  if (level <= kWarning && log_lines != nullptr) log_lines->emplace_back(text);
}

}  // namespace

void make_device() {
  test::write_file("/tmp/m_data", "m_serial=2604000123\n");
  // A program that does nothing: signals are posted to nobody.
  std::filesystem::copy_file("/bin/true", kTool, std::filesystem::copy_options::overwrite_existing);
  test::write_file(kSettings, std::string("[runtime_info]\noption_runtime_info_nv_directory=") +
                                  kNvDir + "\noption_runtime_info_data_directory=" + kDataDir +
                                  "\n");
  test::in_other_process([] { start_master(nullptr); });
}

void start_master(std::vector<std::string>* log) {
  log_lines = log;
  capi_init(&kNoCallbacks, 1, keep_log);
  capi_init_settings_from_file(kSettings);
  capi_config_finish();
  capi_post_init(1);
}

void start_user(std::vector<std::string>* log) {
  log_lines = log;
  capi_init(&kNoCallbacks, 0, keep_log);
}

Segment::Segment() {
  const int id = shmget(ftok(kTool, kSegmentProject), 0, 0);
  memory_ = shmat(id, nullptr, 0);
  if (memory_ == reinterpret_cast<void*>(-1)) abort();
  content_.assign(static_cast<const char*>(memory_), sizeof(cfg_shared_record));
}

Segment::~Segment() { shmdt(memory_); }

void Segment::restore() const { memcpy(memory_, content_.data(), content_.size()); }

}  // namespace capi::crash
