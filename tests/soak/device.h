// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The adapter that the runs work on, and the board on which its processes note what they do.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "capi.h"

namespace capi::soak {

inline constexpr char kNvDir[] = "/tmp/nv";

// What an operation may leave cut when its process dies.
enum class Store : uint8_t {
  Nothing,  // it only reads
  Records,
  CallLog,       // written whole
  CallLogNodes,  // one entry removed in place
  Received,
  Sent,
  StatusFiles,
  SimFile,
  StackFiles,
  VoiceBlock
};
inline constexpr size_t kStores = 10;

inline constexpr size_t kMaxWorkers = 8;
inline constexpr size_t kMaxNumbers = 60000;  // below the turn of the call log's sequence numbers

// Notes survive their writers: the board is memory that all processes share.
struct Board {
  struct Worker {
    std::atomic<uint32_t> operations;  // finished ones
    std::atomic<Store> at;             // what the one under way writes
  };
  Worker worker[kMaxWorkers];
  std::atomic<uint64_t> operations[kStores];
  std::atomic<uint32_t> failures;
  std::atomic<uint32_t> halves_seen;        // records that readers found to be half old, half new
  std::atomic<uint32_t> damage_noticed[2];  // in the files of short messages

  std::atomic<uint64_t> live_reads;  // without the lock, and how many of them were torn
  std::atomic<uint64_t> torn_live_reads;
  std::atomic<uint64_t> plain_reads;  // without looking at the generation either
  std::atomic<uint64_t> torn_plain_reads;
  std::atomic<uint32_t> seen[kMaxWorkers];  // the last value that each watcher read, plus 1

  // What was added under each number, plus 1; 0 is nobody yet.
  std::atomic<uint32_t> call_of_sequence[kMaxNumbers];
  std::atomic<uint32_t> message_of_id[2][kMaxNumbers];
};

Board& board();

// Notes a failure of the run and prints it.
[[gnu::format(printf, 1, 2)]] void fail(const char* format, ...);

// Notes which file of short messages this process works on, for what the library logs about it.
void use_messages(int selector);

// Puts the adapter's files in place and starts it, with this process as the master.
void start_device();

// Starts a process of the device after fork().
void start_process();

}  // namespace capi::soak
