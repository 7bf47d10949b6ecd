// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include <sqlite3.h>

#include <cstring>

#include "bench.h"
#include "stores.h"

namespace bench {
namespace {

// A database with a write-ahead log.
class Database {
 public:
  Database(const std::string& path, const char* synchronous, const char* table) {
    require(sqlite3_open(path.c_str(), &db_) == SQLITE_OK, "SQLite's file");
    execute("PRAGMA journal_mode=WAL");
    execute((std::string("PRAGMA synchronous=") + synchronous).c_str());
    execute(table);
  }
  ~Database() { sqlite3_close(db_); }
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  void execute(const char* sql) {
    require(sqlite3_exec(db_, sql, nullptr, nullptr, nullptr) == SQLITE_OK, sql);
  }

  sqlite3_stmt* prepare(const char* sql) {
    sqlite3_stmt* statement = nullptr;
    require(sqlite3_prepare_v2(db_, sql, -1, &statement, nullptr) == SQLITE_OK, sql);
    return statement;
  }

 private:
  sqlite3* db_ = nullptr;
};

void bind(sqlite3_stmt* statement, int index, std::string_view bytes) {
  sqlite3_bind_blob(statement, index, bytes.data(), static_cast<int>(bytes.size()), SQLITE_STATIC);
}

void finish(sqlite3_stmt* statement) {
  require(sqlite3_step(statement) == SQLITE_DONE, "SQLite's statement");
  sqlite3_reset(statement);
}

class Sqlite : public Store {
 public:
  explicit Sqlite(const std::string& path)
      : values_(path + ".values", "OFF",
                "CREATE TABLE v (key BLOB PRIMARY KEY, value BLOB) "
                "WITHOUT ROWID"),
        log_(path + ".log", "FULL", "CREATE TABLE r (number INTEGER PRIMARY KEY, record BLOB)"),
        set_(values_.prepare("INSERT OR REPLACE INTO v VALUES (?, ?)")),
        get_(values_.prepare("SELECT value FROM v WHERE key = ?")),
        append_(log_.prepare("INSERT INTO r (record) VALUES (?)")),
        evict_(log_.prepare("DELETE FROM r WHERE number <= (SELECT max(number) FROM r) - ?")) {}
  ~Sqlite() override {
    for (sqlite3_stmt* statement : {set_, get_, append_, evict_}) sqlite3_finalize(statement);
  }

  const char* name() const override { return "SQLite"; }

  void set(std::string_view key, std::string_view value) override {
    bind(set_, 1, key);
    bind(set_, 2, value);
    finish(set_);
  }

  void get(std::string_view key, char* buf) override {
    bind(get_, 1, key);
    require(sqlite3_step(get_) == SQLITE_ROW, "SQLite's get");
    memcpy(buf, sqlite3_column_blob(get_, 0), static_cast<size_t>(sqlite3_column_bytes(get_, 0)));
    sqlite3_reset(get_);
  }

  void append(std::string_view record) override {
    log_.execute("BEGIN IMMEDIATE");
    bind(append_, 1, record);
    finish(append_);
    sqlite3_bind_int(evict_, 1, kKeptRecords);
    finish(evict_);
    log_.execute("COMMIT");
  }

 private:
  Database values_;
  Database log_;
  sqlite3_stmt* set_;
  sqlite3_stmt* get_;
  sqlite3_stmt* append_;
  sqlite3_stmt* evict_;
};

}  // namespace

StorePtr open_sqlite(const std::string& path) { return std::make_shared<Sqlite>(path); }

std::vector<StorePtr> open_stores(const std::string& job) {
  const std::string base = "/tmp/" + job;
  return {open_lmdb(base + ".lmdb", Reading::Each), open_tdb(base + ".tdb"),
          open_sqlite(base + ".sqlite")};
}

}  // namespace bench
