// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The topics of an adapter: docs/fleet-topics.md.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tools::mqtt {

enum class Kind { About, Device, Sim, Line, Stores, Alerts, Change, Section };

// A topic whose document is retained.
struct StateTopic {
  std::string name;  // below the adapter's tree: "config/sip_line_1"
  Kind kind;
  unsigned causes;           // of enum capi_topic: what may change it
  int line = 0;              // of Kind::Line, from 1
  std::string section = {};  // of Kind::Section
};

// All of them, those of the sections in this order.
std::vector<StateTopic> state_topics(const std::vector<std::string>& sections);

// Whether this may be the name of an adapter: one level of a topic, and a client id that every
// broker takes.
constexpr size_t kMaxId = 64;
bool is_adapter_id(std::string_view id);

// Whether an answer may go there, and not to what others take for the state of an adapter or for a
// command: "capi/1/ANY/done", or a topic below that.
bool may_be_answered_to(std::string_view topic);

// The tree of one adapter.
class Tree {
 public:
  explicit Tree(const std::string& adapter) : root_("capi/1/" + adapter + "/") {}

  std::string topic(std::string_view name) const { return root_ + std::string(name); }
  std::string commands() const { return root_ + "do/#"; }

  // The command of "do/COMMAND"; empty for another topic.
  std::string command_of(std::string_view topic) const;

 private:
  std::string root_;
};

}  // namespace tools::mqtt
