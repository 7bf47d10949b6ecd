// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The adapter as requests look at it: however many pages are open, what did not change is read
// once, and a lock that somebody holds for long keeps nobody waiting again and again.
#pragma once

#include <call_tables.h>
#include <carriers.h>
#include <files.h>
#include <messages.h>
#include <stores.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tools::web {

class Reader {
 public:
  // What has changed, as a sum of enum capi_topic, is read anew when somebody asks.
  void forget(unsigned topics);

  // The record as it is now. Throws a Failure where no adapter is up. While lock 0 is held for long
  // it is what can be seen from outside, and is_whole() is false.
  const cfg_shared_record& record();
  bool is_whole() const { return is_whole_; }

  // Each throws a Failure where it cannot be told: who holds a lock for long, or that a file is
  // damaged. Nothing of this changes a file. What they return lasts until the same is asked for
  // again.
  const Calls& calls();
  const std::vector<StoredMessage>& messages(const std::string& box);
  const CarrierMatch& carriers();  // of the inserted SIM

  // Tables as capictl status has them.
  std::vector<Table> status();

  // What a look at a store's file has found; "locked" while it is held for long.
  const StoreLook& look(const Store& store);

  // The locks that have a meaning.
  Table locks();

  // Whether somebody was seen to hold a lock since the last call: what was read is without what it
  // guards, or tells of it. Nothing tells when it is free again.
  bool has_missed() { return std::exchange(has_missed_, false); }

  // Waits a little for locks that something is going to need. Throws a Failure.
  void need(std::initializer_list<unsigned> locks);

 private:
  struct Seen {
    files::State file = {};
    StoreLook look = {};
  };
  bool is_free(unsigned lock);
  bool is_free_soon(unsigned lock);
  void forget_device_if_new();
  const Seen& see(const Store& store);
  [[noreturn]] void throw_locked(const Store& store) const;
  void add_device(std::vector<Table>& tables);

  std::unique_ptr<cfg_shared_record> record_;
  uint64_t generation_ = 0;
  bool is_whole_ = false;
  bool has_missed_ = false;
  std::map<const Store*, Seen> stores_;
  std::optional<Calls> calls_;
  std::map<const Store*, std::vector<StoredMessage>> messages_;
  std::string device_key_;  // what of the record the three below depend on
  std::optional<Table> device_;
  std::optional<Table> sim_;
  std::optional<CarrierMatch> carriers_;
  std::map<unsigned, int> held_;  // locks that were waited for in vain, and by whom they were held
};

}  // namespace tools::web
