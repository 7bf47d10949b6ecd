// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Eight processes on all families at once. Everything must succeed here, and nothing may be lost,
// doubled or left out.

#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "operations.h"
#include "pattern.h"
#include "records.h"
#include "runs.h"
#include "support/process.h"

namespace capi::soak {
namespace {

void expect(bool good, const char* what) {
  if (!good) fail("%s", what);
}

// Notes that a number, a sequence or an id, belongs to some content. Nobody else may have it.
void claim(std::atomic<uint32_t>& owner, uint32_t content, const char* what) {
  uint32_t nobody = 0;
  if (owner.compare_exchange_strong(nobody, content + 1) || nobody == content + 1) return;
  fail("two %s have one number", what);
}

// A record does not tell its sequence number when it is added, so it is looked up: at most as many
// calls as there are processes come between, and the log holds more.
void add_call(uint32_t number) {
  const capi_call_log_record call = make_call(number);
  expect(capi_voip_add_call_log(number % CAPI_CALL_LOG_TYPES, &call) == 0, "a call was not added");
  const capi_call_log_image* image = read_calls();
  if (image == nullptr) return fail("the call log cannot be read");
  uint16_t node = image->header.used.head;
  for (int i = 0; i < image->header.used.count; ++i) {
    const capi_call_log_record& entry = image->node[node];
    expect(is_whole(entry), "half of a call");
    claim(board().call_of_sequence[entry.sequence], number_of(entry), "calls");
    node = entry.all_next;
  }
}

void claim_message(int selector, uint64_t id, uint32_t number) {
  if (id == 0 || id >= kMaxNumbers) return fail("no message can have this id");
  claim(board().message_of_id[selector][id], number, "messages");
}

void receive_message(uint32_t number) {
  static capi_sms_record message;
  fill_sms(message, number);
  expect(capi_voip_sms_add(CAPI_SMS_RECEIVED, &message) == 0, "a message was not added");
  const uint64_t id = message.id;
  claim_message(CAPI_SMS_RECEIVED, id, number);
  expect(capi_voip_sms_get(CAPI_SMS_RECEIVED, id, &message) == 0 && message.id == id &&
             number_of(message) == number && is_whole(message),
         "half of a message");
  message.status = message.bRead = 7;
  message.LastTime = 7;
  expect(capi_voip_sms_update(CAPI_SMS_RECEIVED, &message) == 0, "a message was not changed");
  if (number % 2 == 0) {
    expect(capi_voip_sms_del_by_id(CAPI_SMS_RECEIVED, id) == 0, "a message was not deleted");
  }
}

void claim_sent_messages() {
  const auto visit = [](const capi_sms_record* message, void*) {
    expect(is_whole_sent(*message), "half of a message");
    claim_message(CAPI_SMS_SENT, message->id, message->TextType);
    return 0;
  };
  expect(capi_voip_sms_dump(CAPI_SMS_SENT, visit, nullptr) == 0, "sent messages cannot be read");
}

void send_message(uint32_t number) {
  static capi_sms_record message;
  fill_sms(message, number);
  expect(capi_voip_sms_send(message.RemoteNumber, message.TextType, message.Text,
                            message.TextLen) == 0,
         "a message was not sent");
  claim_sent_messages();
}

void use_records(Random& random, unsigned process) {
  set_record(random() % record_count(), any_number(random));
  for (size_t record = 0; record < record_count(); ++record) {
    if (!is_whole_record(record)) fail("half of a %s", record_name(record));
  }
  set_block(static_cast<int>(random() % kBlockTypes), any_number(random));
  expect(capi_config_finish() == 0, "cannot publish");
  expect(capi_make_config_file(process) == 0, "no voice-stack file");
}

void use_device(Random& random) {
  char text[256];
  uint8_t block[CAPI_IMS_VOICE_BYTES];
  set_voice_block(any_number(random));
  expect(
      capi_get_quorble_info(CAPI_QUORBLE_IMS_VOICE, block, sizeof block) == 0 && is_uniform(block),
      "half of an IMS voice block");
  expect(capi_get_simcard_info(CAPI_SIM_IMSI, text, sizeof text) == 0, "no IMSI");
  expect(capi_get_hardware_info(CAPI_HW_SERIAL, text, sizeof text) == 0, "no serial number");
  expect(capi_cfg_update_simcard_file() == 0, "no SIM file");
  expect(capi_lock_file("/tmp/soak.lock") == 0, "no file lock");
  expect(capi_unlock_file("/tmp/soak.lock") == 0, "a file lock was lost");
}

void work(unsigned process, unsigned rounds, uint32_t seed) {
  Random random(seed + process);
  for (unsigned round = 0; round < rounds; ++round) {
    const uint32_t number = process * rounds + round;
    add_call(number);
    receive_message(number);
    send_message(number);
    use_records(random, process);
    use_device(random);
  }
}

// The numbers from "first" on must all have gone to somebody, and each content to one number.
void expect_no_gap(const std::atomic<uint32_t>* owners, uint32_t first, uint32_t count,
                   const char* what) {
  std::vector<bool> seen(count);
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t owner = owners[first + i];
    if (owner == 0 || owner > count || seen[owner - 1]) {
      return fail("%s: number %u was left out or went out twice", what, first + i);
    }
    seen[owner - 1] = true;
  }
  if (owners[first + count] != 0) fail("%s: there are too many", what);
}

}  // namespace

void run_together(uint32_t seed, unsigned rounds) {
  const auto total = static_cast<uint32_t>(kMaxWorkers * rounds);
  if (total + 1 >= kMaxNumbers) return fail("too many rounds");
  Random random(seed);
  for (size_t record = 0; record < record_count(); ++record) set_record(record, any_number(random));
  {
    std::vector<std::unique_ptr<test::Process>> processes;
    for (unsigned process = 0; process < kMaxWorkers; ++process) {
      processes.push_back(std::make_unique<test::Process>([=] {
        start_process();
        work(process, rounds, seed);
        capi_uninit();
      }));
    }
    for (auto& process : processes) expect(process->succeeded(), "a process did not end well");
  }
  expect_no_gap(board().call_of_sequence, 0, total, "call log");
  expect_no_gap(board().message_of_id[CAPI_SMS_RECEIVED], 1, total, "received messages");
  expect_no_gap(board().message_of_id[CAPI_SMS_SENT], 1, total, "sent messages");
  printf("seed %u: %zu processes, %u rounds each\n", seed, kMaxWorkers, rounds);
}

}  // namespace capi::soak
