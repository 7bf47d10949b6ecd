// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "call_log/file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "foundation/file.h"
#include "foundation/file_replacement.h"
#include "foundation/log.h"
#include "foundation/shell.h"
#include "record/context.h"
#include "record/directory.h"

namespace capi {
namespace {

// Reads are whole, which a buffer would only cut in two.
File open_call_log(const char* path) {
  File file = open_file(path, "rb");
  if (file) setvbuf(file.get(), nullptr, _IONBF, 0);
  return file;
}

Replaced write_call_log(const char* path, const capi_call_log_image& image, const WriteWords& words,
                        Replacing how) {
  const std::span bytes(reinterpret_cast<const uint8_t*>(&image), sizeof image);
  // By ReplacingStep.
  const char* const failures[] = {words.not_opened, words.not_written,
                                  " failure flush data into file %s, error : %s!",
                                  " failure close file %s, error : %s!"};
  how.is_durable = true;
  return replace_file(path, bytes, how, [&](ReplacingStep step) {
    CAPI_LOG_AS(words.func, kLogWarning, failures[static_cast<size_t>(step)], path,
                strerror(errno));
  });
}

// What is known of a file.
enum class Verdict : uint8_t { Sound, Unsound, Unknown };

// After an error of opening, reading or examining it.
Verdict verdict_after_error() {
  return tells_of_content(errno) ? Verdict::Unsound : Verdict::Unknown;
}

// Reads from the start of the file; a file that is too short leaves no error of its own.
bool read_start(FILE* file, void* to, size_t size) {
  errno = 0;
  return fread(to, size, 1, file) == 1;
}

constexpr char kRead[] = "_vkr_voip_read_call_log";
constexpr char kCreate[] = "_vkr_voip_create_call_log_file";
constexpr char kNotCreated[] = " can not create  file %s, error : %s !";

// Written last where a file is overwritten: a file whose lists do not fit to it is not sound.
constexpr size_t kHeadSize = sizeof(capi_call_log_header);

Verdict judge_lists(const capi_call_log_image& image) {
  const CheckResult result = check(image);
  switch (result.fault) {
    case ImageFault::None:
      return Verdict::Sound;
    case ImageFault::Counts:
      CAPI_LOG_AS(kRead, kLogWarning, " failure check call log count value");
      break;
    case ImageFault::FreeList:
      CAPI_LOG_AS(kRead, kLogWarning, " failure check freed call log link list");
      break;
    case ImageFault::AllEntries:
      CAPI_LOG_AS(kRead, kLogWarning, " failure check all used call log link list");
      break;
    case ImageFault::TypeList:
      CAPI_LOG_AS(kRead, kLogWarning, " failure check link list call log type = %d",
                  static_cast<int>(result.type));
      break;
  }
  return Verdict::Unsound;
}

Verdict read_and_judge(const char* path, capi_call_log_image& image) CAPI_REQUIRES(kCallLogLock) {
  const File file = open_call_log(path);
  if (!file) {
    CAPI_LOG_AS(kRead, kLogWarning, " can not read call log file %s, error = %s !", path,
                strerror(errno));
    return verdict_after_error();
  }
  if (!read_start(file.get(), &image, sizeof image)) {
    CAPI_LOG_AS(kRead, kLogWarning, " failure to read data in file %s, error : %s!", path,
                strerror(errno));
    return verdict_after_error();
  }
  return judge_lists(image);
}

constexpr char kVerify[] = "_vkr_voip_verify_call_log_file";

Verdict judge_size(const char* path) {
  errno = 0;
  struct stat status {};
  if (stat(path, &status) == 0 && status.st_size == sizeof(capi_call_log_image)) {
    return Verdict::Sound;
  }
  CAPI_LOG_AS(kVerify, kLogWarning, " can not get file size %s, error : %s!", path,
              strerror(errno));
  return verdict_after_error();
}

Verdict judge_description(const char* path) {
  File file = open_call_log(path);
  if (!file) {
    CAPI_LOG_AS(kVerify, kLogWarning, " can not open  file %s !\n", path);
    return verdict_after_error();
  }
  capi_call_log_header header{};
  if (!read_start(file.get(), &header, offsetof(capi_call_log_header, entry))) {
    CAPI_LOG_AS(kVerify, kLogWarning, " failure to read data in file %s, error : %s!", path,
                strerror(errno));
    return verdict_after_error();
  }
  if (!has_marks(header)) {
    CAPI_LOG_AS(kVerify, kLogWarning,
                " Parse wrong call log file description, max_num_of_record_type [%d], "
                "max_entry_num_per_type [%d], log_ver [%d]\n",
                header.max_num_of_record_type, header.max_entry_num_per_type, header.log_ver);
    return Verdict::Unsound;
  }
  if (fclose(file.release()) != 0) {
    CAPI_LOG_AS(kVerify, kLogWarning, " failure close file %s, error : %s!\n", path,
                strerror(errno));
  }
  return Verdict::Sound;
}

Verdict judge_call_log(const char* path, capi_call_log_image& image) CAPI_REQUIRES(kCallLogLock) {
  Verdict verdict = judge_size(path);
  if (verdict == Verdict::Sound) verdict = judge_description(path);
  if (verdict != Verdict::Sound) return verdict;
  verdict = read_and_judge(path, image);
  if (verdict != Verdict::Sound) {
    CAPI_LOG_AS(kVerify, kLogWarning, " read call log file %s failure !", path);
  }
  return verdict;
}

// Moves the file to a name with the local time in it. False without a local time.
bool move_aside(const char* path, char* command, size_t size) {
  tzset();  // localtime_r() need not notice a changed TZ
  const time_t now = time(nullptr);
  tm at{};
  if (localtime_r(&now, &at) == nullptr) return false;
  snprintf(command, size, "mv %s %s.%d%02d%02d%02d%02d%02d", path, path, at.tm_year + 1900,
           at.tm_mon + 1, at.tm_mday, at.tm_hour, at.tm_min, at.tm_sec);
  run_shell(command);
  return true;
}

}  // namespace

bool refuse_null(const void* pointer, const char* func) {
  if (pointer != nullptr) return false;
  CAPI_LOG_AS(func, kLogWarning, "Invalid NULL pointer\n");
  return true;
}

ImageOwner make_image(const char* func) {
  ImageOwner image = new_image();
  if (!image) CAPI_LOG_AS(func, kLogWarning, "Malloc failed\n");
  return image;
}

int create_call_log_file(const char* path, Emptying emptying) {
  const ImageOwner image = make_image(kCreate);
  if (!image) return -1;
  make_empty(*image);
  Replacing how;
  if (emptying != Emptying::New) {
    struct stat status {};
    // A directory cannot be replaced.
    if (lstat(path, &status) == 0 && S_ISDIR(status.st_mode)) remove(path);
    how.odd_file = OddFile::Replaced;
  }
  const bool is_cleaned = emptying == Emptying::Cleaned;
  if (is_cleaned) {
    how.head = kHeadSize;
    announce_store(CAPI_TOPIC_CALLS);
  }
  const WriteWords words{kCreate, kNotCreated, " failure write data into file %s, error : %s!"};
  if (write_call_log(path, *image, words, how) != Replaced::Done) return -1;
  // A remedy, when it is done: who is told before that reads, and finds the same again.
  if (!is_cleaned) announce_store(CAPI_TOPIC_CALLS);
  CAPI_LOG_AS(kCreate, kLogInfo, " create file %s success !", path);
  return 0;
}

int read_call_log(const char* path, capi_call_log_image* image) {
  if (refuse_null(image, kRead)) return -1;
  return read_and_judge(path, *image) == Verdict::Sound ? 0 : -1;
}

ImageOwner load_call_log(const char* path, const char* func) {
  ImageOwner image = make_image(func);
  if (image && read_call_log(path, image.get()) != 0) image.reset();
  return image;
}

int verify_call_log_file(const char* path) {
  const ImageOwner image = make_image(kVerify);
  if (!image) return -1;  // which says nothing about the file
  const Verdict verdict = judge_call_log(path, *image);
  if (verdict == Verdict::Sound) return 0;
  if (verdict == Verdict::Unsound && create_call_log_file(path, Emptying::Rebuilt) == 0) return 0;
  CAPI_LOG_AS(kVerify, kLogWarning, " can not rebuild  file %s !\n", path);
  return -1;
}

int init_call_log_file(const char* path) {
  static constexpr char kFunc[] = "_vkr_voip_init_call_log_file";
  if (!open_call_log(path)) {
    const bool is_missing = tells_of_content(errno);
    if (is_missing && create_call_log_file(path, Emptying::New) == 0) return 0;
    if (!is_missing) CAPI_LOG_AS(kCreate, kLogWarning, kNotCreated, path, strerror(errno));
    CAPI_LOG_AS(kFunc, kLogWarning, " fail to create new call log file %s !", path);
    return -1;
  }
  if (verify_call_log_file(path) == 0) return 0;
  CAPI_LOG_AS(kFunc, kLogWarning, " verify format of file %s failure !", path);
  return -1;
}

void delete_call_log_file(const char* path) {
  announce_store(CAPI_TOPIC_CALLS);
  remove(path);
}

Replaced replace_call_log(const char* path, const capi_call_log_image& image,
                          const WriteWords& words, Purpose purpose) {
  announce_store(CAPI_TOPIC_CALLS);
  const size_t head = purpose == Purpose::Remove ? kHeadSize : 0;
  const Replaced result = write_call_log(path, image, words, {.head = head});
  if (result == Replaced::Cut && create_call_log_file(path, Emptying::Rebuilt) != 0) {
    CAPI_LOG_AS(words.func, kLogWarning, " can not delete  file %s !", path);
  }
  return result;
}

void set_call_log_aside(const char* path, unsigned bad_node) {
  static constexpr char kFunc[] = "_vkr_voip_check_node_index";
  if (refuse_unquoted(path, kFunc)) return;
  char command[2 * kPathSize + 64];
  if (!move_aside(path, command, sizeof command)) {
    CAPI_LOG_AS(kFunc, kLogNotice, "Failed to get system time\n");
    return;
  }
  CAPI_LOG_AS(kFunc, kLogWarning,
              " Invalid node index = %d, success backup error call log file, command = %s !",
              static_cast<int>(bad_node), command);
  create_call_log_file(path, Emptying::New);
}

}  // namespace capi
