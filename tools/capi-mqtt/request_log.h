// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The last requests and their answers, in a file: so that each is carried out at most once, and
// answered.
#pragma once

#include <files.h>

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace tools::mqtt {

// Where an answer goes.
struct Origin {
  std::string topic;
  std::string correlation;
};

class RequestLog {
 public:
  static constexpr size_t kKept = 256;

  // Reads what a former process has left, whatever became of that. Throws a Failure where the file
  // cannot be used; but where it is missing and there is no room for one, start() will.
  explicit RequestLog(std::string path);

  enum class State : uint8_t { Unknown, Started, Answered };
  State state_of(std::string_view id) const;

  // Before anything is done about it; on the medium when this returns. Throws a Failure.
  void start(const std::string& id, const std::string& command, const Origin& origin);

  // The answer, which is JSON without line ends. While there is no room for it, it is kept in
  // memory; nothing is started before it has been written.
  void finish(const std::string& id, const std::string& answer);

  // What was started did nothing, and may be again.
  void forget(const std::string& id);

  // Whether there are answers in memory, and an attempt to write them. Throws a Failure.
  bool has_unwritten() const;
  void write_unwritten();

  // The broker has it. Forgotten by a crash or a full disk, which costs a second message.
  void told(const std::string& id);

  struct Entry {
    std::string id;
    std::string command;
    Origin origin;
    State state = State::Unknown;
    bool is_told = false;
    int64_t answer_at = 0;  // where it stands in the file
    size_t answer_size = 0;
    std::string unwritten = {};  // the answer until it stands there
  };

  // What is known, the oldest first.
  const std::deque<Entry>& entries() const { return entries_; }

  // One that was started by a process that did not finish it; null for none.
  const Entry* unfinished() const;

  const Entry* find(std::string_view id) const;
  std::string answer_of(const Entry& entry) const;

 private:
  Entry* find_entry(std::string_view id);
  void erase(std::string_view id);
  void begin_anew();
  void read();
  int64_t read_lines(const std::string& content);
  bool read_line(std::string_view line, int64_t at);
  void open_file();
  void append(const std::string& line, bool is_synced);
  void write_answer(Entry& entry);
  void write_told(const Entry& entry);
  void forget_oldest();
  void shorten();
  static std::string line_of_start(const Entry& entry);

  std::string path_;
  std::unique_ptr<files::Descriptor> file_;
  int64_t size_ = 0;
  int64_t limit_ = 0;
  std::deque<Entry> entries_;
};

}  // namespace tools::mqtt
