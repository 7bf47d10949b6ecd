// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
#include "operations.h"

#include <algorithm>
#include <iterator>

#include "pattern.h"
#include "records.h"

namespace capi::soak {
namespace {

// ---- Shared record -----------------------------------------------------------------------------

void set_any_record(Random& random) { set_record(random() % record_count(), any_number(random)); }

// Where the kernel does not copy for it, a process that is killed meanwhile leaves half of a
// record.
void read_any_record(Random& random) {
  if (!is_whole_record(random() % record_count())) ++board().halves_seen;
}

void publish(Random&) {
  if (capi_config_finish() != 0) fail("cannot publish");
}

// ---- Files of the configuration ----------------------------------------------------------------

void set_any_block(Random& random) {
  set_block(static_cast<int>(random() % kBlockTypes), any_number(random));
}
void write_sim_file(Random&) { capi_cfg_update_simcard_file(); }
void write_stack_file(Random& random) {
  // Those types that do not bring the SIM file up to date as well.
  constexpr unsigned kTypes[] = {1, 3, 4, 6};
  if (capi_make_config_file(kTypes[random() % std::size(kTypes)]) != 0) fail("no stack file");
}
void write_voice_block(Random& random) { set_voice_block(any_number(random)); }

// ---- Call log: -1 is the answer while a cut file waits for the master ---------------------------

// Whoever removes an entry by its node must know that it is still the same entry.
class CallLogForMe {
 public:
  CallLogForMe() {
    if (capi_lock_file(kPath) != 0) fail("no file lock");
  }
  ~CallLogForMe() { capi_unlock_file(kPath); }
  CallLogForMe(const CallLogForMe&) = delete;
  CallLogForMe& operator=(const CallLogForMe&) = delete;

 private:
  static constexpr char kPath[] = "/tmp/soak.lock";
};

unsigned any_type(Random& random) { return static_cast<unsigned>(random() % CAPI_CALL_LOG_TYPES); }

void add_call(Random& random) {
  const CallLogForMe lock;
  const capi_call_log_record call = make_call(any_number(random));
  capi_voip_add_call_log(any_type(random), &call);
}

void add_call_in_halves(Random& random) {
  const CallLogForMe lock;
  const capi_call_log_record call = make_call(any_number(random));
  capi_voip_add_call_log1(any_type(random), &call);
  capi_voip_add_call_log2(&call);
}

void delete_call(Random& random) {
  const CallLogForMe lock;
  const capi_call_log_image* image = read_calls();
  const unsigned type = any_type(random);
  if (image == nullptr) return;
  const capi_call_log_list& list = image->header.entry[type].list;
  if (list.count > 0) capi_voip_delete_call_log_by_node(type, list.head);
}

void clean_calls(Random& random) {
  const CallLogForMe lock;
  capi_voip_clean_call_log_by_type(any_type(random));
}

void read_call_log(Random&) { check_call_log(); }

// ---- Short messages ----------------------------------------------------------------------------

constexpr int kReceived = CAPI_SMS_RECEIVED;
constexpr int kSent = CAPI_SMS_SENT;

int any_selector(Random& random) { return random() % 2 == 0 ? kReceived : kSent; }

void expect_success(int result, const char* what) {
  if (result != 0) fail("cannot %s", what);
}

void receive_message(Random& random) {
  static capi_sms_record message;
  fill_sms(message, any_number(random));
  use_messages(kReceived);
  expect_success(capi_voip_sms_add(kReceived, &message), "add a message");
}

void send_message(Random& random) {
  static capi_sms_record message;
  fill_sms(message, any_number(random));
  use_messages(kSent);
  expect_success(
      capi_voip_sms_send(message.RemoteNumber, message.TextType, message.Text, message.TextLen),
      "send a message");
}

uint64_t last_message(int selector) {
  static capi_sms_record message;
  message.id = 0;
  void* image = nullptr;
  if (capi_voip_sms_load(selector, &image) == 0) capi_voip_sms_get_last(image, &message, 1);
  capi_voip_sms_unload(&image);
  return message.id;
}

// One of the last few; it may be gone.
uint64_t any_message(Random& random, int selector) {
  use_messages(selector);
  const uint64_t last = last_message(selector);
  return last - std::min<uint64_t>(last, random() % 50);
}

void update_message(Random& random, int selector) {
  static capi_sms_record message;
  message.id = any_message(random, selector);
  message.status = message.bRead = static_cast<uint8_t>(random() % 100);
  message.LastTime = message.status;
  capi_voip_sms_update(selector, &message);
}

void delete_message(Random& random, int selector) {
  capi_voip_sms_del_by_id(selector, any_message(random, selector));
}

void change_received(Random& random) { update_message(random, kReceived); }
void change_sent(Random& random) { update_message(random, kSent); }
void delete_received(Random& random) { delete_message(random, kReceived); }
void delete_sent(Random& random) { delete_message(random, kSent); }

void get_message(Random& random) {
  static capi_sms_record message;
  const int selector = any_selector(random);
  const uint64_t id = any_message(random, selector);
  if (capi_voip_sms_get(selector, id, &message) != 0) return;
  const bool whole = selector == kReceived ? is_whole(message) : is_whole_sent(message);
  if (message.id != id || !whole) fail("a reader saw half of a message");
}

void count_messages(Random& random) {
  const int selector = any_selector(random);
  const capi_sms_counter nothing{};
  capi_sms_counter seen{};
  use_messages(selector);
  capi_voip_sms_get_unread_sm_num(selector, &nothing, &seen);
}

void read_messages(Random& random) { check_messages(any_selector(random)); }

// ---- All ---------------------------------------------------------------------------------------

struct Operation {
  unsigned weight;
  Store store;
  void (*run)(Random& random);
};

constexpr Operation kOperations[] = {
    {12, Store::Records, set_any_record},
    {12, Store::Nothing, read_any_record},
    {2, Store::Records, publish},
    {6, Store::StatusFiles, set_any_block},
    {4, Store::SimFile, write_sim_file},
    {4, Store::StackFiles, write_stack_file},
    {4, Store::VoiceBlock, write_voice_block},
    {8, Store::CallLog, add_call},
    {2, Store::CallLog, add_call_in_halves},
    {5, Store::CallLogNodes, delete_call},
    {1, Store::CallLog, clean_calls},
    {4, Store::Nothing, read_call_log},
    {8, Store::Received, receive_message},
    {6, Store::Sent, send_message},
    {2, Store::Received, change_received},
    {2, Store::Sent, change_sent},
    {2, Store::Received, delete_received},
    {2, Store::Sent, delete_sent},
    {2, Store::Nothing, get_message},
    {2, Store::Nothing, count_messages},
    {4, Store::Nothing, read_messages},
};

constexpr unsigned total_weight() {
  unsigned total = 0;
  for (const Operation& operation : kOperations) total += operation.weight;
  return total;
}

const Operation& any_operation(Random& random) {
  auto choice = static_cast<unsigned>(random() % total_weight());
  for (const Operation& operation : kOperations) {
    if (choice < operation.weight) return operation;
    choice -= operation.weight;
  }
  return kOperations[0];
}

struct MessageWalk {
  int selector;
  int count;
};

int check_message(const capi_sms_record* message, void* context) {
  auto& walk = *static_cast<MessageWalk*>(context);
  ++walk.count;
  const bool whole = walk.selector == kReceived ? is_whole(*message) : is_whole_sent(*message);
  if (!whole) fail("a reader saw half of a message");
  return 0;
}

}  // namespace

uint32_t any_number(Random& random) { return static_cast<uint32_t>(random() % 1000000); }

void do_any_operation(Board::Worker& worker, Random& random) {
  const Operation& operation = any_operation(random);
  worker.at = operation.store;
  operation.run(random);
  worker.at = Store::Nothing;
  ++board().operations[static_cast<size_t>(operation.store)];
  ++worker.operations;
}

const capi_call_log_image* read_calls() {
  static capi_call_log_image image;
  return capi_voip_read_call_log(&image) == 0 ? &image : nullptr;
}

int check_call_log() {
  const capi_call_log_image* image = read_calls();
  if (image == nullptr) return -1;
  uint16_t node = image->header.used.head;
  for (int i = 0; i < image->header.used.count; ++i) {
    if (!is_whole(image->node[node])) fail("a reader saw half of a call");
    node = image->node[node].all_next;
  }
  return image->header.used.count;
}

int check_messages(int selector) {
  use_messages(selector);
  MessageWalk walk{selector, 0};
  return capi_voip_sms_dump(selector, check_message, &walk) == 0 ? walk.count : -1;
}

}  // namespace capi::soak
