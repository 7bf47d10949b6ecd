// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The stage of the demo: runs the adapter's processes, and tells what they do.
#pragma once

#include <capi.h>
#include <sys/types.h>

#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>

namespace demo {

class Stage {
 public:
  Stage() = default;
  ~Stage();
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;

  // Starts the master process, which runs "body" behind its capi_init() and then stays.
  void start_master(const std::function<void()>& body);

  // Runs a client process to its end: it attaches, runs "body" and detaches.
  void run_process(std::string_view name, const std::function<void()>& body,
                   const capi_callbacks& callbacks = {});

  // Runs two client processes side by side, to their ends.
  void run_together(std::string_view first_name, const std::function<void()>& first,
                    std::string_view second_name, const std::function<void()>& second);

  bool all_was_well() const { return !failed_; }

 private:
  struct Process {
    pid_t pid;
    int report;  // where it tells how "body" went
  };

  // Forks a process that runs "body" and then "stay".
  static Process start(std::string_view name, bool is_master, const capi_callbacks& callbacks,
                       const std::function<void()>& body, const std::function<void()>& stay);

  // Waits until "body" has run or the process has died; then, until it has ended.
  void await_body(const Process& process);
  void await_end(const Process& process);

  pid_t master_ = -1;
  bool failed_ = false;
};

// What a process, or the narrator between them, prints.
void title(std::string_view text);
void say(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Shows a fact that has to hold: the demo fails when one does not.
void expect(bool holds, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Shows a value beside its name.
void show(std::string_view name, std::string_view value);

// Shows a text file in a frame: all of it, or only these sections of a file that has some.
void show_file(const std::string& path, std::initializer_list<std::string_view> sections = {});

// Shows the signals that were posted since the last time, repeated ones once, and returns them, one
// a line.
std::string show_posted_signals();

// A value of the configuration by name, "" when there is none.
std::string config_value(const char* section, const char* key);

// The content of a file, "" when it cannot be read.
std::string file_content(const std::string& path);

}  // namespace demo
