// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What there is to know of the record's changes without its lock: how often it changed, and who
// wants to be told.
//
// It stands behind the record, in the rest of the segment's last page: the kernel gives that
// zeroed, and shares and keeps it as it does the record. All numbers only grow, and wrap round; any
// process may have written anything there, so a number decides about a wait or a second look, never
// about where something is read or written.
//
// The generation is odd while a writer is inside, and another even number after it. A topic counts
// its changes, and the two numbers beside that say whether somebody waits for the next one: a
// watcher counts "asked" up before it looks, and a writer tells where that differs from "answered",
// which it then makes the same. While nobody watches, that costs two loads.
//
// Telling comes before the change. A writer that dies in between has told of nothing, and a watcher
// that wakes up early finds the generation odd, or the store locked, and waits.
#pragma once

#include <atomic>
#include <cstdint>

#include "capi/records.h"
#include "capi/watch.h"

namespace capi {

using Counter = std::atomic<uint32_t>;

struct News {
  struct Topic {
    Counter changes;
    Counter asked;
    Counter answered;
  };

  Counter generation;
  Topic topics[CAPI_TOPIC_COUNT];
  // Since the master's start; 0 before the first publishing.
  Counter published_at;  // seconds since 1970
  Counter published;     // the generation after it
};

static_assert(Counter::is_always_lock_free && sizeof(Counter) == sizeof(uint32_t));
static_assert(sizeof(cfg_shared_record) % alignof(News) == 0);
// The smallest page that there is.
static_assert(sizeof(cfg_shared_record) % 4096 + sizeof(News) <= 4096);

inline News& news_of(const cfg_shared_record& record) {
  return *reinterpret_cast<News*>(const_cast<cfg_shared_record*>(&record) + 1);
}

// The topics of the record; the others are of the stores.
inline constexpr unsigned kRecordTopics = CAPI_TOPIC_CONFIG | CAPI_TOPIC_DEVICE | CAPI_TOPIC_LINES;

// The topic of what stands at an offset of the record.
constexpr unsigned topic_at(size_t offset) {
  if (offset < offsetof(cfg_shared_record, voice_switch)) return CAPI_TOPIC_DEVICE;
  if (offset < offsetof(cfg_shared_record, cs_reg_stat)) return CAPI_TOPIC_CONFIG;
  return offset < offsetof(cfg_shared_record, ims_voice) ? CAPI_TOPIC_LINES : CAPI_TOPIC_DEVICE;
}

// Makes the generation even that a writer left odd by dying. For who has the lock and is no writer:
// none is inside.
inline void settle_generation(News& news) {
  const uint32_t number = news.generation.load(std::memory_order_relaxed);
  if (number % 2 != 0) news.generation.store(number + 1, std::memory_order_release);
}

// Counts a change of topics, and tells those who asked. For what comes next.
void announce(News& news, unsigned topics);

// Tells all watchers of all segments, who may not know that there is a new one.
void announce_segment();

// The file by which watchers of a topic, numbered from 0, are told.
const char* news_file(int topic);

}  // namespace capi
