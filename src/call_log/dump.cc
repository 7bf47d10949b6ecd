// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "call_log/dump.h"

#include "call_log/file.h"
#include "call_log/path.h"
#include "call_log/store.h"
#include "capi/call_log.h"
#include "foundation/log.h"

namespace capi {
namespace {

// A list as it is walked from its first node.
struct Walk {
  capi_call_log_list list;
  Direction direction;
};

Walk newest_first(const capi_call_log_header& header, unsigned selector) {
  // Selectors 1 and 2 are crossed with the types since ever: callers count on it.
  static constexpr uint8_t kTypes[] = {1, 0, 2};
  if (selector == 0) return {header.used, kAllEntries.reversed()};
  return {header.entry[kTypes[selector - 1]].list, kOwnList.reversed()};
}

// Visits at most as many nodes as the list counts. Returns 0, or -1 at a link to no node, which is
// left in "index".
int walk(const capi_call_log_image& image, const Walk& way, capi_call_log_cb callback, void* user,
         uint16_t& index) {
  index = way.list.*way.direction.first;
  for (unsigned visited = 0; visited < way.list.count && index != kNoNode; ++visited) {
    const capi_call_log_record* entry = find_call_log_node(image, index);
    if (entry == nullptr) return -1;
    const uint16_t next = entry->*way.direction.next;
    if (callback != nullptr) callback(entry, user);
    if (index == way.list.*way.direction.last) break;
    index = next;
  }
  return 0;
}

// The lock is held while the file is read only: callbacks may call the library.
int read_image(capi_call_log_image& image) {
  return with_call_log([&](const char* path)
                           CAPI_REQUIRES(kCallLogLock) { return read_call_log(path, &image); });
}

}  // namespace

void dump_image(const capi_call_log_image& image, unsigned selector, capi_call_log_cb callback,
                void* user) {
  uint16_t index = 0;
  if (walk(image, newest_first(image.header, selector), callback, user, index) != 0) {
    CAPI_LOG_AS("capi_voip_call_log_dump", kLogErr,
                "ERROR: capi_voip_read_call_log_node, node_idx: %d, result: %d\n", index, -1);
  }
}

int dump_whole_image(const capi_call_log_image& image, capi_call_log_cb callback, void* user) {
  uint16_t index = 0;
  if (walk(image, {image.header.used, kAllEntries}, callback, user, index) == 0) return 0;
  CAPI_LOG_AS("capi_voip_call_log_dump_all", kLogWarning,
              "capi_voip_read_call_log_node, node_idx: %d\n", index);
  return -1;
}

}  // namespace capi

using namespace capi;

int capi_voip_call_log_dump(unsigned selector, capi_call_log_cb callback, void* user) {
  if (selector > CAPI_CALL_LOG_TYPES) return -1;
  const ImageOwner image = make_image(__func__);
  if (!image) return -1;
  const int result = read_image(*image);
  if (result != 0) {
    CAPI_LOG(kLogErr, "ERROR: capi_voip_read_call_log, result: %d\n", result);
    return result;
  }
  dump_image(*image, selector, callback, user);
  return 0;
}

int capi_voip_call_log_dump_all(capi_call_log_cb callback, void* user) {
  const ImageOwner image = make_image(__func__);
  if (!image) return -1;
  const int result = read_image(*image);
  if (result != 0) {
    CAPI_LOG(kLogWarning, "Read call log failed\n");
    return result;
  }
  return dump_whole_image(*image, callback, user);
}
