// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "support/faults.h"

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/sem.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace capi::test {
namespace {

struct Plan {
  Fault fault{};
  bool is_set = false;
  int seen = 0;
};

Plan plans[static_cast<int>(Call::Count)];
int moments_to_death = 0;
std::atomic<int> blocks = 0;
const char* skipped_commands = nullptr;
bool is_coarse_clock_stopped = false;

Plan& plan_of(Call call) { return plans[static_cast<int>(call)]; }

void pass_moment() {
  if (moments_to_death > 0 && --moments_to_death == 0) kill(getpid(), SIGKILL);
}

bool dies_later() { return moments_to_death > 0; }

// The fault that befalls this call, with its errno; null when it may go on.
const Fault* fault_of(Call call) {
  Plan& plan = plan_of(call);
  const int past = ++plan.seen - plan.fault.nth;
  if (!plan.is_set || past < 0 || past >= plan.fault.times) return nullptr;
  if (plan.fault.is_deadly) kill(getpid(), SIGKILL);
  errno = plan.fault.error;
  return &plan.fault;
}

bool fails(Call call) { return fault_of(call) != nullptr; }

bool file_call_fails(Call call) {
  pass_moment();
  return fails(call);
}

// Counts a block that there is, and hands it on.
template <typename T>
T* counted(T* block) {
  if (block != nullptr) ++blocks;
  return block;
}

// Moves half of the bytes where a fault says so: transfer(n) moves n bytes, of which there are
// "size".
template <typename Transfer>
ssize_t transferred(Call call, size_t size, const Transfer& transfer) {
  const Fault* fault = fault_of(call);
  if (fault == nullptr) return transfer(size);
  return fault->half && size > 1 ? transfer(size / 2) : -1;
}

}  // namespace

void inject(const Fault& fault) { plan_of(fault.call) = {fault, true, 0}; }

void fail_call(Call call, int nth, int error) {
  inject({.call = call, .nth = nth, .times = 1, .error = error});
}

void die_at_moment(int nth) { moments_to_death = nth; }

bool fault_is_pending() {
  bool pending = moments_to_death > 0;
  for (const Plan& plan : plans) pending |= plan.is_set && plan.seen < plan.fault.nth;
  return pending;
}

void clear_faults() {
  moments_to_death = 0;
  for (Plan& plan : plans) plan = {};
}

int count_calls(Call call) { return plan_of(call).seen; }

void skip_commands(const char* part) { skipped_commands = part; }

void stop_coarse_clock() { is_coarse_clock_stopped = true; }

int live_blocks() { return blocks; }

}  // namespace capi::test

// What the linker puts in the place of the C library's functions, and those functions. The names
// with "chk" are theirs where sizes are checked, those with 64 where files may be large and long
// has 32 bits.
extern "C" {

using capi::test::Call;
using capi::test::counted;
using capi::test::fails;
using capi::test::Fault;
using capi::test::file_call_fails;

void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void __real_free(void* block);
char* __real_strdup(const char* text);
FILE* __real_open_memstream(char** text, size_t* size);
char* __real_strndup(const char* text, size_t size);
FILE* __real_fopen(const char* path, const char* mode);
FILE* __real_fopen64(const char* path, const char* mode);
FILE* __real_fdopen(int fd, const char* mode);
int __real_open(const char* path, int flags, mode_t mode);
int __real_openat(int directory, const char* path, int flags, mode_t mode);
size_t __real_fread(void* to, size_t size, size_t count, FILE* file);
char* __real_fgets(char* to, int size, FILE* file);
int __real_getc(FILE* file);
size_t __real_fwrite(const void* from, size_t size, size_t count, FILE* file);
int __real_fputs(const char* text, FILE* file);
int __real_fflush(FILE* file);
int __real_fclose(FILE* file);
int __real_fseek(FILE* file, long offset, int whence);
int __real_stat(const char* path, struct stat* status);
int __real_stat64(const char* path, struct stat64* status);
int __real_fstat(int fd, struct stat* status);
int __real_fstatat(int directory, const char* path, struct stat* status, int flags);
int __real_fstat64(int fd, struct stat64* status);
int __real_fstatat64(int directory, const char* path, struct stat64* status, int flags);
int __real_fchmod(int fd, mode_t mode);
int __real_fchown(int fd, uid_t owner, gid_t group);
int __real_fsync(int fd);
int __real_ftruncate(int fd, off_t size);
off_t __real_lseek(int fd, off_t offset, int whence);
int __real_ftruncate64(int fd, off64_t size);
off64_t __real_lseek64(int fd, off64_t offset, int whence);
int __real_renameat(int from_directory, const char* from, int to_directory, const char* to);
int __real_unlinkat(int directory, const char* path, int flags);
int __real_close(int fd);
int __real_mkdir(const char* path, mode_t mode);
int __real_flock(int fd, int operation);
int __real_clock_gettime(clockid_t clock, timespec* time);
tm* __real_localtime_r(const time_t* time, tm* result);
key_t __real_ftok(const char* path, int project);
int __real_semget(key_t key, int count, int flags);
int __real_semop(int set, sembuf* operations, size_t count);
int __real_semctl(int set, int number, int command, void* argument);
int __real_shmget(key_t key, size_t size, int flags);
void* __real_shmat(int id, const void* address, int flags);
int __real_shmdt(const void* address);
FILE* __real_popen(const char* command, const char* mode);
int __real_system(const char* command);
int __real_socket(int domain, int type, int protocol);
ssize_t __real_sendto(int fd, const void* from, size_t size, int flags, const sockaddr* address,
                      socklen_t address_size);
ssize_t __real_recv(int fd, void* to, size_t size, int flags);
ssize_t __real_recvfrom(int fd, void* to, size_t size, int flags, sockaddr* address,
                        socklen_t* address_size);
int __real_pipe2(int* fds, int flags);
ssize_t __real_read(int fd, void* to, size_t size);
ssize_t __real_write(int fd, const void* from, size_t size);
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*function)(void*), void* arg);

// Memory.

void* __wrap_malloc(size_t size) {
  return fails(Call::Malloc) ? nullptr : counted(__real_malloc(size));
}

void* __wrap_calloc(size_t count, size_t size) {
  return fails(Call::Malloc) ? nullptr : counted(__real_calloc(count, size));
}

void __wrap_free(void* block) {
  if (block != nullptr) --capi::test::blocks;
  __real_free(block);
}

char* __wrap_strdup(const char* text) {
  return fails(Call::Malloc) ? nullptr : counted(__real_strdup(text));
}

// The text, which who asked for it frees, is there from the beginning.
FILE* __wrap_open_memstream(char** text, size_t* size) {
  return fails(Call::Malloc) ? nullptr : counted(__real_open_memstream(text, size));
}

char* __wrap_strndup(const char* text, size_t size) {
  return fails(Call::Malloc) ? nullptr : counted(__real_strndup(text, size));
}

static int print_into_memory(char** text, const char* format, va_list args) {
  if (fails(Call::Malloc)) return -1;
  const int length = vasprintf(text, format, args);
  if (length != -1) counted(*text);
  return length;
}

int __wrap_asprintf(char** text, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const int length = print_into_memory(text, format, args);
  va_end(args);
  return length;
}

int __wrap___asprintf_chk(char** text, int, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const int length = print_into_memory(text, format, args);
  va_end(args);
  return length;
}

// Files.

FILE* __wrap_fopen(const char* path, const char* mode) {
  return file_call_fails(Call::Fopen) ? nullptr : __real_fopen(path, mode);
}

FILE* __wrap_fopen64(const char* path, const char* mode) {
  return file_call_fails(Call::Fopen) ? nullptr : __real_fopen64(path, mode);
}

FILE* __wrap_fdopen(int fd, const char* mode) {
  return file_call_fails(Call::Fopen) ? nullptr : __real_fdopen(fd, mode);
}

int __wrap_open(const char* path, int flags, ...) {
  va_list args;
  va_start(args, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? static_cast<mode_t>(va_arg(args, int)) : 0;
  va_end(args);
  return file_call_fails(Call::Open) ? -1 : __real_open(path, flags, mode);
}

int __wrap_open64(const char* path, int flags, ...) {
  va_list args;
  va_start(args, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? static_cast<mode_t>(va_arg(args, int)) : 0;
  va_end(args);
  return file_call_fails(Call::Open) ? -1 : __real_open(path, flags | O_LARGEFILE, mode);
}

// What the C library makes of an open() without a mode that it can check.
int __wrap___open_2(const char* path, int flags) {
  return file_call_fails(Call::Open) ? -1 : __real_open(path, flags, 0);
}

int __wrap___open64_2(const char* path, int flags) {
  return file_call_fails(Call::Open) ? -1 : __real_open(path, flags | O_LARGEFILE, 0);
}

int __wrap_openat(int directory, const char* path, int flags, ...) {
  va_list args;
  va_start(args, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? static_cast<mode_t>(va_arg(args, int)) : 0;
  va_end(args);
  return file_call_fails(Call::Open) ? -1 : __real_openat(directory, path, flags, mode);
}

int __wrap_openat64(int directory, const char* path, int flags, ...) {
  va_list args;
  va_start(args, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? static_cast<mode_t>(va_arg(args, int)) : 0;
  va_end(args);
  return file_call_fails(Call::Open) ? -1
                                     : __real_openat(directory, path, flags | O_LARGEFILE, mode);
}

size_t __wrap_fread(void* to, size_t size, size_t count, FILE* file) {
  return file_call_fails(Call::Fread) ? 0 : __real_fread(to, size, count, file);
}

size_t __wrap___fread_chk(void* to, size_t, size_t size, size_t count, FILE* file) {
  return __wrap_fread(to, size, count, file);
}

char* __wrap_fgets(char* to, int size, FILE* file) {
  return file_call_fails(Call::Fread) ? nullptr : __real_fgets(to, size, file);
}

char* __wrap___fgets_chk(char* to, size_t, int size, FILE* file) {
  return __wrap_fgets(to, size, file);
}

int __wrap_getc(FILE* file) {
  if (!file_call_fails(Call::Fread)) return __real_getc(file);
  file->_flags |= _IO_ERR_SEEN;
  return EOF;
}

size_t __wrap_fwrite(const void* from, size_t size, size_t count, FILE* file) {
  capi::test::pass_moment();
  const Fault* fault = capi::test::fault_of(Call::Fwrite);
  if (fault != nullptr && !fault->half) return 0;
  const size_t bytes = size * count;
  const auto* start = static_cast<const char*>(from);
  size_t done = __real_fwrite(start, 1, bytes / 2, file);
  capi::test::pass_moment();
  if (fault == nullptr) done += __real_fwrite(start + bytes / 2, 1, bytes - bytes / 2, file);
  if (fault != nullptr) errno = fault->error;
  return done == bytes ? count : done / size;
}

int __wrap_fputs(const char* text, FILE* file) {
  return file_call_fails(Call::Fwrite) ? EOF : __real_fputs(text, file);
}

int __wrap_fflush(FILE* file) { return file_call_fails(Call::Fflush) ? EOF : __real_fflush(file); }

int __wrap_fclose(FILE* file) {
  const bool failed = file_call_fails(Call::Fclose);
  const int error = errno;
  const int result = __real_fclose(file);
  if (failed) errno = error;
  return failed ? EOF : result;
}

int __wrap_fseek(FILE* file, long offset, int whence) {
  return file_call_fails(Call::Fseek) ? -1 : __real_fseek(file, offset, whence);
}

int __wrap_stat(const char* path, struct stat* status) {
  return fails(Call::Stat) ? -1 : __real_stat(path, status);
}

int __wrap_stat64(const char* path, struct stat64* status) {
  return fails(Call::Stat) ? -1 : __real_stat64(path, status);
}

int __wrap_fstat(int fd, struct stat* status) {
  return fails(Call::Fstat) ? -1 : __real_fstat(fd, status);
}

int __wrap_fstatat(int directory, const char* path, struct stat* status, int flags) {
  return fails(Call::Fstat) ? -1 : __real_fstatat(directory, path, status, flags);
}

int __wrap_fstat64(int fd, struct stat64* status) {
  return fails(Call::Fstat) ? -1 : __real_fstat64(fd, status);
}

int __wrap_fstatat64(int directory, const char* path, struct stat64* status, int flags) {
  return fails(Call::Fstat) ? -1 : __real_fstatat64(directory, path, status, flags);
}

int __wrap_fchmod(int fd, mode_t mode) {
  return file_call_fails(Call::Fchmod) ? -1 : __real_fchmod(fd, mode);
}

int __wrap_fchown(int fd, uid_t owner, gid_t group) {
  return file_call_fails(Call::Fchown) ? -1 : __real_fchown(fd, owner, group);
}

int __wrap_fsync(int fd) { return file_call_fails(Call::Fsync) ? -1 : __real_fsync(fd); }

int __wrap_ftruncate(int fd, off_t size) {
  return file_call_fails(Call::Ftruncate) ? -1 : __real_ftruncate(fd, size);
}

int __wrap_ftruncate64(int fd, off64_t size) {
  return file_call_fails(Call::Ftruncate) ? -1 : __real_ftruncate64(fd, size);
}

off64_t __wrap_lseek64(int fd, off64_t offset, int whence) {
  return file_call_fails(Call::Fseek) ? -1 : __real_lseek64(fd, offset, whence);
}

off_t __wrap_lseek(int fd, off_t offset, int whence) {
  return file_call_fails(Call::Fseek) ? -1 : __real_lseek(fd, offset, whence);
}

int __wrap_renameat(int from_directory, const char* from, int to_directory, const char* to) {
  if (file_call_fails(Call::Rename)) return -1;
  return __real_renameat(from_directory, from, to_directory, to);
}

int __wrap_unlinkat(int directory, const char* path, int flags) {
  return file_call_fails(Call::Unlink) ? -1 : __real_unlinkat(directory, path, flags);
}

int __wrap_close(int fd) {
  const bool failed = file_call_fails(Call::Close);
  const int error = errno;
  const int result = __real_close(fd);
  if (failed) errno = error;
  return failed ? -1 : result;
}

int __wrap_mkdir(const char* path, mode_t mode) {
  return fails(Call::Mkdir) ? -1 : __real_mkdir(path, mode);
}

int __wrap_flock(int fd, int operation) {
  return fails(Call::Flock) ? -1 : __real_flock(fd, operation);
}

void __wrap_sync() { fails(Call::Sync); }

// Time.

tm* __wrap_localtime_r(const time_t* time, tm* result) {
  return fails(Call::LocaltimeR) ? nullptr : __real_localtime_r(time, result);
}

int __wrap_clock_gettime(clockid_t clock, timespec* time) {
  if (clock != CLOCK_MONOTONIC_COARSE || !capi::test::is_coarse_clock_stopped) {
    return __real_clock_gettime(clock, time);
  }
  *time = {};
  return 0;
}

// System V objects.

key_t __wrap_ftok(const char* path, int project) {
  return fails(Call::Ftok) ? -1 : __real_ftok(path, project);
}

// A fault of the set as the kernel has it: with these errors, the set is no longer there.
static bool set_call_fails(Call call, int set) {
  const Fault* fault = capi::test::fault_of(call);
  if (fault == nullptr) return false;
  if (fault->error == ENOENT || fault->error == EIDRM) {
    __real_semctl(set, 0, IPC_RMID, nullptr);
  }
  errno = fault->error;
  return true;
}

int __wrap_semget(key_t key, int count, int flags) {
  const bool creates = (flags & IPC_CREAT) != 0;
  const int set = creates ? -1 : __real_semget(key, count, flags);
  if (set_call_fails(Call::Semget, set)) return -1;
  return creates ? __real_semget(key, count, flags) : set;
}

int __wrap_semop(int set, sembuf* operations, size_t count) {
  return set_call_fails(Call::Semop, set) ? -1 : __real_semop(set, operations, count);
}

int __wrap_semctl(int set, int number, int command, ...) {
  va_list args;
  va_start(args, command);
  void* argument = va_arg(args, void*);
  va_end(args);
  if (set_call_fails(Call::Semctl, set)) return -1;
  return __real_semctl(set, number, command, argument);
}

int __wrap_shmget(key_t key, size_t size, int flags) {
  return fails(Call::Shmget) ? -1 : __real_shmget(key, size, flags);
}

void* __wrap_shmat(int id, const void* address, int flags) {
  if (fails(Call::Shmat)) return reinterpret_cast<void*>(-1);
  return __real_shmat(id, address, flags);
}

int __wrap_shmdt(const void* address) { return fails(Call::Shmdt) ? -1 : __real_shmdt(address); }

// Commands.

FILE* __wrap_popen(const char* command, const char* mode) {
  return fails(Call::Popen) ? nullptr : __real_popen(command, mode);
}

int __wrap_system(const char* command) {
  if (fails(Call::System)) return -1;
  if (strcmp(command, "sync") == 0) {
    __wrap_sync();
    return 0;
  }
  const char* skipped = capi::test::skipped_commands;
  if (skipped != nullptr && strstr(command, skipped) != nullptr) return 0;
  return __real_system(command);
}

// Sockets, pipes and threads.

int __wrap_socket(int domain, int type, int protocol) {
  return fails(Call::Socket) ? -1 : __real_socket(domain, type, protocol);
}

ssize_t __wrap_sendto(int fd, const void* from, size_t size, int flags, const sockaddr* address,
                      socklen_t address_size) {
  return capi::test::transferred(Call::Sendto, size, [&](size_t bytes) {
    return __real_sendto(fd, from, bytes, flags, address, address_size);
  });
}

ssize_t __wrap_recv(int fd, void* to, size_t size, int flags) {
  return fails(Call::Recvfrom) ? -1 : __real_recv(fd, to, size, flags);
}

ssize_t __wrap___recv_chk(int fd, void* to, size_t size, size_t, int flags) {
  return __wrap_recv(fd, to, size, flags);
}

ssize_t __wrap_recvfrom(int fd, void* to, size_t size, int flags, sockaddr* address,
                        socklen_t* address_size) {
  return fails(Call::Recvfrom) ? -1 : __real_recvfrom(fd, to, size, flags, address, address_size);
}

ssize_t __wrap___recvfrom_chk(int fd, void* to, size_t size, size_t, int flags, sockaddr* address,
                              socklen_t* address_size) {
  return __wrap_recvfrom(fd, to, size, flags, address, address_size);
}

int __wrap_pipe2(int* fds, int flags) { return fails(Call::Pipe) ? -1 : __real_pipe2(fds, flags); }

ssize_t __wrap_read(int fd, void* to, size_t size) {
  return fails(Call::Read) ? -1 : __real_read(fd, to, size);
}

ssize_t __wrap___read_chk(int fd, void* to, size_t size, size_t) {
  return __wrap_read(fd, to, size);
}

ssize_t __wrap_write(int fd, const void* from, size_t size) {
  capi::test::pass_moment();
  const Fault* fault = capi::test::fault_of(Call::Write);
  if (fault != nullptr && (!fault->half || size < 2)) return -1;
  const size_t half = fault != nullptr || capi::test::dies_later() ? size / 2 : 0;
  const auto* start = static_cast<const char*>(from);
  const ssize_t done = half > 0 ? __real_write(fd, start, half) : 0;
  if (half > 0) capi::test::pass_moment();
  if (fault != nullptr || done < static_cast<ssize_t>(half)) return done;
  const ssize_t rest = __real_write(fd, start + half, size - half);
  return rest < 0 && half == 0 ? rest : done + (rest > 0 ? rest : 0);
}

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*function)(void*), void* arg) {
  return fails(Call::ThreadCreate) ? errno
                                   : __real_pthread_create(thread, attributes, function, arg);
}
}
