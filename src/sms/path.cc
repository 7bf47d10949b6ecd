// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "sms/path.h"

#include <cstring>

namespace capi {
namespace {

constexpr char kSmsFallbackDir[] = "/quorbleconf/ims_data";
constexpr char kReceivedFallback[] = "/quorbleconf/ims_data/sm_recv";
constexpr char kNames[][8] = {"sm_recv", "sm_send"};  // by selector
static_assert(CAPI_SMS_RECEIVED == 0 && CAPI_SMS_SENT == 1);
constexpr int kSelectors[] = {CAPI_SMS_RECEIVED, CAPI_SMS_SENT};

constinit SmsPaths process_paths;

// The fallback of the sent messages is not asked for here: once taken, it stays.
bool stays(const char* path) { return path[0] != '\0' && strcmp(path, kReceivedFallback) != 0; }

}  // namespace

FilePath SmsPaths::find(int selector, std::string_view nv_dir) const {
  if (is_kept(selector)) return kept_[selector].path();
  FilePath path{};
  make_path(path.text, kSmsPathSize, nv_dir, kNames[selector], kSmsFallbackDir);
  return path;
}

const FilePath& SmsPaths::keep(int selector, const FilePath& path) {
  if (stays(path.text)) kept_[selector].keep(path);
  return is_kept(selector) ? kept_[selector].path() : path;
}

SmsAccess::Found::Found() {
  paths[0].text[0] = paths[1].text[0] = '\0';
  if (process_paths.are_kept()) return;
  char nv_dir[kDirSize];
  get_nv_dir(nv_dir);
  for (const int selector : kSelectors) paths[selector] = process_paths.find(selector, nv_dir);
}

SmsAccess::SmsAccess() : section_(kVoiceSmsLock) {
  for (const int selector : kSelectors) {
    paths_[selector] = process_paths.keep(selector, found_.paths[selector]).text;
  }
}

SmsAccess::~SmsAccess() = default;

bool is_sms_path(int selector, const char* path) {
  char nv_dir[kDirSize] = {};
  if (!process_paths.is_kept(selector)) get_nv_dir(nv_dir);
  return strcmp(path, process_paths.find(selector, nv_dir).text) == 0;
}

}  // namespace capi
