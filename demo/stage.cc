// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "stage.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace demo {
namespace {

constexpr char kSignalRecord[] = "/tmp/posted_signals";
constexpr char kOk = '+';
constexpr char kBad = '-';

bool process_failed = false;

bool in_colour() {
  static const bool kInColour = isatty(STDOUT_FILENO) != 0 && getenv("NO_COLOR") == nullptr;
  return kInColour;
}

std::string paint(const char* code, std::string_view text) {
  if (!in_colour()) return std::string(text);
  return std::string("\033[") + code + "m" + std::string(text) + "\033[0m";
}

std::string bold(std::string_view text) { return paint("1", text); }
std::string dim(std::string_view text) { return paint("2", text); }
std::string green(std::string_view text) { return paint("32", text); }
std::string red(std::string_view text) { return paint("1;31", text); }

std::string format_text(const char* format, va_list args) {
  char text[1024];
  vsnprintf(text, sizeof text, format, args);
  return text;
}

// The library's errors belong to the story; its progress and traces do not.
void show_log(int level, const char* text) {
  if (level <= 5) printf("    %s\n", dim(std::string("log ") + text).c_str());
}

// Of a text with "[section]" lines the ones that are wanted; all of it when none is named.
std::string select_sections(const std::string& text,
                            std::initializer_list<std::string_view> sections) {
  if (sections.size() == 0) return text;
  std::istringstream in(text);
  std::string selected;
  bool wanted = false;
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with('[')) {
      const std::string name = line.substr(1, line.find(']') - 1);
      wanted = std::find(sections.begin(), sections.end(), name) != sections.end();
    }
    if (wanted && !line.empty()) selected += line + "\n";
  }
  return selected;
}

}  // namespace

Stage::~Stage() {
  if (master_ <= 0) return;
  kill(master_, SIGTERM);
  waitpid(master_, nullptr, 0);
}

void Stage::start_master(const std::function<void()>& body) {
  const Process process = start("master", true, {}, body, [] { pause(); });
  master_ = process.pid;
  await_body(process);
}

void Stage::run_process(std::string_view name, const std::function<void()>& body,
                        const capi_callbacks& callbacks) {
  const Process process = start(name, false, callbacks, body, [] { capi_uninit(); });
  await_end(process);
}

void Stage::run_together(std::string_view first_name, const std::function<void()>& first,
                         std::string_view second_name, const std::function<void()>& second) {
  const auto stay = [] { capi_uninit(); };
  const Process processes[] = {start(first_name, false, {}, first, stay),
                               start(second_name, false, {}, second, stay)};
  for (const Process& process : processes) await_end(process);
}

Stage::Process Stage::start(std::string_view name, bool is_master, const capi_callbacks& callbacks,
                            const std::function<void()>& body, const std::function<void()>& stay) {
  int report[2];
  if (pipe(report) != 0) abort();
  fflush(stdout);
  const pid_t process = fork();
  if (process == 0) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    close(report[0]);
    printf("\n  %s %s\n", bold("[" + std::string(name) + "]").c_str(),
           dim("process " + std::to_string(getpid())).c_str());
    capi_init(&callbacks, is_master ? 1 : 0, show_log);
    body();
    fflush(stdout);
    if (write(report[1], process_failed ? &kBad : &kOk, 1) != 1) _exit(1);
    stay();
    _exit(0);
  }
  close(report[1]);
  return {process, report[0]};
}

void Stage::await_body(const Process& process) {
  char outcome = kBad;
  if (read(process.report, &outcome, 1) != 1 || outcome != kOk) failed_ = true;
  close(process.report);
}

void Stage::await_end(const Process& process) {
  await_body(process);
  int status = -1;
  waitpid(process.pid, &status, 0);
  if (status != 0) failed_ = true;
}

void title(std::string_view text) {
  printf("\n%s\n", bold(text).c_str());
  printf("%s\n", dim(std::string(text.size(), '=')).c_str());
}

void say(const char* format, ...) {
  va_list args;
  va_start(args, format);
  printf("    %s\n", format_text(format, args).c_str());
  va_end(args);
}

void expect(bool holds, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const std::string text = format_text(format, args);
  va_end(args);
  printf("    %s %s\n", holds ? green("ok").c_str() : red("WRONG:").c_str(), text.c_str());
  if (!holds) process_failed = true;
}

void show(std::string_view name, std::string_view value) {
  printf("    %-28.*s %.*s\n", static_cast<int>(name.size()), name.data(),
         static_cast<int>(value.size()), value.data());
}

void show_file(const std::string& path, std::initializer_list<std::string_view> sections) {
  printf("    %s\n", dim("+-- " + path + (sections.size() != 0 ? " (in part)" : "")).c_str());
  std::istringstream in(select_sections(file_content(path), sections));
  for (std::string line; std::getline(in, line);) {
    printf("    %s %s\n", dim("|").c_str(), line.c_str());
  }
}

std::string show_posted_signals() {
  std::string posted = file_content(kSignalRecord);
  unlink(kSignalRecord);
  std::istringstream in(posted);
  std::string line;
  bool more = static_cast<bool>(std::getline(in, line));
  while (more) {
    const std::string signal = line;
    int times = 1;
    while ((more = static_cast<bool>(std::getline(in, line))) && line == signal) ++times;
    const std::string repeated = times > 1 ? " (" + std::to_string(times) + " times)" : "";
    printf("    %s vsdk_cmd %s%s\n", dim("posted").c_str(), signal.c_str(), dim(repeated).c_str());
  }
  return posted;
}

std::string config_value(const char* section, const char* key) {
  char value[1024] = {};
  return capi_config_get(section, key, value, sizeof value) == 0 ? value : "";
}

std::string file_content(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream content;
  content << in.rdbuf();
  return content.str();
}

}  // namespace demo
