// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl locks.
#include <sys/stat.h>

#include <cstdio>
#include <sstream>

#include "commands.h"
#include "lines.h"

namespace capictl {

namespace {

constexpr char kStatsPath[] = "/tmp/capi_lock_stats";

std::string process_name(int pid) {
  std::string name;
  read_file("/proc/" + std::to_string(pid) + "/comm", name);
  return name.substr(0, name.find('\n'));
}

// Tells one writing of the statistics from another.
struct Version {
  ino_t inode;
  timespec time;
};

Version version_of_stats() {
  struct stat status {};
  if (stat(kStatsPath, &status) != 0) return {};
  return {status.st_ino, status.st_mtim};
}

bool operator==(const Version& a, const Version& b) {
  return a.inode == b.inode && a.time.tv_sec == b.time.tv_sec && a.time.tv_nsec == b.time.tv_nsec;
}

// The library tells of its locks by writing a file.
std::string write_and_read_stats() {
  const Version before = version_of_stats();
  if (capi_critical_section_lock_stats() != 0) {
    throw Failure("there are no locks: the adapter's master has not been started on this device");
  }
  if (version_of_stats() == before) {
    throw Failure(std::string(kStatsPath) +
                  " cannot be written. It belongs to another user: be that one, or root");
  }
  return read_file(kStatsPath);
}

}  // namespace

Table lock_table() {
  Table table(
      "locks",
      {{"id", true}, {"lock"}, {"state"}, {"holder", true}, {"program"}, {"waiters", true}});
  std::istringstream in(write_and_read_stats());
  int id = -1;
  for (std::string line; std::getline(in, line);) {
    char name[64];
    int value = 0;
    int pid = 0;
    int waiters = 0;
    if (sscanf(line.c_str(), "Type = [%63[^]]], Value = [%d], PID = [%d], NCNT = [%d]", name,
               &value, &pid, &waiters) != 4) {
      continue;
    }
    ++id;
    if (!std::string(name).starts_with("CAPI_")) continue;
    const bool is_held = value == 0;
    table.add({std::to_string(id), name, is_held ? "held" : "free",
               is_held ? std::to_string(pid) : "", is_held ? process_name(pid) : "",
               std::to_string(waiters)});
  }
  return table;
}

void add_locks(CLI::App& app, Context& context) {
  CLI::App* command = app.add_subcommand("locks", "Show who holds which lock and how many wait");
  command->footer(
      "Takes no lock itself, so it answers while everything else waits.\n\n"
      "Example:\n  capictl locks");
  command->callback([&context] {
    capiv2_log_init(context.log_sink());
    print(lock_table(), context);
  });
}

}  // namespace capictl
