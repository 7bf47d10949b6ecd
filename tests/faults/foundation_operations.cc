// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Files, commands, threads and pipes.
#include <filesystem>

#include "capi.h"
#include "capi/thread.h"
#include "operation.h"
#include "support/adapter.h"

namespace capi::test {
namespace {

constexpr char kFile[] = "/tmp/trial.file";

int fds[2] = {-1, -1};

void provide_file() { write_file(kFile, "[section]\nkey=value\n"); }

int write_bytes() { return utils_write_to_file(kFile, "bytes", 5); }

int read_bytes() {
  char bytes[64];
  return utils_read_from_file(kFile, bytes, 32);
}

int find_file() { return utils_file_exist(kFile); }

int ignore_item(const char*, const char*, const char*) { return 0; }

int read_items() { return config_file_reader(kFile, ignore_item); }

int put_line(int index, char* buf, void*) {
  return index <= 2 ? snprintf(buf, 64, "line=%d\n", index) : 0;
}

int write_lines() { return config_file_writer(kFile, put_line, nullptr); }

int read_line_of_command() {
  char line[32];
  return get_linedata_from_pipe("echo one; echo two", 2, line, sizeof line);
}

int make_directories() { return mkdir_recur("/tmp/trial.dir/below", 0755); }

// 1 once it has run.
int run_thread() {
  thrd_t thread{};
  int has_run = 0;
  const thrd_start_t body = [](void* arg) -> int { return *static_cast<int*>(arg) = 1; };
  const int created = thrd_create(&thread, 0, body, &has_run);
  if (created != thrd_success) return created;
  thrd_join(thread, nullptr);
  return has_run;
}

// 0, or -1 without a pipe.
int make_pipe() {
  int pair[2] = {-1, -1};
  const int made = pipe_init(pair);
  const bool is_pipe = pipe_get_read_fd(pair) >= 0 && pipe_get_write_fd(pair) >= 0;
  pipe_destroy(pair);
  return made == 0 && !is_pipe ? -1 : made;
}

void provide_pipe() {
  pipe_init(fds);
  pipe_write(fds, "bytes", 5);
}

int write_to_pipe() { return pipe_write(fds, "bytes", 5); }

int read_from_pipe() {
  char bytes[8];
  return pipe_read(fds, bytes, sizeof bytes);
}

bool destroys_pipe() { return pipe_destroy(fds) == 0; }

Operation on_file(const char* name, int (*run)()) {
  return {.name = name, .prepare = provide_file, .run = run, .files = {kFile}, .recover = [run] {
            return run() >= 0;
          }};
}

}  // namespace

Operations foundation_operations() {
  return {
      on_file("write bytes", write_bytes),
      on_file("read bytes", read_bytes),
      on_file("look for a file", find_file),
      on_file("read items", read_items),
      on_file("write lines", write_lines),
      on_file("read a line of a command", read_line_of_command),
      {.name = "make directories",
       .prepare = [] { std::filesystem::remove_all("/tmp/trial.dir"); },
       .run = make_directories,
       .recover = [] { return make_directories() == 0; }},
      {.name = "run a thread",
       .prepare = [] {},
       .run = run_thread,
       .recover = [] { return run_thread() == 1; }},
      {.name = "make a pipe",
       .prepare = [] {},
       .run = make_pipe,
       .recover = [] { return make_pipe() == 0; }},
      {.name = "write to a pipe",
       .prepare = provide_pipe,
       .run = write_to_pipe,
       .recover = destroys_pipe},
      {.name = "read from a pipe",
       .prepare = provide_pipe,
       .run = read_from_pipe,
       .recover = destroys_pipe},
  };
}

}  // namespace capi::test
