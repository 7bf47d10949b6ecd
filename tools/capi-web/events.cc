// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "events.h"

#include <algorithm>

#include "decode.h"

namespace tools::web {
namespace {

// In the order of their bits.
constexpr const char* kTopics[] = {"config",   "device",  "lines", "calls",
                                   "messages", "adapter", "changes"};

std::string names_of(unsigned topics) {
  std::string names;
  for (size_t i = 0; i < std::size(kTopics); ++i) {
    if ((topics >> i & 1U) == 0) continue;
    names += names.empty() ? "\"" : ",\"";
    names += kTopics[i];
    names += '"';
  }
  return names;
}

}  // namespace

Events::Events() : start_(new_secret(4)) {}

Stream* Events::open(const std::string& session, std::string_view last_event_id) {
  const auto of_session = std::ranges::count(streams_, session, &Stream::session);
  if (streams_.size() >= kMax || static_cast<size_t>(of_session) >= kMaxOfSession) return nullptr;
  Stream& stream = streams_.emplace_back(session);
  if (last_event_id != id()) stream.add(kTopicAll);
  return &stream;
}

void Events::close(const Stream* stream) {
  std::erase_if(streams_, [&](const Stream& one) { return &one == stream; });
}

void Events::tell(unsigned topics) {
  ++generation_;
  for (Stream& stream : streams_) stream.add(topics);
  on_news();
}

std::string Events::event(Stream& stream) const {
  return "id: " + id() + "\nevent: change\ndata: {\"topics\":[" + names_of(stream.take()) +
         "],\"generation\":" + std::to_string(generation_) + "}\n\n";
}

std::string Events::id() const { return start_ + "-" + std::to_string(generation_); }

}  // namespace tools::web
