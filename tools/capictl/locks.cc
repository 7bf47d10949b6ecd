// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// capictl locks.
#include <sys/ipc.h>
#include <sys/sem.h>

#include "commands.h"
#include "lines.h"

namespace capictl {

namespace {

// The locks that have a meaning.
struct Name {
  capi_lock_id id;
  const char* text;
};
constexpr Name kNames[] = {{CAPI_LOCK_CONF_SHM, "CAPI_LOCK_CONF_SHM"},
                           {CAPI_LOCK_CALL_LOG, "CAPI_LOCK_CALL_LOG"},
                           {CAPI_LOCK_VOP_RUN_INFO, "CAPI_LOCK_VOP_RUN_INFO"},
                           {CAPI_LOCK_VOICE_REG_STAT, "CAPI_LOCK_VOICE_REG_STAT"},
                           {CAPI_LOCK_VOICE_SMS, "CAPI_LOCK_VOICE_SMS"}};

std::string process_name(int pid) {
  std::string name;
  read_file("/proc/" + std::to_string(pid) + "/comm", name);
  return name.substr(0, name.find('\n'));
}

// The set of locks, as everybody finds it.
int find_locks() {
  const key_t key = ftok("/tmp/m_data", 'l');
  const int set = key != -1 ? semget(key, CAPI_LOCK_COUNT, 0) : -1;
  if (set == -1) {
    throw Failure("there are no locks: the adapter's master has not been started on this device",
                  {kNoAdapter});
  }
  return set;
}

}  // namespace

// Not by the library's statistics: they go through one file, which others may be writing, too.
Table lock_table() {
  Table table("locks", {{"id", Type::Number},
                        {"lock"},
                        {"state"},
                        {"holder", Type::Number},
                        {"program"},
                        {"waiters", Type::Number}});
  const int set = find_locks();
  for (const Name& name : kNames) {
    const bool is_held = semctl(set, name.id, GETVAL) == 0;
    const int pid = semctl(set, name.id, GETPID);
    table.add({std::to_string(name.id), name.text, is_held ? "held" : "free",
               is_held ? std::to_string(pid) : "", is_held ? process_name(pid) : "",
               std::to_string(semctl(set, name.id, GETNCNT))});
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
