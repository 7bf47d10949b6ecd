// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "lock/critical_section.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "foundation/descriptor.h"
#include "foundation/file.h"
#include "foundation/log.h"
#include "foundation/modes.h"
#include "foundation/paths.h"
#include "foundation/shell.h"
#include "lock/lock_order.h"

namespace capi {
namespace {

constexpr int kKeyProject = 'l';
constexpr int kNoSet = -1;
constexpr char kCreate[] = "capi_critical_section_lock_create";
constexpr char kLock[] = "capi_critical_section_lock";
constexpr char kUnlock[] = "capi_critical_section_unlock";
constexpr char kStatsPath[] = "/tmp/capi_lock_stats";

// The name of a lock in the log. Callers may pass any id; the kernel refuses those that the set
// does not have.
const char* lock_name(unsigned id) {
  switch (id) {
    case CAPI_LOCK_CONF_SHM:
      return "CAPI_LOCK_CONF_SHM";
    case CAPI_LOCK_CALL_LOG:
      return "CAPI_LOCK_CALL_LOG";
    case CAPI_LOCK_VOP_RUN_INFO:
      return "CAPI_LOCK_VOP_RUN_INFO";
    case CAPI_LOCK_VOICE_REG_STAT:
      return "CAPI_LOCK_VOICE_REG_STAT";
    case CAPI_LOCK_VOICE_SMS:
      return "CAPI_LOCK_VOICE_SMS";
    default:
      return "XXXXX";
  }
}

// The thread of this process that has lock 0.
constinit std::atomic<pthread_t> conf_shm_taker{};

void note_taker(unsigned id, pthread_t taker) {
  if (id == CAPI_LOCK_CONF_SHM) conf_shm_taker.store(taker, std::memory_order_relaxed);
}

// Finds the set. Returns it, or -1 with errno set and logged under the operation's words, unless
// there is no "func".
int find_set(const char* func, const char* operation) {
  const key_t key = ftok(kManufacturingFile, kKeyProject);
  const int set = key == -1 ? kNoSet : semget(key, CAPI_LOCK_COUNT, kIpcMode);
  if (set == kNoSet && func != nullptr) {
    CAPI_LOG_AS(func, kLogWarning, "CAPI critical section lock%s failed [%s], reason = [%s]\n",
                operation, key == -1 ? "ftok" : "semget", strerror(errno));
  }
  return set;
}

// Adds "change" to a semaphore, waiting as long as needed. Returns 0 or errno. The kernel takes the
// change back when the process dies. Logs nothing without "func".
int change_semaphore(int set, unsigned id, short change, const char* func, const char* operation) {
  // An id too large for the kernel's field must not wrap round to a lock that exists.
  const auto number = static_cast<unsigned short>(id < UINT16_MAX ? id : UINT16_MAX);
  sembuf op{.sem_num = number, .sem_op = change, .sem_flg = SEM_UNDO};
  while (semop(set, &op, 1) == -1) {
    const int error = errno;
    if (func != nullptr) {
      CAPI_LOG_AS(func, kLogWarning,
                  "CAPI critical section lock %s Failed, lock_type = [%s], reason = [%s]\n",
                  operation, lock_name(id), strerror(error));
    }
    if (error != EINTR && error != EAGAIN) return error;
  }
  return 0;
}

void log_bad_value(unsigned id, int value, const char* func, const char* operation) {
  CAPI_LOG_AS(func, kLogWarning,
              "CAPI critical section lock %s Failed, lock_type = [%s], bad/current sem value = "
              "[%d]\n",
              operation, lock_name(id), value);
}

// How an attempt to take a lock ended: without a set, or with one that gave or refused it.
struct LockResult {
  int error;
  int set;
};

LockResult take(unsigned id) {
  lock_order::check(id);
  const int set = find_set(kLock, "");
  if (set == kNoSet) return {errno, set};
  if (const int error = change_semaphore(set, id, -1, kLock, "LOCK")) return {error, set};
  lock_order::taken(id);
  note_taker(id, pthread_self());
  const int value = semctl(set, static_cast<int>(id), GETVAL);
  if (value != 0) log_bad_value(id, value, kLock, "LOCK");  // a diagnostic: the lock is ours
  return {0, set};
}

// Frees a lock in the set as it is found now, or else in the one that it was taken from, if that is
// known: a set that cannot be looked up for a moment must not keep a lock for ever.
int give_back(unsigned id, int taken_from) {
  lock_order::freed(id);
  int set = find_set(kUnlock, "");
  const int error = errno;
  if (set == kNoSet) set = taken_from;
  if (set == kNoSet) return error;
  note_taker(id, pthread_t{});
  // A lock that nobody holds must not be raised above 1.
  const int value = semctl(set, static_cast<int>(id), GETVAL);
  if (value != 0) {
    log_bad_value(id, value, kUnlock, "UNLOCK");
    return -1;
  }
  return change_semaphore(set, id, 1, kUnlock, "UNLOCK");
}

// Masters make the set one at a time, or a late one would free what a client took meanwhile. Death
// ends a turn. Who locks this file for ends of his own only delays a start.
Descriptor await_turn() {
  constexpr int kPauses = 100;
  static constexpr timespec kPause{0, 10'000'000};
  Descriptor turn(open(kManufacturingFile, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  for (int i = 0; turn && i < kPauses; ++i) {
    if (flock(turn.get(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) break;
    nanosleep(&kPause, nullptr);
  }
  return turn;
}

// Frees the locks from "first" on. Returns 0 or errno.
int free_locks(int set, int first) {
  for (int id = first; id < CAPI_LOCK_COUNT; ++id) {
    if (semctl(set, id, SETVAL, 1) != -1) continue;
    const int error = errno;
    CAPI_LOG_AS(kCreate, kLogErr,
                "CAPI critical section lock failed [semctl] lock_type = [%s], reason = [%s]\n",
                lock_name(static_cast<unsigned>(id)), strerror(error));
    return error;
  }
  return 0;
}

// Whether any process ever took or gave back a lock of the set.
bool was_operated_on(int set) {
  semid_ds status{};
  return semctl(set, 0, IPC_STAT, &status) == -1 || status.sem_otime != 0;
}

// A master that died while it made the set left its last locks as the kernel makes them: taken, but
// by nobody. The kernel knows the process that touched a lock last, and that of a held one is never
// none; in a set that was never operated on nobody holds any.
void finish_set(int set) {
  unsigned short values[CAPI_LOCK_COUNT] = {};
  if (semctl(set, 0, GETALL, values) == -1) return;
  const bool operated_on = was_operated_on(set);
  int first = CAPI_LOCK_COUNT;
  while (first > 0 && values[first - 1] == 0 &&
         (!operated_on || semctl(set, first - 1, GETPID) == 0)) {
    --first;
  }
  if (first == CAPI_LOCK_COUNT) return;
  CAPI_LOG_AS(kCreate, kLogWarning,
              "CAPI critical section lock set was left unfinished, freeing %d locks\n",
              CAPI_LOCK_COUNT - first);
  free_locks(set, first);
}

struct TimeText {
  char text[64] = {};
};

TimeText time_text(time_t time) {
  TimeText result;
  tm parts{};
  localtime_r(&time, &parts);
  asctime_r(&parts, result.text);
  return result;
}

// The dump is made by shell commands, whose output form people and scripts on the device know.
constexpr size_t kCommandSize = 512;

void dump_head(int set) {
  tzset();
  const TimeText now = time_text(time(nullptr));
  unlink(kStatsPath);
  make_for_group(kStatsPath);
  semid_ds status{};
  if (semctl(set, 0, IPC_STAT, &status) == -1) {
    CAPI_LOG_AS("capi_critical_section_lock_stats", kLogWarning,
                "CAPI critical section lock stats failed [IPC_STAT], reason = [%s]\n",
                strerror(errno));
    return;
  }
  const TimeText last_op = time_text(status.sem_otime);
  const TimeText last_change = time_text(status.sem_ctime);
  char command[kCommandSize] = {};
  snprintf(command, sizeof command,
           "/bin/echo \"Now = [%s], Last semop time = [%s], Last change time = [%s], Total sems = "
           "[%lu]\n\" > %s",
           now.text, last_op.text, last_change.text, static_cast<unsigned long>(status.sem_nsems),
           kStatsPath);
  run_shell(command);
}

int query(int set, unsigned id, int what, const char* name) {
  const int value = semctl(set, static_cast<int>(id), what);
  if (value == -1) {
    CAPI_LOG_AS("capi_critical_section_lock_stats", kLogWarning,
                "CAPI critical section lock stats failed [%s] lock_type = [%s], reason = [%s]\n",
                name, lock_name(id), strerror(errno));
  }
  return value;
}

void dump_lock(int set, unsigned id) {
  const int value = query(set, id, GETVAL, "GETVAL");
  const int pid = query(set, id, GETPID, "GETPID");
  const int waiting = query(set, id, GETNCNT, "GETNCNT");
  const int waiting_for_zero = query(set, id, GETZCNT, "GETZCNT");
  char command[kCommandSize] = {};
  snprintf(command, sizeof command,
           "/bin/echo \"Type = [%s], Value = [%d], PID = [%d], NCNT = [%d], ZCNT = [%d]\n\" >> %s",
           lock_name(id), value, pid, waiting, waiting_for_zero, kStatsPath);
  run_shell(command);
}

}  // namespace

CriticalSection::CriticalSection(capi_lock_id id) : id_(id) {
  const LockResult result = take(id_);
  set_ = result.set;
  refused_ = result.set != kNoSet && result.error != 0;
}

CriticalSection::~CriticalSection() {
  // What was not given to us may be held by somebody else: that is not ours to free. Without a set,
  // the log tells of both ends of the section all the same.
  if (refused_) return;
  if (set_ != kNoSet) {
    give_back(id_, set_);
  } else {
    find_set(kUnlock, "");
  }
}

bool has_conf_shm_lock() {
  return conf_shm_taker.load(std::memory_order_relaxed) == pthread_self();
}

bool are_there_locks() { return find_set(nullptr, nullptr) != kNoSet; }

QuietSection::QuietSection() : set_(has_conf_shm_lock() ? kNoSet : find_set(nullptr, nullptr)) {
  if (set_ == kNoSet) return;
  if (change_semaphore(set_, CAPI_LOCK_CONF_SHM, -1, nullptr, nullptr) != 0) {
    set_ = kNoSet;
  } else {
    note_taker(CAPI_LOCK_CONF_SHM, pthread_self());
  }
}

QuietSection::~QuietSection() {
  if (set_ == kNoSet) return;
  note_taker(CAPI_LOCK_CONF_SHM, pthread_t{});
  change_semaphore(set_, CAPI_LOCK_CONF_SHM, 1, nullptr, nullptr);
}

}  // namespace capi

int capi_critical_section_lock_create() {
  using namespace capi;
  const key_t key = ftok(kManufacturingFile, kKeyProject);
  if (key == -1) {
    const int error = errno;
    CAPI_LOG(kLogErr, "CAPI critical section lock failed [ftok], reason = [%s]\n", strerror(error));
    return error;
  }
  const Descriptor turn = await_turn();
  const int set = semget(key, CAPI_LOCK_COUNT, IPC_CREAT | IPC_EXCL | kIpcMode);
  if (set == -1) {
    const int error = errno;
    if (error == EEXIST) finish_set(semget(key, CAPI_LOCK_COUNT, kIpcMode));
    return error;
  }
  if (const int error = free_locks(set, 0)) return error;
  CAPI_LOG(kLogInfo, "CAPI critical section lock CREATED\n");
  return 0;
}

int capi_critical_section_lock(unsigned id) {
  const capi::CancellationHold hold;
  return capi::take(id).error;
}

int capi_critical_section_unlock(unsigned id) {
  const capi::CancellationHold hold;
  return capi::give_back(id, capi::kNoSet);
}

int capi_critical_section_lock_stats() {
  using namespace capi;
  const int set = find_set(__func__, " stats");
  if (set == -1) return errno;
  dump_head(set);
  for (unsigned id = 0; id < CAPI_LOCK_COUNT; ++id) dump_lock(set, id);
  run_shell("sync");
  return 0;
}

int capi_lock() { return 0; }
int capi_unlock() { return 0; }
