// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// The short messages: each operation under its lock, without the signal that follows it.

#include <cstring>
#include <memory>

#include "bench.h"
#include "capi.h"
#include "device.h"
#include "floor.h"
#include "sms/image.h"
#include "sms/path.h"
#include "sms/store.h"

namespace bench {
namespace {

using Message = capi_sms_record;

constexpr int kFile = CAPI_SMS_RECEIVED;

std::string file_path() { return capi::SmsAccess().path(kFile); }

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

int add(Message& message) {
  uint64_t id = 0;
  const capi::SmsAccess access;
  return capi::add_sms(access.path(kFile), message, id);
}

int get(uint64_t id, Message& message) {
  const capi::SmsAccess access;
  return capi::get_sms(access.path(kFile), id, message);
}

int update(const Message& message) {
  const capi::SmsAccess access;
  return capi::update_sms(access.path(kFile), message);
}

int count_new(const capi_sms_counter& previous) {
  capi_sms_counter state{};
  const capi::SmsAccess access;
  return capi::count_new_sms(access.path(kFile), kFile, previous, state);
}

// The file with so many messages in it.
class Stock {
 public:
  explicit Stock(int messages) : messages_(messages), path_(file_path()) {
    require(capi_voip_sms_init() == 0, "the short messages can be set up");
    floor::replace_file(path_.c_str(), "");
    capi_voip_sms_clean(kFile);
    Message message = some_message();
    for (int i = 0; i < messages; ++i) require(add(message) == 0, "a message can be added");
    file_ = read_file(path_);
  }

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

  // The size of the file with one message more.
  size_t grown_size() const { return is_full() ? size() : size() + kItemSize; }

 private:
  static constexpr size_t kItemSize = capi::kSmsItemHead + capi::kSmsFixedPart + 162;

  int messages_;
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

// A file that is not full grows, and is put back before every operation, of both.
Row add_row(const StockPtr& stock) {
  const auto put_back = [=] {
    if (!stock->is_full()) stock->put_back();
  };
  const auto message = std::make_shared<Message>(some_message());
  const Memory memory = make_memory();
  const std::string what = stock->is_full() ? ", evicting one" : ", and put them back";
  return {"short messages: add to " + stock->name() + what,
          1.15,
          {{"ours", repeat_on(stock,
                              [=] {
                                put_back();
                                add(*message);
                              })},
           {"floor", repeat_on(stock, [=] {
              put_back();
              floor::rewrite_sms_file(stock->path(), memory->data(), stock->size(),
                                      stock->grown_size());
            })}}};
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
          {{"ours", repeat_on(stock, [=] { get(stock->middle_id(), *message); })},
           {"floor", repeat_on(stock,
                               [=] {
                                 floor::read_sms_file(stock->path(), memory->data(), stock->size(),
                                                      stock->middle(), message.get());
                               })},
           checked_floor(stock, memory)}};
}

Row update_row(const StockPtr& stock) {
  const auto message = std::make_shared<Message>(some_message());
  message->id = stock->middle_id();
  const Memory memory = make_memory();
  return {"short messages: update one of " + stock->name(),
          1.15,
          {{"ours", repeat_on(stock, [=] { update(*message); })},
           {"floor", repeat_on(stock, [=] {
              floor::rewrite_sms_file(stock->path(), memory->data(), stock->size(), stock->size());
            })}}};
}

Row count_row(const StockPtr& stock) {
  const auto seen = std::make_shared<capi_sms_counter>();
  require(capi_voip_sms_get_unread_sm_num(kFile, seen.get(), seen.get()) == 0,
          "messages can be counted");
  seen->last_new_id = stock->middle_id();
  const Memory memory = make_memory();
  return {
      "short messages: count the new ones of " + stock->name(),
      0,
      {{"ours", repeat_on(stock, [=] { count_new(*seen); })},
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
  for (const int messages : {1, 50, CAPI_SMS_MAX_MESSAGES + 0}) {
    const auto stock = std::make_shared<const Stock>(messages);
    for (Row (*make)(const StockPtr&) : {add_row, get_row, update_row, count_row}) {
      rows.push_back(make(stock));
    }
  }
  return rows;
}

}  // namespace bench
