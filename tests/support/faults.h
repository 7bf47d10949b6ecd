// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Failures of the C library's calls, and deaths at them: a test program that is linked with
// capi_inject_faults() has all these calls of the library's and of its own come through here.
#pragma once

#include <cerrno>
#include <cstdint>

namespace capi::test {

// By kind: each stands for all the calls that do the like.
enum class Call : uint8_t {
  Malloc,  // calloc, strdup, strndup, asprintf, open_memstream
  Fopen,   // fdopen
  Open,    // openat
  Fread,   // fgets, getc
  Fwrite,  // fputs
  Fflush,
  Fclose,
  Fseek,  // lseek
  Stat,
  Fstat,  // fstatat
  Fchmod,
  Fchown,
  Fsync,
  Ftruncate,
  Rename,  // renameat
  Unlink,  // unlinkat
  Close,
  Mkdir,
  Flock,
  LocaltimeR,
  Ftok,
  Semget,
  Semop,
  Semctl,
  Shmget,
  Shmat,
  Shmdt,
  Popen,
  System,
  Socket,
  Sendto,
  Recvfrom,  // recv
  Pipe,
  Read,
  Write,
  ThreadCreate,
  Sync,  // never reaches the machine: it takes long and tells nothing
  Count
};

inline constexpr int kForEver = INT32_MAX;

// What is to fail: the nth of the coming calls of a kind, and those after it as long as "times"
// tells. Files, sockets and pipes move half of what they should first where "half" says so.
//
// The semaphore set answers with ENOENT or EIDRM when somebody removed it: then it is gone indeed.
struct Fault {
  Call call;
  int nth = 1;
  int times = 1;
  int error = EIO;
  bool half = false;
  bool is_deadly = false;  // kills this process instead
};

void inject(const Fault& fault);

// One call that fails.
void fail_call(Call call, int nth = 1, int error = EIO);

// Kills this process at the nth moment from now: there is one before every call on a file, and one
// half way through every write.
void die_at_moment(int nth);

// Whether a failure or a death is still to come.
bool fault_is_pending();

// Forgets them, and starts to count anew.
void clear_faults();

// How many calls of a kind there were since then.
int count_calls(Call call);

// Commands with this in them succeed from now on without being run.
void skip_commands(const char* part);

// From now on the coarse clock shows the same time: nothing is done once a second.
void stop_coarse_clock();

// How many blocks of memory that the program allocated are not freed yet.
int live_blocks();

}  // namespace capi::test
