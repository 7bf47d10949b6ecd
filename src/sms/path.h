// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Where the short-message files are, and the way to them: their lock.
#pragma once

#include "capi/sms.h"
#include "lock/critical_section.h"
#include "record/directory.h"

namespace capi {

inline constexpr size_t kSmsPathSize = 256;

// By selector.
using SmsPaths = char[2][kSmsPathSize];

// Brings both paths up to date with the nv directory; empty while the backend knows none.
void settle_sms_paths(SmsPaths& paths, std::string_view nv_dir);

// Whether a path is that of a file, as an access would find it now. Waits for no access to end.
bool is_sms_path(int selector, const char* path) CAPI_EXCLUDES(kConfShmLock, kVoiceSmsLock);

inline bool is_sms_selector(int selector) {
  return selector == CAPI_SMS_RECEIVED || selector == CAPI_SMS_SENT;
}

// Access to the files, for a scope. Until both paths are settled for good, the nv directory is
// asked for under lock 0 before lock 18 is taken.
class CAPI_SCOPED_CAPABILITY SmsAccess {
 public:
  SmsAccess() CAPI_ACQUIRE(kVoiceSmsLock);
  ~SmsAccess() CAPI_RELEASE();
  SmsAccess(const SmsAccess&) = delete;
  SmsAccess& operator=(const SmsAccess&) = delete;

  // The path of a file as it is for this scope.
  const char* path(int selector) const;

 private:
  struct NvDir {
    NvDir();
    char text[kDirSize] = {};  // empty, too, where nobody needs it any more
  };

  const NvDir nv_dir_;  // before the lock
  const CriticalSection section_;
  const SmsPaths& paths_;
};

}  // namespace capi
