// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The short messages: each operation under its lock, without the signal that follows it.

#include <cstring>
#include <memory>

#include "bench.h"
#include "capi.h"
#include "device.h"
#include "floor.h"
#include "sms/file.h"
#include "sms/image.h"
#include "sms/store.h"

namespace bench {
namespace {

using Message = capi_sms_record;

constexpr int kFile = CAPI_SMS_RECEIVED;

// A message of the usual length.
Message some_message() {
  Message message{};
  strcpy(message.imsi, "310260123456789");
  strcpy(message.RemoteNumber, "+15550100002");
  message.TextLen = 160;
  message.TextSize = message.TextLen + 2;
  memset(message.Text, 'x', message.TextLen);
  return message;
}

template <typename Operation>
int under_lock(Operation operation) {
  const capi::CriticalSection guard(capi::kVoiceSmsLock);
  return operation();
}

int add(const char* path, Message& message) {
  uint64_t id = 0;
  return under_lock([&] { return capi::add_sms(path, message, id); });
}

int count_new(const char* path, const capi_sms_counter& previous, capi_sms_counter& state) {
  state = {};
  return under_lock([&] { return capi::count_new_sms(path, kFile, previous, state); });
}

// The file with so many messages in it.
class Stock {
 public:
  Stock(int messages, const Medium& medium)
      : messages_(messages), medium_(medium), path_(medium.dir + "/sm_recv") {
    require(under_lock([&] { return capi::create_sms_file(path()) ? 0 : -1; }) == 0,
            "a file of messages can be made");
    Message message = some_message();
    for (int i = 0; i < messages; ++i) require(add(path(), message) == 0, "a message can be added");
    file_ = read_file(path_);
  }

  const Medium& medium() const { return medium_; }

  const char* path() const { return path_.c_str(); }
  size_t size() const { return file_.size(); }
  uint64_t middle_id() const { return static_cast<uint64_t>(messages_ + 1) / 2; }
  bool is_full() const { return messages_ == CAPI_SMS_MAX_MESSAGES; }
  std::string name() const { return std::to_string(messages_); }
  void put_back() const { floor::replace_file(path(), file_); }

  // Where a message stands in the file; all are of one size.
  floor::Piece middle() const {
    return {sizeof(capi::SmsFileHeader) + (middle_id() - 1) * kItemSize + capi::kSmsItemHead,
            kItemSize - capi::kSmsItemHead};
  }

  // The size of the file with one message more or less.
  size_t grown_size() const { return is_full() ? size() : size() + kItemSize; }
  size_t shrunk_size() const { return size() - kItemSize; }

 private:
  static constexpr size_t kItemSize = capi::kSmsItemHead + capi::kSmsFixedPart + 162;

  int messages_;
  Medium medium_;
  std::string path_;
  std::string file_;
};
using StockPtr = std::shared_ptr<const Stock>;

// A run that finds the file as it is in stock.
template <typename Operation>
std::function<void(benchmark::State&)> repeat_on(const StockPtr& stock, Operation operation) {
  return [=](benchmark::State& state) {
    stock->put_back();
    repeat(operation)(state);
  };
}

using Memory = std::shared_ptr<std::string>;

Memory make_memory() { return std::make_shared<std::string>(2 * capi::kSmsMaxFileSize, 'x'); }

// An operation that writes the file; where it does so with another size, the file is put back
// before each run of anybody.
template <typename Operation>
Row write_row(const StockPtr& stock, const std::string& what, size_t new_size,
              Operation operation) {
  const auto put_back = [=] {
    if (new_size != stock->size()) stock->put_back();
  };
  const Memory memory = make_memory();
  const auto floor = [=](floor::Writing how) {
    return repeat_on(stock, [=] {
      put_back();
      floor::rewrite_sms_file(stock->path(), memory->data(), stock->size(), new_size, how);
    });
  };
  return {"short messages: " + what + " " + stock->name() + stock->medium().where,
          1.15,
          {{"ours", repeat_on(stock,
                              [=] {
                                put_back();
                                require(operation(stock->path()) == 0, what.c_str());
                              })},
           {"floor", floor(floor::Writing::Safely)},
           {kInPlace, floor(floor::Writing::InPlace)}},
          stock->medium().clock};
}

Row add_row(const StockPtr& stock) {
  const auto message = std::make_shared<Message>(some_message());
  return write_row(stock, stock->is_full() ? "add one, evicting one, to" : "add one to",
                   stock->grown_size(), [=](const char* path) { return add(path, *message); });
}

Row update_row(const StockPtr& stock) {
  const auto message = std::make_shared<Message>(some_message());
  message->id = stock->middle_id();
  return write_row(stock, "update one of", stock->size(), [=](const char* path) {
    return under_lock([&] { return capi::update_sms(path, *message); });
  });
}

Row delete_row(const StockPtr& stock) {
  return write_row(stock, "delete one of", stock->shrunk_size(), [=](const char* path) {
    return under_lock([&] { return capi::delete_sms(path, stock->middle_id()); });
  });
}

Row clean_row(const StockPtr& stock) {
  const Memory memory = make_memory();
  const auto floor = [=](floor::Writing how) {
    return repeat_on(stock, [=] {
      stock->put_back();
      floor::make_sms_file(stock->path(), memory->data(), sizeof(capi::SmsFileHeader), how);
    });
  };
  return {"short messages: clean " + stock->name() + stock->medium().where,
          1.15,
          {{"ours", repeat_on(stock,
                              [=] {
                                stock->put_back();
                                under_lock([&] { return capi::create_sms_file(stock->path()); });
                              })},
           {"floor", floor(floor::Writing::Safely)},
           {kInPlace, floor(floor::Writing::InPlace)}},
          stock->medium().clock};
}

// Reads the file and looks once at every message in it.
Contestant checked_floor(const StockPtr& stock, const Memory& memory) {
  return {"floor and a look at the lengths", repeat_on(stock, [=] {
            floor::read_sms_file(stock->path(), memory->data(), stock->size(), {0, 0}, nullptr);
            floor::look_at_lengths(memory->data(), stock->size());
          })};
}

Row get_row(const StockPtr& stock) {
  const auto message = std::make_shared<Message>();
  const Memory memory = make_memory();
  return {"short messages: get one of " + stock->name(),
          0,
          {{"ours", repeat_on(stock,
                              [=] {
                                under_lock([&] {
                                  return capi::get_sms(stock->path(), stock->middle_id(), *message);
                                });
                              })},
           {"floor", repeat_on(stock,
                               [=] {
                                 floor::read_sms_file(stock->path(), memory->data(), stock->size(),
                                                      stock->middle(), message.get());
                               })},
           checked_floor(stock, memory)}};
}

Row count_row(const StockPtr& stock) {
  const auto seen = std::make_shared<capi_sms_counter>();
  require(count_new(stock->path(), *seen, *seen) == 0, "messages can be counted");
  seen->last_new_id = stock->middle_id();
  const Memory memory = make_memory();
  return {
      "short messages: count the new ones of " + stock->name(),
      0,
      {{"ours", repeat_on(stock,
                          [=] {
                            capi_sms_counter state;
                            count_new(stock->path(), *seen, state);
                          })},
       {"floor",
        repeat_on(
            stock,
            [=] {
              floor::read_sms_file(stock->path(), memory->data(), stock->size(), {0, 0}, nullptr);
            })},
       checked_floor(stock, memory)}};
}

}  // namespace

Rows sms_rows() {
  Rows rows;
  for (const Medium& medium : media()) {
    for (const int messages : {1, 50, CAPI_SMS_MAX_MESSAGES + 0}) {
      const auto stock = std::make_shared<const Stock>(messages, medium);
      for (Row (*make)(const StockPtr&) : {add_row, update_row, delete_row, clean_row}) {
        rows.push_back(make(stock));
      }
      if (medium.where[0] != '\0') continue;
      rows.push_back(get_row(stock));
      rows.push_back(count_row(stock));
    }
  }
  return rows;
}

}  // namespace bench
