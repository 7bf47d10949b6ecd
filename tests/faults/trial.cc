// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "trial.h"

#include <cjson/cJSON.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <regex>
#include <sstream>

#include "support/adapter.h"

namespace capi::test {
namespace {

using Files = std::map<std::string, std::string>;

constexpr unsigned kTimeLimit = 10;  // seconds; a process that waits for itself is no use
constexpr char kPrinted[] = "/tmp/trial.printed";
constexpr char kReport[] = "/tmp/trial.report";

Files read_files(const Operation& operation) {
  Files files;
  for (const std::string& path : operation.files) {
    if (!std::filesystem::is_regular_file(path)) continue;
    files[path] = operation.comparable(read_file(path));
  }
  return files;
}

std::optional<std::string> content(const Files& files, const std::string& path) {
  const auto file = files.find(path);
  return file != files.end() ? std::optional(file->second) : std::nullopt;
}

// A file in a word, given what it was before and what it becomes when nothing fails.
std::string state_of(const std::optional<std::string>& now,
                     const std::optional<std::string>& before,
                     const std::optional<std::string>& done, const std::string& fresh) {
  if (!now) return "absent";
  if (now == before) return "untouched";
  if (now == done) return "done";
  if (now->empty()) return "empty";
  if (now == fresh) return "fresh";
  if ((done && done->starts_with(*now)) || fresh.starts_with(*now)) return "cut";
  return "incomplete";
}

// The standard output of this process, from now on in a file.
class Printed {
 public:
  Printed() {
    fflush(stdout);
    const int fd = open(kPrinted, O_RDWR | O_CREAT | O_TRUNC, 0600);
    dup2(fd, STDOUT_FILENO);
    close(fd);
  }

  static std::vector<std::string> lines() {
    fflush(stdout);
    return read_lines(kPrinted);
  }
};

// Without what is different every time: the time in the name of a file that is set aside, the
// number of a socket and its port.
std::string lasting_part(const std::string& text) {
  static const std::regex kChanging("\\.[0-9]{14}|handle=0x[0-9a-f]+|client=127.0.0.1:[0-9]+");
  return std::regex_replace(text, kChanging, "<changing>");
}

std::string describe(const LogLine& line) {
  return std::to_string(line.level) + " " + line.func + " \"" + lasting_part(line.text) + "\"";
}

bool tells_of_lock(const LogLine& line) {
  return line.func == "capi_critical_section_lock" || line.func == "capi_critical_section_unlock";
}

// All that is logged and printed, repetitions counted. What the locks tell is the same everywhere:
// where it is expected it is left out.
std::string told_log(bool without_locks) {
  std::vector<std::string> told;
  for (const LogLine& line : captured_log(kLogInfo)) {
    if (!without_locks || !tells_of_lock(line)) told.push_back(describe(line));
  }
  for (const std::string& line : Printed::lines())
    told.push_back("> \"" + lasting_part(line) + "\"");
  constexpr size_t kMostLines = 12;
  if (told.size() > kMostLines && told.front() != told.back()) {
    return "\n    " + told.front() + "\n    and so on, " + std::to_string(told.size()) + " lines";
  }
  std::string text;
  for (size_t i = 0, next = 0; i < told.size(); i = next) {
    next = i;
    while (next < told.size() && told[next] == told[i]) ++next;
    text += "\n    " + told[i];
    if (next - i > 1) text += " x " + std::to_string(next - i);
  }
  return text;
}

class Trial {
 public:
  Trial(const Operation& operation, const Fault* fault, const Files* done)
      : operation_(operation), fault_(fault), done_(done) {}

  // The body of the process.
  void run(const std::function<void()>& make_adapter) {
    alarm(kTimeLimit);
    const Printed printed;
    cJSON_Hooks hooks{malloc, free};
    cJSON_InitHooks(&hooks);
    skip_commands(" signal ");
    stop_coarse_clock();
    make_adapter();
    const int blocks = live_blocks();
    operation_.prepare();
    clear_log();
    const Files before = read_files(operation_);
    const size_t descriptors = open_descriptors();

    clear_faults();
    if (fault_ != nullptr) inject(*fault_);
    const int result = operation_.run();
    const bool was_reached = !fault_is_pending();
    for (int i = 0; i < static_cast<int>(Call::Count); ++i) {
      outcome_.calls[static_cast<Call>(i)] = count_calls(static_cast<Call>(i));
    }
    clear_faults();

    if (!was_reached) blame("the call that should fail was never made");
    if (open_descriptors() != descriptors) blame("a descriptor is left open");
    outcome_.files = read_files(operation_);
    tell(result, before);
    finish(blocks);
    report();
  }

 private:
  void blame(const std::string& mistake) { outcome_.mistakes += mistake + "\n"; }

  void tell(int result, const Files& before) {
    std::ostringstream told;
    told << result;
    for (const std::string& path : operation_.files) {
      const auto now = content(outcome_.files, path);
      const auto done = content(done_ != nullptr ? *done_ : outcome_.files, path);
      told << ", " << path << " " << state_of(now, content(before, path), done, operation_.fresh);
    }
    told << told_log(!operation_.is_of_locks && fault_ != nullptr && is_lock_call(fault_->call));
    outcome_.told = told.str();
  }

  // What is left when the operation is used further, and the process ends.
  void finish(int blocks) {
    if (!operation_.recover()) blame("what is left behind cannot be used");
    for (unsigned id = 0; id < CAPI_LOCK_COUNT; ++id) {
      if (lock_value(id) == 0) blame("lock " + std::to_string(id) + " is left held");
    }
    capi_uninit();
    const int kept = live_blocks() - blocks;
    if (kept != 0 && kept != operation_.keeps) {
      blame(std::to_string(kept) + " blocks of memory are left");
    }
  }

  // Hands the outcome to the parent.
  void report() const {
    std::ofstream out(kReport, std::ios::binary);
    const auto put = [&](const std::string& text) { out << text.size() << "\n" << text; };
    put(outcome_.told);
    put(outcome_.mistakes);
    for (const auto& [call, count] : outcome_.calls) out << count << "\n";
    out << outcome_.files.size() << "\n";
    for (const auto& [path, text] : outcome_.files) put(path), put(text);
  }

  const Operation& operation_;
  const Fault* fault_;
  const Files* done_;
  Outcome outcome_;
};

Outcome read_report() {
  Outcome outcome;
  std::ifstream in(kReport, std::ios::binary);
  const auto get_number = [&] {
    size_t number = 0;
    in >> number;
    in.get();
    return number;
  };
  const auto get = [&] {
    std::string text(get_number(), '\0');
    in.read(text.data(), static_cast<std::streamsize>(text.size()));
    return text;
  };
  outcome.told = get();
  outcome.mistakes = get();
  for (int i = 0; i < static_cast<int>(Call::Count); ++i) {
    outcome.calls[static_cast<Call>(i)] = static_cast<int>(get_number());
  }
  for (size_t files = get_number(); files > 0; --files) {
    const std::string path = get();
    outcome.files[path] = get();
  }
  return outcome;
}

Outcome run(const Operation& operation, const std::function<void()>& make_adapter,
            const Fault* fault, const Files* done) {
  std::filesystem::remove(kReport);
  Process process([&] { Trial(operation, fault, done).run(make_adapter); });
  const bool lived = process.succeeded() && exists(kReport);
  Outcome outcome = lived ? read_report() : Outcome{};
  if (!lived) outcome.mistakes = "the process died or a check in it failed\n" + read_file(kPrinted);
  return outcome;
}

}  // namespace

bool is_lock_call(Call call) {
  return call == Call::Ftok || call == Call::Semget || call == Call::Semop || call == Call::Semctl;
}

Outcome run_without_fault(const Operation& operation, const std::function<void()>& make_adapter) {
  return run(operation, make_adapter, nullptr, nullptr);
}

Outcome run_with_fault(const Operation& operation, const std::function<void()>& make_adapter,
                       const Fault& fault, const Outcome& good) {
  return run(operation, make_adapter, &fault, &good.files);
}

}  // namespace capi::test
