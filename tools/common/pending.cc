// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "pending.h"

#include <sys/random.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <ctime>

#include "adapter.h"
#include "text.h"

namespace pending {
namespace {

constexpr char kChangeTitle[] = "capi-pending 1";
constexpr char kOutcomeTitle[] = "capi-outcome 1";
constexpr char kEnd[] = "end";

int64_t ms_of(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return int64_t{time.tv_sec} * 1000 + time.tv_nsec / 1000'000;
}

// Without blanks and line ends, so that words and lines are what they seem.
std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte > ' ' && byte < 0x7F && c != '%') {
      result += c;
      continue;
    }
    char code[4];
    snprintf(code, sizeof code, "%%%02X", byte);
    result += code;
  }
  return result;
}

int digit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

bool unescape(const std::string& word, std::string& result) {
  result.clear();
  for (size_t i = 0; i < word.size(); ++i) {
    if (word[i] != '%') {
      result += word[i];
      continue;
    }
    if (i + 2 >= word.size()) return false;
    const int high = digit(word[i + 1]);
    const int low = digit(word[i + 2]);
    if (high < 0 || low < 0) return false;
    result += static_cast<char>(high * 16 + low);
    i += 2;
  }
  return true;
}

// A word for each text, an empty one as "-", which no text begins with otherwise.
std::string word_of(const std::string& text) {
  if (text.empty()) return "-";
  const std::string word = escaped(text);
  return word[0] == '-' ? "%2D" + word.substr(1) : word;
}

std::string line_of(const std::vector<std::string>& texts) {
  std::string line;
  for (const std::string& text : texts) line += (line.empty() ? "" : " ") + word_of(text);
  return line + "\n";
}

bool read_line(const std::string& line, std::vector<std::string>& texts) {
  texts.clear();
  for (std::string word : tools::words_of(line)) {
    if (word == "-") word.clear();
    if (!unescape(word, texts.emplace_back())) return false;
  }
  return !texts.empty();
}

bool read_number(const std::string& text, int64_t& number) {
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  return read.ec == std::errc() && read.ptr == end;
}

// Hands the lines between title and end to "take"; false when one is not taken, or an end missing.
template <typename Take>
bool read_lines(const std::string& text, const char* title, Take take) {
  const std::vector<std::string> lines = tools::lines_of(text);
  if (lines.empty() || lines[0] != title) return false;
  std::vector<std::string> texts;
  for (size_t i = 1; i < lines.size(); ++i) {
    if (lines[i] == kEnd) return true;
    if (!read_line(lines[i], texts) || !take(texts)) return false;
  }
  return false;
}

bool take_line(const std::vector<std::string>& texts, Change& change) {
  const std::string& name = texts[0];
  if (name == "value" && texts.size() == 5) {
    change.values.push_back({{texts[1], texts[2]}, texts[3], texts[4]});
    return true;
  }
  if (texts.size() != 2) return false;
  if (name == "deadline_ms") return read_number(texts[1], change.deadline_ms);
  if (name == "deadline") return read_number(texts[1], change.deadline);
  if (name == "applied") change.is_applied = texts[1] == "1";
  if (name == "id") change.id = texts[1];
  if (name == "owner") change.owner = texts[1];
  if (name == "boot") change.boot = texts[1];
  return true;
}

bool take_line(const std::vector<std::string>& texts, Outcome& outcome) {
  const std::string& name = texts[0];
  if (name == "kept" && texts.size() == 3) {
    outcome.kept.push_back({texts[1], texts[2]});
    return true;
  }
  if (texts.size() != 2) return false;
  if (name == "at") return read_number(texts[1], outcome.at);
  if (name == "id") outcome.id = texts[1];
  if (name == "what") outcome.what = texts[1];
  if (name == "trouble") outcome.trouble = texts[1];
  return true;
}

}  // namespace

Now now() {
  Now time;
  std::string boot;
  if (tools::read_file("/proc/sys/kernel/random/boot_id", boot)) {
    time.boot = boot.substr(0, boot.find('\n'));
  }
  time.ms = ms_of(CLOCK_BOOTTIME);
  time.seconds = ms_of(CLOCK_REALTIME) / 1000;
  return time;
}

std::string new_id() {
  uint32_t number = 0;
  if (getrandom(&number, sizeof number, 0) != sizeof number) {
    number = static_cast<uint32_t>(ms_of(CLOCK_BOOTTIME));
  }
  char id[9];
  snprintf(id, sizeof id, "%08x", number);
  return id;
}

void give(Change& change, int seconds, const Now& time) {
  change.boot = time.boot;
  change.deadline_ms = time.ms + static_cast<int64_t>(seconds) * 1000;
  change.deadline = time.seconds + seconds;
}

int64_t remaining_ms(const Change& change, const Now& time) {
  return change.boot == time.boot ? std::max<int64_t>(change.deadline_ms - time.ms, 0) : 0;
}

std::vector<Key> keys(const Change& change) {
  std::vector<Key> keys;
  for (auto value = change.values.rbegin(); value != change.values.rend(); ++value) {
    if (std::ranges::find(keys, value->key) == keys.end()) keys.push_back(value->key);
  }
  return keys;
}

Verdict verdict(const Change& change, const Key& key, const std::string& present,
                std::string& value) {
  value = present;
  for (auto step = change.values.rbegin(); step != change.values.rend(); ++step) {
    if (step->key != key) continue;
    // One that was not made any more leaves what was there before it.
    const bool is_ours = value == step->after || value == step->before;
    if (!is_ours) return value == present ? Verdict::Keep : Verdict::Set;
    value = step->before;
  }
  return value == present ? Verdict::Nothing : Verdict::Set;
}

std::string text_of(const Change& change) {
  std::string text = std::string(kChangeTitle) + "\n" + line_of({"id", change.id}) +
                     line_of({"owner", change.owner}) + line_of({"boot", change.boot}) +
                     line_of({"deadline_ms", std::to_string(change.deadline_ms)}) +
                     line_of({"deadline", std::to_string(change.deadline)}) +
                     line_of({"applied", change.is_applied ? "1" : "0"});
  for (const auto& [key, before, after] : change.values) {
    text += line_of({"value", key.section, key.name, before, after});
  }
  return text + kEnd + "\n";
}

std::string text_of(const Outcome& outcome) {
  std::string text = std::string(kOutcomeTitle) + "\n" + line_of({"id", outcome.id}) +
                     line_of({"what", outcome.what}) + line_of({"at", std::to_string(outcome.at)}) +
                     line_of({"trouble", outcome.trouble});
  for (const auto& [section, name] : outcome.kept) text += line_of({"kept", section, name});
  return text + kEnd + "\n";
}

bool read(const std::string& text, Change& change) {
  change = {};
  return read_lines(text, kChangeTitle,
                    [&](const auto& texts) { return take_line(texts, change); }) &&
         !change.id.empty();
}

bool read(const std::string& text, Outcome& outcome) {
  outcome = {};
  return read_lines(text, kOutcomeTitle,
                    [&](const auto& texts) { return take_line(texts, outcome); });
}

}  // namespace pending
