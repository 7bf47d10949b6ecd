// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What pages are told of changes. Nothing is queued for one that does not read: it is told of all
// that has changed when it does.
#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <string>
#include <string_view>
#include <utility>

namespace tools::web {

// Besides those of capi/watch.h.
inline constexpr unsigned kTopicAdapter = 32;  // one is up, or none any more
inline constexpr unsigned kTopicChange = 64;   // a change that waits for its confirmation
inline constexpr unsigned kTopicAll = 127;

class Stream {
 public:
  explicit Stream(std::string session) : session_(std::move(session)) {}

  const std::string& session() const { return session_; }
  bool has_news() const { return topics_ != 0; }
  void add(unsigned topics) { topics_ |= topics; }
  unsigned take() { return std::exchange(topics_, 0); }

 private:
  std::string session_;  // of whom it is
  unsigned topics_ = 0;
};

class Events {
 public:
  static constexpr size_t kMaxOfSession = 24;
  static constexpr size_t kMax = 40;  // less than there may be connections

  Events();

  // A stream for this session, or null where it has too many. Who has seen the last event is told
  // of nothing, everybody else of everything. It is the caller's to close.
  Stream* open(const std::string& session, std::string_view last_event_id);
  void close(const Stream* stream);

  // Tells all streams.
  void tell(unsigned topics);

  // The event for what a stream has not been told of.
  std::string event(Stream& stream) const;

  // What "id" the last one had.
  std::string id() const;

  const std::list<Stream>& streams() const { return streams_; }

  // Called when there is something to be sent.
  std::function<void()> on_news = [] {};

 private:
  std::string start_;        // of the process: generations of another one mean nothing
  uint64_t generation_ = 0;  // of all that was told
  std::list<Stream> streams_;
};

}  // namespace tools::web
