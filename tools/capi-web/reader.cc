// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "reader.h"

#include <algorithm>
#include <cstring>

#include "locks.h"
#include "status_tables.h"

namespace tools::web {
namespace {

constexpr int kPatienceMs = 500;

constexpr char kNoneIsUp[] =
    "no adapter is up: start the master, or bring one up with capictl master --settings FILE";

Failure unreadable(const char* what, const StoreLook& look) {
  return Failure(std::string("the ") + what + " cannot be read: the file is " +
                 (look.state == "unsound" ? "damaged" : "missing, or not ours to read") +
                 "; diagnostics tell more");
}

}  // namespace

void Reader::forget(unsigned topics) {
  if ((topics & CAPI_TOPIC_CALLS) != 0) stores_.erase(&kCallLog);
  if ((topics & CAPI_TOPIC_MESSAGES) != 0) {
    stores_.erase(&kReceivedMessages);
    stores_.erase(&kSentMessages);
  }
  if ((topics & (CAPI_TOPIC_DEVICE | CAPI_TOPIC_CONFIG)) != 0) device_key_.clear();
}

const cfg_shared_record& Reader::record() {
  if (!record_) record_ = std::make_unique<cfg_shared_record>();
  is_whole_ = is_free(CAPI_LOCK_CONF_SHM);
  if (!is_whole_) {
    generation_ = 0;
    if (peek_record(*record_)) return *record_;
    throw_held(CAPI_LOCK_CONF_SHM);
  }
  const bool is_there = capi_live_refresh(record_.get(), &generation_) >= 0;
  if (!is_there || !is_started(*record_)) throw Failure(kNoneIsUp, {kNoAdapter});
  forget_device_if_new();
  return *record_;
}

// All that stands in the record in front of the settings.
void Reader::forget_device_if_new() {
  const std::string key(reinterpret_cast<const char*>(record_.get()),
                        offsetof(cfg_shared_record, voice_switch));
  if (key == device_key_) return;
  device_key_ = key;
  device_.reset();
  sim_.reset();
  carriers_.reset();
}

bool Reader::is_free(unsigned lock) {
  const bool is_free = is_free_soon(lock);
  has_missed_ |= !is_free;
  return is_free;
}

// Whoever holds a lock for long is not waited for by every request. Another one is.
bool Reader::is_free_soon(unsigned lock) {
  const std::optional<Holder> holder = holder_of(lock);
  if (!holder) {
    held_.erase(lock);
    return true;
  }
  const auto known = held_.find(lock);
  if (known != held_.end() && known->second == holder->pid) return false;
  if (await_lock(lock, kPatienceMs)) return true;
  held_[lock] = holder->pid;
  return false;
}

void Reader::need(std::initializer_list<unsigned> locks) {
  for (const unsigned lock : locks) {
    if (!is_free(lock)) throw_held(lock);
  }
}

const Reader::Seen& Reader::see(const Store& store) {
  // Other programs may replace a file without telling anybody.
  const files::State now = files::state_of(path_of(store, record()));
  const auto known = stores_.find(&store);
  if (known != stores_.end() && known->second.file == now) return known->second;
  Seen& seen = stores_[&store];
  seen = {};
  if (&store == &kCallLog) calls_.reset();
  messages_.erase(&store);
  if (!is_whole_ || !is_free(store.lock)) return seen;
  seen.look = look_into(store);
  seen.file = now;
  return seen;
}

void Reader::throw_locked(const Store& store) const {
  throw_held(is_whole_ ? store.lock : unsigned{CAPI_LOCK_CONF_SHM});
}

const StoreLook& Reader::look(const Store& store) { return see(store).look; }

const Calls& Reader::calls() {
  const StoreLook& found = look(kCallLog);
  if (found.state == "locked") throw_locked(kCallLog);
  if (!found.is_readable()) throw unreadable("call log", found);
  if (!calls_) calls_ = calls_of(found.content);
  return *calls_;
}

const std::vector<StoredMessage>& Reader::messages(const std::string& box) {
  const Store& store = message_selector(box) == CAPI_SMS_SENT ? kSentMessages : kReceivedMessages;
  const StoreLook& found = look(store);
  if (found.state == "locked") throw_locked(store);
  if (!found.is_readable()) throw unreadable(store.name, found);
  const auto known = messages_.find(&store);
  if (known != messages_.end()) return known->second;
  return messages_[&store] = messages_of(found.content);
}

const CarrierMatch& Reader::carriers() {
  record();
  if (carriers_) return *carriers_;
  need({CAPI_LOCK_CONF_SHM, CAPI_LOCK_VOP_RUN_INFO});
  return carriers_.emplace(match_carriers("", ""));
}

void Reader::add_device(std::vector<Table>& tables) {
  if (!device_) device_ = device_table(*record_);
  tables.push_back(*device_);
  // What is known of the SIM is kept in files under this lock.
  if (!sim_ && is_free(CAPI_LOCK_VOP_RUN_INFO)) sim_ = sim_table();
  if (sim_) tables.push_back(*sim_);
}

Table Reader::locks() {
  Table table = lock_table();
  const auto is_held = [](const auto& row) { return std::ranges::count(row, "held") > 0; };
  has_missed_ |= std::ranges::any_of(table.rows(), is_held);
  return table;
}

std::vector<Table> Reader::status() {
  const cfg_shared_record& record = this->record();
  std::vector<Table> tables;
  if (is_whole_) {
    tables.push_back(adapter_table());
    add_device(tables);
  } else {
    tables.push_back(Table::of_facts("adapter"));
    tables.back().add({"state", "locked"});
  }
  tables.push_back(line_table(record));
  tables.push_back(registration_table(record, 0, is_whole_ ? Texts::FromLibrary : Texts::OfOurOwn));
  if (is_whole_) {
    const StoreLook& calls = look(kCallLog);
    const StoreLook& received = look(kReceivedMessages);
    tables.push_back(store_table(calls, received, look(kSentMessages)));
  }
  tables.push_back(locks());
  return tables;
}

}  // namespace tools::web
