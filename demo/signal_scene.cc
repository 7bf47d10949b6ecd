// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Signals between processes, a parameter document, and a lock on a file.

#include <capi.h>
#include <cjson/cJSON.h>
#include <poll.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "scenes.h"

namespace demo {
namespace {

constexpr char kRegistration[] = "vop_sig_voip_register_status";
constexpr char kCallState[] = "vop_sig_voip_call_state_change";
constexpr char kSendMessage[] = "vop_sig_voip_sms_send";
constexpr unsigned long long kMessageId = 18446744073709551557ULL;  // a JSON number would round it

// The programs agree on one size, for a receiver waits until its buffer is full.
constexpr int kMessageSize = 1024;

void send_signal(int socket, const char* name, const capi_signal_info& info) {
  char message[kMessageSize] = {};
  cJSON* json = ctrlv2_siginfo_to_json(name, &info);
  const bool fits = cJSON_PrintPreallocated(json, message, kMessageSize, 0) != 0;
  cJSON_Delete(json);
  expect(fits, "sends %s", name);
  say("%s", message);
  fflush(stdout);  // the other's answer is to be read behind it
  if (ipc_send(socket, message, kMessageSize) != kMessageSize) expect(false, "it was not sent");
}

capi_signal_info receive_signal(int socket, const char* expected) {
  pollfd ready{socket, POLLIN, 0};
  poll(&ready, 1, 10000);  // whatever happened to the other, the demo ends
  char message[kMessageSize];
  const bool received = ipc_recv(socket, message, kMessageSize, 0) == kMessageSize;
  cJSON* json = received ? cJSON_Parse(message) : nullptr;
  char name[CAPI_SIGNAL_NAME_SIZE];
  capi_signal_info info{};
  const bool understood = ctrlv2_json_to_siginfo(json, name, &info) == 0;
  cJSON_Delete(json);
  expect(understood && strcmp(name, expected) == 0, "received %s", name);
  return info;
}

void tell_call(int socket) {
  capi_signal_info info{};
  info.register_status = {1, 1, 2, "+4930555010", "volte", "Registered", 1, 0, 0, 0};
  send_signal(socket, kRegistration, info);
  info = {};
  info.call_state = {1, {{4, "+4930555020", "Bruno Dahl"}, {10, "+4930555030", "Carla"}, {}}};
  send_signal(socket, kCallState, info);

  say("(back in the voice application)");
  info = receive_signal(socket, kSendMessage);
  expect(info.sms_send.MsgId == kMessageId, "it is to send message %llu, all 64 bits of it",
         static_cast<unsigned long long>(info.sms_send.MsgId));
}

void hear_call(int socket) {
  capi_signal_info info = receive_signal(socket, kRegistration);
  show("line", info.register_status.lineregstatusstring);
  show("stack", info.register_status.stacktype);
  expect(info.register_status.hasvoicemail == 1, "there is voice mail");
  info = receive_signal(socket, kCallState);
  for (const capi_signal_call& call : info.call_state.callinfo) {
    if (call.callstate != 0) {
      show(capi_convert_call_state_to_string(call.callstate), call.callpartyname);
    }
  }
  expect(strcmp(info.call_state.callinfo[0].callpartynumber, "+4930555020") == 0,
         "the caller's number arrived");
  info = {};
  info.sms_send.MsgId = kMessageId;
  send_signal(socket, kSendMessage, info);
}

void exchange_signals(Stage& stage) {
  // Demos that run at the same time have other ports.
  const auto port = static_cast<uint16_t>(20000 + getpid() % 20000);
  const auto answer_port = static_cast<uint16_t>(port + 20000);
  const int application = ipc_open(0, port);
  const int front_end = ipc_open(0, answer_port);
  ipc_connect_port(application, answer_port);
  ipc_connect_port(front_end, port);
  stage.run_together(
      "voice application", [=] { tell_call(application); }, "web front end",
      [=] { hear_call(front_end); });
  ipc_close(application);
  ipc_close(front_end);
}

constexpr char kParameters[] = "/quorbleconf/config/parameters.json";

void edit_parameters() {
  cJSON* root = vkrJson_Init(kParameters);
  expect(root != nullptr, "loaded %s", kParameters);
  cJSON* volume = vkrJson_GetParamObject(vkrJson_GetSectionObject(root, "voice"), "volume");
  expect(vkrJson_SetParamValue(volume, "5") == 1, "volume 5 is the default: nothing to change");
  expect(vkrJson_SetParamValue(volume, "7") == 0, "volume 7 is a change");
  cJSON* server = vkrJson_GetParamObject(vkrJson_GetSectionObject(root, "voice"), "server");
  int type = -1;
  vkrJson_GetParamTypeNumber(server, &type);
  expect(type == CAPI_PARAM_IPV4, "the server is an IPv4 address");
  show("server", vkrJson_GetParamCurrentValue(server));
  expect(vkrJson_SaveToFile(root, kParameters) == 0, "saved the document");
  vkrJson_Uninit(root);
  show_file(kParameters);
}

constexpr char kCounter[] = "/tmp/counter";
constexpr char kCounterLock[] = "/tmp/counter.lock";
constexpr int kTurns = 500;

void count_up() {
  int failures = 0;
  for (int i = 0; i < kTurns; ++i) {
    if (capi_lock_file(kCounterLock) != 0) ++failures;
    const std::string next = std::to_string(atoi(file_content(kCounter).c_str()) + 1);
    utils_write_to_file(kCounter, next.data(), static_cast<int>(next.size()));
    if (capi_unlock_file(kCounterLock) != 0) ++failures;
  }
  expect(failures == 0, "read, raised and wrote %s %d times, each time locked", kCounter, kTurns);
}

void check_counter() {
  expect(file_content(kCounter) == std::to_string(2 * kTurns), "no turn was lost: %s",
         file_content(kCounter).c_str());
}

}  // namespace

void play_signals(Stage& stage) {
  title("Processes talk to each other, and take turns");
  exchange_signals(stage);
  stage.run_process("parameter editor", edit_parameters);
  stage.run_together("first counter", count_up, "second counter", count_up);
  stage.run_process("referee", check_counter);
}

}  // namespace demo
