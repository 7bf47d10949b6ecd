// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The linker leads the library's calls of these functions here.
#include "fuzz/memory.h"

#include <sys/sem.h>

#include <cstdio>

#include "foundation/file.h"

namespace capi {
namespace fuzz {
namespace {

constinit bool in_memory = false;
constinit const void* content = nullptr;
constinit size_t content_size = 0;

}  // namespace

InMemory::InMemory(const void* bytes, size_t size) {
  in_memory = true;
  content = bytes;
  content_size = size;
}

InMemory::~InMemory() { in_memory = false; }

}  // namespace fuzz

File real_open_file(const char* path, const char* mode) asm("__real__ZN4capi9open_fileEPKcS1_");
File wrapped_open_file(const char* path, const char* mode) asm("__wrap__ZN4capi9open_fileEPKcS1_");

File wrapped_open_file(const char* path, const char* mode) {
  if (!fuzz::in_memory || mode[0] != 'r') return real_open_file(path, mode);
  return File(fmemopen(const_cast<void*>(fuzz::content), fuzz::content_size, "r"));
}

namespace fuzz {

key_t real_ftok(const char* path, int project) asm("__real_ftok");
key_t wrapped_ftok(const char* path, int project) asm("__wrap_ftok");
int real_semget(key_t key, int count, int flags) asm("__real_semget");
int wrapped_semget(key_t key, int count, int flags) asm("__wrap_semget");
int real_semop(int set, sembuf* operations, size_t count) asm("__real_semop");
int wrapped_semop(int set, sembuf* operations, size_t count) asm("__wrap_semop");
int real_semctl(int set, int number, int command, void* argument) asm("__real_semctl");
int wrapped_semctl(int set, int number, int command, void* argument) asm("__wrap_semctl");

// Of the locks alone; the record's segment is the real one.
key_t wrapped_ftok(const char* path, int project) {
  return in_memory && project == 'l' ? 0 : real_ftok(path, project);
}

int wrapped_semget(key_t key, int count, int flags) {
  return in_memory ? 0 : real_semget(key, count, flags);
}

int wrapped_semop(int set, sembuf* operations, size_t count) {
  return in_memory ? 0 : real_semop(set, operations, count);
}

// Who has taken a lock, and who is about to give it back, finds a 0.
int wrapped_semctl(int set, int number, int command, void* argument) {
  return in_memory ? 0 : real_semctl(set, number, command, argument);
}

}  // namespace fuzz
}  // namespace capi
