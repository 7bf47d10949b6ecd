// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "locks.h"

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>

#include "text.h"

namespace tools {

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

// The set of locks, as everybody finds it; -1 when there is none.
int find_set() {
  const key_t key = ftok("/tmp/m_data", 'l');
  return key != -1 ? semget(key, CAPI_LOCK_COUNT, 0) : -1;
}

int find_locks() {
  const int set = find_set();
  if (set == -1) {
    throw Failure("there are no locks: the adapter's master has not been started on this device",
                  {kNoAdapter});
  }
  return set;
}

const char* name_of(unsigned lock) {
  const auto* name =
      std::ranges::find_if(kNames, [lock](const Name& row) { return row.id == lock; });
  return name != std::end(kNames) ? name->text : "";
}

int64_t now_ms() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

void pause_a_little() {
  constexpr timespec kPause{0, 10'000'000};
  nanosleep(&kPause, nullptr);
}

// The segment of the record, read only; null when there is none.
const void* find_record() {
  constexpr int kRecordProject = 250;
  key_t key = ftok("./usr/sbin/vsdk_cmd", kRecordProject);
  if (key == -1) key = ftok("/usr/sbin/vsdk_cmd", kRecordProject);
  const int id = key != -1 ? shmget(key, sizeof(cfg_shared_record), 0) : -1;
  const void* address = id != -1 ? shmat(id, nullptr, SHM_RDONLY) : nullptr;
  return address != reinterpret_cast<void*>(-1) ? address : nullptr;
}

}  // namespace

std::string Holder::text() const {
  return "lock " + std::to_string(lock) + " (" + name_of(lock) + ") is held by process " +
         std::to_string(pid) + " (" + program + ")";
}

std::optional<Holder> holder_of(unsigned lock) {
  const int set = find_set();
  if (set == -1 || semctl(set, static_cast<int>(lock), GETVAL) != 0) return {};
  const int pid = semctl(set, static_cast<int>(lock), GETPID);
  return Holder{lock, pid, process_name(pid)};
}

bool await_lock(unsigned lock, int patience_ms) {
  const int64_t begin = now_ms();
  while (holder_of(lock)) {
    if (now_ms() - begin >= patience_ms) return false;
    pause_a_little();
  }
  return true;
}

bool await_lock(unsigned lock, Patience patience) {
  constexpr int kTold = 1000;
  constexpr int kLong = 3000;
  if (await_lock(lock, kTold)) return true;
  const std::optional<Holder> holder = holder_of(lock);
  if (!holder) return true;
  fprintf(stderr, "%s: waited for a second: %s\n", program_invocation_short_name,
          printable(holder->text()).c_str());
  return patience == Patience::Long && await_lock(lock, kLong - kTold);
}

void need_lock(unsigned lock) {
  if (!await_lock(lock, Patience::Long)) throw_held(lock);
}

void throw_held(unsigned lock) {
  const std::optional<Holder> holder = holder_of(lock);
  throw Failure(holder ? holder->text() : "lock " + std::to_string(lock) + " is held", {kTimedOut});
}

// Whoever holds the lock may be writing: what is the same twice is whole as far as one can see.
bool peek_record(cfg_shared_record& record) {
  constexpr int kTries = 100;
  const void* address = find_record();
  if (address == nullptr) return false;
  const auto before = std::make_unique<cfg_shared_record>();
  for (int i = 0; i < kTries; ++i) {
    memcpy(before.get(), address, sizeof record);
    memcpy(&record, address, sizeof record);
    if (memcmp(before.get(), &record, sizeof record) == 0) break;
    pause_a_little();
  }
  shmdt(address);
  return is_started(record);
}

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

}  // namespace tools
