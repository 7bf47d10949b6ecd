// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "sms/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "foundation/file.h"
#include "foundation/file_replacement.h"
#include "foundation/log.h"
#include "foundation/shell.h"
#include "record/context.h"
#include "sms/image.h"
#include "sms/path.h"

namespace capi {
namespace {

constexpr char kReadFunc[] = "_vkr_voip_sms_read_file";
constexpr char kWriteFunc[] = "_vkr_voip_sms_write_file";
constexpr char kCreateFunc[] = "_vkr_voip_sms_create_file";
constexpr char kVerifyFunc[] = "_vkr_voip_verify_sms_file";

// Of a command with one of our paths and one of a caller's in it.
constexpr size_t kCommandSize = PATH_MAX + 512;

// Files are read whole, which a buffer would only cut in two.
File open_sms_file(const char* path) {
  File file = open_file(path, "rb");
  if (file) setvbuf(file.get(), nullptr, _IONBF, 0);
  return file;
}

void log_failed(const char* func, const char* call) {
  CAPI_LOG_AS(func, kLogWarning, "%s failed, reason %d: %s\n", call, errno, strerror(errno));
}

timespec read_clock(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return time;
}

void log_failed_step(const char* func, ReplacingStep step, const char* path) {
  switch (step) {
    case ReplacingStep::Open:
      return log_failed_on(func, "fopen", path);
    case ReplacingStep::Write:
      return log_failed(func, "fwrite");
    case ReplacingStep::Flush:
      return log_failed_on(func, "fsync", path);
    case ReplacingStep::Close:
      return log_failed(func, "fclose");
  }
}

Replaced write_content(const char* path, std::span<const uint8_t> bytes, SmsPurpose purpose,
                       const char* func) {
  Replacing how{.is_durable = true};
  // The count, which is written last, does not fit to the messages before.
  if (purpose == SmsPurpose::Remove) how.head = sizeof(SmsFileHeader);
  return replace_file(path, bytes, how,
                      [&](ReplacingStep step) { log_failed_step(func, step, path); });
}

// A command that does not fit names a path that cannot exist. Nothing is copied of a file that has
// no path: cp would take what follows for it. False when a path was refused.
bool run_copy(const char* func, const char* from, const char* to) {
  if (from[0] == '\0' || is_odd_file(from)) return true;
  if (refuse_unquoted(from, func) || refuse_unquoted(to, func)) return false;
  char command[kCommandSize];
  const int length = snprintf(command, sizeof command, "cp -f %s %s", from, to);
  if (length >= 0 && static_cast<size_t>(length) < sizeof command) run_shell(command);
  return true;
}

// Takes away what cp would wait for, as it does itself with what it cannot open.
bool make_way(const char* path) { return !is_odd_file(path) || unlinkat(AT_FDCWD, path, 0) == 0; }

}  // namespace

void log_failed_on(const char* func, const char* call, const char* path) {
  CAPI_LOG_AS(func, kLogWarning, "%s %s failed, reason %d: %s\n", call, path, errno,
              strerror(errno));
}

uint64_t make_sms_file_identity() {
  const timespec now = read_clock(CLOCK_REALTIME);
  const timespec uptime = read_clock(CLOCK_MONOTONIC);
  const auto milliseconds = static_cast<uint64_t>(ldiv(now.tv_nsec, 1000000).quot);
  return ((static_cast<uint64_t>(now.tv_sec) * 1000 + milliseconds) << 8) +
         static_cast<uint64_t>(ldiv(uptime.tv_nsec, 255).rem);
}

bool create_sms_file(const char* path, SmsPurpose purpose) {
  uint8_t bytes[sizeof(SmsFileHeader)];
  SmsImage image(bytes, sizeof bytes);
  image.reset(make_sms_file_identity());
  const bool is_remedy = purpose == SmsPurpose::Add;
  if (!is_remedy) announce_store(CAPI_TOPIC_MESSAGES);
  if (write_content(path, image.bytes(), purpose, kCreateFunc) != Replaced::Done) return false;
  // Not before: who is told reads, and would try the same again, and again, where it cannot be
  // done.
  if (is_remedy) announce_store(CAPI_TOPIC_MESSAGES);
  CAPI_LOG_AS(kCreateFunc, kLogInfo, " create file %s successfully!\n", path);
  return true;
}

bool create_missing_sms_file(const char* path, const char* func) {
  if (tells_of_content(errno) && create_sms_file(path)) return true;
  CAPI_LOG_AS(func, kLogWarning, "_vkr_voip_sms_create_file %s failed\n", path);
  return false;
}

// The copy has to be on the medium before the file is replaced. Where a directory has its name, cp
// puts it in there.
void set_sms_file_aside(const char* path) {
  const char* name = strrchr(path, '/');
  if (name == nullptr) return;  // no path has been found
  char copy[kSmsPathSize + 8];
  char copy_inside[2 * sizeof copy];
  snprintf(copy, sizeof copy, "%s.err", path);
  snprintf(copy_inside, sizeof copy_inside, "%s%s", copy, name);
  if (make_way(copy) && make_way(copy_inside)) run_copy(kVerifyFunc, path, copy);
  sync();
}

bool copy_sms_file(const char* path, const char* destination, const char* func) {
  return run_copy(func, path, destination);
}

bool get_sms_file_size(const char* path, uint64_t& size) {
  struct stat status {};
  if (stat(path, &status) != 0) {
    log_failed_on(kReadFunc, "stat", path);
    return false;
  }
  size = static_cast<uint64_t>(status.st_size);
  return true;
}

SmsTrouble read_sms_file(const char* path, std::span<uint8_t> bytes) {
  File file = open_sms_file(path);
  if (!file) {
    log_failed(kReadFunc, "fopen");
    return tells_of_content(errno) ? SmsTrouble::Unopenable : SmsTrouble::NotRead;
  }
  errno = 0;  // a file that became shorter is no error of the system
  const bool whole = fread(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
  const SmsTrouble trouble = whole                     ? SmsTrouble::None
                             : tells_of_content(errno) ? SmsTrouble::Unreadable
                                                       : SmsTrouble::NotRead;
  if (!whole) log_failed(kReadFunc, "fread");
  if (fclose(file.release()) != 0) log_failed_on(kReadFunc, "fclose", path);
  return trouble;
}

SmsTrouble check_sms_file(std::span<const uint8_t> bytes) {
  const SmsVerdict verdict = check_sms_image(bytes);
  switch (verdict.fault) {
    case SmsFault::None:
      return SmsTrouble::None;
    case SmsFault::Header:
      CAPI_LOG_AS(kVerifyFunc, kLogWarning, "invalid sms file\n");
      break;
    case SmsFault::Type:
      CAPI_LOG_AS(kVerifyFunc, kLogWarning, "wrong sm type %u\n", verdict.wrong_number);
      break;
    case SmsFault::Length:
      CAPI_LOG_AS(kVerifyFunc, kLogWarning, "wrong tlv length %u\n", verdict.wrong_number);
      break;
    case SmsFault::Count:
      CAPI_LOG_AS(kVerifyFunc, kLogWarning, "file is corrupted\n");
      break;
  }
  return SmsTrouble::Unsound;
}

bool write_sms_file(const char* path, std::span<const uint8_t> bytes, SmsPurpose purpose) {
  announce_store(CAPI_TOPIC_MESSAGES);
  const Replaced result = write_content(path, bytes, purpose, kWriteFunc);
  if (result == Replaced::Cut) create_sms_file(path);
  return result == Replaced::Done;
}

}  // namespace capi
