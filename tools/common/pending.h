// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
//
// A change of the configuration that goes back unless somebody confirms it: what is kept of it
// outside of the adapter's record, so that it goes back whatever becomes of who made it.
//
// For every program that changes settings on somebody's behalf; they share one change:
//
//   Lock lock(kLockFile, Lock::Exclusive, true);    // held until the change is made
//   load(change) is ENOENT                          // or another change waits: refuse
//   save(change)                                    // what to go back to, before anything is set
//   start_watcher(change.id, go_back)               // acknowledged, before anything is set
//   ... set the values ...
//
// and go_back() takes the lock, loads, looks whether the change is_over(), compares and sets with
// verdict() for each of keys(), then calls finish(). Every program that starts looks first whether
// there is a change that is_left() behind, and does the same.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace pending {

// Fixed, not the nv directory: that is itself a setting, which nobody knows before a master has
// started and which a change may change. Made on demand, for everybody to see whether a change
// waits; the files in it, which hold secrets, are their owner's. Where the library is built for one
// group all of it is the group's.
inline constexpr char kDirectory[] = "/var/lib/capi";
inline constexpr char kFile[] = "/var/lib/capi/pending";
inline constexpr char kOutcomeFile[] = "/var/lib/capi/outcome";
inline constexpr char kLockFile[] = "/var/lib/capi/lock";        // held while any of them changes
inline constexpr char kWatcherFile[] = "/var/lib/capi/watcher";  // shared, as long as watchers live

struct Key {
  std::string section;  // as in setting files
  std::string name;
  bool operator==(const Key&) const = default;
};

// One value that is set. A key that is set again later comes again.
struct Value {
  Key key;
  std::string before;
  std::string after;  // as the configuration keeps it
};

struct Change {
  std::string id;
  std::string owner;        // the program and its user: who may add to it
  std::string boot;         // the start of the system for which the deadline is
  int64_t deadline_ms = 0;  // by the clock since then
  int64_t deadline = 0;     // in seconds since 1970, for people
  bool is_applied = false;  // files and programs have it, too
  std::vector<Value> values;
};

// What became of the last change.
struct Outcome {
  std::string id;
  std::string what;  // "confirmed", "cancelled", or "reverted" for want of a confirmation
  int64_t at = 0;    // in seconds since 1970
  std::vector<Key> kept;
  std::string trouble;  // what did not work, in words
};

// --- without any file ---

struct Now {
  std::string boot;
  int64_t ms = 0;       // since the system's start, with the time that it slept
  int64_t seconds = 0;  // since 1970
};
Now now();

std::string new_id();

// The change is to be confirmed within this time from now.
void give(Change& change, int seconds, const Now& time);

// 0 when it is over, as it is for each change from before the system's start.
int64_t remaining_ms(const Change& change, const Now& time);

// The keys of the values, each once, in the order of going back.
std::vector<Key> keys(const Change& change);

// What going back means for a key: nothing, or to set it to "value". Where somebody else has set
// it since, it is kept.
enum class Verdict { Nothing, Set, Keep };
Verdict verdict(const Change& change, const Key& key, const std::string& present,
                std::string& value);

// Texts of lines, the last of which tells that none is missing.
std::string text_of(const Change& change);
std::string text_of(const Outcome& outcome);
bool read(const std::string& text, Change& change);
bool read(const std::string& text, Outcome& outcome);

// --- the files ---

// Holds a lock on a file as long as it lives, and waits for it, some seconds or as long as it
// takes. Programs that are not told to make the file hold none where it is missing. One that is not
// held leaves in errno why: EWOULDBLOCK when it was not free in time.
class Lock {
 public:
  enum Kind { Shared, Exclusive };
  enum Patience { SomeSeconds, Endless };
  Lock(const char* path, Kind kind, bool makes_file, Patience patience = Endless);
  ~Lock();
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;
  bool is_held() const { return fd_ != -1; }

 private:
  int fd_;
};

// Makes the directory where it is missing. 0, or an error number.
int make_directory();

// 0, or an error number: ENOENT where there is none, EBADMSG for one that is damaged.
int load(Change& change);
int load(Outcome& outcome);

// Replaces the file; on the medium when it returns 0, else an error number.
int save(const Change& change);

// Tells what became of the change and removes it, in this order.
int finish(const Outcome& outcome);
int remove();

// Whether somebody holds the lock on the changes.
bool is_locked();

// Whether a watcher lives, which sees to the change that waits.
bool is_watched();

// Whether a change waits whose watcher is gone.
bool is_left();

// Starts a process that calls go_back() when the change of this id is over, unless it is gone
// before. The process is in a session of its own, with none of the caller's descriptors. Returns
// once it watches; false when it does not. Not from a process with several threads.
bool start_watcher(const std::string& id, void (*go_back)());

}  // namespace pending
