// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "request_log.h"

#include <adapter.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "log.h"
#include "text.h"

namespace tools::mqtt {
namespace {

constexpr char kTitle[] = "capi-mqtt-requests 1\n";

// What is forgotten stays in the file until that has this size, or twice that of what is not.
constexpr int64_t kLeastLimit = 262144;

std::string hex_of(std::string_view text) {
  constexpr char kDigits[] = "0123456789abcdef";
  if (text.empty()) return "-";
  std::string hex;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    hex += kDigits[byte / 16];
    hex += kDigits[byte % 16];
  }
  return hex;
}

int digit_of(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

bool read_hex(std::string_view hex, std::string& text) {
  text.clear();
  if (hex == "-") return true;
  if (hex.size() % 2 != 0) return false;
  for (size_t i = 0; i < hex.size(); i += 2) {
    const int high = digit_of(hex[i]);
    const int low = digit_of(hex[i + 1]);
    if (high < 0 || low < 0) return false;
    text += static_cast<char>(high * 16 + low);
  }
  return true;
}

// The part in front of a blank, which goes; the rest stays in the line.
std::string_view take_word(std::string_view& line) {
  const size_t blank = std::min(line.find(' '), line.size());
  const std::string_view word = line.substr(0, blank);
  line.remove_prefix(std::min(blank + 1, line.size()));
  return word;
}

}  // namespace

RequestLog::RequestLog(std::string path) : path_(std::move(path)) {
  const bool is_there = access(path_.c_str(), F_OK) == 0;
  const int error = is_there ? 0 : files::replace(path_, kTitle, 0600);
  const std::string trouble = path_ + " cannot be written: " + strerror(error);
  if (error == ENOSPC || error == EDQUOT) {
    log(trouble);
  } else if (error != 0) {
    throw Failure(trouble);
  } else {
    read();
  }
}

void RequestLog::begin_anew() {
  replace_file(path_, kTitle, 0600);
  open_file();
  size_ = sizeof kTitle - 1;
  limit_ = kLeastLimit;
}

void RequestLog::open_file() {
  file_ = std::make_unique<files::Descriptor>(
      open(path_.c_str(), O_RDWR | O_APPEND | O_CLOEXEC | O_NOFOLLOW));
  if (!file_->is_open()) throw Failure(path_ + " cannot be opened: " + strerror(errno));
}

// What a power cut has left of the last line goes, or the next one would be a part of it.
void RequestLog::read() {
  std::string content;
  if (!read_file(path_, content)) {
    if (errno != EFBIG) throw Failure(path_ + " cannot be read: " + strerror(errno));
    content.clear();
  }
  // Of what is none of ours nobody knows what was carried out, as after the loss of the file.
  if (!content.starts_with(kTitle)) return begin_anew();
  open_file();
  size_ = read_lines(content);
  limit_ = kLeastLimit;
  if (ftruncate(file_->get(), size_) != 0) {
    throw Failure(path_ + " cannot be written: " + strerror(errno));
  }
}

int64_t RequestLog::read_lines(const std::string& content) {
  size_t at = sizeof kTitle - 1;
  for (size_t end = 0; (end = content.find('\n', at)) != std::string::npos; at = end + 1) {
    const std::string_view line = std::string_view(content).substr(at, end - at);
    if (!read_line(line, static_cast<int64_t>(at))) break;
  }
  return static_cast<int64_t>(at);
}

bool RequestLog::read_line(std::string_view line, int64_t at) {
  const char* begin = line.data();
  const std::string_view what = take_word(line);
  const std::string id(take_word(line));
  if (what == "start") {
    Entry entry{id, std::string(take_word(line)), {}, State::Started};
    const std::string_view topic = take_word(line);
    if (!read_hex(topic, entry.origin.topic) || !read_hex(line, entry.origin.correlation)) {
      return false;
    }
    erase(id);  // forgotten where there was no room to say so
    entries_.push_back(std::move(entry));
    forget_oldest();
    return true;
  }
  if (what == "forget") {
    erase(id);
    return true;
  }
  Entry* entry = find_entry(id);
  if (what == "told" || what == "answer") {
    if (entry == nullptr) return true;  // forgotten
    entry->state = State::Answered;
    if (what == "told") {
      entry->is_told = true;
    } else {
      entry->answer_at = at + (line.data() - begin);
      entry->answer_size = line.size();
    }
    return true;
  }
  return false;
}

RequestLog::Entry* RequestLog::find_entry(std::string_view id) {
  const auto found = std::ranges::find(entries_, id, &Entry::id);
  return found != entries_.end() ? &*found : nullptr;
}

const RequestLog::Entry* RequestLog::find(std::string_view id) const {
  return const_cast<RequestLog*>(this)->find_entry(id);
}

RequestLog::State RequestLog::state_of(std::string_view id) const {
  const Entry* entry = find(id);
  return entry != nullptr ? entry->state : State::Unknown;
}

void RequestLog::erase(std::string_view id) {
  std::erase_if(entries_, [id](const Entry& entry) { return entry.id == id; });
}

void RequestLog::forget_oldest() {
  if (entries_.size() > kKept) entries_.pop_front();
}

std::string RequestLog::line_of_start(const Entry& entry) {
  return "start " + entry.id + " " + entry.command + " " + hex_of(entry.origin.topic) + " " +
         hex_of(entry.origin.correlation) + "\n";
}

// What could be written in part only is taken back: the file ends with a whole line always.
void RequestLog::append(const std::string& line, bool is_synced) {
  int error = 0;
  const ssize_t written = write(file_->get(), line.data(), line.size());
  if (written != static_cast<ssize_t>(line.size())) error = written == -1 ? errno : ENOSPC;
  if (error == 0 && is_synced && fdatasync(file_->get()) != 0) error = errno;
  if (error == 0) {
    size_ += written;
    return;
  }
  if (ftruncate(file_->get(), size_) != 0) open_file();
  throw Failure(path_ + " cannot be written: " + strerror(error));
}

void RequestLog::start(const std::string& id, const std::string& command, const Origin& origin) {
  if (!file_) begin_anew();
  write_unwritten();
  if (size_ > limit_) shorten();
  const Entry entry{id, command, origin, State::Started};
  append(line_of_start(entry), true);
  entries_.push_back(entry);
  forget_oldest();
}

void RequestLog::finish(const std::string& id, const std::string& answer) {
  Entry* entry = find_entry(id);
  if (entry == nullptr) return;
  entry->state = State::Answered;
  entry->unwritten = answer;
  try {
    write_answer(*entry);
  } catch (const Failure& failure) {
    log(failure.what());
  }
}

void RequestLog::forget(const std::string& id) {
  erase(id);
  try {
    append("forget " + id + "\n", true);
  } catch (const Failure& failure) {
    log(failure.what());
  }
}

void RequestLog::write_answer(Entry& entry) {
  const std::string head = "answer " + entry.id + " ";
  const int64_t at = size_ + static_cast<int64_t>(head.size());
  append(head + entry.unwritten + "\n", true);
  entry.answer_at = at;
  entry.answer_size = entry.unwritten.size();
  entry.unwritten.clear();
  if (entry.is_told) write_told(entry);
}

void RequestLog::write_told(const Entry& entry) {
  try {
    append("told " + entry.id + "\n", false);
  } catch (const Failure& failure) {
    log(failure.what());
  }
}

bool RequestLog::has_unwritten() const {
  return std::ranges::any_of(entries_, [](const Entry& entry) { return !entry.unwritten.empty(); });
}

void RequestLog::write_unwritten() {
  for (Entry& entry : entries_) {
    if (!entry.unwritten.empty()) write_answer(entry);
  }
}

void RequestLog::told(const std::string& id) {
  Entry* entry = find_entry(id);
  if (entry == nullptr || entry->is_told) return;
  entry->is_told = true;
  if (entry->unwritten.empty()) write_told(*entry);
}

const RequestLog::Entry* RequestLog::unfinished() const {
  const auto found = std::ranges::find(entries_, State::Started, &Entry::state);
  return found != entries_.end() ? &*found : nullptr;
}

std::string RequestLog::answer_of(const Entry& entry) const {
  if (!entry.unwritten.empty()) return entry.unwritten;
  std::string answer(entry.answer_size, '\0');
  const ssize_t size = pread(file_->get(), answer.data(), answer.size(), entry.answer_at);
  if (size != static_cast<ssize_t>(answer.size())) {
    throw Failure(path_ + " cannot be read: " + strerror(size == -1 ? errno : ENODATA));
  }
  return answer;
}

void RequestLog::shorten() {
  std::string content = kTitle;
  std::deque<Entry> entries = entries_;
  for (Entry& entry : entries) {
    content += line_of_start(entry);
    if (entry.state != State::Answered) continue;
    const std::string answer = answer_of(entry);
    content += "answer " + entry.id + " ";
    entry.answer_at = static_cast<int64_t>(content.size());
    content += answer + "\n";
    if (entry.is_told) content += "told " + entry.id + "\n";
  }
  replace_file(path_, content, 0600);
  open_file();
  entries_ = std::move(entries);
  size_ = static_cast<int64_t>(content.size());
  limit_ = std::max(kLeastLimit, size_ * 2);
}

}  // namespace tools::mqtt
