// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "sms/path.h"

#include <atomic>
#include <cstdio>
#include <cstring>

namespace capi {
namespace {

constexpr char kFallbackDir[] = "/quorbleconf/ims_data";
constexpr char kReceivedFallback[] = "/quorbleconf/ims_data/sm_recv";

// Of this process, under lock 18.
SmsPaths process_paths;

// Whether these paths stay as they are.
constinit std::atomic<bool> paths_stay{false};

bool is_open(const char* path) { return path[0] == '\0' || strcmp(path, kReceivedFallback) == 0; }

}  // namespace

void settle_sms_paths(SmsPaths& paths, const char* nv_dir) {
  const char* dir = nv_dir != nullptr ? nv_dir : kFallbackDir;
  if (is_open(paths.received)) snprintf(paths.received, sizeof paths.received, "%s/sm_recv", dir);
  // The fallback of the sent messages is not asked for here: once taken, it stays.
  if (is_open(paths.sent)) snprintf(paths.sent, sizeof paths.sent, "%s/sm_send", dir);
}

SmsAccess::NvDir::NvDir()
    : text{}, is_known(!paths_stay.load(std::memory_order_relaxed) && get_nv_dir(text)) {}

SmsAccess::SmsAccess() : section_(kVoiceSmsLock), paths_(process_paths) {
  settle_sms_paths(process_paths, nv_dir_.is_known ? nv_dir_.text : nullptr);
  const bool stay = !is_open(paths_.received) && !is_open(paths_.sent);
  if (stay) paths_stay.store(true, std::memory_order_relaxed);
}

SmsAccess::~SmsAccess() = default;

const char* SmsAccess::path(int selector) const {
  return selector == CAPI_SMS_SENT ? paths_.sent : paths_.received;
}

}  // namespace capi
