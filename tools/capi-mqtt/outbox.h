// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What is still to be published. There is no queue: of each topic is known that it changed, and its
// content is read when it is sent.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

namespace tools::mqtt {

constexpr int64_t kPauseMs = 1000;  // between two messages of one topic
constexpr size_t kMostInFlight = 20;

class Outbox {
 public:
  explicit Outbox(size_t topics) : topics_(topics) {}

  void mark(size_t topic) { topics_[topic].is_dirty = true; }
  void mark_all();

  // A topic that is to be sent at this time, in milliseconds; it is not dirty any more. None where
  // all have been or have to wait, or too much is on its way.
  std::optional<size_t> take(int64_t now);

  // It cannot be told now, but after this time; nobody waits for it.
  void put_off(size_t topic, int64_t until);

  // Whether anything waits to be sent, but what was put off.
  bool is_dirty() const;

  // How long until take() may have one; -1 where only news or an acknowledgement can change that.
  int64_t wait(int64_t now) const;

  // What the broker has not acknowledged yet, all topics and other messages alike.
  bool has_room() const { return in_flight_.size() < kMostInFlight; }
  static constexpr size_t kNoTopic = SIZE_MAX;
  void sent(int message, size_t topic = kNoTopic) { in_flight_[message] = topic; }
  void acknowledged(int message) { in_flight_.erase(message); }

  // The broker did not take it: if it is of a topic, that is told again after this time.
  void refused(int message, int64_t until);
  size_t in_flight() const { return in_flight_.size(); }

  // The connection is gone: nothing is on its way, and everything is to be said again.
  void restart();

 private:
  struct Topic {
    bool is_dirty = true;
    bool is_put_off = false;
    int64_t next = 0;  // not before this time
  };
  std::vector<Topic> topics_;
  std::map<int, size_t> in_flight_;  // message to topic
};

}  // namespace tools::mqtt
