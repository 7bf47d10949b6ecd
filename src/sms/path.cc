// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "sms/path.h"

#include <atomic>
#include <cstring>

namespace capi {
namespace {

constexpr char kSmsFallbackDir[] = "/quorbleconf/ims_data";
constexpr char kReceivedFallback[] = "/quorbleconf/ims_data/sm_recv";

// Of this process, under lock 18.
SmsPaths process_paths;

// Whether these stay as they are, received and sent: then no lock is needed to look at them.
constinit std::atomic<bool> paths_stay[2];

bool stays(int selector) { return paths_stay[selector].load(std::memory_order_acquire); }

bool is_open(const char* path) { return path[0] == '\0' || strcmp(path, kReceivedFallback) == 0; }

}  // namespace

void settle_sms_paths(SmsPaths& paths, std::string_view nv_dir) {
  if (is_open(paths[CAPI_SMS_RECEIVED])) {
    make_path(paths[CAPI_SMS_RECEIVED], nv_dir, "sm_recv", kSmsFallbackDir);
  }
  // The fallback of the sent messages is not asked for here: once taken, it stays.
  if (is_open(paths[CAPI_SMS_SENT])) {
    make_path(paths[CAPI_SMS_SENT], nv_dir, "sm_send", kSmsFallbackDir);
  }
}

SmsAccess::NvDir::NvDir() {
  if (stays(CAPI_SMS_RECEIVED) && stays(CAPI_SMS_SENT)) return;
  get_nv_dir(text);
}

SmsAccess::SmsAccess() : section_(kVoiceSmsLock), paths_(process_paths) {
  settle_sms_paths(process_paths, nv_dir_.text);
  for (const int selector : {CAPI_SMS_RECEIVED, CAPI_SMS_SENT}) {
    if (is_open(process_paths[selector])) continue;
    paths_stay[selector].store(true, std::memory_order_release);
  }
}

SmsAccess::~SmsAccess() = default;

const char* SmsAccess::path(int selector) const { return paths_[selector]; }

bool is_sms_path(int selector, const char* path) {
  if (stays(selector)) return strcmp(path, process_paths[selector]) == 0;
  char nv_dir[kDirSize];
  get_nv_dir(nv_dir);
  SmsPaths paths{};
  settle_sms_paths(paths, nv_dir);
  return strcmp(path, paths[selector]) == 0;
}

}  // namespace capi
