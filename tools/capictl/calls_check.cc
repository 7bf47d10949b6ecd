// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "calls_check.h"

#include <capi.h>

#include <cstring>
#include <memory>

namespace capictl {
namespace {

// A list of nodes and where its links are.
struct List {
  std::string name;
  capi_call_log_list ends;
  uint16_t most;
  uint16_t capi_call_log_record::*prev;
  uint16_t capi_call_log_record::*next;
};

// Walks a list one way. Returns what is wrong, "" for nothing.
std::string walk(const capi_call_log_image& image, const List& list, uint16_t from, uint16_t to,
                 uint16_t capi_call_log_record::*link, const char* way) {
  const std::string where = list.name + ", " + way + ": ";
  uint16_t node = from;
  for (unsigned step = 1; step <= list.ends.count; ++step) {
    if (node >= CAPI_CALL_LOG_NODES) {
      return where + "step " + std::to_string(step) + " leads to node " + std::to_string(node) +
             ", which does not exist";
    }
    const uint16_t next = image.node[node].*link;
    const bool is_last = step == list.ends.count;
    if (is_last != (node == to)) {
      return where + (is_last ? "does not end at its end" : "ends too early") + ", at node " +
             std::to_string(node);
    }
    if (is_last && next != CAPI_CALL_LOG_NO_NODE) return where + "goes on behind its last node";
    node = next;
  }
  return "";
}

void check_list(const capi_call_log_image& image, const List& list,
                std::vector<std::string>& faults) {
  if (list.ends.count > list.most) {
    faults.push_back(list.name + ": counts " + std::to_string(list.ends.count) + ", more than " +
                     std::to_string(list.most));
    return;
  }
  const std::string forwards =
      walk(image, list, list.ends.head, list.ends.tail, list.next, "forwards");
  if (!forwards.empty()) faults.push_back(forwards);
  const std::string backwards =
      walk(image, list, list.ends.tail, list.ends.head, list.prev, "backwards");
  if (!backwards.empty()) faults.push_back(backwards);
}

bool has_marks(const capi_call_log_header& header) {
  return header.max_entry_num_per_type == CAPI_CALL_LOG_ENTRIES_PER_TYPE &&
         header.max_num_of_record_type == CAPI_CALL_LOG_TYPES &&
         header.log_ver == CAPI_CALL_LOG_VERSION;
}

}  // namespace

std::vector<std::string> check_call_log(const std::string& content) {
  const auto image = std::make_unique<capi_call_log_image>();
  if (content.size() != sizeof *image) {
    return {"it has " + std::to_string(content.size()) + " bytes instead of " +
            std::to_string(sizeof *image)};
  }
  memcpy(image.get(), content.data(), sizeof *image);
  if (!has_marks(image->header)) return {"it does not begin as a call log of this version"};
  std::vector<std::string> faults;
  using Node = capi_call_log_record;
  check_list(*image,
             {"free nodes", image->header.free, CAPI_CALL_LOG_NODES, &Node::prev, &Node::next},
             faults);
  check_list(
      *image,
      {"all calls", image->header.used, CAPI_CALL_LOG_NODES, &Node::all_prev, &Node::all_next},
      faults);
  for (int type = 0; type < CAPI_CALL_LOG_TYPES; ++type) {
    check_list(*image,
               {"calls of type " + std::to_string(type), image->header.entry[type].list,
                CAPI_CALL_LOG_ENTRIES_PER_TYPE, &Node::prev, &Node::next},
               faults);
  }
  return faults;
}

}  // namespace capictl
