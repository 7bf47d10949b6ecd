// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "faults.h"

#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>

namespace capi::test {
namespace {

struct Plan {
  int seen = 0;
  int failing = 0;  // 0 is none
  int error = 0;
};

Plan plans[static_cast<int>(Call::Count)];

Plan& plan_of(Call call) { return plans[static_cast<int>(call)]; }

bool fails(Call call) {
  Plan& plan = plan_of(call);
  if (++plan.seen != plan.failing) return false;
  errno = plan.error;
  return true;
}

}  // namespace

void fail_call(Call call, int nth, int error) {
  plan_of(call) = {.seen = 0, .failing = nth, .error = error};
}

void reset_calls() {
  for (Plan& plan : plans) plan = {};
}

int count_calls(Call call) { return plan_of(call).seen; }

}  // namespace capi::test

using capi::test::Call;
using capi::test::fails;

extern "C" {

void* __real_calloc(size_t count, size_t size);
int __real_stat(const char* path, struct stat* status);
FILE* __real_fopen(const char* path, const char* mode);
size_t __real_fread(void* bytes, size_t size, size_t count, FILE* file);
size_t __real_fwrite(const void* bytes, size_t size, size_t count, FILE* file);
int __real_fflush(FILE* file);
int __real_fclose(FILE* file);

void* __wrap_calloc(size_t count, size_t size) {
  return fails(Call::Calloc) ? nullptr : __real_calloc(count, size);
}

int __wrap_stat(const char* path, struct stat* status) {
  return fails(Call::Stat) ? -1 : __real_stat(path, status);
}

FILE* __wrap_fopen(const char* path, const char* mode) {
  return fails(Call::Fopen) ? nullptr : __real_fopen(path, mode);
}

size_t __wrap_fread(void* bytes, size_t size, size_t count, FILE* file) {
  return fails(Call::Fread) ? 0 : __real_fread(bytes, size, count, file);
}

size_t __wrap_fwrite(const void* bytes, size_t size, size_t count, FILE* file) {
  return fails(Call::Fwrite) ? 0 : __real_fwrite(bytes, size, count, file);
}

int __wrap_fflush(FILE* file) { return fails(Call::Fflush) ? EOF : __real_fflush(file); }

int __wrap_fclose(FILE* file) {
  const bool failing = fails(Call::Fclose);
  const int error = errno;
  const int result = __real_fclose(file);
  if (!failing) return result;
  errno = error;
  return EOF;
}

void __wrap_sync() { fails(Call::Sync); }
}
