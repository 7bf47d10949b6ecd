// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "stores.h"

#include <cerrno>
#include <cstddef>
#include <cstring>

#include "calls_check.h"
#include "locks.h"
#include "sms_check.h"

namespace tools {
namespace {

// Held while a store's file is read: it is whole then.
class Lock {
 public:
  explicit Lock(unsigned id) : id_(id) { capi_critical_section_lock(id); }
  ~Lock() { capi_critical_section_unlock(id_); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

 private:
  unsigned id_;
};

std::string path_of(const Store& store) {
  char directory[256] = {};
  const bool is_known = capi_get_runtime_dir(4, directory, sizeof directory) == 0;
  return std::string(is_known && directory[0] != '\0' ? directory : store.directory) + "/" +
         store.file;
}

const char* consequence(const Store& store, Outcome outcome) {
  switch (outcome) {
    case Outcome::Replaced:
      return store.replaced;
    case Outcome::AtStart:
      return store.replaced_at_start;
    case Outcome::Ignored:
      break;
  }
  return "is not noticed";
}

std::string state_of(const Store& store, const std::string& content) {
  const Faults faults = store.check(content);
  if (faults.empty()) return "sound";
  return is_usable(faults) ? "unsound, but in use" : "unsound";
}

uint16_t count_calls(const std::string& content, unsigned type) {
  uint16_t count = 0;
  const size_t offset =
      offsetof(capi_call_log_header, entry) + type * sizeof(capi_call_log_entry_header);
  memcpy(&count, content.data() + offset, sizeof count);
  return count;
}

void add_calls(Table& table, const StoreLook& look) {
  for (unsigned type = 0; type < CAPI_CALL_LOG_TYPES; ++type) {
    table.add({"calls of type " + std::to_string(type),
               look.content.size() < sizeof(capi_call_log_header)
                   ? ""
                   : std::to_string(count_calls(look.content, type)),
               look.state});
  }
}

void add_messages(Table& table, const Store& store, const StoreLook& look) {
  const bool is_there = look.state != "locked" && look.state != "cannot be read";
  table.add({store.name, is_there ? std::to_string(count_messages(look.content)) : "", look.state});
}

// The state is that of the lock while somebody has it for long.
StoreLook look_patiently(const Store& store) {
  return await_lock(store.lock, Patience::Short) ? look_into(store) : StoreLook();
}

constexpr char kMessagesReplaced[] =
    "the next use copies the file to its name with .err and begins an empty one";
constexpr char kMessagesReplacedAtStart[] =
    "is used; the master's next start copies it to its name with .err and begins an empty one";

}  // namespace

const Store kCallLog = {"call log",
                        "voip_call_log",
                        "/tmp",
                        CAPI_LOCK_CALL_LOG,
                        check_call_log,
                        "every use fails; the master's next start begins an empty file",
                        "is used; the master's next start begins an empty file"};
const Store kReceivedMessages = {"received messages",     "sm_recv",      "/quorbleconf/ims_data",
                                 CAPI_LOCK_VOICE_SMS,     check_messages, kMessagesReplaced,
                                 kMessagesReplacedAtStart};
const Store kSentMessages = {"sent messages",         "sm_send",      "/quorbleconf/ims_data",
                             CAPI_LOCK_VOICE_SMS,     check_messages, kMessagesReplaced,
                             kMessagesReplacedAtStart};

std::string path_of(const Store& store, const cfg_shared_record& record) {
  constexpr int kDirectories[] = {4, 1};  // nv, and data where that is not set
  std::string directory = store.directory;
  for (const int i : kDirectories) {
    const std::string known = text_of(record.directory[i]);
    if (known.empty()) continue;
    directory = known;
    break;
  }
  return directory + "/" + store.file;
}

bool read_store(const Store& store, std::string& content) {
  const std::string path = path_of(store);
  const Lock lock(store.lock);
  return read_file(path, content);
}

std::string read_store(const Store& store) {
  std::string content;
  if (read_store(store, content)) return content;
  throw Failure(path_of(store) + " cannot be read; the master's start makes it", {kNotFound});
}

Table fault_table(const Store& store, const std::string& content) {
  Table table("faults", {{"fault"}, {"the library"}});
  for (const Fault& fault : store.check(content)) {
    table.add({fault.text, consequence(store, fault.outcome)});
  }
  return table;
}

void back_up_store(const Store& store, const std::string& to) {
  std::string content;
  if (!read_store(store, content)) {
    throw Failure(path_of(store) + " cannot be read: " + strerror(errno));
  }
  replace_file(to, content);
}

StoreLook look_into(const Store& store) {
  StoreLook look;
  const bool is_there = read_store(store, look.content);
  look.state = is_there ? state_of(store, look.content) : "cannot be read";
  return look;
}

Table store_table() {
  return store_table(look_patiently(kCallLog), look_patiently(kReceivedMessages),
                     look_patiently(kSentMessages));
}

Table store_table(const StoreLook& calls, const StoreLook& received, const StoreLook& sent) {
  Table table("stores", {{"store"}, {"entries", Type::Number}, {"state"}});
  add_calls(table, calls);
  add_messages(table, kReceivedMessages, received);
  add_messages(table, kSentMessages, sent);
  return table;
}

}  // namespace tools
