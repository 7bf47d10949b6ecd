// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Short messages arrive and are read, one is sent, and the files are backed up.

#include <capi.h>

#include <cstring>
#include <memory>

#include "scenes.h"

namespace demo {
namespace {

constexpr char kSimInUse[] = "001010123456789";
constexpr char kFormerSim[] = "262019876543210";
constexpr char kBackup[] = "/tmp/data/messages";

using Message = std::unique_ptr<capi_sms_record>;  // 39 kilobytes

Message make_message() { return std::make_unique<capi_sms_record>(); }

std::string text_of(const capi_sms_record& message) {
  return std::string(message.Text, message.TextLen);
}

std::string line_of(const capi_sms_record& message) {
  return std::string(message.RemoteNumber) + (message.bRead != 0 ? "        " : " (new)  ") +
         text_of(message);
}

void receive(const char* imsi, const char* from, const char* text, uint64_t expected_id) {
  const Message message = make_message();
  message->BeginTime = 1700000000 + static_cast<uint32_t>(expected_id);
  strcpy(message->imsi, imsi);
  strcpy(message->LocalNumber, "+15551230001");
  strcpy(message->RemoteNumber, from);
  strcpy(message->Text, text);
  message->TextLen = static_cast<uint32_t>(strlen(text));
  message->TextSize = message->TextLen + 1;
  const bool stored = capi_voip_sms_add(CAPI_SMS_RECEIVED, message.get()) == 0;
  expect(stored && message->id == expected_id, "stored message %llu from %s",
         static_cast<unsigned long long>(message->id), from);
}

void receive_messages() {
  receive(kFormerSim, "+491700000001", "Welcome to our network.", 1);
  receive(kSimInUse, "+15551230100", "The workshop is closed today.", 2);
  receive(kSimInUse, "+15551230100", "Open again tomorrow at 8.", 3);
  show_posted_signals();
}

// The ids of all messages or of those of the SIM in use, shown on the way.
template <typename Start, typename Step>
std::string walk(const void* image, int all, Start start, Step step) {
  std::string ids;
  const Message message = make_message();
  for (int result = start(image, message.get(), all); result == 0;
       result = step(image, message.get(), message.get(), all)) {
    show("message " + std::to_string(message->id), line_of(*message));
    ids += std::to_string(message->id);
  }
  return ids;
}

void walk_both_ways() {
  void* image = nullptr;
  expect(capi_voip_sms_load(CAPI_SMS_RECEIVED, &image) == 0, "loaded the received messages");
  say("All messages, oldest first:");
  expect(walk(image, 1, capi_voip_sms_get_first, capi_voip_sms_get_next) == "123", "three");
  say("Those of the SIM in use, newest first:");
  expect(walk(image, 0, capi_voip_sms_get_last, capi_voip_sms_get_previous) == "32", "two");
  capi_voip_sms_unload(&image);
}

void read_messages() {
  capi_sms_counter seen{};
  const bool counted = capi_voip_sms_get_unread_sm_num(CAPI_SMS_RECEIVED, &seen, &seen) == 0;
  expect(counted && seen.count == 3, "%u new messages", seen.count);
  const Message message = make_message();
  const bool read = capi_voip_sms_get(CAPI_SMS_RECEIVED, 2, message.get()) == 0;
  expect(read, "read message 2: %s", text_of(*message).c_str());
  message->bRead = 1;
  expect(capi_voip_sms_update(CAPI_SMS_RECEIVED, message.get()) == 0, "marked it as read");
  capi_sms_counter now{};
  expect(capi_voip_sms_get_unread_sm_num(CAPI_SMS_RECEIVED, &seen, &now) == 0 && now.count == 0,
         "no message came meanwhile");
  show_posted_signals();
  walk_both_ways();
}

void send_message() {
  constexpr char kText[] = "See you tomorrow.";
  expect(capi_voip_sms_send("+15551230100", 0, kText, sizeof kText - 1) == 0,
         "handed a message over for sending");
  expect(show_posted_signals() ==
             "signal json {\"msg\":\"signal\",\"name\":\"vop_sig_voip_sms_send_out\",\"attrs\":"
             "{\"param1\":\"1\",\"param2\":\"\",\"param3\":\"\"}}\n",
         "the voice application was told to send it");
}

void fetch_message() {
  const Message message = make_message();
  expect(capi_voip_sms_get(CAPI_SMS_SENT, 1, message.get()) == 0, "fetched message 1");
  show("from", message->LocalNumber);
  show("to", message->RemoteNumber);
  show("text", text_of(*message));
  expect(std::string(message->LocalNumber) == "+15551230001" &&
             message->status == CAPI_SMS_STATUS_SENDING,
         "it bears the adapter's own number and waits to be sent");
}

void back_up() {
  expect(capi_voip_sms_backup(kBackup) == 0, "copied both files");
  for (const char* name : {"recv", "send"}) {
    const std::string copy = file_content(std::string(kBackup) + "." + name);
    expect(!copy.empty() && copy == file_content(std::string("/quorbleconf/nv/sm_") + name),
           "%s.%s is the same, %zu bytes", kBackup, name, copy.size());
  }
}

}  // namespace

void play_short_messages(Stage& stage) {
  title("Short messages come and go");
  stage.run_process("modem daemon", receive_messages);
  stage.run_process("web front end", read_messages);
  stage.run_process("web front end", send_message);
  stage.run_process("voice application", fetch_message);
  stage.run_process("backup script", back_up);
}

}  // namespace demo
