// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "faults.h"

#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>

namespace capi::test {
namespace {

Call failing_call;
int calls_to_failure = 0;
int moments_to_death = 0;
int syncs = 0;

void pass_moment() {
  if (moments_to_death > 0 && --moments_to_death == 0) kill(getpid(), SIGKILL);
}

bool fails(Call call) {
  const bool now = calls_to_failure > 0 && call == failing_call && --calls_to_failure == 0;
  if (now) errno = EIO;
  return now;
}

bool file_call_fails(Call call) {
  pass_moment();
  return fails(call);
}

}  // namespace

void fail_call(Call call, int nth) {
  failing_call = call;
  calls_to_failure = nth;
}

void die_at_moment(int nth) { moments_to_death = nth; }

bool fault_is_pending() { return calls_to_failure > 0 || moments_to_death > 0; }

void clear_faults() {
  calls_to_failure = 0;
  moments_to_death = 0;
  syncs = 0;
}

int sync_count() { return syncs; }

}  // namespace capi::test

// What the linker puts in the place of the C library's functions, and those functions.
extern "C" {

using capi::test::Call;

FILE* __real_fopen(const char* path, const char* mode);
size_t __real_fread(void* to, size_t size, size_t count, FILE* file);
size_t __real_fwrite(const void* from, size_t size, size_t count, FILE* file);
int __real_fflush(FILE* file);
int __real_fclose(FILE* file);
int __real_fseek(FILE* file, long offset, int whence);
void* __real_calloc(size_t count, size_t size);
tm* __real_localtime_r(const time_t* time, tm* result);

FILE* __wrap_fopen(const char* path, const char* mode) {
  return capi::test::file_call_fails(Call::Fopen) ? nullptr : __real_fopen(path, mode);
}

size_t __wrap_fread(void* to, size_t size, size_t count, FILE* file) {
  return capi::test::file_call_fails(Call::Fread) ? 0 : __real_fread(to, size, count, file);
}

size_t __wrap_fwrite(const void* from, size_t size, size_t count, FILE* file) {
  if (capi::test::file_call_fails(Call::Fwrite)) return 0;
  const size_t half = size * count / 2;
  const auto* bytes = static_cast<const char*>(from);
  __real_fwrite(bytes, 1, half, file);
  capi::test::pass_moment();
  return __real_fwrite(bytes + half, size * count - half, 1, file) == 1 ? count : 0;
}

int __wrap_fflush(FILE* file) {
  return capi::test::file_call_fails(Call::Fflush) ? EOF : __real_fflush(file);
}

int __wrap_fclose(FILE* file) {
  const bool failed = capi::test::file_call_fails(Call::Fclose);
  const int result = __real_fclose(file);
  if (failed) errno = EIO;
  return failed ? EOF : result;
}

int __wrap_fseek(FILE* file, long offset, int whence) {
  return capi::test::file_call_fails(Call::Fseek) ? -1 : __real_fseek(file, offset, whence);
}

void* __wrap_calloc(size_t count, size_t size) {
  return capi::test::fails(Call::Calloc) ? nullptr : __real_calloc(count, size);
}

tm* __wrap_localtime_r(const time_t* time, tm* result) {
  return capi::test::fails(Call::LocaltimeR) ? nullptr : __real_localtime_r(time, result);
}

void __wrap_sync() { ++capi::test::syncs; }
}
