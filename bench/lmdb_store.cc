// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <lmdb.h>

#include <cstdint>
#include <cstring>
#include <filesystem>

#include "bench.h"
#include "stores.h"

namespace bench {
namespace {

void check(int result) { require(result == MDB_SUCCESS, mdb_strerror(result)); }

MDB_val to_val(std::string_view text) { return {text.size(), const_cast<char*>(text.data())}; }

// An environment with its one table.
class Environment {
 public:
  Environment(const std::string& path, unsigned flags) {
    std::filesystem::create_directories(path);
    check(mdb_env_create(&env_));
    check(mdb_env_set_mapsize(env_, 1 << 24));
    check(mdb_env_open(env_, path.c_str(), flags, 0666));
    MDB_txn* txn = begin(0);
    check(mdb_dbi_open(txn, nullptr, 0, &table_));
    check(mdb_txn_commit(txn));
  }
  ~Environment() { mdb_env_close(env_); }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

  MDB_txn* begin(unsigned flags) {
    MDB_txn* txn = nullptr;
    check(mdb_txn_begin(env_, nullptr, flags, &txn));
    return txn;
  }
  MDB_dbi table() const { return table_; }

 private:
  MDB_env* env_ = nullptr;
  MDB_dbi table_ = 0;
};

class Lmdb : public Store {
 public:
  Lmdb(const std::string& path, Reading reading)
      : values_(path + ".values", MDB_NOSYNC), log_(path + ".log", 0), reading_(reading) {}
  ~Lmdb() override {
    if (reader_ != nullptr) mdb_txn_abort(reader_);
  }

  const char* name() const override { return "LMDB"; }

  void set(std::string_view key, std::string_view value) override {
    MDB_txn* txn = values_.begin(0);
    MDB_val key_val = to_val(key);
    MDB_val value_val = to_val(value);
    check(mdb_put(txn, values_.table(), &key_val, &value_val, 0));
    check(mdb_txn_commit(txn));
  }

  void get(std::string_view key, char* buf) override {
    if (reader_ == nullptr) {
      reader_ = values_.begin(MDB_RDONLY);
    } else if (reading_ == Reading::Each) {
      mdb_txn_reset(reader_);
      check(mdb_txn_renew(reader_));
    }
    MDB_val key_val = to_val(key);
    MDB_val value{};
    check(mdb_get(reader_, values_.table(), &key_val, &value));
    memcpy(buf, value.mv_data, value.mv_size);
  }

  void append(std::string_view record) override {
    MDB_txn* txn = log_.begin(0);
    put(txn, next_, record);
    if (next_ >= kKeptRecords) remove(txn, next_ - kKeptRecords);
    ++next_;
    check(mdb_txn_commit(txn));
  }

 private:
  // Numbers sort as they count.
  static uint32_t key(uint32_t number) { return __builtin_bswap32(number); }

  void put(MDB_txn* txn, uint32_t number, std::string_view record) {
    uint32_t bytes = key(number);
    MDB_val key_val{sizeof bytes, &bytes};
    MDB_val value = to_val(record);
    check(mdb_put(txn, log_.table(), &key_val, &value, MDB_APPEND));
  }

  void remove(MDB_txn* txn, uint32_t number) {
    uint32_t bytes = key(number);
    MDB_val key_val{sizeof bytes, &bytes};
    check(mdb_del(txn, log_.table(), &key_val, nullptr));
  }

  Environment values_;
  Environment log_;
  Reading reading_;
  MDB_txn* reader_ = nullptr;
  uint32_t next_ = 0;
};

}  // namespace

StorePtr open_lmdb(const std::string& path, Reading reading) {
  return std::make_shared<Lmdb>(path, reading);
}

}  // namespace bench
