// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Where the short-message files are, and the way to them: their lock.
//
// Both files are in the nv directory. Until one is known, they are in a fallback: the file of the
// received messages leaves it as soon as it can, that of the sent ones stays there once it was
// used. The directory is asked for under lock 0, so before lock 18 is taken and never under it.
//
// Leaves to its callers the files themselves: that there is a path says nothing about a file, and
// where no path fits it is empty, which no file can be opened by.
#pragma once

#include <string_view>

#include "capi/sms.h"
#include "lock/critical_section.h"
#include "record/kept_path.h"

namespace capi {

inline constexpr size_t kSmsPathSize = 256;

inline bool is_sms_selector(int selector) {
  return selector == CAPI_SMS_RECEIVED || selector == CAPI_SMS_SENT;
}

// The paths of both files, by selector, as a process knows them.
class SmsPaths {
 public:
  // Whether a path will not change any more.
  bool is_kept(int selector) const { return kept_[selector].is_kept(); }
  bool are_kept() const { return is_kept(CAPI_SMS_RECEIVED) && is_kept(CAPI_SMS_SENT); }

  // The path that is kept, or else the one that this nv directory leads to; it may be empty.
  FilePath find(int selector, std::string_view nv_dir) const;

  // Keeps a path that was found, if it is one that stays. Returns the path to use: the one that is
  // kept, or else the given one.
  const FilePath& keep(int selector, const FilePath& path);

 private:
  KeptPath kept_[2];
};

// Whether a path is that of a file, as an access would find it now. Waits for no access to end.
bool is_sms_path(int selector, const char* path) CAPI_EXCLUDES(kConfShmLock, kVoiceSmsLock);

// Access to the files, for a scope. Takes lock 18, and lock 0 before it until both paths are kept.
class CAPI_SCOPED_CAPABILITY SmsAccess {
 public:
  SmsAccess() CAPI_ACQUIRE(kVoiceSmsLock);
  ~SmsAccess() CAPI_RELEASE();
  SmsAccess(const SmsAccess&) = delete;
  SmsAccess& operator=(const SmsAccess&) = delete;

  // The path of a file as it is for this scope.
  const char* path(int selector) const { return paths_[selector]; }

 private:
  // Both paths as they were found before the lock was taken; empty where they were kept then.
  struct Found {
    Found();
    FilePath paths[2];
  };

  const Found found_;
  const CriticalSection section_;
  const char* paths_[2];
};

}  // namespace capi
