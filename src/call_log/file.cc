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
#include <utility>

#include "foundation/log.h"
#include "foundation/shell.h"
#include "record/directory.h"

namespace capi {
namespace {

void close_call_log(File file, const char* path, const char* func, const char* failed) {
  if (fclose(file.release()) != 0) {
    CAPI_LOG_AS(func, kLogWarning, failed, path, strerror(errno));
  }
}

enum class WriteResult { Written, NotOpened, Cut };

WriteResult write_call_log(const char* path, const capi_call_log_image& image,
                           const WriteWords& words) {
  File file = open_call_log(path, "wb");
  if (!file) {
    CAPI_LOG_AS(words.func, kLogWarning, words.not_opened, path, strerror(errno));
    return WriteResult::NotOpened;
  }
  const bool complete = fwrite(&image, sizeof image, 1, file.get()) == 1;
  if (complete) {
    flush_call_log(file.get(), path, words.func);
  } else {
    CAPI_LOG_AS(words.func, kLogWarning, words.cut, path, strerror(errno));
  }
  close_call_log(std::move(file), path, words.func, " failure close file %s, error : %s!");
  return complete ? WriteResult::Written : WriteResult::Cut;
}

// Reads from the start of the file; a file that is too short leaves no error of its own.
bool read_start(FILE* file, void* to, size_t size) {
  errno = 0;
  return fread(to, size, 1, file) == 1;
}

int log_fault(const CheckResult& result) {
  constexpr char kFunc[] = "_vkr_voip_read_call_log";
  switch (result.fault) {
    case ImageFault::None:
      return 0;
    case ImageFault::Counts:
      CAPI_LOG_AS(kFunc, kLogWarning, " failure check call log count value");
      break;
    case ImageFault::FreeList:
      CAPI_LOG_AS(kFunc, kLogWarning, " failure check freed call log link list");
      break;
    case ImageFault::AllEntries:
      CAPI_LOG_AS(kFunc, kLogWarning, " failure check all used call log link list");
      break;
    case ImageFault::TypeList:
      CAPI_LOG_AS(kFunc, kLogWarning, " failure check link list call log type = %d",
                  static_cast<int>(result.type));
      break;
  }
  return -1;
}

constexpr char kVerify[] = "_vkr_voip_verify_call_log_file";

bool has_size(const char* path) {
  errno = 0;
  struct stat status {};
  if (stat(path, &status) == 0 && status.st_size == sizeof(capi_call_log_image)) return true;
  CAPI_LOG_AS(kVerify, kLogWarning, " can not get file size %s, error : %s!", path,
              strerror(errno));
  return false;
}

bool has_description(const char* path) {
  File file = open_call_log(path, "rb");
  if (!file) {
    CAPI_LOG_AS(kVerify, kLogWarning, " can not open  file %s !\n", path);
    return false;
  }
  capi_call_log_header header{};
  if (!read_start(file.get(), &header, offsetof(capi_call_log_header, entry))) {
    CAPI_LOG_AS(kVerify, kLogWarning, " failure to read data in file %s, error : %s!", path,
                strerror(errno));
    return false;
  }
  if (!has_marks(header)) {
    CAPI_LOG_AS(kVerify, kLogWarning,
                " Parse wrong call log file description, max_num_of_record_type [%d], "
                "max_entry_num_per_type [%d], log_ver [%d]\n",
                header.max_num_of_record_type, header.max_entry_num_per_type, header.log_ver);
    return false;
  }
  close_call_log(std::move(file), path, kVerify, " failure close file %s, error : %s!\n");
  return true;
}

bool has_sound_lists(const char* path, capi_call_log_image& image) CAPI_REQUIRES(kCallLogLock) {
  if (read_call_log(path, &image) == 0) return true;
  CAPI_LOG_AS(kVerify, kLogWarning, " read call log file %s failure !", path);
  return false;
}

int rebuild_call_log_file(const char* path) CAPI_REQUIRES(kCallLogLock) {
  remove(path);
  return create_call_log_file(path);
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

File open_call_log(const char* path, const char* mode) {
  File file = open_file(path, mode);
  if (file) setvbuf(file.get(), nullptr, _IONBF, 0);
  return file;
}

bool refuse_null(const void* pointer, const char* func) {
  if (pointer != nullptr) return false;
  CAPI_LOG_AS(func, kLogWarning, "Invalid NULL pointer\n");
  return true;
}

void flush_call_log(FILE* file, const char* path, const char* func) {
  if (fflush(file) != 0) {
    CAPI_LOG_AS(func, kLogWarning, " failure flush data into file %s, error : %s!", path,
                strerror(errno));
  }
  sync();
}

ImageOwner make_image(const char* func) {
  ImageOwner image = new_image();
  if (!image) CAPI_LOG_AS(func, kLogWarning, "Malloc failed\n");
  return image;
}

int create_call_log_file(const char* path) {
  constexpr char kFunc[] = "_vkr_voip_create_call_log_file";
  const ImageOwner image = make_image(kFunc);
  if (!image) return -1;
  make_empty(*image);
  const WriteResult result = write_call_log(path, *image,
                                            {kFunc, " can not create  file %s, error : %s !",
                                             " failure write data into file %s, error : %s!"});
  if (result != WriteResult::Written) return -1;
  CAPI_LOG_AS(kFunc, kLogInfo, " create file %s success !", path);
  return 0;
}

int read_call_log(const char* path, capi_call_log_image* image) {
  constexpr char kFunc[] = "_vkr_voip_read_call_log";
  if (refuse_null(image, kFunc)) return -1;
  const File file = open_call_log(path, "rb");
  if (!file) {
    CAPI_LOG_AS(kFunc, kLogWarning, " can not read call log file %s, error = %s !", path,
                strerror(errno));
    return -1;
  }
  if (!read_start(file.get(), image, sizeof *image)) {
    CAPI_LOG_AS(kFunc, kLogWarning, " failure to read data in file %s, error : %s!", path,
                strerror(errno));
    return -1;
  }
  return log_fault(check(*image));
}

ImageOwner load_call_log(const char* path, const char* func) {
  ImageOwner image = make_image(func);
  if (image && read_call_log(path, image.get()) != 0) image.reset();
  return image;
}

int verify_call_log_file(const char* path) {
  const ImageOwner image = make_image(kVerify);
  if (!image) return -1;  // which says nothing about the file
  if (has_size(path) && has_description(path) && has_sound_lists(path, *image)) return 0;
  if (rebuild_call_log_file(path) == 0) return 0;
  CAPI_LOG_AS(kVerify, kLogWarning, " can not rebuild  file %s !\n", path);
  return -1;
}

int init_call_log_file(const char* path) {
  constexpr char kFunc[] = "_vkr_voip_init_call_log_file";
  if (!open_call_log(path, "rb")) {
    if (create_call_log_file(path) == 0) return 0;
    CAPI_LOG_AS(kFunc, kLogWarning, " fail to create new call log file %s !", path);
    return -1;
  }
  if (verify_call_log_file(path) == 0) return 0;
  CAPI_LOG_AS(kFunc, kLogWarning, " verify format of file %s failure !", path);
  return -1;
}

void delete_call_log_file(const char* path) { remove(path); }

int replace_call_log(const char* path, const capi_call_log_image& image, const WriteWords& words) {
  const WriteResult result = write_call_log(path, image, words);
  if (result == WriteResult::Cut && rebuild_call_log_file(path) != 0) {
    CAPI_LOG_AS(words.func, kLogWarning, " can not delete  file %s !", path);
  }
  return result == WriteResult::Written ? 0 : -1;
}

void set_call_log_aside(const char* path, unsigned bad_node) {
  constexpr char kFunc[] = "_vkr_voip_check_node_index";
  if (refuse_unquoted(path, kFunc)) return;
  char command[2 * kPathSize + 64];
  if (!move_aside(path, command, sizeof command)) {
    CAPI_LOG_AS(kFunc, kLogNotice, "Failed to get system time\n");
    return;
  }
  CAPI_LOG_AS(kFunc, kLogWarning,
              " Invalid node index = %d, success backup error call log file, command = %s !",
              static_cast<int>(bad_node), command);
  create_call_log_file(path);
}

}  // namespace capi
