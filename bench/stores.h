// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// General stores of keys and values, on the jobs of ours.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

class Store {
 public:
  virtual ~Store() = default;
  virtual const char* name() const = 0;

  // Sets a value without durability, in a transaction of its own.
  virtual void set(std::string_view key, std::string_view value) = 0;

  // Copies a value into a buffer that holds it.
  virtual void get(std::string_view key, char* buf) = 0;

  // Appends a record durably; of more than 100 the oldest goes.
  virtual void append(std::string_view record) = 0;
};
using StorePtr = std::shared_ptr<Store>;

inline constexpr int kKeptRecords = 100;

// Reads each value in a view of its own, or all in the one that is there at the first get.
enum class Reading { Each, Snapshot };
StorePtr open_lmdb(const std::string& path, Reading reading);
StorePtr open_tdb(const std::string& path);
StorePtr open_sqlite(const std::string& path);

// One of each, new ones, named as the job.
std::vector<StorePtr> open_stores(const std::string& job);

}  // namespace bench
