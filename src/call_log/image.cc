// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "call_log/image.h"

#include <cstring>

#include "foundation/text.h"

namespace capi {
namespace {

constexpr uint32_t kFreeCallType = UINT32_MAX;

capi_call_log_record* find_node(capi_call_log_image& image, uint16_t index) {
  return is_node(index) ? &image.node[index] : nullptr;
}

// Walks a list's count of steps: the far end may be met at the last step only, and must be the end.
bool is_walkable(const capi_call_log_image& image, const capi_call_log_list& list,
                 const Direction& direction) {
  uint16_t index = list.*direction.first;
  for (unsigned step = 1; step <= list.count; ++step) {
    if (!is_node(index)) return false;
    const uint16_t next = image.node[index].*direction.next;
    const bool at_far_end = index == list.*direction.last;
    if (at_far_end && (step != list.count || next != kNoNode)) return false;
    index = next;
  }
  return true;
}

bool is_sound(const capi_call_log_image& image, const capi_call_log_list& list,
              const Direction& direction) {
  return is_walkable(image, list, direction) && is_walkable(image, list, direction.reversed());
}

void append(capi_call_log_image& image, capi_call_log_list& list, const Direction& direction,
            uint16_t index) {
  capi_call_log_record* last = find_node(image, list.tail);
  image.node[index].*direction.prev = list.tail;
  image.node[index].*direction.next = kNoNode;
  if (last != nullptr) last->*direction.next = index;
  if (last == nullptr || list.count == 0) list.head = index;
  list.tail = index;
  ++list.count;
}

void take_out_first(capi_call_log_image& image, capi_call_log_list& list,
                    const Direction& direction, uint16_t second, bool was_alone) {
  list.*direction.first = second;
  if (was_alone) list.*direction.last = second;
  if (auto* node = find_node(image, second)) node->*direction.prev = kNoNode;
}

// Takes a node out of a list, whose other end follows when the node "was alone". The node keeps its
// own links.
void take_out(capi_call_log_image& image, capi_call_log_list& list, const Direction& direction,
              uint16_t index, bool was_alone) {
  const uint16_t prev = image.node[index].*direction.prev;
  const uint16_t next = image.node[index].*direction.next;
  if (list.count > 0) --list.count;
  if (index == list.*direction.first) {
    take_out_first(image, list, direction, next, was_alone);
  } else if (index == list.*direction.last) {
    take_out_first(image, list, direction.reversed(), prev, was_alone);
  } else {
    if (auto* node = find_node(image, prev)) node->*direction.next = next;
    if (auto* node = find_node(image, next)) node->*direction.prev = prev;
  }
}

// The index, the sequence and the statistics stay.
void clear(capi_call_log_record& node) {
  node.calltype = kFreeCallType;
  node.next = kNoNode;
  node.endpt = 0;
  node.calltimestart = 0;
  node.calltimeconnect = 0;
  node.calltimeend = 0;
  memset(node.displayname, 0, sizeof node.displayname);
  memset(node.number, 0, sizeof node.number);
}

void fill(capi_call_log_record& node, unsigned type, const capi_call_log_record& record) {
  node.calltype = type;
  node.endpt = record.endpt;
  node.calltimestart = record.calltimestart;
  node.calltimeconnect = record.calltimeconnect;
  node.calltimeend = record.calltimeend;
  copy_text(node.displayname, bounded(record.displayname));
  copy_text(node.number, bounded(record.number));
  node.statistics = record.statistics;
}

}  // namespace

ImageOwner new_image() {
  return ImageOwner(static_cast<capi_call_log_image*>(malloc(sizeof(capi_call_log_image))));
}

void make_empty(capi_call_log_image& image) {
  memset(&image, 0, sizeof image);
  capi_call_log_header& header = image.header;
  header.used = {0, kNoNode, kNoNode};
  header.free = header.used;
  header.max_entry_num_per_type = CAPI_CALL_LOG_ENTRIES_PER_TYPE;
  header.max_num_of_record_type = CAPI_CALL_LOG_TYPES;
  header.log_ver = CAPI_CALL_LOG_VERSION;
  for (auto& entry : header.entry) entry.list = header.used;
  for (uint16_t index = 0; index < CAPI_CALL_LOG_NODES; ++index) {
    capi_call_log_record& node = image.node[index];
    node.calltype = kFreeCallType;
    node.index = index;
    node.all_prev = kNoNode;
    node.all_next = kNoNode;
    append(image, header.free, kOwnList, index);
  }
}

bool has_marks(const capi_call_log_header& header) {
  return header.max_entry_num_per_type == CAPI_CALL_LOG_ENTRIES_PER_TYPE &&
         header.max_num_of_record_type == CAPI_CALL_LOG_TYPES &&
         header.log_ver == CAPI_CALL_LOG_VERSION;
}

CheckResult check(const capi_call_log_image& image) {
  const capi_call_log_header& header = image.header;
  if (header.free.count > CAPI_CALL_LOG_NODES || header.used.count > CAPI_CALL_LOG_NODES) {
    return {ImageFault::Counts, 0};
  }
  if (!is_sound(image, header.free, kOwnList)) return {ImageFault::FreeList, 0};
  if (!is_sound(image, header.used, kAllEntries)) return {ImageFault::AllEntries, 0};
  for (unsigned type = 0; type < CAPI_CALL_LOG_TYPES; ++type) {
    const capi_call_log_list& list = header.entry[type].list;
    if (list.count > CAPI_CALL_LOG_ENTRIES_PER_TYPE) return {ImageFault::Counts, type};
    if (!is_sound(image, list, kOwnList)) return {ImageFault::TypeList, type};
  }
  return {ImageFault::None, 0};
}

void release_node(capi_call_log_image& image, unsigned type, unsigned node, LoneFreeNode lone) {
  if (!is_node(node) || !is_call_type(type)) return;
  const auto index = static_cast<uint16_t>(node);
  capi_call_log_header& header = image.header;
  capi_call_log_list& of_type = header.entry[type].list;
  capi_call_log_record& freed = image.node[index];

  take_out(image, of_type, kOwnList, index, of_type.count <= 1);
  const bool was_empty = !is_node(header.free.tail);
  append(image, header.free, kOwnList, index);
  if (was_empty) freed.prev = lone == LoneFreeNode::LinksItself ? index : kNoNode;
  clear(freed);

  take_out(image, header.used, kAllEntries, index, header.used.count == 1);
  freed.all_prev = kNoNode;
  freed.all_next = kNoNode;
}

void add_record(capi_call_log_image& image, unsigned type, const capi_call_log_record& record) {
  capi_call_log_header& header = image.header;
  const uint16_t index = header.free.head;
  if (!is_node(index) || !is_call_type(type)) return;
  capi_call_log_record& node = image.node[index];

  take_out(image, header.free, kOwnList, index, node.next == kNoNode);
  if (header.next_sequence == UINT16_MAX) header.next_sequence = 0;
  fill(node, type, record);
  node.sequence = header.next_sequence++;
  append(image, header.entry[type].list, kOwnList, index);
  append(image, header.used, kAllEntries, index);
}

}  // namespace capi
