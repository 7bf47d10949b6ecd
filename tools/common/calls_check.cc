// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "calls_check.h"

#include <capi.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace tools {
namespace {

using Node = capi_call_log_record;

// A list of nodes and where its links are.
struct List {
  std::string name;
  capi_call_log_list ends;
  uint16_t most;
  uint16_t Node::*prev;
  uint16_t Node::*next;

  List reversed() const { return {name, {ends.count, ends.tail, ends.head}, most, next, prev}; }
};

// Follows the links of a list. Adds what is wrong first.
void walk(const capi_call_log_image& image, const List& list, const char* way, Faults& faults) {
  const auto find = [&](const std::string& text, Outcome outcome) {
    faults.push_back({list.name + ", " + way + ": " + text, outcome});
  };
  uint16_t node = list.ends.head;
  for (unsigned step = 1; step <= list.ends.count; ++step) {
    if (node >= CAPI_CALL_LOG_NODES) {
      return find("step " + std::to_string(step) + " leads to node " + std::to_string(node) +
                      ", which does not exist",
                  Outcome::Replaced);
    }
    const uint16_t next = image.node[node].*list.next;
    const bool is_last = step == list.ends.count;
    const std::string at = " at node " + std::to_string(node);
    if (node == list.ends.tail) {
      if (!is_last) find("meets its end too early," + at, Outcome::Replaced);
      if (is_last && next != CAPI_CALL_LOG_NO_NODE) {
        find("goes on behind its end," + at, Outcome::Replaced);
      }
      return;
    }
    if (is_last) find("does not come to its end, but" + at, Outcome::Ignored);
    node = next;
  }
}

void check_list(const capi_call_log_image& image, const List& list, Faults& faults) {
  if (list.ends.count > list.most) {
    faults.push_back({list.name + ": counts " + std::to_string(list.ends.count) + ", more than " +
                          std::to_string(list.most),
                      Outcome::Replaced});
    return;
  }
  walk(image, list, "forwards", faults);
  walk(image, list.reversed(), "backwards", faults);
}

void check_sum(const std::string& what, unsigned sum, unsigned expected, Faults& faults) {
  if (sum == expected) return;
  faults.push_back(
      {what + " make " + std::to_string(sum) + " instead of " + std::to_string(expected),
       Outcome::Ignored});
}

void check_lists(const capi_call_log_image& image, Faults& faults) {
  const capi_call_log_header& header = image.header;
  check_list(image, {"free nodes", header.free, CAPI_CALL_LOG_NODES, &Node::prev, &Node::next},
             faults);
  check_list(image,
             {"all calls", header.used, CAPI_CALL_LOG_NODES, &Node::all_prev, &Node::all_next},
             faults);
  unsigned calls = 0;
  for (int type = 0; type < CAPI_CALL_LOG_TYPES; ++type) {
    const capi_call_log_list& list = header.entry[type].list;
    calls += list.count;
    check_list(image,
               {"calls of type " + std::to_string(type), list, CAPI_CALL_LOG_ENTRIES_PER_TYPE,
                &Node::prev, &Node::next},
               faults);
  }
  check_sum("the calls of the types", calls, header.used.count, faults);
  check_sum("calls and free nodes", header.used.count + header.free.count, CAPI_CALL_LOG_NODES,
            faults);
}

bool has_marks(const capi_call_log_header& header) {
  return header.max_entry_num_per_type == CAPI_CALL_LOG_ENTRIES_PER_TYPE &&
         header.max_num_of_record_type == CAPI_CALL_LOG_TYPES &&
         header.log_ver == CAPI_CALL_LOG_VERSION;
}

}  // namespace

Faults check_call_log(const std::string& content) {
  const auto image = std::make_unique<capi_call_log_image>();
  Faults faults;
  if (content.size() != sizeof *image) {
    const bool is_cut = content.size() < sizeof *image;
    faults.push_back({"it has " + std::to_string(content.size()) + " bytes instead of " +
                          std::to_string(sizeof *image),
                      is_cut ? Outcome::Replaced : Outcome::AtStart});
    if (is_cut) return faults;
  }
  memcpy(image.get(), content.data(), sizeof *image);
  if (!has_marks(image->header)) {
    faults.push_back({"it does not begin as a call log of this version", Outcome::AtStart});
  }
  check_lists(*image, faults);
  return faults;
}

}  // namespace tools
