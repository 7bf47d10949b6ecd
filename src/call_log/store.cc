// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "call_log/store.h"

#include <cstddef>
#include <cstring>

#include "call_log/file.h"
#include "foundation/log.h"

namespace capi {
namespace {

constexpr char kReadNode[] = "_vkr_voip_read_call_log_node";
constexpr char kReadHeader[] = "_vkr_voip_read_call_log_entry_header";

bool refuse_node(unsigned node, const char* func) {
  if (is_node(node)) return false;
  CAPI_LOG_AS(func, kLogWarning, " check node index [%d] error !", static_cast<int>(node));
  return true;
}

bool refuse_type(unsigned type, const char* func) {
  if (is_call_type(type)) return false;
  CAPI_LOG_AS(func, kLogWarning, " invalid parameter call_type = %d", static_cast<int>(type));
  return true;
}

bool refuse_header_arguments(unsigned type, const capi_call_log_entry_header* header) {
  if (is_call_type(type)) return refuse_null(header, kReadHeader);
  CAPI_LOG_AS(kReadHeader, kLogWarning, " invalid parameter call_log_type = %d !",
              static_cast<int>(type));
  return true;
}

int delete_in_image(capi_call_log_image& image, unsigned type, unsigned node) {
  static constexpr char kFunc[] = "_vkr_voip_delete_call_log_by_node_internal";
  if (refuse_node(node, kFunc) || refuse_type(type, kFunc)) return -1;
  release_node(image, type, node, LoneFreeNode::LinksItself);
  return 0;
}

// For a list that begins with no node.
int set_aside(const char* path, unsigned head, const char* func) CAPI_REQUIRES(kCallLogLock) {
  set_call_log_aside(path, head);
  refuse_node(head, func);
  return -1;
}

}  // namespace

int evict_oldest_call(capi_call_log_image& image, unsigned type, const char* func) {
  const capi_call_log_list& list = image.header.entry[type].list;
  if (list.count < CAPI_CALL_LOG_ENTRIES_PER_TYPE) return 0;
  CAPI_LOG_AS(func, kLogInfo, " MUST delete 1 old call log entry before save new !");
  if (delete_in_image(image, type, list.head) == 0) return 0;
  CAPI_LOG_AS(func, kLogWarning, " failure to delete 1 old call log entry !");
  return -1;
}

// At most as many entries go as there are nodes, for the links of a bad file may lead round in a
// circle.
int delete_all_calls(capi_call_log_image& image, unsigned type, const char* func) {
  unsigned node = image.header.entry[type].list.head;
  for (int count = 0; count < CAPI_CALL_LOG_NODES && node != kNoNode; ++count) {
    const capi_call_log_record* entry = find_call_log_node(image, node);
    if (entry == nullptr) {
      CAPI_LOG_AS(func, kLogWarning, " failure to read call log index %d !",
                  static_cast<int>(node));
      return -1;
    }
    const unsigned next = entry->next;  // deleting clears it
    if (delete_in_image(image, type, node) != 0) {
      CAPI_LOG_AS(func, kLogWarning, " failure to delete call log index %d type %d !",
                  static_cast<int>(node), static_cast<int>(type));
      return -1;
    }
    node = next;
  }
  return 0;
}

int add_call_log(const char* path, unsigned type, const capi_call_log_record* record) {
  static constexpr char kFunc[] = "_vkr_voip_add_call_log";
  if (refuse_type(type, kFunc) || refuse_null(record, kFunc)) return -1;
  const ImageOwner image = load_call_log(path, kFunc);
  if (!image) {
    CAPI_LOG_AS(kFunc, kLogWarning, " read call log file %s failure !", path);
    return -1;
  }
  if (evict_oldest_call(*image, type, kFunc) != 0) return -1;
  const unsigned node = image->header.free.head;
  if (!is_node(node)) return set_aside(path, node, kFunc);
  add_record(*image, type, *record);
  const WriteWords words{kFunc, " can not open file %s, error = %s !",
                         " failure to write data into file %s, error : %s!"};
  return replace_call_log(path, *image, words, Purpose::Add) == Replaced::Done ? 0 : -1;
}

int delete_call_log_by_node(const char* path, unsigned type, unsigned node) {
  static constexpr char kFunc[] = "_vkr_voip_delete_call_log_by_node";
  if (refuse_node(node, kFunc) || refuse_type(type, kFunc)) return -1;
  const ImageOwner image = load_call_log(path, kFunc);
  if (!image) {
    CAPI_LOG_AS(kFunc, kLogWarning, " failure to read call log file %s !", path);
    return -1;
  }
  release_node(*image, type, node, LoneFreeNode::LinksNowhere);
  const WriteWords words{kFunc, " can not open file %s, error = %s !",
                         " failure write data into file %s, error : %s!"};
  return replace_call_log(path, *image, words, Purpose::Remove) == Replaced::NotOpened ? -1 : 0;
}

int clean_call_log_by_type(const char* path, unsigned type) {
  static constexpr char kFunc[] = "_vkr_voip_clean_call_log_by_type";
  if (!is_call_type(type)) {
    CAPI_LOG_AS(kFunc, kLogWarning, " invalid parameter call_type = %d ! ", static_cast<int>(type));
    return -1;
  }
  const ImageOwner image = load_call_log(path, kFunc);
  if (!image) {
    CAPI_LOG_AS(kFunc, kLogWarning, " read call log failure !");
    return -1;
  }
  const capi_call_log_list& list = image->header.entry[type].list;
  if (list.count == 0) {
    CAPI_LOG_AS(kFunc, kLogWarning, " no call log exist belong to type %d !",
                static_cast<int>(type));
    return -1;
  }
  if (!is_node(list.head)) return set_aside(path, list.head, kFunc);
  if (delete_all_calls(*image, type, kFunc) != 0) return -1;
  const WriteWords words{kFunc, " can not create  file %s, error = %s !",
                         " failure write data into file %s, error : %s!"};
  return replace_call_log(path, *image, words, Purpose::Remove) == Replaced::Done ? 0 : -1;
}

const capi_call_log_record* find_call_log_node(const capi_call_log_image& image, unsigned node) {
  return refuse_node(node, kReadNode) ? nullptr : &image.node[node];
}

int read_call_log_node(const capi_call_log_image& image, unsigned node,
                       capi_call_log_record* record) {
  if (refuse_node(node, kReadNode) || refuse_null(record, kReadNode)) return -1;
  memcpy(record, &image.node[node], sizeof *record);
  return 0;
}

int read_call_log_node(const char* path, unsigned node, capi_call_log_record* record) {
  if (refuse_node(node, kReadNode) || refuse_null(record, kReadNode)) return -1;
  memset(record, 0, sizeof *record);
  const ImageOwner image = load_call_log(path, kReadNode);
  if (!image) {
    CAPI_LOG_AS(kReadNode, kLogWarning, " failure to read call log file !");
    return -1;
  }
  return read_call_log_node(*image, node, record);
}

int read_call_log_entry_header(const capi_call_log_image& image, unsigned type,
                               capi_call_log_entry_header* header) {
  if (refuse_header_arguments(type, header)) return -1;
  memcpy(header, &image.header.entry[type], sizeof *header);
  return 0;
}

int read_call_log_entry_header(const char* path, unsigned type,
                               capi_call_log_entry_header* header) {
  if (refuse_header_arguments(type, header)) return -1;
  const ImageOwner image = load_call_log(path, kReadHeader);
  if (!image) {
    CAPI_LOG_AS(kReadHeader, kLogWarning, " failure to read call log file !");
    return -1;
  }
  return read_call_log_entry_header(*image, type, header);
}

}  // namespace capi
