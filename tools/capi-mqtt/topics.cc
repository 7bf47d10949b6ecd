// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "topics.h"

#include <capi.h>
#include <text.h>

#include <algorithm>
#include <bit>

namespace tools::mqtt {
namespace {

constexpr unsigned kConfig = CAPI_TOPIC_CONFIG;
constexpr unsigned kDevice = CAPI_TOPIC_DEVICE;
constexpr unsigned kLines = CAPI_TOPIC_LINES;
constexpr unsigned kStores = CAPI_TOPIC_CALLS | CAPI_TOPIC_MESSAGES;

// A change that waits has files of its own, which are watched apart from the adapter.
const StateTopic kTopics[] = {
    {"about", Kind::About, 0},
    {"device", Kind::Device, kDevice},
    {"sim", Kind::Sim, kDevice},
    {"line/1", Kind::Line, kConfig | kLines, 1},
    {"line/2", Kind::Line, kConfig | kLines, 2},
    {"stores", Kind::Stores, kStores},
    {"alerts", Kind::Alerts, CAPI_TOPIC_ALL},
    {"change", Kind::Change, 0},
};

constexpr std::string_view kAnyTree = "capi/1/";

// The code points of a text in UTF-8.
std::vector<char32_t> characters_of(std::string_view text) {
  std::vector<char32_t> characters;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const int ones = std::countl_one(byte);
    if (ones == 1) {
      characters.back() = characters.back() << 6U | (byte & 0x3FU);
    } else {
      characters.push_back(byte & (0x7FU >> static_cast<unsigned>(ones)));
    }
  }
  return characters;
}

// What a text of MQTT is not to have, and a broker may end the connection for: controls and what
// Unicode has no characters for.
bool is_forbidden(char32_t character) {
  return character < 0x20 || (character >= 0x7F && character < 0xA0) ||
         (character >= 0xFDD0 && character < 0xFDF0) || (character & 0xFFFEU) == 0xFFFE;
}

bool is_plain(std::string_view topic) {
  return is_utf8(topic) && topic.find_first_of("+#") == std::string_view::npos &&
         std::ranges::none_of(characters_of(topic), is_forbidden);
}

}  // namespace

std::vector<StateTopic> state_topics(const std::vector<std::string>& sections) {
  std::vector<StateTopic> topics(std::begin(kTopics), std::end(kTopics));
  topics.reserve(topics.size() + sections.size());
  // What is read back from the device's own files is the device's.
  for (const std::string& section : sections) {
    topics.push_back({"config/" + section, Kind::Section, kConfig | kDevice, 0, section});
  }
  return topics;
}

bool is_adapter_id(std::string_view id) {
  return !id.empty() && id.size() <= kMaxId && is_plain(id) && id[0] != '$' &&
         id.find_first_of("/ ") == std::string_view::npos;
}

bool may_be_answered_to(std::string_view topic) {
  constexpr std::string_view kDone = "done";
  if (topic.size() > 256 || !topic.starts_with(kAnyTree) || !is_plain(topic)) return false;
  topic.remove_prefix(kAnyTree.size());
  const size_t slash = topic.find('/');
  if (slash == 0 || slash == std::string_view::npos) return false;
  topic.remove_prefix(slash + 1);
  return topic == kDone || (topic.starts_with(kDone) && topic[kDone.size()] == '/');
}

std::string Tree::command_of(std::string_view topic) const {
  const std::string prefix = root_ + "do/";
  return topic.starts_with(prefix) ? std::string(topic.substr(prefix.size())) : "";
}

}  // namespace tools::mqtt
