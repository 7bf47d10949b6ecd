// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "call_log/path.h"

#include "foundation/text.h"

namespace capi {
namespace {

constinit KeptPath kept;

// The fallback may be named as the directory, too; neither stays.
bool is_fallback(std::string_view dir) { return dir.empty() || dir == kFallbackDir; }

}  // namespace

FilePath call_log_path() {
  if (kept.is_kept()) return kept.path();
  char dir[kDirSize];
  get_nv_dir(dir);
  FilePath path{};
  make_path(path.text, dir, "voip_call_log");
  if (!is_fallback(dir)) kept.keep(path);
  return path;
}

int with_call_log(FunctionRef<int(const char* path)> operation) {
  const FilePath path = call_log_path();
  const CriticalSection section(kCallLogLock);
  return operation(path.text);
}

}  // namespace capi
