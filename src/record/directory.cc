// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "record/directory.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "capi/backend.h"
#include "capi/lifecycle.h"
#include "foundation/log.h"
#include "foundation/modes.h"
#include "foundation/text.h"
#include "record/context.h"

namespace capi {
namespace {

std::string_view directory(const cfg_shared_record& record, RuntimeDir which) {
  const auto entry = [&](RuntimeDir dir) {
    return bounded(record.directory[static_cast<size_t>(dir)]);
  };
  const std::string_view dir = entry(which);
  return which == RuntimeDir::Nv && dir.empty() ? entry(RuntimeDir::Data) : dir;
}

// Writes no more than the text and its terminator: callers bring 256 bytes, but only for a text
// that is so long.
char* copy_dir(RuntimeDir which, char* dst) {
  char dir[kDirSize];
  if (dst == nullptr || !get_runtime_dir(which, dir)) return nullptr;
  return strcpy(dst, dir);
}

void create_directory(const char* dir) {
  if (mkdir_recur(dir, kDirectoryMode) == 0) return;
  const int error = errno;
  CAPI_LOG_AS("capiv2_cfg_backend_post_init", kLogErr, "create %s failed(errno=%d/%s)\n", dir,
              error, strerror(error));
}

}  // namespace

bool get_runtime_dir(RuntimeDir which, char (&dir)[kDirSize]) {
  dir[0] = '\0';
  if (context() == nullptr) return false;
  return with_shared_record([&](const cfg_shared_record& record) {
           copy_text(dir, directory(record, which));
           return 0;
         }) == 0;
}

bool get_nv_dir(char (&dir)[kDirSize]) {
  return get_runtime_dir(RuntimeDir::Nv, dir) && dir[0] != '\0';
}

std::string_view data_dir(const cfg_shared_record& record) {
  return directory(record, RuntimeDir::Data);
}

void make_path(char* path, size_t size, std::string_view dir, std::string_view name,
               const char* fallback) {
  if (dir.empty()) dir = fallback;
  const int length = snprintf(path, size, "%.*s/%.*s", CAPI_TEXT_ARG(dir), CAPI_TEXT_ARG(name));
  if (static_cast<size_t>(length) >= size) path[0] = '\0';
}

}  // namespace capi

using namespace capi;

char* capiv2_cfg_backend_get_work_dir(char* dst) { return copy_dir(RuntimeDir::Work, dst); }
char* capiv2_cfg_backend_get_data_dir(char* dst) { return copy_dir(RuntimeDir::Data, dst); }
char* capiv2_cfg_backend_get_log_dir(char* dst) { return copy_dir(RuntimeDir::Log, dst); }
char* capiv2_cfg_backend_get_bin_dir(char* dst) { return copy_dir(RuntimeDir::Bin, dst); }
char* capiv2_cfg_backend_get_nv_dir(char* dst) { return copy_dir(RuntimeDir::Nv, dst); }
char* capiv2_cfg_backend_get_ivr_dir(char* dst) { return copy_dir(RuntimeDir::Ivr, dst); }

int capi_get_runtime_dir(int index, char* buf, int len) {
  if (buf == nullptr) return -1;
  if (len > 0) memset(buf, 0, static_cast<size_t>(len));
  if (index < 0 || index >= CAPI_RUNTIME_DIRS) return -1;
  return copy_dir(static_cast<RuntimeDir>(index), buf) != nullptr ? 0 : -1;
}

char* capi_get_runtime_path(int index, const char* name, char* buf, int len) {
  if (buf == nullptr || len <= 0) return buf;
  const auto size = static_cast<size_t>(len);
  memset(buf, 0, size);
  char dir[kDirSize];
  if (index < 0 || index >= CAPI_RUNTIME_DIRS || name == nullptr) return buf;
  if (!get_runtime_dir(static_cast<RuntimeDir>(index), dir)) return buf;
  snprintf(buf, size, "%s/%s", dir, name);
  return buf;
}

int capiv2_cfg_backend_post_init() {
  if (context() == nullptr) return 0;
  with_shared_record([](const cfg_shared_record& record) {
    char dirs[CAPI_RUNTIME_DIRS][kDirSize];
    for (int i = 0; i < CAPI_RUNTIME_DIRS; ++i) copy_text(dirs[i], bounded(record.directory[i]));
    CAPI_LOG_AS("capiv2_cfg_backend_post_init", kLogInfo, "%s %s %s %s %s %s\n", dirs[0], dirs[1],
                dirs[2], dirs[3], dirs[4], dirs[5]);
    // The bin directory belongs to the firmware and is never made here.
    for (const auto which :
         {RuntimeDir::Work, RuntimeDir::Data, RuntimeDir::Log, RuntimeDir::Nv, RuntimeDir::Ivr}) {
      create_directory(dirs[static_cast<size_t>(which)]);
    }
    return 0;
  });
  return 0;
}
