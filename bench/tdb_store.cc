// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
// The header leaves these to its user, in this order.
#include <tdb.h>

#include <cstdlib>
#include <cstring>

#include "bench.h"
#include "stores.h"

namespace bench {
namespace {

TDB_DATA to_data(std::string_view text) {
  return {reinterpret_cast<unsigned char*>(const_cast<char*>(text.data())), text.size()};
}

std::string record_key(int number) { return std::to_string(number); }

class Tdb : public Store {
 public:
  explicit Tdb(const std::string& path)
      : values_(open(path + ".values", TDB_NOSYNC)), log_(open(path + ".log", 0)) {}
  ~Tdb() override {
    tdb_close(values_);
    tdb_close(log_);
  }

  const char* name() const override { return "TDB"; }

  void set(std::string_view key, std::string_view value) override {
    require(tdb_store(values_, to_data(key), to_data(value), TDB_REPLACE) == 0, "TDB's set");
  }

  void get(std::string_view key, char* buf) override {
    const auto copy = [](TDB_DATA, TDB_DATA value, void* to) {
      memcpy(to, value.dptr, value.dsize);
      return 0;
    };
    require(tdb_parse_record(values_, to_data(key), copy, buf) == 0, "TDB's get");
  }

  void append(std::string_view record) override {
    require(tdb_transaction_start(log_) == 0, "TDB's transaction");
    require(tdb_store(log_, to_data(record_key(next_)), to_data(record), TDB_INSERT) == 0,
            "TDB's append");
    if (next_ >= kKeptRecords) {
      require(tdb_delete(log_, to_data(record_key(next_ - kKeptRecords))) == 0, "TDB's eviction");
    }
    ++next_;
    require(tdb_transaction_commit(log_) == 0, "TDB's commit");
  }

 private:
  static tdb_context* open(const std::string& path, int flags) {
    tdb_context* context = tdb_open(path.c_str(), 0, flags, O_RDWR | O_CREAT, 0666);
    require(context != nullptr, "TDB's file");
    return context;
  }

  tdb_context* values_;
  tdb_context* log_;
  int next_ = 0;
};

}  // namespace

StorePtr open_tdb(const std::string& path) { return std::make_shared<Tdb>(path); }

}  // namespace bench
