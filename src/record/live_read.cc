// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "record/live_read.h"

#include <cstring>

namespace capi {
namespace {

// Most writers are out again before that many looks.
constexpr int kTries = 100;

void pause_a_little() {
#if defined(__x86_64__)
  __builtin_ia32_pause();
#else
  asm volatile("yield");
#endif
}

uint64_t generation_now(const cfg_backend_context& ctx) {
  return generation_of(ctx.attachment.load(std::memory_order_acquire),
                       news_of(*ctx.shm).generation.load(std::memory_order_acquire));
}

// Of one that nobody changes at the time.
bool is_settled(uint64_t generation) { return (generation & (1ULL << 32 | 1)) == 0; }

// What was read before is not read after it.
void finish_reads() {
#if defined(__SANITIZE_THREAD__)
  asm volatile("" ::: "memory");  // the sanitizer knows no fences, and its processors need none
#else
  std::atomic_thread_fence(std::memory_order_acquire);
#endif
}

bool try_to_read(const cfg_backend_context& ctx, FunctionRef<void(const cfg_shared_record&)> copy,
                 uint64_t& generation) {
  generation = generation_now(ctx);
  if (!is_settled(generation)) return false;
  copy(*ctx.shm);
  finish_reads();
  return generation_now(ctx) == generation;
}

// Under the lock no writer is inside, and where it was not given none can be waited for.
void read_locked(const cfg_backend_context& ctx, FunctionRef<void(const cfg_shared_record&)> copy,
                 uint64_t& generation) CAPI_UNCHECKED_LOCKS {
  const QuietSection section;
  if (section) settle_generation(news_of(*ctx.shm));
  generation = generation_now(ctx);
  copy(*ctx.shm);
}

}  // namespace

bool is_unchanged(uint64_t generation) {
  const cfg_backend_context* ctx = live_context();
  return ctx != nullptr && ctx->shm != nullptr && is_settled(generation) &&
         generation_now(*ctx) == generation;
}

bool read_live(FunctionRef<void(const cfg_shared_record&)> copy, uint64_t* generation) {
  const cfg_backend_context* ctx = live_context();
  if (ctx == nullptr || ctx->shm == nullptr) return false;
  uint64_t at = 0;
  bool done = false;
  for (int i = 0; i < kTries && !done; ++i) {
    done = try_to_read(*ctx, copy, at);
    if (done || has_conf_shm_lock()) break;
    pause_a_little();
  }
  if (!done) read_locked(*ctx, copy, at);
  if (generation != nullptr) *generation = at;
  return true;
}

void copy_live(void* to, const void* from, size_t size) {
#if defined(__SANITIZE_THREAD__)
  // The sanitizer takes only atomic loads for meant. Fields of the record stand at any address.
  for (size_t i = 0; i < size; ++i) {
    static_cast<char*>(to)[i] =
        __atomic_load_n(static_cast<const char*>(from) + i, __ATOMIC_RELAXED);
  }
#else
  memcpy(to, from, size);
#endif
}

}  // namespace capi
