// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What a process knows about the shared record: where it is attached, and its own staging copy.
//
// The record is one flat structure in a System V segment, the same for all processes; its layout is
// part of the interface (include/capi/records.h). The staging copy is the process's own: setting
// files are read into it, and only publishing takes it over into the segment. A process works
// without either when it could not attach; every access asks first.
//
// Who changes the record does so through a RecordChange, which tells readers without the lock and
// those who watch; nothing else hands out a record that can be written.
//
// Leaves to its callers the checks of what they find: any process may have written anything into
// the segment, and may do so between two looks at it, where it does not keep to lock 0.
#pragma once

#include <atomic>
#include <cstdint>
#include <ctime>

#include "capi/lifecycle.h"
#include "capi/records.h"
#include "lock/critical_section.h"
#include "record/news.h"

namespace capi {

inline constexpr size_t kKeyPathSize = 512;

struct cfg_backend_context {
  std::atomic<int32_t> shm_id;   // -1 until there is one
  void* shm_addr;                // what shmat() gave, good or not
  const cfg_shared_record* shm;  // null unless attached
  capi_callbacks callbacks;
  cfg_shared_record staging;  // setting files are read into it

  // For the looks whether the segment is still the one that everybody else finds.
  char key_path[kKeyPathSize];    // absolute, for the process may go to another directory
  int32_t seen_id;                // the segment at the last look, -1 for none
  std::atomic<time_t> looked_at;  // in seconds of the coarse clock
  // Counted up by 2 for each segment; odd while one takes the place of another.
  std::atomic<uint32_t> attachment;
};

inline constexpr uint32_t kFirstAttachment = 2;

// The context of this process; null before capi_init() and after capi_uninit(). Whether there is
// one may be asked without the lock; what is in it may not.
cfg_backend_context* context();

// The same while the master starts, too: for who reads without the lock, as a callback may.
cfg_backend_context* live_context();

// The record in the segment, or null when there is none attached. At most once a second it looks
// whether another segment has taken the place of the attached one, and puts it there: at the same
// address, so that a pointer to the record stays good, also one that is used without the lock.
const cfg_shared_record* shared_record() CAPI_REQUIRES(kConfShmLock);

// Runs "body" on the record under lock 0. Returns its result, or -1 when none is attached.
template <typename Body>
int with_shared_record(Body&& body) {
  const CriticalSection section(kConfShmLock);
  const cfg_shared_record* record = shared_record();
  return record != nullptr ? body(*record) : -1;
}

// Looks at once whether another segment has taken the place of the attached one, and takes the lock
// only then.
void follow_segment(cfg_backend_context& ctx);

// The number of a state of the record for programs. No two segments that a process attaches have
// one in common, and none is 0.
constexpr uint64_t generation_of(uint32_t attachment, uint32_t number) {
  return static_cast<uint64_t>(attachment) << 32 | number;
}

// A change of the attached record, for a scope. It must not last: readers without the lock wait for
// its end. A writer that dies in it leaves an odd generation, which the next one to hold lock 0
// makes even.
class RecordChange {
 public:
  // "topics": what changes, for those who watch.
  RecordChange(const cfg_shared_record& record, unsigned topics) CAPI_REQUIRES(kConfShmLock)
      : record_(const_cast<cfg_shared_record&>(record)) {
    News& news = news_of(record_);
    // No other writer comes in between: no operation that is atomic as a whole.
    inside_ = news.generation.load(std::memory_order_relaxed) | 1;
    news.generation.store(inside_, std::memory_order_relaxed);
    announce(news, topics);
  }
  ~RecordChange() { news_of(record_).generation.store(inside_ + 1, std::memory_order_release); }
  RecordChange(const RecordChange&) = delete;
  RecordChange& operator=(const RecordChange&) = delete;

  // What follows from capi_presence: when, and with which generation, settings were published.
  void note_publishing() const;

  cfg_shared_record& operator*() const { return record_; }
  cfg_shared_record* operator->() const { return &record_; }

 private:
  cfg_shared_record& record_;
  uint32_t inside_;
};

// Counts a change of a store outside the record, before it is made, for those who watch.
void announce_store(capi_topic topic);

}  // namespace capi
